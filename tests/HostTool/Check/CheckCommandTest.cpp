#include "HostTool/Check/Rules.h"
#include "tests/HostTool/Kavractl.h"

#include <gmock/gmock.h>

#include <fstream>
#include <sstream>

using testing::EndsWith;
using testing::HasSubstr;

class CheckCommandTest : public KavractlTest {
  protected:
    const std::string wrongMedium = "[\n  { \"type\": \"I2C\", \"ham\": \"KavraSmbus\" }\n]\n";
};

TEST_F( CheckCommandTest, FindingsAreLocatedAndHinted ) {
    folder.topology( wrongMedium );
    const ProgramResult result = kavractl( { "check", folder.file( "topology.json" ) } );
    EXPECT_EQ( 1, result.status );
    EXPECT_EQ( folder.file( "topology.json" ) +
                   ":2:3: error: \"id\" is missing [missing-key]\n"
                   "    hint: Number of the bus; below a mux the control byte that selects the "
                   "channel. A whole number of 32 bits with sign.\n"
                   "1 error, 0 warnings\n",
               result.out );
    EXPECT_EQ( "", result.err );
}

TEST_F( CheckCommandTest, TheShippedBoardIsFine ) {
    const ProgramResult result = kavractl( { "check", SOURCE_DIR "/boards/VundaT" } );
    EXPECT_EQ( 0, result.status ) << result.out;
    EXPECT_THAT( result.out, EndsWith( "0 errors, 0 warnings\n" ) );
}

TEST_F( CheckCommandTest, TheBoardsFolderIsCheckedWithoutOperands ) {
    folder.topology( wrongMedium );
    folder.devices( "[]" );
    EXPECT_EQ( 1, kavractl( { "check" } ).status );
    EXPECT_EQ( 0, kavractl( { "check", "--board", SOURCE_DIR "/boards/VundaT" } ).status );
}

TEST_F( CheckCommandTest, WarningsLeaveTheExitCodeAlone ) {
    folder.topology( R"([ { "type": "LinuxFs", "ham": "SimHam", "devices": [ { "did": 1 } ] } ])" );
    folder.devices( "[]" );
    const ProgramResult result = kavractl( { "check", folder.path() } );
    EXPECT_EQ( 0, result.status );
    EXPECT_THAT( result.out, HasSubstr( ": warning: nothing uses device 1 [unused-device]\n" ) );
}

TEST_F( CheckCommandTest, JsonHasTheSameFindings ) {
    folder.topology( wrongMedium );
    const ProgramResult result = kavractl( { "check", "--json", folder.file( "topology.json" ) } );
    EXPECT_EQ( 1, result.status );
    const rapidjson::Document document = parsed( result.out );
    const auto &errors = document["errors"];
    ASSERT_EQ( 1U, errors.Size() );
    EXPECT_EQ( folder.file( "topology.json" ), errors[0]["file"].GetString() );
    EXPECT_EQ( 2, errors[0]["line"].GetInt() );
    EXPECT_EQ( 3, errors[0]["column"].GetInt() );
    EXPECT_STREQ( "missing-key", errors[0]["rule"].GetString() );
    EXPECT_TRUE( document["warnings"].Empty() );
}

TEST_F( CheckCommandTest, FilesThatCannotBeReadEndIt ) {
    for ( const std::string &path :
          { folder.file( "topology-of-nobody.json" ), std::string( "/" ), std::string() } ) {
        EXPECT_EQ( 2, kavractl( { "check", path } ).status ) << path;
    }
}

TEST_F( CheckCommandTest, FilesThatNothingTellsWhatTheyAreEndIt ) {
    folder.write( "some.json", "{}" );
    const ProgramResult result = kavractl( { "check", folder.file( "some.json" ) } );
    EXPECT_EQ( 2, result.status );
    EXPECT_THAT( result.err, HasSubstr( "cannot tell what " ) );
}

TEST_F( CheckCommandTest, TwoOfAKindEndIt ) {
    folder.write( "topology2.json", "[]" );
    EXPECT_EQ(
        2, kavractl( { "check", folder.file( "topology.json" ), folder.file( "topology2.json" ) } )
               .status );
}

TEST_F( CheckCommandTest, EndlessFilesAreRefused ) {
    const ProgramResult result = kavractl( { "check", "/dev/zero" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.out, HasSubstr( "larger than 64 MiB [too-large]" ) );
}

TEST_F( CheckCommandTest, ThePageHasTheRulesThatAreCheckedAndPrinted ) {
    const ProgramResult result = kavractl( { "check", "--rules" } );
    EXPECT_EQ( 0, result.status );
    EXPECT_EQ( HostTool::Check::rulesAsText(), result.out );
    std::ostringstream page;
    page << std::ifstream( SOURCE_DIR "/docs/check.md" ).rdbuf();
    EXPECT_THAT( page.str(), EndsWith( "\n" + result.out ) );
}
