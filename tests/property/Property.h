#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

/// Properties: what must hold for every case of a kind, tried on random ones by rapidcheck. Its
/// headers are slow to parse, so that Property.cpp alone includes them.
///
/// The usual run is the same every time: 200 cases a property from a fixed seed. With RC_PARAMS in
/// the environment rapidcheck takes its own defaults, a random seed among them.
namespace Property {

/// One random case: what a failure shows of it, and the check that throws when it does not hold.
struct Case {
    std::string text;
    std::function<void()> check;
};

/// Tries a property. A case that breaks it is made as small as possible and fails the test.
/// @param draw  makes a case out of the draws below, which work inside of it alone
/// @param share only one in so many of the run's cases, for checks that take long
void forAll( const std::function<Case()> &draw, int share = 1 );

/// Throws when the condition is false.
void require( bool condition, const std::string &what );
/// Throws when the texts differ, and shows both.
void requireSame( const std::string &expected, const std::string &actual, const std::string &what );

/// @name Draws
/// A failing case is made smaller by making its draws smaller: 0, false, empty, the first item.
/// @{

/// 0 to limit - 1, each as likely.
unsigned drawBelow( unsigned limit );
/// 0 to most, fewer in the first cases of a run.
unsigned drawCount( unsigned most );
bool drawBool();
/// True once in so many times.
bool drawRarely( unsigned times );
/// Any 32 bits, with powers of two and their neighbours more often.
uint32_t drawWord();
/// Up to so many characters in UTF-8, of all kinds; NUL only where it is wanted.
std::string drawText( unsigned longest = 8, bool withNul = false );
/// Up to so many bytes of any value.
std::string drawBytes( unsigned longest );

template <typename Item, std::size_t count>
const Item &drawFrom( const Item ( &items )[count] ) {
    return items[drawBelow( count )];
}
/// @}

} // namespace Property
