#include "KavraGeneric/Ham/ExpectedVal.h"

#include <gtest/gtest.h>
#include <type_traits>

namespace {

using Utils::ExpectedVal;

static_assert( std::has_virtual_destructor_v<ExpectedVal> );
static_assert( std::is_copy_constructible_v<ExpectedVal> );

TEST( ExpectedValTest, NumberHoldsItsValueAndWidth ) {
    const ExpectedVal number( 0xFFFF'FFFF, 4 );
    EXPECT_TRUE( number.isNumeric() );
    EXPECT_EQ( 0xFFFF'FFFFU, number.value() );
    EXPECT_EQ( 4U, number.size() );
    EXPECT_EQ( "", number.valStr() );
}

TEST( ExpectedValTest, TextHoldsItsCharactersAndLength ) {
    const ExpectedVal text( "AB", 2 );
    EXPECT_FALSE( text.isNumeric() );
    EXPECT_EQ( "AB", text.valStr() );
    EXPECT_EQ( 2U, text.size() );
    EXPECT_EQ( 0U, text.value() );
}

TEST( ExpectedValTest, CopyIsEqual ) {
    const ExpectedVal number( 7, 2 );
    const ExpectedVal numberCopy = number;
    EXPECT_TRUE( numberCopy.isNumeric() );
    EXPECT_EQ( 7U, numberCopy.value() );
    EXPECT_EQ( 2U, numberCopy.size() );
    const ExpectedVal text( "ABC", 3 );
    const ExpectedVal textCopy = text;
    EXPECT_FALSE( textCopy.isNumeric() );
    EXPECT_EQ( "ABC", textCopy.valStr() );
    EXPECT_EQ( 3U, textCopy.size() );
}

TEST( ExpectedValTest, AssigningANumberKeepsTheTextBeforeIt ) {
    ExpectedVal value( "AB", 2 );
    value = ExpectedVal( 9, 1 );
    EXPECT_TRUE( value.isNumeric() );
    EXPECT_EQ( 9U, value.value() );
    EXPECT_EQ( 1U, value.size() );
    EXPECT_EQ( "AB", value.valStr() );
}

TEST( ExpectedValTest, AssigningATextKeepsTheNumberBeforeIt ) {
    ExpectedVal value( 9, 1 );
    value = ExpectedVal( "AB", 2 );
    EXPECT_FALSE( value.isNumeric() );
    EXPECT_EQ( "AB", value.valStr() );
    EXPECT_EQ( 2U, value.size() );
    EXPECT_EQ( 9U, value.value() );
}

TEST( ExpectedValTest, AssigningItselfChangesNothing ) {
    ExpectedVal text( "AB", 2 );
    const ExpectedVal &same = text;
    text = same;
    EXPECT_EQ( "AB", text.valStr() );
    EXPECT_EQ( 2U, text.size() );
}

} // namespace
