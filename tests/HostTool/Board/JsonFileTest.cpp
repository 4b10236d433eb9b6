#include "HostTool/Board/JsonFile.h"
#include "HostTool/Failure.h"
#include "tests/HostTool/BoardFolder.h"

#include <gtest/gtest.h>

using namespace HostTool;

class JsonFileTest : public testing::Test {
  protected:
    std::string path() const { return folder.file( "a.json" ); }
    void content( const std::string &text ) const { folder.write( "a.json", text ); }
    std::string refusal() const { return refusalOf( path() ); }
    static std::string refusalOf( const std::string &file ) {
        try {
            const JsonFile read( file );
        } catch ( const Failure &failure ) {
            EXPECT_EQ( ExitCode::badInput, failure.code() );
            return failure.what();
        }
        return "";
    }

    BoardFolder folder;
};

TEST_F( JsonFileTest, ValuesKnowTheirLine ) {
    content( "[\n  { \"a\": 1,\n    \"b\": [ true,\n \"x\" ] },\n  null\n]\n" );
    const JsonFile file( path() );
    EXPECT_EQ( 1u, file.lineOf( file.root() ) );
    EXPECT_EQ( 2u, file.lineOf( file.root()[0] ) );
    EXPECT_EQ( 2u, file.lineOf( file.root()[0]["a"] ) );
    EXPECT_EQ( 3u, file.lineOf( file.root()[0]["b"] ) );
    EXPECT_EQ( 3u, file.lineOf( file.root()[0]["b"][0] ) );
    EXPECT_EQ( 4u, file.lineOf( file.root()[0]["b"][1] ) );
    EXPECT_EQ( 5u, file.lineOf( file.root()[1] ) );
}

TEST_F( JsonFileTest, KeysHaveAPlaceOfTheirOwn ) {
    const JsonFile file( "a.json", "{\n  \"\xc3\xbc\" : [ 1 ] }" );
    const rapidjson::Value &list = file.root().MemberBegin()->value;
    EXPECT_EQ( 3u, file.placeOf( atKeyOf( list ) ).column );
    EXPECT_EQ( 10u, file.placeOf( at( list ) ).column ); // columns count bytes
    EXPECT_EQ( 12u, file.placeOf( at( list[0] ) ).column );
}

TEST_F( JsonFileTest, NumbersAreFoundAsTheyAreWritten ) {
    const JsonFile file( "a.json", "[ -0,1.50 , 2e3]" );
    EXPECT_EQ( "-0", file.digitsOf( file.root()[0] ) );
    EXPECT_EQ( "1.50", file.digitsOf( file.root()[1] ) );
    EXPECT_EQ( "2e3", file.digitsOf( file.root()[2] ) );
}

TEST_F( JsonFileTest, FlawedTextsAreKeptForThoseWhoAsk ) {
    const JsonFile file( "a.json", "[ 1" );
    ASSERT_TRUE( file.flaw() );
    EXPECT_EQ( Flaw::What::syntax, file.flaw()->what );
    EXPECT_TRUE( file.root().IsNull() );
}

TEST_F( JsonFileTest, ByteOrderMarkIsNamed ) {
    content( "\xef\xbb\xbf[]" );
    EXPECT_EQ( path() + ":1:1: a byte order mark stands in front of the document", refusal() );
}

TEST_F( JsonFileTest, EndlessFileIsRefused ) {
    EXPECT_EQ( "/dev/zero:1:1: larger than 64 MiB", refusalOf( "/dev/zero" ) );
}

TEST_F( JsonFileTest, TextIsTheFileByteForByte ) {
    content( "[ 1 ]\r\n \n" );
    EXPECT_EQ( "[ 1 ]\r\n \n", JsonFile( path() ).text() );
}

TEST_F( JsonFileTest, SyntaxErrorNamesLineAndColumn ) {
    content( "[\n  { \"a\": 1\n    \"b\": 2 }\n]\n" );
    EXPECT_EQ( path() + ":3:5: Missing a comma or '}' after an object member.", refusal() );
}

TEST_F( JsonFileTest, EmptyFileIsASyntaxError ) {
    content( "" );
    EXPECT_EQ( path() + ":1:1: The document is empty.", refusal() );
}

TEST_F( JsonFileTest, MissingFileIsNamed ) {
    EXPECT_EQ( "cannot read " + path() + ": No such file or directory", refusal() );
}

TEST_F( JsonFileTest, FolderIsNoFile ) {
    EXPECT_EQ( "cannot read " + folder.path() + ": Is a directory", refusalOf( folder.path() ) );
}

TEST_F( JsonFileTest, ZeroByteDoesNotHideTheRest ) {
    content( std::string( "[]\n\0{", 5 ) );
    EXPECT_EQ( path() + ":2:1: a zero byte ends the document here", refusal() );
}

TEST_F( JsonFileTest, BrokenUtf8IsRefused ) {
    content( "[ \"\xff\" ]" );
    EXPECT_EQ( path() + ":1:4: Invalid encoding in string.", refusal() );
}

TEST_F( JsonFileTest, DeepNestingIsRefusedAndNoCrash ) {
    content( std::string( 1000000, '[' ) );
    EXPECT_EQ( path() + ":1:201: nested deeper than 200 levels", refusal() );
}
