// The sessions in the guides show what really happens.
//
// A session is the indented code of one page: lines behind "$ " are typed, in one shell, and the
// lines below them must come. "..." stands for anything, alone in a line for any lines. A paragraph
// that is a file's name in backticks and a colon makes a file of the code below it.
#include "tests/packaging/Help.h"
#include "tests/support/RunProgram.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

struct Step {
    std::string command;
    std::string expected; // the lines below it
};

struct Guide {
    std::vector<Step> steps;
    std::vector<std::pair<std::string, std::string>> files; // path, content
};

constexpr const char *indent = "    ";
constexpr const char *mark = "=== next";

Guide readGuide( const std::string &path ) {
    Guide guide;
    std::istringstream lines( textOf( path ) );
    std::string file;
    bool inSession = false;
    for ( std::string line; std::getline( lines, line ); ) {
        std::smatch name;
        if ( std::regex_match( line, name, std::regex( "`([^`]+)`:" ) ) ) {
            file = name[1];
            guide.files.emplace_back( file, "" );
        } else if ( !line.empty() && !line.starts_with( indent ) ) {
            file.clear();
            inSession = false;
        } else if ( !file.empty() && !line.starts_with( "    $ " ) ) {
            guide.files.back().second += line + "\n";
        } else if ( line.starts_with( "    $ " ) ) {
            file.clear();
            inSession = true;
            guide.steps.push_back( { line.substr( 6 ), "" } );
        } else if ( inSession && !line.empty() ) {
            guide.steps.back().expected += line.substr( 4 ) + "\n";
        }
    }
    return guide;
}

/// An expression for an expected output, in which "..." stands for anything.
std::regex matching( const std::string &expected ) {
    static const std::regex special( R"([.^$|()\[\]{}*+?\\])" );
    static const std::regex anything( R"(\\\.\\\.\\\.)" );
    std::string expression;
    std::istringstream lines( expected );
    for ( std::string line; std::getline( lines, line ); ) {
        const std::string escaped = std::regex_replace( line, special, "\\$&" );
        expression +=
            line == "..." ? "(?:.*\n)*" : std::regex_replace( escaped, anything, ".*" ) + "\n";
    }
    return std::regex( expression );
}

class GuidesTest : public testing::TestWithParam<std::string> {
  protected:
    GuidesTest() {
        std::string pattern = testing::TempDir() + "kavra-guide-XXXXXX";
        if ( mkdtemp( pattern.data() ) == nullptr ) {
            throw std::runtime_error( pattern + " cannot be made" );
        }
        folder_ = pattern;
        fs::create_directory_symlink( SOURCE_DIR "/boards", folder_ + "/boards" );
    }
    ~GuidesTest() override { fs::remove_all( folder_ ); }

    void makeFiles( const Guide &guide ) const {
        for ( const auto &[name, content] : guide.files ) {
            fs::create_directories( fs::path( folder_ + "/" + name ).parent_path() );
            std::ofstream( folder_ + "/" + name ) << content;
        }
    }

    /// What each step printed.
    std::vector<std::string> outputs( const Guide &guide ) const {
        std::string script = "cd " + folder_ + "\ntrap 'kill $(jobs -p) 2>/dev/null' EXIT\n";
        for ( const Step &step : guide.steps ) {
            script += step.command + "\necho '" + mark + "'\n";
        }
        std::ofstream( folder_ + "/session" ) << script;
        const ProgramResult result =
            runProgram( { "/bin/sh", "-c", "exec timeout 60 bash " + folder_ + "/session 2>&1" },
                        { "PATH=" BINARY_DIR "/bin:/usr/bin:/bin", "LC_ALL=C.UTF-8",
                          "ASAN_OPTIONS=detect_leaks=0" } );
        std::vector<std::string> all( 1 );
        std::istringstream lines( result.out );
        for ( std::string line; std::getline( lines, line ); ) {
            if ( line == mark ) {
                all.emplace_back();
            } else if ( !line.starts_with( "kavractl: waiting up to " ) ) {
                all.back() += line + "\n"; // that line depends on which of two programs is faster
            }
        }
        all.pop_back();
        return all;
    }

  private:
    std::string folder_;
};

TEST_P( GuidesTest, SessionShowsWhatHappens ) {
    const Guide guide = readGuide( SOURCE_DIR "/docs/guides/" + GetParam() + ".md" );
    ASSERT_FALSE( guide.steps.empty() );
    makeFiles( guide );

    const std::vector<std::string> printed = outputs( guide );

    ASSERT_EQ( guide.steps.size(), printed.size() );
    for ( size_t i = 0; i < printed.size(); ++i ) {
        EXPECT_TRUE( std::regex_match( printed[i], matching( guide.steps[i].expected ) ) )
            << "$ " << guide.steps[i].command << "\nshould print:\n"
            << guide.steps[i].expected << "and printed:\n"
            << printed[i];
    }
}

std::string testName( const testing::TestParamInfo<std::string> &info ) {
    return std::regex_replace( info.param, std::regex( "-" ), "_" );
}

INSTANTIATE_TEST_SUITE_P( Sessions, GuidesTest,
                          testing::Values( "first-hour", "add-a-board", "add-an-emulated-chip",
                                           "field-failure" ),
                          testName );

} // namespace
