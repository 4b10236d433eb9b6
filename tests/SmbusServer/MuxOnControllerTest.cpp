// Muxes on the wires of a real controller: nobody knows how they were left.
#include "SmbusServer/I2cDevBackend.h"
#include "SmbusServer/MuxGuard.h"
#include "SmbusServer/Transaction.h"
#include "tests/SmbusServer/FakeI2cKernel.h"
#include "tests/support/Requests.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <numeric>
#include <string>

using namespace SmbusServer;
using namespace Requests;

namespace {

constexpr BusName bus0 = { .master = Smbus::I2C };
constexpr const char *refused = "a mux that may have a channel on cannot be told to let go: ";

/// Two muxes at 0x70 and 0x72 and a sensor at 0x48. What the muxes let through does not matter
/// here, but whether they are off.
class MuxOnControllerTest : public testing::Test {
  protected:
    MuxOnControllerTest() {
        kernel.functions = I2C_FUNC_SMBUS_BYTE | I2C_FUNC_SMBUS_BYTE_DATA;
        newMux( 0x70 );
        newMux( 0x72 );
        kernel.chips[0x48].memory = { 0x19 };
    }
    void newMux( uint8_t chip ) {
        // The byte that was sent is what a read without a command gives.
        auto &memory = kernel.chips[chip].memory;
        std::iota( memory.begin(), memory.end(), uint8_t{ 0 } );
    }
    /// The byte that a mux has.
    unsigned control( uint8_t mux ) { return kernel.chips.at( mux ).pointer; }
    void leaveOn( uint8_t mux, uint8_t channel ) { kernel.chips.at( mux ).pointer = channel; }

    static Smbus::TransactionRequest behind( unsigned mux, unsigned bus = 0 ) {
        return onBus(
            bus, batch( { sendByte( mux, 1 ), readBytes( 0x48, 0, 1 ), sendByte( mux, 0 ) } ) );
    }
    static Smbus::TransactionRequest direct() { return batch( { readBytes( 0x48, 0, 1 ) } ); }
    static Smbus::TransactionRequest onBus( unsigned bus, Smbus::TransactionRequest request ) {
        for ( Smbus::Request &each : *request.mutable_request() ) {
            each.set_address( each.address() | uint64_t{ bus } << 39 );
        }
        return request;
    }

    /// The error; empty when there is none.
    std::string perform( Smbus::TransactionRequest request ) {
        request.set_retries( 0 );
        Smbus::TransactionResponse response;
        transaction.perform( request, response );
        return response.error();
    }
    void mapIs( const std::map<BusName, I2cDevMap::Bus> &map ) {
        backend.mapIs( I2cDevMap( map ) );
    }

    FakeI2cKernel kernel;
    I2cDevBackend backend{ kernel, I2cDevMap() };
    MuxGuard guard{ backend, backend };
    Transaction transaction{ guard };
};

TEST_F( MuxOnControllerTest, MuxIsClearedBeforeTheFirstBatchThatSelectsIt ) {
    leaveOn( 0x70, 4 );
    EXPECT_EQ( "", perform( behind( 0x70 ) ) );
    EXPECT_EQ( "S 70w 00 P S 70w 01 P S 48w 00 S 48r 19 P S 70w 00 P", kernel.wires );
}

TEST_F( MuxOnControllerTest, MuxThatIsKnownToBeOffIsNotClearedAgain ) {
    perform( behind( 0x70 ) );
    kernel.wires.clear();
    perform( behind( 0x70 ) );
    EXPECT_EQ( "S 70w 01 P S 48w 00 S 48r 19 P S 70w 00 P", kernel.wires );
}

TEST_F( MuxOnControllerTest, MuxInFrontIsClearedBeforeTheOneBehindIt ) {
    perform( batch(
        { sendByte( 0x70, 1 ), sendByte( 0x72, 4 ), sendByte( 0x72, 0 ), sendByte( 0x70, 0 ) } ) );
    EXPECT_TRUE( kernel.wires.starts_with(
        "S 70w 00 P S 70w 01 P S 72w 00 P S 70w 00 P S 70w 01 P S 72w 04 P" ) )
        << kernel.wires;
}

TEST_F( MuxOnControllerTest, MuxesOfTheMapAreClearedWhateverTheFirstBatchUses ) {
    mapIs( { { bus0, { "/dev/i2c-0", { 0x70, 0x72 } } } } );
    leaveOn( 0x70, 4 );
    leaveOn( 0x72, 8 );
    EXPECT_EQ( "", perform( direct() ) );
    EXPECT_EQ( 0u, control( 0x70 ) + control( 0x72 ) );
}

TEST_F( MuxOnControllerTest, MuxesOfTheMapAreClearedWhenTheMapIsReadAgain ) {
    perform( direct() );
    leaveOn( 0x72, 8 );
    mapIs( { { bus0, { "/dev/i2c-0", { 0x72 } } } } );
    EXPECT_EQ( "", perform( direct() ) );
    EXPECT_EQ( 0u, control( 0x72 ) );
}

TEST_F( MuxOnControllerTest, MuxesOfTheMapAreClearedWhenTheControllerComesBack ) {
    mapIs( { { bus0, { "/dev/i2c-0", { 0x72 } } } } );
    perform( direct() );
    kernel.unplug();
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: the controller is not there", perform( direct() ) );
    leaveOn( 0x72, 8 );
    kernel.plug();
    EXPECT_EQ( "", perform( direct() ) );
    EXPECT_EQ( 0u, control( 0x72 ) );
}

TEST_F( MuxOnControllerTest, MuxThatWasOnWhenTheControllerLeftIsClearedWhenItComesBack ) {
    perform( behind( 0x70 ) );
    kernel.unplugAfter = 1;
    EXPECT_EQ( "bus 0 mux 0x70=01 chip 0x48 reg 0x00: the controller is not there",
               perform( behind( 0x70 ) ) );
    EXPECT_EQ( 1u, control( 0x70 ) );
    EXPECT_EQ( "bus 0 chip 0x48 reg 0x00: the controller is not there", perform( direct() ) );
    kernel.plug();
    EXPECT_EQ( "", perform( direct() ) );
    EXPECT_EQ( 0u, control( 0x70 ) );
}

TEST_F( MuxOnControllerTest, MuxesMetBeforeAreClearedWhenTheControllerComesBack ) {
    perform( behind( 0x70 ) );
    kernel.unplug();
    leaveOn( 0x70, 2 );
    kernel.plug();
    EXPECT_EQ( "", perform( behind( 0x72 ) ) );
    EXPECT_EQ( 0u, control( 0x70 ) );
}

TEST_F( MuxOnControllerTest, BatchDoesNotGoOnWithAControllerThatCameBackInTheMiddle ) {
    perform( behind( 0x70 ) );
    kernel.wires.clear();
    Smbus::TransactionRequest request = behind( 0x70 );
    request.set_retries( 5 );
    Smbus::TransactionResponse response;
    // Unplugged and plugged in again behind the select.
    class Replugging : public Backend {
      public:
        Replugging( Backend &below, FakeI2cKernel &kernel ) : below_( below ), kernel_( kernel ) {}
        Cause perform( const Operation &operation, std::string &read ) override {
            if ( operation.isRead() ) {
                kernel_.plug();
            }
            return below_.perform( operation, read );
        }
        bool severalAccelerators( const BusName & ) const override { return false; }

      private:
        Backend &below_;
        FakeI2cKernel &kernel_;
    } replugging( backend, kernel );
    MuxGuard other( replugging, backend );
    backend.open( bus0 );
    Transaction( other ).perform( request, response );
    EXPECT_TRUE( response.failed() );
    EXPECT_EQ( std::string::npos, kernel.wires.find( "48r" ) ) << kernel.wires;
}

class AbsentMuxTest : public MuxOnControllerTest, public testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P( Errno, AbsentMuxTest, testing::Values( ENXIO, EREMOTEIO, ENODEV ) );

TEST_P( AbsentMuxTest, HoldsNobodyUp ) {
    kernel.chips.erase( 0x70 );
    kernel.absentError = GetParam();
    EXPECT_NE( "", perform( behind( 0x70 ) ) );
    EXPECT_EQ( "", perform( direct() ) );
    EXPECT_EQ( "", perform( behind( 0x72 ) ) );
}

TEST_P( AbsentMuxTest, IsClearedWhenItAnswersAgain ) {
    const FakeI2cChip mux = kernel.chips[0x70];
    kernel.chips.erase( 0x70 );
    kernel.absentError = GetParam();
    perform( behind( 0x70 ) );
    kernel.chips[0x70] = mux;
    leaveOn( 0x70, 2 );
    EXPECT_EQ( "", perform( direct() ) );
    EXPECT_EQ( 0u, control( 0x70 ) );
}

TEST_F( MuxOnControllerTest, TimeOutIsNoProofOfAbsence ) {
    kernel.chips.erase( 0x70 );
    kernel.absentError = ETIMEDOUT;
    perform( behind( 0x70 ) );
    EXPECT_EQ( refused + std::string( "bus 0 chip 0x70 reg 0x00: time-out" ), perform( direct() ) );
}

TEST_F( MuxOnControllerTest, PlainErrorOfTheControllerIsNoProofOfAbsence ) {
    kernel.chips.erase( 0x70 );
    kernel.absentError = EIO;
    const std::string failure = "bus 0 chip 0x70 reg 0x00: the controller reports an error";
    EXPECT_EQ( refused + failure, perform( behind( 0x70 ) ) );
    EXPECT_EQ( refused + failure, perform( direct() ) );
    newMux( 0x70 );
    EXPECT_EQ( "", perform( direct() ) );
}

TEST_F( MuxOnControllerTest, MuxOfAKernelDriverHoldsUpOnlyThoseWhoUseIt ) {
    kernel.held = { 0x70 };
    const std::string held = "bus 0 chip 0x70 reg 0x00: a driver of the kernel holds the chip";
    EXPECT_EQ( held, perform( behind( 0x70 ) ) );
    EXPECT_EQ( "", perform( direct() ) );
    EXPECT_EQ( "", perform( behind( 0x72 ) ) );
}

TEST_F( MuxOnControllerTest, SendByteThatNoSelectGoesBeforeIsNoDeselect ) {
    kernel.absentError = EIO;
    EXPECT_NE( "", perform( batch( { sendByte( 0x20, 0 ) } ) ) );
    EXPECT_EQ( "", perform( direct() ) );
}

TEST_F( MuxOnControllerTest, NamesOfOneDeviceShareWhatIsKnown ) {
    mapIs(
        { { bus0, { "/dev/i2c-0" } }, { { .master = Smbus::I2C, .bus = 1 }, { "/dev/i2c-0" } } } );
    perform( behind( 0x70 ) );
    kernel.errors = { 0, 0, EIO };
    EXPECT_NE( "", perform( behind( 0x70 ) ) );
    EXPECT_EQ( 1u, control( 0x70 ) );
    EXPECT_EQ( "", perform( onBus( 1, direct() ) ) );
    EXPECT_EQ( 0u, control( 0x70 ) );
    kernel.wires.clear();
    perform( behind( 0x70, 1 ) );
    EXPECT_EQ( "S 70w 01 P S 48w 00 S 48r 19 P S 70w 00 P", kernel.wires );
}

TEST_F( MuxOnControllerTest, SelectAndDeselectMayUseTwoNamesOfOneDevice ) {
    mapIs(
        { { bus0, { "/dev/i2c-0" } }, { { .master = Smbus::I2C, .bus = 1 }, { "/dev/i2c-0" } } } );
    Smbus::TransactionRequest mixed = batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 1 ) } );
    mixed.MergeFrom( onBus( 1, batch( { sendByte( 0x70, 0 ) } ) ) );
    perform( mixed );
    kernel.errors = { 0, 0, EIO };
    EXPECT_NE( "", perform( mixed ) );
    EXPECT_EQ( 1u, control( 0x70 ) );
    EXPECT_EQ( "", perform( direct() ) );
    EXPECT_EQ( 0u, control( 0x70 ) );
}

TEST_F( MuxOnControllerTest, MuxInDoubtIsClearedUnderTheNameThatItsDeviceGets ) {
    perform( behind( 0x70 ) );
    kernel.errors = { 0, 0, EIO };
    perform( behind( 0x70 ) );
    mapIs(
        { { { .master = Smbus::I2C, .bus = 5 }, { "/dev/i2c-0" } }, { bus0, { "/dev/i2c-9" } } } );
    kernel.chipsAt = "/dev/i2c-0";
    EXPECT_NE( "", perform( direct() ) ); // another device has the old name
    EXPECT_EQ( 1u, control( 0x70 ) );
    EXPECT_EQ( "", perform( onBus( 5, direct() ) ) );
    EXPECT_EQ( 0u, control( 0x70 ) );
}

TEST_F( MuxOnControllerTest, WhatIsKnownOfADeviceIsNotTakenForTheNextOneOfItsName ) {
    perform( behind( 0x70 ) );
    mapIs( { { bus0, { "/dev/i2c-9" } } } );
    leaveOn( 0x70, 2 );
    kernel.wires.clear();
    EXPECT_EQ( "", perform( behind( 0x70 ) ) );
    EXPECT_TRUE( kernel.wires.starts_with( "S 70w 00 P" ) ) << kernel.wires;
}

TEST_F( MuxOnControllerTest, MuxesInDoubtAreToldToLetGoAtTheEndAlsoAfterANewMap ) {
    perform( behind( 0x70 ) );
    kernel.errors = { 0, 0, EIO };
    perform( behind( 0x70 ) );
    mapIs( { { bus0, { "/dev/i2c-0" } } } );
    guard.letGo();
    EXPECT_EQ( 0u, control( 0x70 ) );
}

TEST_F( MuxOnControllerTest, MuxThatWasForgottenIsClearedAgain ) {
    perform( behind( 0x70 ) );
    for ( unsigned value = 1; value <= MuxStates::mostOff; ++value ) {
        const unsigned outer = value % 255 + 1;
        const unsigned inner = value / 255 == 0 ? 0x73 : 0x74;
        newMux( static_cast<uint8_t>( inner ) );
        ASSERT_EQ( "", perform( batch( { sendByte( 0x72, outer ), sendByte( inner, 1 ),
                                         sendByte( inner, 0 ), sendByte( 0x72, 0 ) } ) ) );
    }
    leaveOn( 0x70, 2 );
    kernel.wires.clear();
    EXPECT_EQ( "", perform( behind( 0x70 ) ) );
    EXPECT_TRUE( kernel.wires.starts_with( "S 70w 00 P" ) ) << kernel.wires;
}

TEST_F( MuxOnControllerTest, MuxesThatSayNothingDoNotAddUp ) {
    for ( unsigned chip = 3; chip < 0x48; ++chip ) {
        perform( behind( chip ) );
    }
    EXPECT_EQ( "", perform( behind( 0x70 ) ) );
    kernel.wires.clear();
    for ( int i = 0; i < MuxStates::mostSilences; ++i ) {
        perform( direct() );
    }
    kernel.wires.clear();
    EXPECT_EQ( "", perform( direct() ) );
    EXPECT_EQ( "S 48w 00 S 48r 19 P", kernel.wires );
}

TEST_F( MuxOnControllerTest, NoFurtherMuxIsSelectedWhenTooManyAreInDoubt ) {
    // Two cards of cascaded muxes, each pulled in the middle of a batch that has selected them all.
    constexpr unsigned muxes = MuxStates::mostInDoubt / 2;
    for ( const unsigned first : { 0x03u, 0x03u + muxes } ) {
        EXPECT_EQ( "", perform( behind( 0x70 ) ) );
        Smbus::TransactionRequest request;
        for ( unsigned i = 0; i < muxes; ++i ) {
            newMux( static_cast<uint8_t>( first + i ) );
            *request.add_request() = sendByte( first + i, 1 );
        }
        for ( unsigned i = muxes; i-- > 0; ) {
            *request.add_request() = sendByte( first + i, 0 );
        }
        EXPECT_EQ( "", perform( request ) );
        for ( unsigned i = 0; i < muxes; ++i ) {
            kernel.chips[static_cast<uint8_t>( first + i )].takesNoZero = true;
        }
        EXPECT_NE( "", perform( request ) );
        for ( unsigned i = 0; i < muxes; ++i ) {
            kernel.chips.erase( static_cast<uint8_t>( first + i ) );
        }
    }
    const std::string tooMany = "more muxes may have a channel on than the server keeps in mind";
    EXPECT_EQ( tooMany, perform( behind( 0x70 ) ) );
    EXPECT_EQ( tooMany, perform( behind( 0x72 ) ) );
    EXPECT_EQ( 0u, control( 0x72 ) );
    EXPECT_EQ( "", perform( direct() ) );
}

TEST_F( MuxOnControllerTest, BatchOfTooManyMuxesIsNotBegun ) {
    Smbus::TransactionRequest request;
    for ( unsigned chip = 3; chip < 0x48; ++chip ) {
        *request.add_request() = sendByte( chip, 1 );
    }
    for ( unsigned chip = 3; chip < 0x48; ++chip ) {
        *request.add_request() = sendByte( chip, 0 );
    }
    EXPECT_EQ( "more muxes may have a channel on than the server keeps in mind",
               perform( request ) );
    EXPECT_EQ( "", kernel.wires );
}

} // namespace
