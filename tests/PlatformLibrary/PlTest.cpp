// The same checks as PlC99Test.c, as a C++ host sees the contract.
#include <PlatformLibrary/pl.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <type_traits>

#define SIZE( type, bytes ) static_assert( sizeof( type ) == ( bytes ) )
#define SLOT( type, slot, bytes ) static_assert( offsetof( type, slot ) == ( bytes ) )

#include "tests/PlatformLibrary/Layout.h"

static_assert( std::is_same_v<pl_status, std::int32_t> );
static_assert( std::is_standard_layout_v<pl_fan> && std::is_trivially_copyable_v<pl_fan> );

extern "C" int compiledAsC99( void );

TEST( PlTest, HeaderCompilesAsC99AndAsCpp20 ) {
    EXPECT_EQ( 1, compiledAsC99() );
    EXPECT_GE( __cplusplus, 202002L );
}

TEST( PlTest, StatusCodesHaveTheirNumbers ) {
    EXPECT_EQ( 0, PL_STATUS_OK );
    EXPECT_EQ( 1, PL_STATUS_NOT_PRESENT );
    EXPECT_EQ( 2, PL_STATUS_BAD_READING );
    EXPECT_EQ( 3, PL_STATUS_INVALID );
    EXPECT_EQ( 4, PL_STATUS_IO_ERROR );
    EXPECT_EQ( 5, PL_STATUS_NOT_SUPPORTED );
    EXPECT_EQ( 6, PL_STATUS_FAILED );
}

TEST( PlTest, LedSettingsHaveTheirNumbers ) {
    EXPECT_EQ( 0, PL_LED_OFF );
    EXPECT_EQ( 1, PL_LED_GOOD );
    EXPECT_EQ( 2, PL_LED_WARNING );
    EXPECT_EQ( 3, PL_LED_BAD );
    EXPECT_EQ( 4, PL_LED_INACTIVE );
    EXPECT_EQ( 5, PL_LED_UNKNOWN );
    EXPECT_EQ( 6, PL_LED_BEACON );
}
