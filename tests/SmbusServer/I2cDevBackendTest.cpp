#include "SmbusServer/I2cDevBackend.h"

#include "SmbusServer/FailureText.h"
#include "SmbusServer/MuxGuard.h"
#include "SmbusServer/Transaction.h"
#include "tests/SmbusServer/FakeI2cKernel.h"
#include "tests/support/Requests.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <memory>
#include <sys/sysmacros.h>

using namespace SmbusServer;
using namespace Requests;

namespace {

class I2cDevBackendTest : public testing::Test {
  protected:
    I2cDevBackendTest() {
        kernel.functions =
            I2C_FUNC_SMBUS_BYTE | I2C_FUNC_SMBUS_BYTE_DATA | I2C_FUNC_SMBUS_WORD_DATA;
        kernel.chips[0x48].memory = { 0x19, 0x80 };
    }

    /// The answer's error; empty when there is none.
    std::string errorOf( const Smbus::Request &request ) {
        Transaction( guard ).perform( batch( { request } ), response );
        return response.error();
    }
    /// The cause of a failure with this errno, tried once.
    std::string causeOf( int error, const Smbus::Request &request = readBytes( 0x48, 0, 1 ) ) {
        kernel.errors = { error };
        Smbus::TransactionRequest once = batch( { request } );
        once.set_retries( 0 );
        Transaction( guard ).perform( once, response );
        const std::string &text = response.error();
        return text.substr( text.find( ": " ) + 2 );
    }

    FakeI2cKernel kernel;
    I2cDevBackend backend{ kernel, I2cDevMap() };
    MuxGuard guard{ backend, backend }; // which opens the adapters
    Smbus::TransactionResponse response;
};

TEST_F( I2cDevBackendTest, ReadsFromTheDeviceOfTheBus ) {
    Smbus::Request request = readBytes( 0x48, 0, 2 );
    request.set_address( request.address() | uint64_t{ 5 } << 39 );
    EXPECT_EQ( "", errorOf( request ) );
    EXPECT_EQ( "\x19\x80", response.response( 0 ).data() );
    EXPECT_EQ( std::vector<std::string>{ "/dev/i2c-5" }, kernel.opened );
}

TEST_F( I2cDevBackendTest, DeviceStaysOpenOnce ) {
    errorOf( readBytes( 0x48, 0, 1 ) );
    EXPECT_EQ( 1, kernel.adapters );
    kernel.errors = { ENXIO, EIO };
    errorOf( readBytes( 0x48, 0, 1 ) );
    EXPECT_EQ( 1, kernel.adapters );
}

TEST_F( I2cDevBackendTest, NumberOfAnOpeningChangesWhenTheControllerHasBeenAway ) {
    const BusName bus = { .master = Smbus::I2C };
    const uint64_t first = backend.open( bus );
    EXPECT_NE( 0u, first );
    EXPECT_EQ( first, backend.open( bus ) );
    kernel.unplug();
    EXPECT_EQ( 0u, backend.open( bus ) );
    kernel.plug();
    EXPECT_LT( first, backend.open( bus ) );
}

TEST_F( I2cDevBackendTest, ErrorsOfTheWiresAreToldApart ) {
    EXPECT_EQ( "no acknowledge", causeOf( ENXIO ) );
    EXPECT_EQ( "no acknowledge", causeOf( EREMOTEIO ) );
    EXPECT_EQ( "no such device", causeOf( ENODEV ) );
    EXPECT_EQ( "arbitration lost", causeOf( EAGAIN ) );
    EXPECT_EQ( "time-out", causeOf( ETIMEDOUT ) );
    EXPECT_EQ( "the bus is busy", causeOf( EBUSY ) );
    EXPECT_EQ( "the packet error code is wrong", causeOf( EBADMSG ) );
    EXPECT_EQ( "the chip broke the protocol", causeOf( EPROTO ) );
    EXPECT_EQ( "the controller reports an error", causeOf( EIO ) );
    kernel.functions |= I2C_FUNC_SMBUS_BLOCK_DATA;
    I2cDevBackend again( kernel, I2cDevMap() );
    again.open( { .master = Smbus::I2C } );
    kernel.errors = { EPROTO };
    std::string read;
    EXPECT_EQ(
        Cause::BadBlockCount,
        again.perform( { .bus = { .master = Smbus::I2C }, .chip = 0x48, .type = Smbus::BLOCK_READ },
                       read ) );
}

TEST_F( I2cDevBackendTest, WhatPassesIsTriedAgain ) {
    kernel.errors = { EAGAIN, ETIMEDOUT, ENXIO };
    EXPECT_EQ( "", errorOf( readBytes( 0x48, 0, 1 ) ) );
}

TEST_F( I2cDevBackendTest, WhatTheControllerLacksIsNamedAndTriedOnce ) {
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: the controller cannot do this: I2C block read of 4 bytes",
               errorOf( readBytes( 0x48, 0, 4 ) ) );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x05: the controller cannot do this: process call",
               errorOf( processCall( 0x48, 5, "ab" ) ) );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x05: the controller cannot do this: block read",
               errorOf( blockRead( 0x48, 5 ) ) );
    Smbus::Request checked = writeBytes( 0x48, 5, "a" );
    checked.set_flag( true );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x05: the controller cannot do this: write byte, with a packet "
               "error code",
               errorOf( checked ) );
    Smbus::Request wide = readBytes( 0x48, 0x1234, 1 );
    wide.set_address( wide.address() | uint64_t{ 2 } << 57 );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x1234: the controller cannot do this: read byte, register of "
               "2 bytes",
               errorOf( wide ) );
    EXPECT_EQ( 0, kernel.smbusCalls );
}

TEST_F( I2cDevBackendTest, ChipOfAKernelDriverIsLeftAlone ) {
    kernel.held = { 0x48 };
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: a driver of the kernel holds the chip",
               errorOf( readBytes( 0x48, 0, 1 ) ) );
    EXPECT_EQ( "", kernel.wires );
}

TEST_F( I2cDevBackendTest, MissingControllerIsTriedOnceAndWorksWhenItComes ) {
    kernel.openError = ENOENT;
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: the controller is not there",
               errorOf( readBytes( 0x48, 0, 1 ) ) );
    EXPECT_EQ( 1u, kernel.opened.size() );
    kernel.openError = EACCES;
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: no permission to use the controller",
               errorOf( readBytes( 0x48, 0, 1 ) ) );
    kernel.openError = 0;
    EXPECT_EQ( "", errorOf( readBytes( 0x48, 0, 1 ) ) );
}

TEST_F( I2cDevBackendTest, ControllerThatWasReplacedIsOpenedForTheNextBatch ) {
    errorOf( readBytes( 0x48, 0, 1 ) );
    kernel.unplug();
    kernel.plug();
    EXPECT_EQ( "", errorOf( readBytes( 0x48, 0, 1 ) ) );
    EXPECT_EQ( 1, kernel.adapters );
}

TEST_F( I2cDevBackendTest, ControllerThatLeavesInMidBatchIsClosedAtOnceWhateverTheErrno ) {
    for ( const int error : { ENODEV, EIO, EPROTO, EREMOTEIO, ETIMEDOUT, ESHUTDOWN } ) {
        kernel.plug();
        errorOf( readBytes( 0x48, 0, 1 ) );
        kernel.errors = { error };
        backend.open( { .master = Smbus::I2C } );
        kernel.plugged = false;
        const int before = kernel.smbusCalls;
        std::string read;
        EXPECT_EQ( Cause::NoController,
                   backend.perform( decode( readBytes( 0x48, 0, 1 ) ), read ) );
        EXPECT_EQ( 0, kernel.adapters );
        kernel.plug(); // too late for what has begun
        EXPECT_EQ( Cause::NoController,
                   backend.perform( decode( readBytes( 0x48, 0, 1 ) ), read ) );
        EXPECT_EQ( before + 1, kernel.smbusCalls );
        kernel.errors.clear();
    }
}

TEST_F( I2cDevBackendTest, AbsentChipIsNoControllerThatLeft ) {
    kernel.absentError = ENODEV;
    EXPECT_EQ( "bus 0 chip 0x20 reg 0x00: no such device", errorOf( readBytes( 0x20, 0, 1 ) ) );
    const uint64_t opening = backend.open( { .master = Smbus::I2C } );
    errorOf( readBytes( 0x20, 0, 1 ) );
    EXPECT_EQ( opening, backend.open( { .master = Smbus::I2C } ) );
}

TEST_F( I2cDevBackendTest, BusThatTheMapLacksIsUnknown ) {
    Smbus::Request request = readBytes( 0x48, 0, 1 );
    request.set_mastertype( Smbus::SCD );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: no such bus (master SCD, pci 0x00000000, accelerator 0)",
               errorOf( request ) );
    EXPECT_TRUE( kernel.opened.empty() );
}

TEST_F( I2cDevBackendTest, NewMapHolds ) {
    errorOf( readBytes( 0x48, 0, 1 ) );
    backend.mapIs( I2cDevMap( { { { .master = Smbus::I2C }, { "/dev/i2c-9" } } } ) );
    EXPECT_EQ( 0, kernel.adapters );
    errorOf( readBytes( 0x48, 0, 1 ) );
    EXPECT_EQ( "/dev/i2c-9", kernel.opened.back() );
}

TEST( LinuxKernelTest, DeviceThatIsNotThereIsNotOpened ) {
    std::unique_ptr<I2cAdapter> adapter;
    EXPECT_EQ( ENOTDIR, linuxKernel().open( "/dev/null/i2c-0", adapter ) );
    EXPECT_EQ( nullptr, adapter );
}

TEST( LinuxKernelTest, FileThatIsNoAdapterRefusesEveryCall ) {
    std::unique_ptr<I2cAdapter> adapter;
    ASSERT_EQ( 0, linuxKernel().open( "/dev/null", adapter ) );
    EXPECT_EQ( makedev( 1, 3 ), adapter->deviceNumber() );
    unsigned long mask = 0;
    EXPECT_EQ( ENOTTY, adapter->functions( mask ) );
    EXPECT_EQ( ENOTTY, adapter->chipIs( 0x48 ) );
    EXPECT_EQ( ENOTTY, adapter->pecIs( true ) );
    i2c_smbus_data data = {};
    EXPECT_EQ( ENOTTY, adapter->smbus( I2C_SMBUS_READ, 0, I2C_SMBUS_BYTE, data ) );
    i2c_msg message = {};
    EXPECT_EQ( ENOTTY, adapter->transfer( { &message, 1 } ) );
}

} // namespace
