#include "HostTool/Output/ValueText.h"

#include <gtest/gtest.h>

#include <limits>

using namespace HostTool;

TEST( ValueTextTest, NumberHasItsDecimalsAndItsUnit ) {
    EXPECT_EQ( "24.5 C", numberText( 24.46, 1, "C" ) );
    EXPECT_EQ( "-1", numberText( -1, 0, "" ) );
}

TEST( ValueTextTest, LargestNumberHasAllOfItsDigits ) {
    const std::string text = numberText( -std::numeric_limits<double>::max(), 3, "" );
    constexpr size_t digits = 309;
    EXPECT_EQ( digits + std::string( "-.000" ).size(), text.size() );
    EXPECT_EQ( "-1797693134862315", text.substr( 0, 17 ) );
    EXPECT_EQ( ".000", text.substr( text.size() - 4 ) );
}

TEST( ValueTextTest, MissingValueSaysWhatIsMissing ) {
    const Column column = { "temperature", "C", 1 };
    EXPECT_EQ( "--", valueText( { {}, PL_STATUS_IO_ERROR, "no server" }, column ) );
    EXPECT_EQ( "n/a", valueText( { {}, PL_STATUS_NOT_SUPPORTED, "not supported" }, column ) );
    EXPECT_EQ( "unread", valueText( Reading::unread( "not polled" ), column ) );
}
