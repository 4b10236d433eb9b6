// The schema of snapshots, the reader, and validators of two makes say the same.
#include "HostTool/Failure.h"
#include "HostTool/Snapshot/StateFile.h"
#include "HostTool/Snapshot/StateText.h"
#include "tests/HostTool/BoardFolder.h"
#include "tests/HostTool/Check/Mutation.h"
#include "tests/HostTool/Snapshot/MadeStates.h"
#include "tests/support/RunProgram.h"

#include <gtest/gtest.h>
#include <rapidjson/schema.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

using namespace Made;
using rapidjson::Document;

namespace {

std::string contents( const std::string &path ) {
    std::ifstream file( path );
    return { std::istreambuf_iterator<char>( file ), {} };
}

enum class Verdict { valid, invalid, twins };

/// Two equal keys are beyond a schema: a validator sees one of them.
Verdict readersVerdict( const std::string &text ) {
    try {
        HostTool::Snapshot::readState( "made", text );
        return Verdict::valid;
    } catch ( const HostTool::Failure &failure ) {
        const std::string message = failure.what();
        return message.ends_with( "is given twice" ) ? Verdict::twins : Verdict::invalid;
    }
}

const char *nameOf( Verdict verdict ) {
    return verdict == Verdict::valid ? "valid" : "invalid";
}

class SnapshotSchemaTest : public testing::Test {
  protected:
    SnapshotSchemaTest() {
        Document schema;
        schema.Parse( contents( SOURCE_DIR "/schemas/snapshot.schema.json" ).c_str() );
        EXPECT_FALSE( schema.HasParseError() );
        compiled = std::make_unique<rapidjson::SchemaDocument>( schema );
    }

    bool ownValidatorTakes( const std::string &text ) const {
        Document document;
        document.Parse( text.c_str() );
        rapidjson::SchemaValidator validator( *compiled );
        return document.Accept( validator );
    }

    /// A verdict each: "valid" or "invalid".
    std::vector<std::string> otherVerdicts( const std::vector<std::string> &texts ) const {
        std::vector<std::string> command = { "/usr/bin/python3",
                                             SOURCE_DIR "/tests/HostTool/Check/judge_schemas.py",
                                             SOURCE_DIR "/schemas", "snapshot" };
        for ( size_t i = 0; i < texts.size(); ++i ) {
            const std::string name = std::to_string( i ) + ".json";
            folder.write( name, texts[i] );
            command.push_back( folder.file( name ) );
        }
        const ProgramResult result = runProgram( command );
        EXPECT_EQ( 0, result.status ) << result.err;
        std::istringstream lines( result.out );
        return { std::istream_iterator<std::string>( lines ), {} };
    }

    static bool hasOtherValidator() {
        return runProgram( { "/usr/bin/python3", "-c", "import jsonschema" } ).status == 0;
    }

    const BoardFolder folder;
    std::unique_ptr<rapidjson::SchemaDocument> compiled;
    const std::string sample = HostTool::Snapshot::textOf(
        board( { sensor( "inlet", 24.5 ), emptySlot( "fan1-slot" ), lamp( "status" ) } ) );
};

TEST_F( SnapshotSchemaTest, TakesASnapshot ) {
    EXPECT_TRUE( ownValidatorTakes( sample ) );
    if ( !hasOtherValidator() ) {
        GTEST_SKIP() << "no python3-jsonschema: scripts/deps installs it";
    }
    EXPECT_EQ( std::vector<std::string>{ "valid" }, otherVerdicts( { sample } ) );
}

TEST_F( SnapshotSchemaTest, SaysOfAChangedSnapshotWhatTheReaderSays ) {
    Document original;
    original.Parse( sample.c_str() );
    std::vector<std::string> texts;
    std::vector<std::string> verdicts;
    for ( const Mutation &mutation : allMutations( original ) ) {
        Document changed;
        changed.CopyFrom( original, changed.GetAllocator() );
        mutation.apply( changed );
        const std::string text = textOfDocument( changed );
        if ( const Verdict verdict = readersVerdict( text ); verdict != Verdict::twins ) {
            EXPECT_EQ( verdict == Verdict::valid, ownValidatorTakes( text ) ) << mutation.name;
            texts.push_back( text );
            verdicts.emplace_back( nameOf( verdict ) );
        }
    }
    EXPECT_LT( 100, std::count( verdicts.begin(), verdicts.end(), "valid" ) );
    EXPECT_LT( 300, std::count( verdicts.begin(), verdicts.end(), "invalid" ) );
    if ( !hasOtherValidator() ) {
        GTEST_SKIP() << "no python3-jsonschema: scripts/deps installs it";
    }
    constexpr size_t step = 5;
    std::vector<std::string> someTexts;
    std::vector<std::string> someVerdicts;
    for ( size_t i = 0; i < texts.size(); i += step ) {
        someTexts.push_back( texts[i] );
        someVerdicts.push_back( verdicts[i] );
    }
    EXPECT_EQ( someVerdicts, otherVerdicts( someTexts ) );
}

} // namespace
