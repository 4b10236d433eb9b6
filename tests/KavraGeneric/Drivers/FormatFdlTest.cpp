#include "KavraGeneric/Drivers/FormatFdl.h"

#include "tests/support/LibraryFixture.h"

namespace {

using Drivers::FormatFdl;

class FormatFdlTest : public LibraryFixture {
  protected:
    static std::string filled( const std::string &text, const std::string &value ) {
        FormatFdl formatter( text );
        formatter.start();
        EXPECT_TRUE( formatter.set( "key", value ) );
        return formatter.str();
    }
};

TEST_F( FormatFdlTest, ValueTakesThePlaceholdersPlace ) {
    EXPECT_EQ( "serial A1 of {other}", filled( "serial {key} of {other}", "A1" ) );
}

TEST_F( FormatFdlTest, OneSetReplacesEveryOccurrence ) {
    EXPECT_EQ( "x-x-x", filled( "{key}-{key}-{key}", "x" ) );
}

TEST_F( FormatFdlTest, EmptyValueRemovesThePlaceholder ) {
    EXPECT_EQ( "ab", filled( "a{key}b", "" ) );
}

TEST_F( FormatFdlTest, SearchGoesOnInWhatResults ) {
    EXPECT_EQ( "key", filled( "{{key}}", "key" ) );
}

TEST_F( FormatFdlTest, KeysAreSetOneByOne ) {
    FormatFdl formatter( "{a} and {b}" );
    formatter.start();
    formatter.set( "a", "1" );
    formatter.set( "b", "2" );
    EXPECT_EQ( "1 and 2", formatter.str() );
}

TEST_F( FormatFdlTest, EachStartBeginsWithTheTemplate ) {
    FormatFdl formatter( "<{key}>" );
    formatter.start();
    formatter.set( "key", "first" );
    EXPECT_STREQ( "<first>", formatter.charPtr() );
    formatter.start();
    formatter.set( "key", "second" );
    EXPECT_STREQ( "<second>", formatter.charPtr() );
}

TEST_F( FormatFdlTest, TemplateWithoutASetStaysAsItIs ) {
    FormatFdl formatter( "{key}" );
    formatter.start();
    EXPECT_EQ( "{key}", formatter.str() );
}

TEST_F( FormatFdlTest, SettingIsTraced ) {
    filled( "{key}", "%s" );
    EXPECT_TRUE( host().traced( 5, "FormatFdl::set( 'key', '%s' )" ) );
}

TEST_F( FormatFdlTest, HarmlessValuesComeToAnEnd ) {
    for ( const char *value : { "", "GTVD1615001656", "key", "{", "}", "{}", "{key", "key}",
                                "y}{other}", "{other}{ke" } ) {
        EXPECT_TRUE( FormatFdl::comesToAnEnd( "key", value ) ) << value;
    }
}

TEST_F( FormatFdlTest, ValuesThatFeedOnThemselvesAreTold ) {
    for ( const char *value : { "{key}", "a{key}b", "}}{key{key", "}{", "y}-{k", "key}{key" } ) {
        EXPECT_FALSE( FormatFdl::comesToAnEnd( "key", value ) ) << value;
    }
}

// Every value of up to five pieces that is said to be safe is filled into templates that try hard
// to have it form the placeholder anew.
TEST_F( FormatFdlTest, ValuesSaidToComeToAnEndDo ) {
    const char *const pieces[] = { "", "{", "}", "{k", "k}", "k", "x" };
    const char *const templates[] = { "{k}", "{k}}", "{{k}", "{{k}}", "{k}{k}", "{k{k{k}}}}" };
    host().traceDropped = true;
    const size_t count = std::size( pieces );
    size_t safe = 0;
    for ( size_t number = 0; number < count * count * count * count * count; ++number ) {
        std::string value;
        for ( size_t rest = number, piece = 0; piece < 5; ++piece, rest /= count ) {
            value += pieces[rest % count];
        }
        if ( !FormatFdl::comesToAnEnd( "k", value ) ) {
            continue;
        }
        ++safe;
        for ( const char *text : templates ) {
            FormatFdl formatter( text );
            formatter.start();
            formatter.set( "k", value );
            EXPECT_EQ( std::string::npos, formatter.str().find( "{k}" ) );
        }
    }
    EXPECT_LT( 1000U, safe );
}

using FormatFdlDeathTest = FormatFdlTest;

TEST_F( FormatFdlDeathTest, SetBeforeStartStops ) {
    EXPECT_DEATH( FormatFdl( "{key}" ).set( "key", "" ),
                  "Assertion `active_ && \"FormatFdl: Must call start\\(\\) before "
                  "set\\(\\.\\.\\.\\)\"' failed" );
}

TEST_F( FormatFdlDeathTest, SetBeforeStartIsTracedAllTheSame ) {
    EXPECT_DEATH(
        {
            tellTracesWhenDying();
            FormatFdl( "{key}" ).set( "key", "x" );
        },
        "5 FormatFdl::set\\( 'key', 'x' \\)" );
}

TEST_F( FormatFdlDeathTest, CharPtrBeforeStartStops ) {
    EXPECT_DEATH( FormatFdl( "" ).charPtr(),
                  "Assertion `active_ && \"FormatFdl: Must call start\\(\\) before "
                  "charPtr\\(\\)\"' failed" );
}

TEST_F( FormatFdlDeathTest, StrBeforeStartStops ) {
    EXPECT_DEATH( FormatFdl( "" ).str(), "Assertion `active_ && \"FormatFdl: Must call start\\(\\) "
                                         "before str\\(\\)\"' failed" );
}

TEST_F( FormatFdlDeathTest, SecondCharPtrStops ) {
    FormatFdl formatter( "text" );
    formatter.start();
    formatter.charPtr();
    EXPECT_DEATH( formatter.charPtr(), "before charPtr\\(\\)\"' failed" );
}

TEST_F( FormatFdlDeathTest, SetAfterStrStops ) {
    FormatFdl formatter( "{key}" );
    formatter.start();
    formatter.str();
    EXPECT_DEATH( formatter.set( "key", "" ), "before set\\(\\.\\.\\.\\)\"' failed" );
}

TEST_F( FormatFdlDeathTest, KeyThatTheTemplateLacksStops ) {
    EXPECT_DEATH(
        {
            tellTracesWhenDying();
            filled( "{other} key}", "x" );
        },
        "Assertion `0 && \"Invalid key in FormatFdl::set\"' failed(.|\n)*"
        "0 Error: FormatFdl::set -- invalid key '\\{key\\}'" );
}

} // namespace
