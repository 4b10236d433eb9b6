#include "HostTool/Metrics/Utf8.h"

#include <gtest/gtest.h>

using HostTool::Metrics::validUtf8;

static const std::string replaced = "\xEF\xBF\xBD";

TEST( Utf8Test, ValidTextStays ) {
    for ( const char *text : { "", "inlet", "H\xC3\xBClle", "\xE2\x82\xAC", "\xED\x9F\xBF",
                               "\xF0\x9F\x98\x80", "\xF4\x8F\xBF\xBF" } ) {
        EXPECT_EQ( text, validUtf8( text ) );
    }
}

TEST( Utf8Test, StrayByteIsReplacedAndTheRestStays ) {
    EXPECT_EQ( "a" + replaced + "b", validUtf8( "a\x80"
                                                "b" ) );
    EXPECT_EQ( "a" + replaced + "b", validUtf8( "a\xFF"
                                                "b" ) );
    EXPECT_EQ( replaced + "\xC3\xBC", validUtf8( "\xC3\xC3\xBC" ) );
}

TEST( Utf8Test, CharacterThatIsCutOffIsReplaced ) {
    EXPECT_EQ( "x" + replaced, validUtf8( "x\xC3" ) );
    EXPECT_EQ( replaced + replaced, validUtf8( "\xE2\x82" ) );
}

TEST( Utf8Test, OverlongFormsSurrogatesAndWhatLiesBeyondAreNoCharacters ) {
    EXPECT_EQ( replaced + replaced, validUtf8( "\xC0\xAF" ) );
    EXPECT_EQ( replaced + replaced + replaced, validUtf8( "\xE0\x80\xAF" ) );
    EXPECT_EQ( replaced + replaced + replaced, validUtf8( "\xED\xA0\x80" ) );
    EXPECT_EQ( replaced + replaced + replaced + replaced, validUtf8( "\xF4\x90\x80\x80" ) );
}
