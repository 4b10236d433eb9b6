#include "KavraGeneric/Drivers/Helpers.h"

#include "KavraGeneric/Components/Gpio.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Drivers/Dummy.h"
#include "KavraGeneric/Drivers/LM75.h"
#include "KavraGeneric/Topology/Lookup.h"
#include "KavraGeneric/Topology/Topology.h"
#include "tests/support/FakeSmbusServer.h"
#include "tests/support/LibraryFixture.h"
#include "tests/support/Sanitized.h"

#include <chrono>
#include <memory>
#include <stdexcept>
#include <sys/resource.h>

namespace {

using Drivers::DriverArgs;
using Drivers::Dummy;
using Drivers::getHardwareDeviceByLabel;
using Drivers::getRegGpioForDevice;
using Drivers::insertDriverArg;
using Drivers::LM75;
using Drivers::runCmd;
using Drivers::trim;
using Drivers::zeroChecksum;

class RunCmdTest : public LibraryFixture {
  protected:
    pl_status run( const char *command, unsigned long seconds = 20 ) {
        return runCmd( command, output, seconds );
    }

    std::string output = "left over";
};

TEST_F( RunCmdTest, OutputOfACommandThatSucceeds ) {
    EXPECT_EQ( PL_STATUS_OK, run( "echo one two" ) );
    EXPECT_EQ( "one two\n", output );
}

TEST_F( RunCmdTest, OutputIsEmptiedFirst ) {
    EXPECT_EQ( PL_STATUS_OK, run( "true" ) );
    EXPECT_EQ( "", output );
}

TEST_F( RunCmdTest, LongOutputIsWhole ) {
    for ( const size_t length : { 126U, 127U, 128U, 254U, 300U } ) {
        const std::string text( length, 'x' );
        EXPECT_EQ( PL_STATUS_OK, run( ( "printf " + text ).c_str() ) );
        EXPECT_EQ( text, output );
    }
}

TEST_F( RunCmdTest, CommandIsAShellsLine ) {
    EXPECT_EQ( PL_STATUS_OK, run( "echo a; printf b | tr b c" ) );
    EXPECT_EQ( "a\nc", output );
}

TEST_F( RunCmdTest, CommandRunsUnderTimeoutWithTheLimitInSeconds ) {
    EXPECT_EQ( PL_STATUS_OK, run( "sh -c 'tr \"\\0\" \" \" < /proc/$PPID/cmdline'", 77 ) );
    EXPECT_EQ( "timeout 77s sh -c ", output.substr( 0, 18 ) );
}

TEST_F( RunCmdTest, ErrorOutputIsNotTaken ) {
    EXPECT_EQ( PL_STATUS_OK, run( "sh -c 'echo seen; echo lost >&2' 2>/dev/null" ) );
    EXPECT_EQ( "seen\n", output );
}

TEST_F( RunCmdTest, EveryExitCodeHasItsStatus ) {
    for ( const int code : { 0, 1, 2, 123, 124, 125, 126, 127, 137, 255 } ) {
        SCOPED_TRACE( code );
        const pl_status expected = code == 0     ? PL_STATUS_OK
                                   : code == 124 ? PL_STATUS_IO_ERROR
                                                 : PL_STATUS_FAILED;
        EXPECT_EQ( expected,
                   run( ( "sh -c 'echo kept; exit " + std::to_string( code ) + "'" ).c_str() ) );
        EXPECT_EQ( "kept\n", output );
    }
}

TEST_F( RunCmdTest, FalseFails ) {
    EXPECT_EQ( PL_STATUS_FAILED, run( "false" ) );
}

TEST_F( RunCmdTest, CommandThatTakesTooLongIsEnded ) {
    const auto before = std::chrono::steady_clock::now();
    EXPECT_EQ( PL_STATUS_IO_ERROR, run( "sh -c 'echo early; exec sleep 100'", 1 ) );
    EXPECT_EQ( "early\n", output );
    EXPECT_GT( std::chrono::seconds( 20 ), std::chrono::steady_clock::now() - before );
}

TEST_F( RunCmdTest, CommandThatWritesForEverIsEndedAndItsOutputBounded ) {
    EXPECT_EQ( PL_STATUS_IO_ERROR, run( "yes", 1 ) );
    EXPECT_GE( size_t{ 16 } << 20, output.size() );
    EXPECT_EQ( "y\ny\n", output.substr( 0, 4 ) );
}

TEST_F( RunCmdTest, OutputBeyondTheBoundIsReadButNotKept ) {
    EXPECT_EQ( PL_STATUS_OK, run( "head -c 17000000 /dev/zero | tr '\\0' x; echo done" ) );
    EXPECT_EQ( std::string( 16 << 20, 'x' ), output );
}

TEST_F( RunCmdTest, MegabyteIsWhole ) {
    EXPECT_EQ( PL_STATUS_OK, run( "head -c 1000000 /dev/zero | tr '\\0' x" ) );
    EXPECT_EQ( std::string( 1000000, 'x' ), output );
}

TEST_F( RunCmdTest, MissingCommandFails ) {
    EXPECT_EQ( PL_STATUS_FAILED, run( "there-is-no-such-command 2>/dev/null" ) );
}

TEST_F( RunCmdTest, NullCommandFails ) {
    EXPECT_EQ( PL_STATUS_FAILED, run( nullptr ) );
    EXPECT_EQ( "", output );
}

// The shell itself is what the signal ends.
TEST_F( RunCmdTest, CommandEndedByASignalFails ) {
    EXPECT_EQ( PL_STATUS_FAILED, run( "true; echo kept; kill -KILL $$" ) );
    EXPECT_EQ( "kept\n", output );
}

TEST_F( RunCmdTest, CommandThatCannotBeStartedFails ) {
    if ( isSanitized ) {
        GTEST_SKIP() << descriptorsAreTaken;
    }
    rlimit before{};
    getrlimit( RLIMIT_NOFILE, &before );
    const rlimit none = { 0, before.rlim_max };
    setrlimit( RLIMIT_NOFILE, &none );
    const pl_status status = runCmd( "true", output, 20 );
    setrlimit( RLIMIT_NOFILE, &before );
    EXPECT_EQ( PL_STATUS_FAILED, status );
    EXPECT_EQ( "", output );
}

TEST( TrimTest, TakesBlanksFromTheEndsOnly ) {
    const struct {
        const char *text, *trimmed;
    } rows[] = {
        { "", "" },           { " \t ", "" },     { "a", "a" },
        { "  a b\t", "a b" }, { "a \n", "a \n" }, { " a\r", "a\r" },
        { "\n a", "\n a" },   { "\t\ta", "a" },   { "a\v ", "a\v" },
    };
    for ( const auto &row : rows ) {
        EXPECT_EQ( row.trimmed, trim( row.text ) ) << '"' << row.text << '"';
    }
}

TEST( ZeroChecksumTest, IsTheSumModulo256 ) {
    const struct {
        std::string bytes;
        bool zero;
    } rows[] = {
        { "", true },
        { "\x01", false },
        { "\x10\xF0", true },
        { "\x80\x80", true },
        { std::string( 256, 'x' ), true },
        { "\xFF\x02", false },
    };
    for ( const auto &row : rows ) {
        std::string bytes = row.bytes;
        EXPECT_EQ( row.zero, zeroChecksum( bytes ) );
        EXPECT_EQ( row.bytes, bytes );
    }
}

constexpr const char *topology = R"([
    { "type": "I2C", "ham": "KavraSmbus", "id": 1, "devices": [
        { "did": 20, "label": "plain", "driver": null, "address": { "address": 64 } },
        { "did": 21, "label": "sensor", "driver": "LM75", "address": { "address": 72 } },
        { "did": 22, "label": "unknown", "driver": "Nothing", "address": { "address": 65 } },
        { "did": 23, "label": "bare" } ] } ])";

class LabelledDeviceTest : protected FakeSmbusServer, public LibraryFixture {
  protected:
    LabelledDeviceTest() {
        connect();
        loadTopology( topology );
    }
};

TEST_F( LabelledDeviceTest, EntryWithANullDriverGetsTheCallersDefault ) {
    Component::HardwareDevice *device = getHardwareDeviceByLabel( "plain", "Dummy" );
    EXPECT_NE( nullptr, dynamic_cast<Dummy *>( device ) );
    EXPECT_EQ( "Dummy", Topology::getDeviceByLabel( "plain" )->driverArgs->driver );
}

TEST_F( LabelledDeviceTest, EntrysDriverGoesBeforeTheDefault ) {
    EXPECT_NE( nullptr, dynamic_cast<LM75 *>( getHardwareDeviceByLabel( "sensor", "Dummy" ) ) );
}

TEST_F( LabelledDeviceTest, OneLabelIsOneDevice ) {
    Component::HardwareDevice *device = getHardwareDeviceByLabel( "plain", "Dummy" );
    EXPECT_EQ( device, getHardwareDeviceByLabel( "plain", "LM75" ) );
    EXPECT_EQ( device, Component::DeviceBase::devices.at( 20 ) );
}

TEST_F( LabelledDeviceTest, GpioIsOneBitOfOneRegister ) {
    const std::unique_ptr<Component::LogicalDevice::Gpio> gpio(
        getRegGpioForDevice( "plain", 12, 7 ) );
    answer( { bytes( 0x80 ) } );
    unsigned bit = 9;
    EXPECT_EQ( PL_STATUS_OK, gpio->bitRead( &bit ) );
    EXPECT_EQ( 1U, bit );
    EXPECT_EQ( "40[0c]x1", lastBatch() );
}

TEST_F( LabelledDeviceTest, EachGpioIsTheCallersOwn ) {
    Component::HardwareDevice *device = getHardwareDeviceByLabel( "plain", "Dummy" );
    const std::unique_ptr<Component::LogicalDevice::Gpio> one(
        getRegGpioForDevice( device, 1, 0 ) );
    const std::unique_ptr<Component::LogicalDevice::Gpio> two(
        getRegGpioForDevice( device, 1, 0 ) );
    EXPECT_NE( one, two );
}

TEST_F( LabelledDeviceTest, RegisterBeyondASignedNumberIsThrown ) {
    EXPECT_THROW( getRegGpioForDevice( "plain", 0xFFFF'FFFF, 0 ), std::out_of_range );
}

using LabelledDeviceDeathTest = LabelledDeviceTest;

TEST_F( LabelledDeviceDeathTest, UnknownLabelStops ) {
    EXPECT_DEATH(
        {
            tellTracesWhenDying();
            getHardwareDeviceByLabel( "elsewhere", "Dummy" );
        },
        "Assertion `device' failed(.|\n)*0 Unable to locate device elsewhere" );
}

TEST_F( LabelledDeviceDeathTest, EntryWithoutADriverKeyStops ) {
    EXPECT_DEATH( getHardwareDeviceByLabel( "bare", "Dummy" ), "Assertion `driverArgs' failed" );
}

TEST_F( LabelledDeviceDeathTest, DriverThatDoesNotExistStops ) {
    EXPECT_DEATH( getHardwareDeviceByLabel( "unknown", "Dummy" ), "Assertion `dev' failed" );
}

TEST_F( LabelledDeviceDeathTest, DeviceThatMakesNoGpioStops ) {
    struct Refusing final : Component::HardwareDevice {
        Component::LogicalDevice::Gpio *newGpio( const DriverArgs & ) override { return nullptr; }
    } device;
    EXPECT_DEATH( getRegGpioForDevice( &device, 0, 0 ), "Assertion `gpio' failed" );
}

class InsertDriverArgTest : public LibraryFixture {
  protected:
    static std::string inserted( const char *arguments, const char *name = "psuId",
                                 const char *value = "1" ) {
        char *text = nullptr;
        EXPECT_TRUE( insertDriverArg( arguments, &text, name, value ) );
        const std::string copy = text;
        free( text );
        return copy;
    }
};

TEST_F( InsertDriverArgTest, MemberIsAddedLastAndTheTextIsCompact ) {
    EXPECT_EQ( R"({"did":3,"driverArgs":{"a":1,"psuId":"1"},"driver":"PsuSlot"})",
               inserted( R"( { "did" : 3, "driverArgs" : { "a" : 1 },
                               "driver": "PsuSlot" } )" ) );
}

TEST_F( InsertDriverArgTest, MemberOfThatNameStaysInFront ) {
    EXPECT_EQ( R"({"driverArgs":{"psuId":"2","b":3,"psuId":"1"}})",
               inserted( R"({ "driverArgs": { "psuId": "2", "b": 3 } })" ) );
}

TEST_F( InsertDriverArgTest, InsertedValueWinsWhenTheTextIsRead ) {
    const std::string text = inserted( R"({ "did": 3, "driver": "PsuSlot",
        "address": { "address": 80 }, "driverArgs": { "psuId": 2 } })" );
    DriverArgs args;
    EXPECT_TRUE( args.parseJSON( text.c_str() ) );
    EXPECT_EQ( "1", args.driverArgs.at( "psuId" ) );
}

TEST_F( InsertDriverArgTest, NameAndValueAreEscaped ) {
    EXPECT_EQ( R"({"driverArgs":{"a\"b":"c\\\n"}})",
               inserted( R"({"driverArgs":{}})", "a\"b", "c\\\n" ) );
}

TEST_F( InsertDriverArgTest, EveryKindOfValueIsKept ) {
    const char *kept = R"({"driverArgs":{},"n":null,"t":true,"f":false,"i":-5,"u":4294967296,)"
                       R"("d":0.5,"s":"x\u0000y","a":[1,[]],"o":{}})";
    std::string expected = kept;
    expected.replace( expected.find( "{}" ), 2, R"({"psuId":"1"})" );
    EXPECT_EQ( expected, inserted( kept ) );
}

TEST_F( InsertDriverArgTest, LongTextIsWhole ) {
    const std::string value( 100000, 'x' );
    EXPECT_EQ( R"({"driverArgs":{"k":")" + value + R"("}})",
               inserted( R"({"driverArgs":{}})", "k", value.c_str() ) );
}

TEST_F( InsertDriverArgTest, SyntaxErrorIsTracedAndNothingWritten ) {
    char unwritten = 0;
    char *text = &unwritten;
    EXPECT_FALSE( insertDriverArg( R"({ "driverArgs": {} "x": 1 })", &text, "a", "b" ) );
    EXPECT_EQ( &unwritten, text );
    EXPECT_TRUE( host().traced( 0, "failed to parse psu devArgs: Missing a comma or '}' after an "
                                   "object member. offset 19" ) );
}

TEST_F( InsertDriverArgTest, NumberThatNoDoubleHoldsGivesNoText ) {
    char unwritten = 0;
    char *text = &unwritten;
    const std::string large = "1" + std::string( 100, '0' ) + "e300";
    EXPECT_FALSE(
        insertDriverArg( ( R"({"driverArgs":{},"x":)" + large + "}" ).c_str(), &text, "a", "b" ) );
    EXPECT_EQ( &unwritten, text );
    EXPECT_TRUE( host().traced( 0, "a number of psu devArgs is too large" ) );
}

using InsertDriverArgDeathTest = InsertDriverArgTest;

TEST_F( InsertDriverArgDeathTest, TextWithoutDriverArgsStops ) {
    EXPECT_DEATH( inserted( R"({ "did": 3 })" ),
                  "Assertion `document.HasMember\\( \"driverArgs\" \\)' failed" );
}

TEST_F( InsertDriverArgDeathTest, DriverArgsOfAnotherTypeStop ) {
    EXPECT_DEATH( inserted( R"({ "driverArgs": [] })" ), "Assertion `IsObject\\(\\)' failed" );
    EXPECT_DEATH( inserted( R"([])" ), "Assertion `IsObject\\(\\)' failed" );
}

} // namespace
