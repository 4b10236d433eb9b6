// The server on real adapters of a real kernel, in a machine that qemu emulates, with the library's
// whole path above it and the kernel's own driver as a second opinion. guest/init is what happens
// inside; here is what must come out.
#include "tests/support/RunProgram.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr const char *kernelFolder = SOURCE_DIR "/build/guest-kernel";
constexpr const char *guestFolder = SOURCE_DIR "/tests/integration/guest";

bool isInstalled( const std::string &program ) {
    return runProgram( { "/bin/sh", "-c", "command -v " + program } ).status == 0;
}

std::string whatIsMissing() {
    for ( const char *program : { "qemu-system-x86_64", "busybox", "cpio" } ) {
        if ( !isInstalled( program ) ) {
            return std::string( program ) + " is not installed";
        }
    }
    if ( !std::filesystem::exists( std::string( kernelFolder ) + "/complete" ) ) {
        return "no kernel image; scripts/guest-kernel fetches it";
    }
    return "";
}

std::vector<std::string> packCommand( const std::string &image ) {
    const std::string kernel = kernelFolder;
    const std::string guest = guestFolder;
    return { guest + "/pack",
             image,
             guest + "/init",
             guest + "/topology.json",
             guest + "/devices.json",
             KAVRA_LIBRARY_FILE,
             kernel + "/i2c-dev.ko",
             kernel + "/i2c-stub.ko",
             kernel + "/i2c-piix4.ko",
             kernel + "/lm75.ko",
             "--",
             KAVRA_BIN_DIR "/kavra-smbusd",
             KAVRA_BIN_DIR "/kavractl",
             KAVRA_BIN_DIR "/minimal_host",
             KAVRA_BIN_DIR "/I2cDevGuestClient" };
}

std::vector<std::string> bootCommand( const std::string &image ) {
    const std::string kernel = kernelFolder;
    return { "/usr/bin/timeout",
             "80",
             "qemu-system-x86_64",
             "-accel",
             "tcg",
             "-cpu",
             "max",
             "-machine",
             "pc",
             "-m",
             "512",
             "-nodefaults",
             "-display",
             "none",
             "-serial",
             "stdio",
             "-no-reboot",
             "-kernel",
             kernel + "/vmlinuz",
             "-initrd",
             image,
             "-append",
             "console=ttyS0 quiet panic=-1 mitigations=off" };
}

class I2cDevGuestTest : public testing::Test {
  protected:
    void boot() {
        const std::string image = BINARY_DIR "/guest-" + std::to_string( getpid() ) + ".img";
        const ProgramResult packed = runProgram( packCommand( image ) );
        ASSERT_EQ( 0, packed.status ) << packed.err;
        const ProgramResult run = runProgram( bootCommand( image ) );
        console_ = run.out + run.err;
        std::filesystem::remove( image );
        std::istringstream lines( run.out );
        for ( std::string line; std::getline( lines, line ); ) {
            note( line );
        }
    }

    void expectResult( const std::string &name, const std::string &text ) {
        EXPECT_EQ( text, results_[name] ) << "result " << name;
    }
    void expectInResult( const std::string &name, const std::string &text ) {
        EXPECT_NE( std::string::npos, results_[name].find( text ) )
            << "result " << name << ": '" << results_[name] << "' has no '" << text << "'";
    }
    bool ended() const { return console_.find( "DONE" ) != std::string::npos; }
    const std::string &console() const { return console_; }

  private:
    // "RESULT name: text", with the carriage return of a serial line.
    void note( const std::string &line ) {
        const std::string mark = "RESULT ";
        const size_t start = line.find( mark );
        const size_t colon = line.find( ": ", start );
        if ( start != std::string::npos && colon != std::string::npos ) {
            const size_t name = start + mark.size();
            const size_t end = line.find_last_not_of( " \r\n" ) + 1;
            results_[line.substr( name, colon - name )] =
                end > colon + 2 ? line.substr( colon + 2, end - colon - 2 ) : "";
        }
    }

    std::string console_;
    std::map<std::string, std::string> results_;
};

// One boot is dear: everything that needs it is in one test.
TEST_F( I2cDevGuestTest, KernelAdaptersServeTheLibrary ) {
    const std::string missing = whatIsMissing();
    if ( !missing.empty() ) {
        GTEST_SKIP() << missing;
    }
    boot();
    ASSERT_TRUE( ended() ) << console();
    expectResult( "adapters", "stub found, piix4 found" );

    // The server writes two temperatures, the kernel's driver and the library read them.
    expectResult( "writes", "1980 2a00" );
    expectInResult( "kernel48", "25500" );
    expectInResult( "kernel49", "42000" );
    expectInResult( "direct", "\"value\":25.5" );
    expectInResult( "behind", "\"value\":42" );
    expectInResult( "host", "25.5" );
    expectInResult( "kernel48", "a driver of the kernel holds the chip" );

    expectResult( "bytes", "5a 5a  5a" );
    expectResult( "block", "0102030405 0102030405" );
    expectInResult( "absent", "bus 0 chip 0x4a reg 0x00: no such device" );
    expectInResult( "blockread", "the controller cannot do this: block read" );
    expectInResult( "long", "the controller cannot do this: I2C block read of 33 bytes" );
    expectResult( "pec", "5a 02" ); // the code travels behind the byte, into the next register
    expectInResult( "call", "the controller cannot do this: process call" );

    expectResult( "memory", "a7 a7 1234 1234" );
    expectResult( "memoryblock", "aabbcc aabbcc 03" );
    expectInResult( "silent", "bus 0 chip 0x20 reg 0x00: no acknowledge" );
    expectInResult( "i2cblock", "the controller cannot do this: I2C block read of 4 bytes" );
    expectInResult( "gone", "bus 1 chip 0x50 reg 0x00: the controller is not there" );
    expectInResult( "unmapped", "bus 7 chip 0x50 reg 0x00: no such bus" );
    expectResult( "exit", "0" );
    if ( HasFailure() ) {
        ADD_FAILURE() << console();
    }
}

} // namespace
