#include "SmbusServer/MuxGuard.h"
#include "EmulatedBoard/Document.h"
#include "SmbusServer/EmulatedBackend.h"
#include "SmbusServer/FaultLayer.h"
#include "SmbusServer/FaultScript.h"
#include "SmbusServer/Transaction.h"
#include "tests/support/DescribeBatch.h"
#include "tests/support/Requests.h"

#include <ctime>
#include <gtest/gtest.h>
#include <optional>
#include <string>

using namespace Requests;
using namespace SmbusServer;

namespace {

/// Two muxes on one bus and a third behind the first; a sensor at 0x48 behind each.
constexpr const char *document = R"({ "busses": [ { "master": "I2C", "bus": 0, "chips": [
    { "name": "left", "type": "PCA9548", "address": "0x70", "channels": [
        { "channel": 0, "chips": [
            { "name": "s0", "type": "LM75", "address": "0x48", "set": { "temperature": 10 } } ] },
        { "channel": 1, "chips": [
            { "name": "inner", "type": "PCA9548", "address": "0x71", "channels": [
                { "channel": 0, "chips": [
                    { "name": "s1", "type": "LM75", "address": "0x48",
                      "set": { "temperature": 20 } } ] } ] } ] } ] },
    { "name": "right", "type": "PCA9548", "address": "0x72", "channels": [
        { "channel": 0, "chips": [
            { "name": "s2", "type": "LM75", "address": "0x48",
              "set": { "temperature": 33 } } ] } ] } ] } ] })";

class MuxGuardTest : public testing::Test {
  protected:
    void fault( std::string_view line ) { ASSERT_TRUE( faults.add( parseFault( line ) ) ); }

    static Smbus::TransactionRequest behindLeft() {
        return batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 1 ), sendByte( 0x70, 0 ) } );
    }
    static Smbus::TransactionRequest behindInner() {
        return batch( { sendByte( 0x70, 2 ), sendByte( 0x71, 1 ), readBytes( 0x48, 0, 1 ),
                        sendByte( 0x71, 0 ), sendByte( 0x70, 0 ) } );
    }
    static Smbus::TransactionRequest behindRight() {
        return batch( { sendByte( 0x72, 1 ), readBytes( 0x48, 0, 1 ), sendByte( 0x72, 0 ) } );
    }

    /// Degrees as read, or the error.
    std::string perform( Smbus::TransactionRequest batch ) {
        batch.set_retries( 0 );
        Smbus::TransactionResponse response;
        transaction.perform( batch, response );
        for ( const Smbus::Response &each : response.response() ) {
            if ( !response.failed() && !each.data().empty() ) {
                return std::to_string( static_cast<int>( each.data()[0] ) );
            }
        }
        return response.error();
    }

    std::string control( const std::string &mux ) {
        std::string value;
        std::string error;
        EXPECT_TRUE( board.get( mux + ".control", value, error ) ) << error;
        return value;
    }
    void present( const std::string &chip, const char *value ) {
        std::string error;
        EXPECT_TRUE( board.set( chip + ".present", value, error ) ) << error;
    }

    EmulatedBoard::Board board = EmulatedBoard::parseBoard( document, "text" );
    EmulatedBackend emulated{ board };
    FaultList faults;
    FaultLayer layer{ emulated, faults };
    PrivateWiring wiring;
    MuxGuard guard{ layer, wiring };
    Transaction transaction{ guard };
};

constexpr const char *refused = "a mux that may have a channel on cannot be told to let go: ";

} // namespace

TEST_F( MuxGuardTest, HealthyBatchesReadTheirOwnChip ) {
    EXPECT_EQ( "10", perform( behindLeft() ) );
    EXPECT_EQ( "20", perform( behindInner() ) );
    EXPECT_EQ( "33", perform( behindRight() ) );
}

TEST_F( MuxGuardTest, FailedDeselectIsMadeUpForBeforeTheNextBatch ) {
    fault( "fault bus 0 chip 0x70 no-release count 1" );
    EXPECT_EQ( "bus 0 chip 0x70 reg 0x00: no acknowledge", perform( behindLeft() ) );
    EXPECT_EQ( "0x01", control( "left" ) );
    EXPECT_EQ( "33", perform( behindRight() ) );
    EXPECT_EQ( "0x00", control( "left" ) );
}

TEST_F( MuxGuardTest, WithoutTheGuardBothChipsWouldAnswer ) {
    Transaction unguarded( layer );
    Smbus::TransactionResponse response;
    fault( "fault bus 0 chip 0x70 no-release count 4" );
    unguarded.perform( behindLeft(), response );
    unguarded.perform( behindRight(), response );
    EXPECT_EQ( 10 & 33, response.response( 1 ).data()[0] );
}

TEST_F( MuxGuardTest, InnerMuxIsReachedThroughTheOuterOne ) {
    fault( "fault bus 0 chip 0x71 no-release count 1" );
    EXPECT_EQ( "bus 0 mux 0x70=02 chip 0x71 reg 0x00: no acknowledge", perform( behindInner() ) );
    EXPECT_EQ( "0x01", control( "inner" ) );
    EXPECT_EQ( "33", perform( behindRight() ) );
    EXPECT_EQ( "0x00", control( "inner" ) );
    EXPECT_EQ( "0x00", control( "left" ) );
}

TEST_F( MuxGuardTest, SelectWhoseAnswerWasLostIsTakenBack ) {
    fault( "fault bus 0 chip 0x72 time-out count 2" );
    EXPECT_EQ( "bus 0 chip 0x72 reg 0x01: time-out", perform( behindRight() ) );
    EXPECT_EQ( "10", perform( behindLeft() ) );
    EXPECT_EQ( "33", perform( behindRight() ) );
}

TEST_F( MuxGuardTest, MuxThatRefusesToLetGoKeepsOthersFromReadingItsChips ) {
    fault( "fault bus 0 chip 0x70 no-release" );
    perform( behindLeft() );
    EXPECT_EQ( refused + std::string( "bus 0 chip 0x70 reg 0x00: no acknowledge" ),
               perform( behindRight() ) );
    faults.clear();
    EXPECT_EQ( "33", perform( behindRight() ) );
    EXPECT_EQ( "0x00", control( "left" ) );
}

TEST_F( MuxGuardTest, InnerMuxThatRefusesIsInNobodysWayWhileTheOuterOneIsOff ) {
    fault( "fault bus 0 chip 0x71 no-release" );
    perform( behindInner() );
    EXPECT_EQ( "33", perform( behindRight() ) );
    EXPECT_EQ( refused + std::string( "bus 0 mux 0x70=02 chip 0x71 reg 0x00: no acknowledge" ),
               perform( behindInner() ) );
}

TEST_F( MuxGuardTest, InnerMuxIsReachedOnTheWayThatWasPerformed ) {
    fault( "fault bus 0 chip 0x71 no-release count 1" );
    perform( batch( { sendByte( 0x70, 2 ), sendByte( 0x71, 1 ), readBytes( 0x4f, 0, 1 ),
                      sendByte( 0x70, 1 ), readBytes( 0x48, 0, 1 ), sendByte( 0x71, 0 ),
                      sendByte( 0x70, 0 ) } ) );
    EXPECT_EQ( "0x01", control( "inner" ) );
    EXPECT_EQ( "33", perform( behindRight() ) );
    EXPECT_EQ( "0x00", control( "inner" ) );
}

TEST_F( MuxGuardTest, OuterMuxThatRefusesWhileAnInnerOneIsClearedIsInTheWay ) {
    fault( "fault bus 0 chip 0x71 no-release count 1" );
    perform( behindInner() );
    fault( "fault bus 0 chip 0x70 no-release count 9" );
    EXPECT_EQ( refused + std::string( "bus 0 chip 0x70 reg 0x00: no acknowledge" ),
               perform( behindRight() ) );
    faults.clear();
    EXPECT_EQ( "33", perform( behindRight() ) );
    EXPECT_EQ( "0x00", control( "left" ) );
}

TEST_F( MuxGuardTest, BehindAMuxThatRefusesNoOtherIsTold ) {
    fault( "fault bus 0 chip 0x70 no-release" );
    fault( "fault bus 0 chip 0x71 no-release count 1" );
    perform( behindInner() );
    fault( "fault bus 0 chip 0x71 nack" ); // would count whatever is still sent there
    EXPECT_EQ( refused + std::string( "bus 0 chip 0x70 reg 0x00: no acknowledge" ),
               perform( behindRight() ) );
    EXPECT_NE( std::string::npos, faults.list().find( " hits 0: bus 0 chip 0x71 nack\n" ) );
    faults.clear();
    EXPECT_EQ( "33", perform( behindRight() ) );
    EXPECT_EQ( "0x00", control( "inner" ) );
}

TEST_F( MuxGuardTest, MuxThatWasPulledHoldsNobodyUp ) {
    present( "left", "0" );
    EXPECT_EQ( "bus 0 chip 0x70 reg 0x01: no acknowledge", perform( behindLeft() ) );
    EXPECT_EQ( "33", perform( behindRight() ) );
    present( "left", "1" );
    EXPECT_EQ( "10", perform( behindLeft() ) );
}

TEST_F( MuxGuardTest, MuxThatIsSilentForAWhileIsClearedWhenItAnswersAgain ) {
    fault( "fault bus 0 chip 0x70 nack at 2 count 10" );
    EXPECT_EQ( "bus 0 chip 0x70 reg 0x00: no acknowledge", perform( behindLeft() ) );
    perform( behindRight() );
    EXPECT_EQ( "33", perform( behindRight() ) );
    EXPECT_EQ( "0x00", control( "left" ) );
}

TEST_F( MuxGuardTest, ClearingIsOverWhenTheMuxIsOff ) {
    fault( "fault bus 0 chip 0x70 no-release count 1" );
    perform( behindLeft() );
    perform( behindRight() );
    fault( "fault bus 0 chip 0x70 nack" ); // would fail whatever is still sent there
    EXPECT_EQ( "33", perform( behindRight() ) );
    EXPECT_EQ( "1 hits 1: bus 0 chip 0x70 no-release count 1\n2 hits 0: bus 0 chip 0x70 nack\n",
               faults.list() );
}

TEST_F( MuxGuardTest, ChipThatIsNoMuxIsLeftAlone ) {
    fault( "fault bus 0 chip 0x48 nack" );
    perform( batch( { sendByte( 0x70, 1 ), sendByte( 0x48, 3 ), sendByte( 0x70, 0 ) } ) );
    EXPECT_EQ( "33", ( faults.clear(), perform( behindRight() ) ) );
    EXPECT_EQ( "", faults.list() );
}

TEST_F( MuxGuardTest, MuxesAreToldToLetGoAtTheEndToo ) {
    fault( "fault bus 0 chip 0x71 no-release count 1" );
    perform( behindInner() );
    guard.letGo();
    EXPECT_EQ( "0x00", control( "inner" ) );
    EXPECT_EQ( "0x00", control( "left" ) );
}

TEST_F( MuxGuardTest, FailureOfALaterBatchIsNotedAnew ) {
    for ( int round = 0; round < 3; ++round ) {
        fault( "fault bus 0 chip 0x70 no-release count 1" );
        EXPECT_NE( "10", perform( behindLeft() ) );
        EXPECT_EQ( "33", perform( behindRight() ) );
    }
}

TEST_F( MuxGuardTest, LongBatchThatFailsEverywhereIsNotedInReasonableTime ) {
    Smbus::TransactionRequest request;
    for ( unsigned i = 0; i < 100; ++i ) {
        *request.add_request() = sendByte( 3 + i, 1 );
    }
    for ( unsigned i = 0; i < 16'000; ++i ) {
        *request.add_request() = sendByte( 3 + i % 100, 0 );
    }
    fault( "fault bus 0 nack" );
    const std::clock_t start = std::clock(); // of this process: others do not count
    EXPECT_EQ( "bus 0 chip 0x03 reg 0x01: no acknowledge", perform( request ) );
    faults.clear();
    EXPECT_EQ( "33", perform( behindRight() ) );
    EXPECT_LT( std::clock() - start, 5 * CLOCKS_PER_SEC );
}

TEST_F( MuxGuardTest, CascadeOnACardThatIsPulledFailsAsItsFirstMuxDoes ) {
    present( "left", "0" );
    for ( int i = 0; i < 3; ++i ) {
        EXPECT_EQ( "bus 0 chip 0x70 reg 0x02: no acknowledge", perform( behindInner() ) );
        EXPECT_EQ( "33", perform( behindRight() ) );
    }
    present( "left", "1" );
    EXPECT_EQ( "20", perform( behindInner() ) );
}

TEST_F( MuxGuardTest, CascadeOnACardThatIsPulledIsForgotten ) {
    present( "left", "0" );
    perform( behindInner() ); // which never got to select the inner mux
    for ( int i = 0; i < MuxStates::mostSilences; ++i ) {
        perform( behindRight() );
    }
    fault( "fault bus 0 chip 0x70 nack" ); // counts what is still sent there
    perform( behindRight() );
    EXPECT_EQ( "1 hits 0: bus 0 chip 0x70 nack\n", faults.list() );
}

TEST_F( MuxGuardTest, InnerMuxStaysInDoubtAsLongAsTheOuterOneIsAway ) {
    fault( "fault bus 0 chip 0x71 no-release count 1" );
    fault( "fault bus 0 chip 0x70 nack at 2" ); // pulled behind the select
    perform( behindInner() );
    for ( int i = 0; i < 2 * MuxStates::mostSilences; ++i ) {
        // What was tried for the inner mux, not for the batch.
        ASSERT_EQ( "bus 0 chip 0x70 reg 0x02: no acknowledge", perform( behindLeft() ) );
    }
    EXPECT_EQ( "0x01", control( "inner" ) );
    faults.clear();
    EXPECT_EQ( "10", perform( behindLeft() ) );
    EXPECT_EQ( "0x00", control( "inner" ) );
}

TEST_F( MuxGuardTest, FailedDeselectIsNotedWhateverTheReason ) {
    class FailingDeselects : public Backend {
      public:
        explicit FailingDeselects( Backend &below ) : below_( below ) {}
        Cause perform( const Operation &operation, std::string &read ) override {
            return operation.isDeselect() && cause != Cause::None
                       ? cause
                       : below_.perform( operation, read );
        }
        bool severalAccelerators( const BusName & ) const override { return false; }
        Cause cause = Cause::None;

      private:
        Backend &below_;
    } failing( emulated );
    MuxGuard own( failing, wiring );
    Transaction onFailing( own );
    Smbus::TransactionResponse response;
    for ( const Cause each : { Cause::NoController, Cause::NotPermitted, Cause::ChipInUse,
                               Cause::NotSupported, Cause::TimedOut, Cause::ControllerError } ) {
        failing.cause = each;
        onFailing.perform( behindLeft(), response );
        EXPECT_EQ( "0x01", control( "left" ) );
        failing.cause = Cause::None;
        onFailing.perform( behindRight(), response );
        EXPECT_FALSE( response.failed() );
        EXPECT_EQ( "0x00", control( "left" ) );
    }
}

TEST_F( MuxGuardTest, MuxWhoseControlRegisterReadsAsOffHasLetGoWhateverItAnswered ) {
    class LateDeselects : public Backend {
      public:
        explicit LateDeselects( Backend &below ) : below_( below ) {}
        Cause perform( const Operation &operation, std::string &read ) override {
            const Cause cause = below_.perform( operation, read );
            return operation.isDeselect() && operation.chip == 0x70 ? Cause::TimedOut : cause;
        }
        bool severalAccelerators( const BusName & ) const override { return false; }

      private:
        Backend &below_;
    } late( emulated );
    MuxGuard own( late, wiring );
    Transaction onLate( own );
    Smbus::TransactionResponse response;
    onLate.perform( behindLeft(), response );
    EXPECT_EQ( "bus 0 chip 0x70 reg 0x00: time-out", response.error() );
    onLate.perform( behindRight(), response );
    ASSERT_FALSE( response.failed() ) << response.error();
    EXPECT_EQ( 33, response.response( 1 ).data()[0] );
}

TEST_F( MuxGuardTest, TransientFailureLeavesNothingInDoubt ) {
    fault( "fault bus 0 chip 0x70 nack count 2" );
    Smbus::TransactionRequest request = behindLeft();
    Smbus::TransactionResponse response;
    transaction.perform( request, response );
    EXPECT_FALSE( response.failed() );
    fault( "fault bus 0 chip 0x70 nack" ); // would fail whatever is still sent there
    perform( behindRight() );
    EXPECT_EQ( "1 hits 2: bus 0 chip 0x70 nack count 2\n2 hits 0: bus 0 chip 0x70 nack\n",
               faults.list() );
}

namespace {

/// Muxes that others have switched before.
class UsedMuxesTest : public MuxGuardTest {
  protected:
    struct UsedWiring : PrivateWiring {
        bool startsOff() const override { return false; }
        std::vector<uint8_t> rootMuxesOf( const BusName & ) const override { return roots; }
        std::vector<uint8_t> roots;
    };

    void leaveOn( const Smbus::TransactionRequest &selects ) {
        std::string unread;
        for ( const Smbus::Request &each : selects.request() ) {
            emulated.perform( decode( each ), unread );
        }
    }
    std::string performOnUsed( const Smbus::TransactionRequest &request ) {
        Smbus::TransactionResponse response;
        Transaction( used ).perform( request, response );
        return response.failed()
                   ? response.error()
                   : std::to_string( static_cast<int>(
                         response.response( response.response_size() / 2 ).data()[0] ) );
    }

    UsedWiring usedWiring;
    MuxGuard used{ layer, usedWiring };
};

} // namespace

TEST_F( UsedMuxesTest, AreClearedBeforeTheFirstBatchThatSelectsThem ) {
    leaveOn( batch( { sendByte( 0x70, 2 ), sendByte( 0x71, 4 ), sendByte( 0x70, 1 ) } ) );
    EXPECT_EQ( "20", performOnUsed( behindInner() ) );
    EXPECT_EQ( "0x00", control( "left" ) );
    EXPECT_EQ( "0x00", control( "inner" ) );
}

TEST_F( UsedMuxesTest, MuxThatTheWiringNamesIsClearedBeforeABatchBehindAnotherOne ) {
    usedWiring.roots = { 0x70, 0x72 };
    leaveOn( batch( { sendByte( 0x70, 1 ) } ) );
    EXPECT_EQ( "33", performOnUsed( behindRight() ) );
    EXPECT_EQ( "0x00", control( "left" ) );
}

TEST_F( UsedMuxesTest, MuxThatNobodyNamesMixesItsChipsIn ) {
    leaveOn( batch( { sendByte( 0x70, 1 ) } ) );
    EXPECT_EQ( std::to_string( 10 & 33 ), performOnUsed( behindRight() ) );
    EXPECT_EQ( "10", performOnUsed( behindLeft() ) );
    EXPECT_EQ( "33", performOnUsed( behindRight() ) );
}

TEST_F( UsedMuxesTest, CascadeThatWasNeverReachedIsForgotten ) {
    present( "left", "0" );
    performOnUsed( behindInner() );
    for ( int i = 0; i < MuxStates::mostSilences; ++i ) {
        performOnUsed( behindRight() );
    }
    fault( "fault bus 0 chip 0x70 nack" ); // counts what is still sent there
    performOnUsed( behindRight() );
    EXPECT_EQ( "1 hits 0: bus 0 chip 0x70 nack\n", faults.list() );
}

TEST_F( UsedMuxesTest, MuxThatRefusesHoldsUpTheFirstBatchToo ) {
    usedWiring.roots = { 0x70 };
    leaveOn( batch( { sendByte( 0x70, 1 ) } ) );
    fault( "fault bus 0 chip 0x70 no-release" );
    EXPECT_EQ( refused + std::string( "bus 0 chip 0x70 reg 0x00: no acknowledge" ),
               performOnUsed( behindRight() ) );
    faults.clear();
    EXPECT_EQ( "33", performOnUsed( behindRight() ) );
}
