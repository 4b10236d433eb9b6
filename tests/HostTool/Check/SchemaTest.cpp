// The schemas, judged by a validator of another make: it and the linter say the same.
#include "HostTool/Check/Shape.h"
#include "tests/HostTool/BoardFolder.h"
#include "tests/HostTool/Check/Mutation.h"
#include "tests/support/RunProgram.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

using HostTool::JsonFile;
using HostTool::Check::checkShape;
using HostTool::Check::Findings;
using HostTool::Check::Kind;

namespace {

struct Case {
    Kind kind;
    const char *schema;
    const char *data; ///< folder of documents below tests/data
    const char *file; ///< in a board's folder; null: none
};
constexpr Case cases[] = {
    { Kind::topology, "topology", "topology", "topology.json" },
    { Kind::arguments, "device-arguments", "arguments", nullptr },
    { Kind::devices, "devices", nullptr, "devices.json" },
    { Kind::emulation, "emulation", "emulation", "emulation.json" },
};

std::string contents( const std::filesystem::path &path ) {
    std::ostringstream text;
    text << std::ifstream( path ).rdbuf();
    return text.str();
}

bool linterPasses( Kind kind, const std::string &path ) {
    const JsonFile document( path, contents( path ) );
    Findings findings;
    return checkShape( document, kind, findings );
}

class SchemaTest : public testing::TestWithParam<Case> {
  protected:
    void SetUp() override {
        const ProgramResult result =
            runProgram( { "/usr/bin/python3", "-c", "import jsonschema" } );
        if ( result.status != 0 ) {
            GTEST_SKIP() << "no python3-jsonschema: scripts/deps installs it";
        }
    }

    static std::vector<std::string> judge( const std::vector<std::string> &documents ) {
        std::vector<std::string> command = { "/usr/bin/python3",
                                             SOURCE_DIR "/tests/HostTool/Check/judge_schemas.py",
                                             SOURCE_DIR "/schemas", GetParam().schema };
        command.insert( command.end(), documents.begin(), documents.end() );
        const ProgramResult result = runProgram( command );
        EXPECT_EQ( 0, result.status ) << result.err;
        std::istringstream lines( result.out );
        std::vector<std::string> verdicts;
        for ( std::string line; std::getline( lines, line ); ) {
            verdicts.push_back( line );
        }
        return verdicts;
    }

    static void expectAgreement( const std::vector<std::string> &documents ) {
        const std::vector<std::string> verdicts = judge( documents );
        ASSERT_EQ( documents.size(), verdicts.size() );
        for ( size_t i = 0; i < documents.size(); ++i ) {
            EXPECT_EQ( linterPasses( GetParam().kind, documents[i] ) ? "valid" : "invalid",
                       verdicts[i] )
                << documents[i] << ": " << contents( documents[i] );
        }
    }

    /// Documents of tests/data that are JSON.
    static std::vector<std::string> documentsIn( const char *outcome ) {
        std::vector<std::string> paths;
        if ( !GetParam().data ) {
            return paths;
        }
        const std::string folder =
            std::string( TEST_DATA_DIR "/" ) + GetParam().data + "/" + outcome;
        for ( const auto &entry : std::filesystem::directory_iterator( folder ) ) {
            const std::string path = entry.path();
            if ( entry.path().extension() == ".json" &&
                 !JsonFile( path, contents( path ) ).flaw() ) {
                paths.push_back( path );
            }
        }
        std::sort( paths.begin(), paths.end() );
        return paths;
    }

    static std::vector<std::string> boardDocuments() {
        std::vector<std::string> paths;
        if ( !GetParam().file ) {
            return paths;
        }
        for ( const auto &entry :
              std::filesystem::recursive_directory_iterator( SOURCE_DIR "/boards" ) ) {
            if ( entry.path().filename() == GetParam().file ) {
                paths.push_back( entry.path() );
            }
        }
        paths.push_back( std::string( TEST_DATA_DIR "/check/board/" ) + GetParam().file );
        return paths;
    }

    static bool hasTwins( const std::string &path ) {
        const JsonFile document( path, contents( path ) );
        Findings findings;
        checkShape( document, GetParam().kind, findings );
        return std::any_of( findings.all().begin(), findings.all().end(), []( const auto &each ) {
            return each.rule->id == HostTool::Check::RuleId::duplicateKey ||
                   each.rule->id == HostTool::Check::RuleId::repeatedKey;
        } );
    }
};

std::string nameOf( const testing::TestParamInfo<Case> &info ) {
    std::string name = info.param.schema;
    std::erase( name, '-' );
    return name;
}

} // namespace

TEST_P( SchemaTest, BothPassTheBoards ) {
    const std::vector<std::string> documents = boardDocuments();
    for ( const std::string &verdict : judge( documents ) ) {
        EXPECT_EQ( "valid", verdict );
    }
    expectAgreement( documents );
}

// Of two equal keys the other validator sees the last one.
TEST_P( SchemaTest, BothSayTheSameOfDocumentsThatTheReadersTakeOrNot ) {
    for ( const char *outcome : { "pass", "fail" } ) {
        std::vector<std::string> documents = documentsIn( outcome );
        std::erase_if( documents, hasTwins );
        expectAgreement( documents );
    }
}

TEST_P( SchemaTest, TheReadersTakeWhatTheSchemaPasses ) {
    const std::vector<std::string> documents = documentsIn( "pass" );
    for ( const std::string &path : documents ) {
        EXPECT_TRUE( linterPasses( GetParam().kind, path ) ) << path;
    }
}

TEST_P( SchemaTest, BothSayTheSameOfAChangedBoard ) {
    if ( !GetParam().file ) {
        return;
    }
    const std::string board = std::string( TEST_DATA_DIR "/check/board/" ) + GetParam().file;
    rapidjson::Document original;
    original.Parse( contents( board ).c_str() );
    const std::vector<Mutation> mutations = allMutations( original );
    const BoardFolder folder;
    std::vector<std::string> documents;
    constexpr size_t step = 23;
    for ( size_t i = 0; i < mutations.size(); i += step ) {
        rapidjson::Document changed;
        changed.CopyFrom( original, changed.GetAllocator() );
        mutations[i].apply( changed );
        const std::string name = std::to_string( i ) + ".json";
        folder.write( name, textOfDocument( changed ) );
        if ( !hasTwins( folder.file( name ) ) ) {
            documents.push_back( folder.file( name ) );
        }
    }
    ASSERT_LT( size_t{ 100 }, documents.size() );
    expectAgreement( documents );
}

INSTANTIATE_TEST_SUITE_P( Schemas, SchemaTest, testing::ValuesIn( cases ), nameOf );
