// What is installed was hardened when it was built, and what reads that back notices what is not.
#include "tests/support/RunProgram.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <stdexcept>
#include <string>

namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class HardeningTest : public testing::Test {
  protected:
    HardeningTest() {
        std::string pattern = testing::TempDir() + "kavra-hardening-XXXXXX";
        if ( mkdtemp( pattern.data() ) == nullptr ) {
            throw std::runtime_error( pattern + " cannot be made" );
        }
        folder = pattern;
    }
    ~HardeningTest() override { fs::remove_all( folder ); }

    static ProgramResult run( const std::string &command ) {
        return runProgram( { "/bin/sh", "-ec", command } );
    }
    /// Links one source file with these flags and reads the result back.
    std::string complaints( const std::string &flags, const std::string &name = "kavra-thing",
                            const std::string &source = "int main( void ) { return 0; }" ) const {
        std::ofstream( folder + "/source.c" ) << source;
        const std::string file = folder + "/" + name;
        const ProgramResult built =
            run( "gcc " + flags + " -w -o " + file + " " + folder + "/source.c" );
        EXPECT_EQ( 0, built.status ) << built.err;
        const ProgramResult read = run( SOURCE_DIR "/scripts/hardening " + file );
        EXPECT_EQ( 1, read.status );
        return read.err;
    }

    std::string folder;
};

TEST_F( HardeningTest, WhatIsInstalledIsHardened ) {
    if ( !FLAGS_ARE_THOSE_OF_A_RELEASE ) {
        GTEST_SKIP() << "the flags are those of a plain release build";
    }
    const ProgramResult installed = run( CMAKE " --install " BINARY_DIR " --prefix " + folder );
    ASSERT_EQ( 0, installed.status ) << installed.err;

    const ProgramResult read =
        run( SOURCE_DIR "/scripts/hardening " + folder + "/bin " + folder + "/" LIBDIR );

    EXPECT_EQ( "", read.err );
    EXPECT_EQ( 0, read.status );
}

TEST_F( HardeningTest, WhatTheLinkerLeftOpenIsFound ) {
    const std::string found =
        complaints( "-no-pie -Wl,-z,norelro -Wl,-z,lazy -Wl,-z,execstack "
                    "-Wl,--enable-new-dtags,-rpath,'$ORIGIN/../lib:/opt/lib'" );
    EXPECT_THAT( found, HasSubstr( "no RELRO" ) );
    EXPECT_THAT( found, HasSubstr( "no BIND_NOW" ) );
    EXPECT_THAT( found, HasSubstr( "the stack is executable" ) );
    EXPECT_THAT( found, HasSubstr( "no PIE" ) );
    EXPECT_THAT( found, HasSubstr( "'$ORIGIN/../lib:/opt/lib'" ) );
}

TEST_F( HardeningTest, WhatTheCompilerLeftOutIsFound ) {
    const std::string found =
        complaints( "-shared -fPIC -fno-stack-protector", "libKavraThing.so" );
    EXPECT_THAT( found, HasSubstr( "no function checks its stack" ) );
    EXPECT_THAT( found, HasSubstr( "no call is checked for overflows" ) );
    EXPECT_THAT( found, HasSubstr( "assertions were compiled out" ) );
}

TEST_F( HardeningTest, RelocatedCodeIsFound ) {
    EXPECT_THAT( complaints( "-shared -fPIC -Wl,-z,notext", "libThing.so",
                             "__asm__( \".text\\n.globl here\\nhere: .quad here\" );" ),
                 HasSubstr( "text relocations" ) );
}

TEST_F( HardeningTest, FolderWithoutProgramsIsNoSuccess ) {
    EXPECT_EQ( 1, run( SOURCE_DIR "/scripts/hardening " SOURCE_DIR "/schemas" ).status );
}

} // namespace
