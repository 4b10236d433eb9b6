// kavra-conformance as a platform vendor runs it: on a library that conforms, and on libraries that
// are wrong in one way each.
#include "tests/support/RunProgram.h"

#include <csignal>
#include <fstream>
#include <gmock/gmock.h>
#include <rapidjson/document.h>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string board = SOURCE_DIR "/boards/VundaT";

ProgramResult conformance( const std::vector<std::string> &arguments ) {
    std::vector<std::string> command = { CONFORMANCE };
    command.insert( command.end(), arguments.begin(), arguments.end() );
    return runProgram( command,
                       { "ASAN_OPTIONS=detect_leaks=0:symbolize=0", "KAVRA_BOARD=" + board } );
}

std::string small( const std::string &name ) {
    return SMALL_LIBRARIES "/lib" + name + ".so";
}

/// Ids of the checks that failed.
std::vector<std::string> failedIn( const std::string &output ) {
    std::vector<std::string> failed;
    std::istringstream lines( output );
    for ( std::string line; std::getline( lines, line ); ) {
        if ( line.starts_with( "not ok " ) ) {
            const size_t start = line.find( " - " ) + 3;
            failed.push_back( line.substr( start, line.find( ':' ) - start ) );
        }
    }
    return failed;
}

rapidjson::Document json( const std::string &text ) {
    rapidjson::Document document;
    document.Parse( text.c_str() );
    EXPECT_FALSE( document.HasParseError() ) << text;
    return document;
}

TEST( ConformanceTest, OwnLibraryConforms ) {
    const ProgramResult result = conformance( { "--deadline", "100", OWN_LIBRARY } );
    EXPECT_EQ( 0, result.status ) << result.out << result.err;
    EXPECT_THAT( failedIn( result.out ), IsEmpty() ) << result.out;
    EXPECT_THAT( result.out, HasSubstr( " 0 failed, 0 skipped\n" ) );
}

// What the wrong libraries below have in common is right.
TEST( ConformanceTest, SoundLibraryPassesWhatTheWrongOnesFail ) {
    const ProgramResult result =
        conformance( { "--only", "symbols.entry-points,status.unknown-light,status.documented",
                       small( "SoundLibrary" ) } );
    EXPECT_EQ( 0, result.status ) << result.out << result.err;
    EXPECT_THAT( result.out, HasSubstr( "# 3 checks: 3 passed" ) );
}

TEST( ConformanceTest, MissingEntryPointIsNamed ) {
    const ProgramResult result =
        conformance( { "--only", "symbols", small( "LibraryWithoutGpio" ) } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( failedIn( result.out ), testing::Contains( "symbols.entry-points" ) );
    EXPECT_THAT( result.out, HasSubstr( "# not exported as a function: pl_gpio_add\n" ) );
}

TEST( ConformanceTest, NullSlotIsNamed ) {
    const ProgramResult result =
        conformance( { "--only", "tables.slots", small( "LibraryWithNullSlot" ) } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( failedIn( result.out ), ElementsAre( "tables.slots" ) );
    EXPECT_THAT( result.out, HasSubstr( ": pl_led_ops: setLightSetting is null\n" ) );
}

TEST( ConformanceTest, OperationThatTheClassDoesNotHaveIsPassedOver ) {
    const ProgramResult result =
        conformance( { "--only", "tables.slots,values.fan,values.raw,status.lengths",
                       small( "LibraryWithFewOperations" ) } );
    EXPECT_EQ( 0, result.status ) << result.out;
    EXPECT_THAT( result.out, HasSubstr( ": setRpm or getRpm is null" ) );
    EXPECT_THAT( result.out, HasSubstr( ": i2cBlockRead is null" ) );
    EXPECT_THAT( result.out, HasSubstr( "# 4 checks: 1 passed, 0 failed, 3 skipped" ) );
}

// Of each group one check at least: it fails on its library, and passes or skips on the sound one.
TEST( ConformanceTest, EachFaultFailsItsCheckAlone ) {
    const struct {
        const char *library;
        const char *id;
        const char *seen;
    } rows[] = {
        { "LibraryOfAnyTopology", "init.syntax", "status 0 and not 3" },
        { "LibraryThatWritesHostWord", "records.host-word", "word 0 of its record has changed" },
        { "LibraryOfWrongSize", "tables.sizes", "its size word is 16 and not 24" },
        { "LibraryThatWritesOnFailure", "null.outputs", "status 4, and the output was written" },
        { "LibraryWithThread", "process.threads", "more threads than before" },
        { "LibraryWithOpenFile", "process.descriptors", "inherits /dev/null" },
        { "LibraryThatTalks", "process.output", "the small library reads" },
        { "LibraryOfTheEnvironment", "process.environment", " HOME LANG" },
    };
    std::string ids;
    for ( const auto &row : rows ) {
        ids += ( ids.empty() ? "" : "," ) + std::string( row.id );
    }
    EXPECT_THAT( failedIn( conformance( { "--only", ids, small( "SoundLibrary" ) } ).out ),
                 IsEmpty() );
    for ( const auto &row : rows ) {
        const ProgramResult result = conformance( { "--only", ids, small( row.library ) } );
        EXPECT_EQ( 1, result.status ) << row.library;
        EXPECT_THAT( failedIn( result.out ), ElementsAre( row.id ) ) << result.out;
        EXPECT_THAT( result.out, HasSubstr( row.seen ) );
    }
}

// It has no board and no assertions.
TEST( ConformanceTest, LibraryWithoutBoardFailsWhatLooksAtOne ) {
    const ProgramResult result =
        conformance( { "--only", "values.temperature,values.fan,values.lamp,assertions.topology",
                       small( "SoundLibrary" ) } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( failedIn( result.out ), ElementsAre( "values.temperature", "values.fan",
                                                      "values.lamp", "assertions.topology" ) );
}

TEST( ConformanceTest, TimerThatAnotherOneDeletesDoesNotFire ) {
    const ProgramResult result =
        conformance( { "--only", "status.documented", small( "LibraryThatDeletesTimers" ) } );
    EXPECT_EQ( 0, result.status ) << result.out;
}

TEST( ConformanceTest, WrongStatusIsNamed ) {
    const ProgramResult result =
        conformance( { "--only", "status.unknown-light", small( "LibraryOfWrongStatus" ) } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( failedIn( result.out ), ElementsAre( "status.unknown-light" ) );
    EXPECT_THAT( result.out, HasSubstr( "setLightSetting( 7 ): status 0 and not 3" ) );
}

TEST( ConformanceTest, CrashFailsItsCheckAndTheRunGoesOn ) {
    const ProgramResult result = conformance(
        { "--only", "status.documented,status.unknown-light", small( "LibraryThatCrashes" ) } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( failedIn( result.out ), ElementsAre( "status.documented" ) );
    EXPECT_THAT( result.out, HasSubstr( "# the process with the library in it " ) );
    EXPECT_THAT( result.out, HasSubstr( "\nok 2 - status.unknown-light" ) );
}

TEST( ConformanceTest, HangFailsItsCheckAndTheRunGoesOn ) {
    const ProgramResult result =
        conformance( { "--deadline", "4", "--only", "status.documented,status.unknown-light",
                       small( "LibraryThatHangs" ) } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( failedIn( result.out ), ElementsAre( "status.documented" ) );
    EXPECT_THAT( result.out, HasSubstr( "did not answer in time" ) );
    EXPECT_THAT( result.out, HasSubstr( "\nok 2 - status.unknown-light" ) );
}

TEST( ConformanceTest, JsonSaysWhatTheLinesSay ) {
    const ProgramResult result =
        conformance( { "--json", "--only=tables.slots", "--only=symbols.bound",
                       small( "LibraryWithNullSlot" ) } );
    EXPECT_EQ( 1, result.status );
    const rapidjson::Document document = json( result.out );
    EXPECT_FALSE( document["conforms"].GetBool() );
    EXPECT_EQ( 1U, document["failed"].GetUint() );
    ASSERT_EQ( 2U, document["checks"].Size() );
    EXPECT_STREQ( "symbols.bound", document["checks"][0]["id"].GetString() );
    EXPECT_STREQ( "passed", document["checks"][0]["verdict"].GetString() );
    EXPECT_TRUE( document["checks"][0]["seen"].IsNull() );
    EXPECT_STREQ( "failed", document["checks"][1]["verdict"].GetString() );
    EXPECT_THAT( document["checks"][1]["seen"].GetString(),
                 HasSubstr( "setLightSetting is null" ) );
}

TEST( ConformanceTest, ListHasEachCheckOnceAndItsPageToo ) {
    const rapidjson::Document list = json( conformance( { "--list", "--json" } ).out );
    std::ifstream file( SOURCE_DIR "/docs/conformance.md" );
    const std::string page( std::istreambuf_iterator<char>( file ), {} );
    std::set<std::string> ids;
    ASSERT_LT( 50U, list.Size() );
    for ( const auto &check : list.GetArray() ) {
        EXPECT_TRUE( ids.insert( check["id"].GetString() ).second ) << check["id"].GetString();
        EXPECT_STRNE( "", check["sentence"].GetString() );
        EXPECT_STRNE( "", check["reason"].GetString() );
        EXPECT_THAT( page, HasSubstr( "| `" + std::string( check["id"].GetString() ) + "` | " +
                                      check["sentence"].GetString() + " |" ) );
    }
}

TEST( ConformanceTest, WrongCallsEndWithTwo ) {
    const std::vector<std::string> calls[] = {
        {},
        { "--nonsense" },
        { "--only" },
        { "--only", "", OWN_LIBRARY },
        { "--only", "tables.slot", OWN_LIBRARY },
        { "--deadline", "0", OWN_LIBRARY },
        { OWN_LIBRARY, OWN_LIBRARY },
        { "--board", SOURCE_DIR "/schemas", OWN_LIBRARY },
    };
    for ( const auto &call : calls ) {
        const ProgramResult result = conformance( call );
        EXPECT_EQ( 2, result.status ) << testing::PrintToString( call );
        EXPECT_THAT( result.err, testing::StartsWith( "kavra-conformance: " ) );
    }
    EXPECT_THAT( conformance( { "--json", "-xh" } ).err, HasSubstr( "'-x' is no option" ) );
    EXPECT_THAT( conformance( { "--only", "tables.slot", OWN_LIBRARY } ).err,
                 HasSubstr( "did you mean 'tables.slots'?" ) );
}

TEST( ConformanceTest, WhatCannotBeLoadedOrStartedEndsWithThree ) {
    const std::vector<std::string> calls[] = {
        { SOURCE_DIR "/no-such-library.so" },
        { SOURCE_DIR "/README.md" },
        { "--server", SOURCE_DIR "/no-such-server", OWN_LIBRARY },
        { "--server", "no-such-server", OWN_LIBRARY },
        { "--server", "/bin/true", OWN_LIBRARY },
    };
    for ( const auto &call : calls ) {
        const ProgramResult result = conformance( call );
        EXPECT_EQ( 3, result.status ) << testing::PrintToString( call ) << result.err;
        EXPECT_THAT( result.err, testing::StartsWith( "kavra-conformance: " ) );
    }
}

TEST( ConformanceTest, ServerThatDoesNotComeUpIsSaidToHaveEnded ) {
    EXPECT_THAT( conformance( { "--server", "/bin/true", OWN_LIBRARY } ).err,
                 HasSubstr( "/bin/true does not come up: it ended with exit code 0" ) );
    EXPECT_THAT( conformance( { "--server", SOURCE_DIR "/no-such-server", OWN_LIBRARY } ).err,
                 HasSubstr( "cannot be started: No such file or directory" ) );
}

// The library's first reading stops the program that judges it, and then hangs.
TEST( ConformanceTest, SignalEndsTheRunWithinACheck ) {
    const ProgramResult result = conformance(
        { "--deadline", "100", "--only", "status.documented", small( "LibraryThatStopsTheRun" ) } );
    EXPECT_EQ( 128 + SIGTERM, result.status );
    EXPECT_EQ( "kavra-conformance: interrupted\n", result.err );
}

} // namespace
