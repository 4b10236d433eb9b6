// Every input that is kept, in a process of its own: an assertion of the library's contract ends it
// well, whatever else ends it is a bug that has come back.
#include "tests/fuzz/Replay.h"
#include "fuzz/Contract.h"
#include "fuzz/Files.h"
#include "fuzz/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cassert>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char *inputFolders[] = { "corpus", "regressions" };

const std::filesystem::path fuzzFolder = FUZZ_DIR;

std::vector<std::filesystem::path> inputsOf( const std::string &target ) {
    std::vector<std::filesystem::path> inputs;
    for ( const char *folder : inputFolders ) {
        std::error_code none;
        for ( const auto &file :
              std::filesystem::directory_iterator( fuzzFolder / folder / target, none ) ) {
            inputs.push_back( file.path() );
        }
    }
    return inputs;
}

// Without the ends of static objects: they belong to the parent.
int statusOfChild( const ReplayTarget &target, const std::string &input ) {
    const pid_t child = fork();
    if ( child == 0 ) {
        target.eat( input );
        _exit( 0 );
    }
    int status = -1;
    waitpid( child, &status, 0 );
    return status;
}

class FuzzReplayTest : public testing::TestWithParam<ReplayTarget> {};

TEST_P( FuzzReplayTest, EveryKeptInputEndsWell ) {
    const std::vector<std::filesystem::path> inputs = inputsOf( GetParam().name );
    EXPECT_FALSE( inputs.empty() );
    const Fuzz::TemporaryFolder folder;
    for ( const std::filesystem::path &input : inputs ) {
        EXPECT_EQ( 0, statusOfChild( GetParam(), Fuzz::textOfFile( input ) ) ) << input;
    }
}

std::string testName( const testing::TestParamInfo<ReplayTarget> &info ) {
    std::string name;
    for ( const std::string_view text = info.param.name; const char each : text ) {
        name += each == '-' ? '_' : each;
    }
    return name;
}

INSTANTIATE_TEST_SUITE_P( Targets, FuzzReplayTest,
                          testing::ValuesIn( replayTargets().begin(), replayTargets().end() ),
                          testName );

} // namespace

// In place of the system's function, for the library and all else that is linked to the program.
extern "C" void __assert_fail( const char *text, const char *file, unsigned line,
                               const char *function ) noexcept {
    if ( Fuzz::feedsTheLibrary() && Fuzz::isAssertionOfContract( text, file ) ) {
        _exit( 0 );
    }
    fprintf( stderr, "%s:%u: %s: assertion '%s' failed\n", file, line, function, text );
    abort();
}
