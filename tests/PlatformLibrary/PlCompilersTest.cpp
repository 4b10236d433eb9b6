// The contract alone, in every language, standard and compiler that a host is likely to use, with
// all that each compiler warns of.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

struct Dialect {
    const char *name;
    const char *compiler;
    const char *options;
};

constexpr const char *gccWarnings =
    "-Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Wshadow -Wundef -Wcast-qual "
    "-Wcast-align -Wredundant-decls -Wdouble-promotion -Wformat=2 -Wsuggest-attribute=format";
// A header that other languages read too cannot be what only C++ of today has.
constexpr const char *clangWarnings =
    "-Weverything -Wno-padded -Wno-c++98-compat -Wno-c++98-compat-pedantic";

const Dialect dialects[] = {
    { "GccC99", "gcc", "-x c -std=c99" },           { "GccC17", "gcc", "-x c -std=c17" },
    { "GccCpp17", "gcc", "-x c++ -std=c++17" },     { "GccCpp20", "gcc", "-x c++ -std=c++20" },
    { "ClangC99", "clang", "-x c -std=c99" },       { "ClangC17", "clang", "-x c -std=c17" },
    { "ClangCpp17", "clang", "-x c++ -std=c++17" }, { "ClangCpp20", "clang", "-x c++ -std=c++20" },
};

int run( const std::string &command ) {
    return std::system( command.c_str() );
}

class PlCompilersTest : public testing::TestWithParam<Dialect> {
  protected:
    void SetUp() override {
        const std::string compiler = GetParam().compiler;
        if ( run( "command -v " + compiler + " >/dev/null" ) != 0 ) {
            GTEST_SKIP() << compiler << " is not installed";
        }
    }
    ~PlCompilersTest() override { std::remove( program().c_str() ); }

    static std::string program() {
        return BINARY_DIR "/bin/PlAlone" + std::string( GetParam().name ) + "-" +
               std::to_string( getpid() );
    }
    /// Compiles for this dialect with every warning as an error. @return 0 when it compiled
    static int compile( const std::string &more ) {
        const std::string compiler = GetParam().compiler;
        return run( compiler + " -Werror " + ( compiler == "gcc" ? gccWarnings : clangWarnings ) +
                    " " + GetParam().options + " -I '" SOURCE_DIR "' -o '" + program() + "' " +
                    more );
    }
};

TEST_P( PlCompilersTest, HostThatIncludesTheContractAloneCompilesAndRuns ) {
    ASSERT_EQ( 0, compile( "'" SOURCE_DIR "/tests/PlatformLibrary/PlAlone.c'" ) );
    EXPECT_EQ( 0, run( "'" + program() + "'" ) );
}

INSTANTIATE_TEST_SUITE_P( Dialects, PlCompilersTest, testing::ValuesIn( dialects ),
                          []( const auto &dialect ) { return std::string( dialect.param.name ); } );

} // namespace
