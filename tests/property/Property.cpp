#include "tests/property/Property.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <rapidcheck.h>
#include <sstream>
#include <stdexcept>

namespace Property {

// rapidcheck reads it when the first property begins.
[[maybe_unused]] static const int seeded = ::setenv( "RC_PARAMS", "seed=2025 max_success=200", 0 );

static void showValue( const Case &value, std::ostream &out ) {
    out << value.text;
}

// An assertion of the library ends the process, and rapidcheck with it.
static const std::string *current = nullptr;

static void tellCurrentCase( int ) {
    if ( current ) {
        std::fprintf( stderr, "%s\n", current->c_str() );
    }
}

struct Current {
    explicit Current( const Case &tried ) { current = &tried.text; }
    ~Current() { current = nullptr; }
    Current( const Current & ) = delete;
    Current &operator=( const Current & ) = delete;
};

void forAll( const std::function<Case()> &draw, int share ) {
    const auto check = [&] {
        const Case drawn = *rc::gen::exec( draw );
        const Current told( drawn );
        drawn.check();
    };
    const testing::TestInfo &test = *testing::UnitTest::GetInstance()->current_test_info();
    const rc::detail::TestMetadata metadata{ test.name(), test.name() };
    rc::detail::TestParams params = rc::detail::configuration().testParams;
    params.maxSuccess = std::max( params.maxSuccess / share, 1 );

    std::signal( SIGABRT, tellCurrentCase );
    // Only with the run's own parameters does it look for a case to reproduce.
    const auto result = share == 1 ? rc::detail::checkTestable( check, metadata )
                                   : rc::detail::checkTestable( check, metadata, params );
    std::signal( SIGABRT, SIG_DFL );
    if ( !result.is<rc::detail::SuccessResult>() ) {
        std::ostringstream text;
        rc::detail::printResultMessage( result, text );
        FAIL() << text.str();
    }
}

void require( bool condition, const std::string &what ) {
    if ( !condition ) {
        throw std::runtime_error( what );
    }
}

void requireSame( const std::string &expected, const std::string &actual,
                  const std::string &what ) {
    if ( expected != actual ) {
        throw std::runtime_error( what + "\nexpected:\n" + expected + "\nactual:\n" + actual );
    }
}

unsigned drawBelow( unsigned limit ) {
    return *rc::gen::resize( rc::kNominalSize, rc::gen::inRange<unsigned>( 0, limit ) );
}

unsigned drawCount( unsigned most ) {
    return *rc::gen::inRange<unsigned>( 0, most + 1 );
}

bool drawBool() {
    return drawBelow( 2 ) == 1;
}

bool drawRarely( unsigned times ) {
    return drawBelow( times ) == times - 1;
}

uint32_t drawWord() {
    const unsigned bits = drawBelow( 33 );
    const uint32_t power = bits == 0 ? 0 : uint32_t{ 1 } << ( bits - 1 );
    switch ( drawBelow( 3 ) ) {
    case 0:
        return power;
    case 1:
        return power - 1;
    default:
        return power | ( ( drawBelow( 0x10000 ) << 16 | drawBelow( 0x10000 ) ) &
                         ( power == 0 ? 0 : power - 1 ) );
    }
}

namespace {

struct CodePoints {
    uint32_t first;
    uint32_t count;
};
// Surrogates are no characters.
constexpr CodePoints kinds[] = {
    { 'a', 26 },        { ' ', 0x5F },        { '"', 1 },           { '\\', 1 },
    { '/', 1 },         { 0x01, 0x1F },       { 0x7F, 0x781 },      { 0x800, 0xD000 },
    { 0xE000, 0x2000 }, { 0x10000, 0x10000 }, { 0x20000, 0x10000 }, { 0x10FF00, 0x100 },
};

void appendUtf8( std::string &text, uint32_t point ) {
    const auto add = [&]( uint32_t byte ) { text += static_cast<char>( byte ); };
    if ( point < 0x80 ) {
        add( point );
        return;
    }
    if ( point < 0x800 ) {
        add( 0xC0 | point >> 6 );
    } else {
        if ( point < 0x10000 ) {
            add( 0xE0 | point >> 12 );
        } else {
            add( 0xF0 | point >> 18 );
            add( 0x80 | ( point >> 12 & 0x3F ) );
        }
        add( 0x80 | ( point >> 6 & 0x3F ) );
    }
    add( 0x80 | ( point & 0x3F ) );
}

} // namespace

std::string drawText( unsigned longest, bool withNul ) {
    std::string text;
    for ( unsigned i = drawCount( longest ); i > 0; --i ) {
        if ( withNul && drawRarely( 16 ) ) {
            text += '\0';
            continue;
        }
        const CodePoints &kind = drawFrom( kinds );
        appendUtf8( text, kind.first + drawBelow( kind.count ) );
    }
    return text;
}

std::string drawBytes( unsigned longest ) {
    std::string bytes;
    for ( unsigned i = drawCount( longest ); i > 0; --i ) {
        bytes += static_cast<char>( drawBelow( 256 ) );
    }
    return bytes;
}

} // namespace Property
