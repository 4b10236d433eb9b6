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
        EXPECT_TRUE( FormatFdl( "{{key}}" ).comesToAnEnd( "key", value ) ) << value;
    }
}

TEST_F( FormatFdlTest, ValueWithThePlaceholderNeverDoes ) {
    for ( const char *value : { "{key}", "a{key}b" } ) {
        EXPECT_FALSE( FormatFdl( "{key}" ).comesToAnEnd( "key", value ) ) << value;
    }
}

TEST_F( FormatFdlTest, ValueThatFeedsOnItselfDoesWhereTheTemplateGivesItNothing ) {
    for ( const char *value : { "}}{key{key", "}-----{", "key}{key" } ) {
        EXPECT_TRUE( FormatFdl( "<{key}> {key}" ).comesToAnEnd( "key", value ) ) << value;
    }
    EXPECT_FALSE( FormatFdl( "{key}}" ).comesToAnEnd( "key", "}}{key{key" ) );
    EXPECT_FALSE( FormatFdl( "{{key}" ).comesToAnEnd( "key", "key}key}{{" ) );
}

TEST_F( FormatFdlTest, ValueThatIsShorterThanThePlaceholderUsesUpTheText ) {
    for ( const char *value : { "}{", "y}{k", "}-{" } ) {
        EXPECT_TRUE( FormatFdl( "{{key}key}" ).comesToAnEnd( "key", value ) ) << value;
    }
}

TEST_F( FormatFdlTest, TemplateWithoutThePlaceholderIsAnotherMatter ) {
    EXPECT_TRUE( FormatFdl( "{other}" ).comesToAnEnd( "key", "{key}" ) );
}

// With each brace more the first value takes another replacement, the second one twice as many and
// the third one another thousand characters.
TEST_F( FormatFdlTest, FillThatTakesTooLongOrGrowsTooFarCountsAsEndless ) {
    EXPECT_FALSE( FormatFdl( std::string( 1001, '{' ) + "k}" ).comesToAnEnd( "k", "k}-{" ) );
    EXPECT_TRUE( FormatFdl( std::string( 1000, '{' ) + "k}" ).comesToAnEnd( "k", "k}-{" ) );
    const std::string doubling = "k}k}{";
    EXPECT_FALSE( FormatFdl( std::string( 10, '{' ) + "k}" ).comesToAnEnd( "k", doubling ) );
    EXPECT_TRUE( FormatFdl( std::string( 9, '{' ) + "k}" ).comesToAnEnd( "k", doubling ) );
    const std::string large = "k}" + std::string( 1000, '-' ) + '{';
    EXPECT_FALSE( FormatFdl( std::string( 300, '{' ) + "k}" ).comesToAnEnd( "k", large ) );
    EXPECT_TRUE( FormatFdl( std::string( 250, '{' ) + "k}" ).comesToAnEnd( "k", large ) );
}

/// Whether so many replacements, each of the first placeholder, leave none.
bool endsWithin( int replacements, std::string text, const std::string &value ) {
    for ( ; replacements > 0; --replacements ) {
        const size_t found = text.find( "{k}" );
        if ( found == std::string::npos ) {
            return true;
        }
        text.replace( found, 3, value );
    }
    return false;
}

// Every value of up to four pieces in templates that try hard to have it form the placeholder anew.
TEST_F( FormatFdlTest, ValuesComeToAnEndExactlyWhenTheirFillDoes ) {
    const char *const pieces[] = { "", "{", "}", "{k", "k}", "k", "x" };
    const char *const templates[] = { "{k}",    "{k}}",   "{{k}",       "{{k}}",
                                      "{k}{k}", "{k}k}}", "{k{k{k}}}}", "{{{k}k}k}" };
    host().traceDropped = true;
    const size_t count = std::size( pieces );
    size_t endless = 0;
    for ( size_t number = 0; number < count * count * count * count; ++number ) {
        std::string value;
        for ( size_t rest = number, piece = 0; piece < 4; ++piece, rest /= count ) {
            value += pieces[rest % count];
        }
        for ( const char *text : templates ) {
            const bool ends = endsWithin( 500, text, value );
            ASSERT_EQ( ends, FormatFdl( text ).comesToAnEnd( "k", value ) )
                << value << " in " << text;
            endless += !ends;
            if ( ends ) {
                FormatFdl formatter( text );
                formatter.start();
                formatter.set( "k", value );
                ASSERT_EQ( std::string::npos, formatter.str().find( "{k}" ) );
            }
        }
    }
    EXPECT_LT( 1000U, endless );
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
