// What others build against an installed tree works from that tree.
#include "tests/support/RunProgram.h"
#include "tests/support/Sanitized.h"
#include "tests/support/ServerProcess.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

// Of clang's sanitizers the C compiler links no part that libraries in C++ want from their host.
#if defined( __clang__ )
constexpr bool hostsInCAreLinked = !isSanitized;
#else
constexpr bool hostsInCAreLinked = true;
#endif

std::string run( const std::vector<std::string> &command,
                 const std::vector<std::string> &environment = {} ) {
    const ProgramResult result = runProgram( command, environment );
    if ( result.status != 0 ) {
        throw std::runtime_error( command.front() + ": " + std::to_string( result.status ) + "\n" +
                                  result.out + result.err );
    }
    return result.out;
}

/// An install of this build in a folder of its own.
class InstallTest : public testing::Test {
  protected:
    InstallTest() {
        std::string pattern = testing::TempDir() + "kavra-install-XXXXXX";
        if ( mkdtemp( pattern.data() ) == nullptr ) {
            throw std::runtime_error( pattern + " cannot be made" );
        }
        folder_ = pattern;
        run( { CMAKE, "--install", BINARY_DIR, "--prefix", prefix() } );
    }
    ~InstallTest() override { fs::remove_all( folder_ ); }

    std::string prefix() const { return folder_ + "/prefix"; }
    std::string lib() const { return prefix() + "/" LIBDIR; }
    std::string work() const { return folder_ + "/work"; }
    std::string boardFile( const std::string &name ) const {
        return prefix() + "/" DATADIR "/kavra/boards/VundaT/" + name;
    }
    std::string text( const std::string &path ) const {
        std::ifstream file( path );
        return { std::istreambuf_iterator<char>( file ), {} };
    }

    void buildByCmake() const {
        const std::string source = SOURCE_DIR "/tests/packaging/consumer";
        run( { CMAKE, "-S", source, "-B", work(), "-G", "Ninja", "-DCMAKE_PREFIX_PATH=" + prefix(),
               "-DCMAKE_MAKE_PROGRAM=" NINJA, "-DCMAKE_C_COMPILER=" C_COMPILER,
               "-DCMAKE_CXX_COMPILER=" CXX_COMPILER, "-DCMAKE_C_FLAGS=" C_FLAGS,
               "-DCMAKE_CXX_FLAGS=" CXX_FLAGS, "-DEXAMPLES=" + examples() } );
        run( { CMAKE, "--build", work() } );
    }

    std::string examples() const { return prefix() + "/" DATADIR "/doc/kavra/examples"; }

    /// Compiles one file as a makefile would.
    void buildByPkgConfig( const std::string &compiler, const std::string &source,
                           const std::string &package, const std::string &program ) const {
        fs::create_directories( work() );
        run( { "/bin/sh", "-ec",
               compiler + " -o " + work() + "/" + program + " " + source +
                   " $(pkg-config --cflags " + package + ") $(pkg-config --libs " + package + ")" },
             { "PKG_CONFIG_PATH=" + lib() + "/pkgconfig" } );
    }

    std::string minimalHost() const {
        return run( { work() + "/minimal_host", lib() + "/libKavraDriversVundaT.so.1",
                      boardFile( "topology.json" ) },
                    { "ASAN_OPTIONS=detect_leaks=0" } );
    }
    std::string linkedHost() const {
        return run( { work() + "/linked_host" },
                    { "LD_LIBRARY_PATH=" + lib(), "ASAN_OPTIONS=detect_leaks=0" } );
    }
    std::string readRegister() const {
        return run( { work() + "/read_register" }, { "LD_LIBRARY_PATH=" + lib() } );
    }

  private:
    std::string folder_;
};

TEST_F( InstallTest, CmakePackageBuildsHostsAndClients ) {
    if ( !hostsInCAreLinked ) {
        GTEST_SKIP() << "clang links no host in C to sanitized libraries";
    }
    buildByCmake();

    const ServerProcess server( boardFile( "emulation.json" ) );
    EXPECT_EQ( "24.5 C\n", minimalHost() );
    EXPECT_EQ( "18 80 \n", readRegister() );
    EXPECT_EQ( "status 3\n", linkedHost() );
    EXPECT_EQ( lib() + "/libKavraDriversVundaT.so.1.0.0\n" + prefix() +
                   "/" DATADIR "/kavra/boards\n",
               text( work() + "/places.txt" ) );
}

TEST_F( InstallTest, PkgConfigBuildsHostsAndClients ) {
    if ( !hostsInCAreLinked ) {
        GTEST_SKIP() << "clang links no host in C to sanitized libraries";
    }
    const std::string sources = SOURCE_DIR "/tests/packaging/consumer/";
    buildByPkgConfig( C_COMPILER " " C_FLAGS, examples() + "/minimal_host.c", "kavra-pl",
                      "minimal_host" );
    buildByPkgConfig( CXX_COMPILER " " CXX_FLAGS " -std=c++17", sources + "read_register.cpp",
                      "SmbusProto", "read_register" );
    buildByPkgConfig( C_COMPILER " " C_FLAGS, sources + "linked_host.c", "KavraDriversVundaT",
                      "linked_host" );

    const ServerProcess server( boardFile( "emulation.json" ) );
    EXPECT_EQ( "24.5 C\n", minimalHost() );
    EXPECT_EQ( "18 80 \n", readRegister() );
    EXPECT_EQ( "status 3\n", linkedHost() );
}

TEST_F( InstallTest, ToolsFindTheirLibrariesAndDocumentsBesideThem ) {
    const ServerProcess server( boardFile( "emulation.json" ) );
    fs::create_directories( work() );

    const std::string checked = run( { prefix() + "/bin/kavra-smbusd", "--check-config", "--board",
                                       boardFile( "emulation.json" ) } );
    const std::string shown = run(
        { "/bin/sh", "-ec", "cd " + work() + " && exec " + prefix() + "/bin/kavractl show inlet" },
        { "ASAN_OPTIONS=detect_leaks=0" } );

    EXPECT_EQ( boardFile( "emulation.json" ) + ": fine\n", checked );
    EXPECT_NE( std::string::npos, shown.find( "24.5 C" ) ) << shown;
}

TEST_F( InstallTest, LibrariesHaveTheirLinks ) {
    for ( const std::string name : { "libSmbusProto.so", "libKavraDriversVundaT.so" } ) {
        EXPECT_EQ( name + ".1", fs::read_symlink( lib() + "/" + name ) );
        EXPECT_EQ( name + ".1.0.0", fs::read_symlink( lib() + "/" + name + ".1" ) );
    }
}

TEST_F( InstallTest, MessagesCanBeCompiledForOtherLanguages ) {
    fs::create_directories( work() );

    run( { "/usr/bin/protoc", "--proto_path=" + prefix() + "/include", "--python_out=" + work(),
           "KavraUtil/Smbus.proto" } );

    EXPECT_TRUE( fs::exists( work() + "/KavraUtil/Smbus_pb2.py" ) );
}

TEST_F( InstallTest, UnitNamesTheInstalledProgram ) {
    const std::string unit = text( prefix() + "/lib/systemd/system/kavra-smbusd.service" );

    EXPECT_NE( std::string::npos, unit.find( "\nExecStart=" FULL_BINDIR "/kavra-smbusd " ) )
        << unit;
}

} // namespace
