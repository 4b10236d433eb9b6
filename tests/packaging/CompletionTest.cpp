// What the tab key offers is what --help lists.
#include "tests/packaging/Help.h"
#include "tests/support/RunProgram.h"
#include "tests/support/ServerProcess.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

namespace {

class CompletionTest : public testing::Test {
  protected:
    void SetUp() override {
        if ( !std::filesystem::exists( "/usr/share/bash-completion/bash_completion" ) ) {
            GTEST_SKIP() << "bash-completion is not installed";
        }
    }

    /// What the tab key offers behind the last word.
    static Words offered( const std::string &program, const std::string &function,
                          const std::vector<std::string> &words ) {
        std::vector<std::string> command = { "/bin/bash",
                                             SOURCE_DIR "/tests/packaging/complete.bash",
                                             SOURCE_DIR "/packaging/completion/" + program,
                                             function, BINARY_DIR "/bin/" + program };
        command.insert( command.end(), words.begin(), words.end() );
        const ProgramResult result = runProgram( command, { "ASAN_OPTIONS=detect_leaks=0" } );
        EXPECT_EQ( "", result.err );
        std::istringstream lines( result.out );
        Words all;
        for ( std::string line; std::getline( lines, line ); ) {
            if ( !line.empty() ) {
                all.insert( line );
            }
        }
        return all;
    }
    static Words kavractl( const std::vector<std::string> &words ) {
        return offered( "kavractl", "_kavractl", words );
    }
    static Words smbusd( const std::vector<std::string> &words ) {
        return offered( "kavra-smbusd", "_kavra_smbusd", words );
    }
    static Words conformance( const std::vector<std::string> &words ) {
        return offered( "kavra-conformance", "_kavra_conformance", words );
    }
    static Words longOnes( Words options ) {
        std::erase_if( options, []( const std::string &each ) { return each[1] != '-'; } );
        return options;
    }
};

TEST_F( CompletionTest, KavractlOffersTheOptionsOfItsHelp ) {
    EXPECT_EQ( longOnes( optionsIn( helpOf( "kavractl" ) ) ), kavractl( { "--" } ) );
}

TEST_F( CompletionTest, KavractlOffersTheCommandsOfItsHelp ) {
    EXPECT_EQ( commandsIn( helpOf( "kavractl" ) ), kavractl( { "" } ) );
    EXPECT_EQ( commandsIn( helpOf( "kavractl" ) ), kavractl( { "--trace", "3", "--json", "" } ) );
}

TEST_F( CompletionTest, KavractlOffersNoCommandWhereAValueBelongs ) {
    const Words commands = commandsIn( helpOf( "kavractl" ) );
    for ( const std::string &option : optionsWithValueIn( helpOf( "kavractl" ) ) ) {
        for ( const std::string &offer : kavractl( { option, "" } ) ) {
            EXPECT_FALSE( commands.contains( offer ) ) << option << " " << offer;
        }
    }
}

TEST_F( CompletionTest, KavractlOffersTheBoardsDevices ) {
    const std::string board = SOURCE_DIR "/boards/VundaT";

    EXPECT_EQ( Words{ "inlet" }, kavractl( { "--board", board, "show", "inl" } ) );
    EXPECT_EQ( Words{ "asic-right" }, kavractl( { "--board", board, "list", "inlet", "asic-r" } ) );
}

TEST_F( CompletionTest, KavractlOffersTheDevicesOfTheBoardBehindAnEqualsSign ) {
    const std::string board = SOURCE_DIR "/boards/VundaT";

    EXPECT_EQ( Words{ "inlet" }, kavractl( { "--board=" + board, "show", "inl" } ) );
    EXPECT_EQ( Words{}, kavractl( { "--board=" + board + "/none", "show", "inl" } ) );
}

TEST_F( CompletionTest, KavractlOffersOperationsAndClasses ) {
    EXPECT_EQ( ( Words{ "scan", "send" } ), kavractl( { "smbus", "s" } ) );
    EXPECT_EQ( ( Words{ "fan", "gpio", "led", "xcvr" } ), kavractl( { "set", "" } ) );
}

TEST_F( CompletionTest, ConformanceOffersTheOptionsOfItsHelp ) {
    EXPECT_EQ( longOnes( optionsIn( helpOf( "kavra-conformance" ) ) ), conformance( { "--" } ) );
}

TEST_F( CompletionTest, ConformanceOffersItsChecksAndTheirGroups ) {
    EXPECT_EQ( ( Words{ "assertions", "assertions.topology", "assertions.transceiver" } ),
               conformance( { "--only", "assert" } ) );
}

TEST_F( CompletionTest, ServerOffersTheOptionsOfItsHelp ) {
    EXPECT_EQ( optionsIn( helpOf( "kavra-smbusd" ) ), smbusd( { "--" } ) );
}

TEST_F( CompletionTest, ServerOffersNoCommandWhereAValueBelongs ) {
    for ( const std::string &option : optionsWithValueIn( helpOf( "kavra-smbusd" ) ) ) {
        EXPECT_FALSE( smbusd( { option, "" } ).contains( "ctl" ) ) << option;
    }
}

TEST_F( CompletionTest, ServerOffersOptionsWhereAValueMayBeMissing ) {
    EXPECT_EQ( Words{ "--record" }, smbusd( { "--i2c-dev", "--rec" } ) );
}

TEST_F( CompletionTest, ServerOffersTheKnobsOfTheOneThatRuns ) {
    const ServerProcess server;

    EXPECT_EQ( ( Words{ "inlet.temperature", "inlet.thyst", "inlet.tos" } ),
               smbusd( { "ctl", "--control", server.controlPath(), "set", "inlet.t" } ) );
}

} // namespace
