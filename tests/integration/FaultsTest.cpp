// What the library makes of each fault of the server, and that the next batch is right.
#include "tests/integration/BoardFixture.h"

#include "KavraUtil/PLSocket.h"
#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/TemporaryFile.h"
#include "tests/support/Requests.h"

#include <array>
#include <ostream>
#include <string>

namespace {

class FaultsTest : public BoardFixture {
  protected:
    void fault( const std::string &line ) { ASSERT_EQ( "ok", server.control( "fault " + line ) ); }
    void clear() { ASSERT_EQ( "ok", server.control( "clear" ) ); }

    void expectBothSensorsRight() {
        EXPECT_FLOAT_EQ( 41.0F, celsiusOf( left ) );
        EXPECT_FLOAT_EQ( 43.5F, celsiusOf( right ) );
    }

    pl_temp_sensor *left = leftSensor();
    pl_temp_sensor *right = rightSensor();
};

struct Case {
    const char *name;
    const char *line;
    pl_status status;
    const char *trace; ///< at level 3; null: none is expected

    friend void PrintTo( const Case &each, std::ostream *out ) { *out << each.line; }
};

constexpr const char *nack = "execute: failure in response accelerator 0 bus 1 mux 0x70=01 chip "
                             "0x48 reg 0x00: no acknowledge";
constexpr const char *timeOut = "execute: failure in response accelerator 0 bus 1 mux 0x70=01 chip "
                                "0x48 reg 0x00: time-out";

constexpr const char *tooSlow = "server slow 60000";

constexpr Case cases[] = {
    { "NackForEver", "bus 1 chip 0x48 nack", PL_STATUS_FAILED, nack },
    { "NackOnce", "bus 1 chip 0x48 nack count 1", PL_STATUS_OK, nullptr },
    { "NackAsOftenAsIsTriedAgain", "bus 1 chip 0x48 nack count 3", PL_STATUS_OK, nullptr },
    { "NackOnceMore", "bus 1 chip 0x48 nack count 4", PL_STATUS_FAILED, nack },
    { "NackOfTheMuxInMidBatch", "bus 1 chip 0x70 nack at 2 count 4", PL_STATUS_FAILED,
      "execute: failure in response accelerator 0 bus 1 chip 0x70 reg 0x00: no acknowledge" },
    { "TimeOut", "bus 1 chip 0x48 time-out", PL_STATUS_FAILED, timeOut },
    { "StuckBus", "bus 1 chip 0x48 stuck", PL_STATUS_FAILED, timeOut },
    { "MuxDoesNotSelect", "bus 1 chip 0x70 no-select", PL_STATUS_FAILED, nack },
    { "MuxDoesNotLetGo", "bus 1 chip 0x70 no-release", PL_STATUS_FAILED,
      "execute: failure in response accelerator 0 bus 1 chip 0x70 reg 0x00: no acknowledge" },
    { "HangUpBeforeTheAnswer", "server hang-up", PL_STATUS_IO_ERROR,
      "execute: error. 104, Connection reset by peer" },
    { "HangUpAfterTheAnswer", "server hang-up-after", PL_STATUS_OK, nullptr },
    { "SlowServer", "server slow 50", PL_STATUS_OK, nullptr },
    { "ServerTooSlow", tooSlow, PL_STATUS_IO_ERROR, "execute: error. 110, Connection timed out" },
    { "NoResponses", "server responses 0", PL_STATUS_FAILED,
      "execute: invalid number of response entries; expected 3, got 0" },
    { "TooManyResponses", "server responses 4", PL_STATUS_FAILED,
      "execute: invalid number of response entries; expected 3, got 4" },
    { "FailedWithText", "server fail text the dog ate it", PL_STATUS_FAILED,
      "execute: failure in response the dog ate it" },
    { "FailedWithoutText", "server fail", PL_STATUS_FAILED,
      "execute: failure in response unknown reason" },
};

class FaultCaseTest : public FaultsTest, public testing::WithParamInterface<Case> {};

} // namespace

TEST_P( FaultCaseTest, HasItsStatusAndTheNextBatchIsRight ) {
    const auto usualLimit = _plSock->answerLimit;
    if ( GetParam().line == tooSlow ) {
        _plSock->answerLimit = std::chrono::milliseconds( 500 );
    }
    fault( GetParam().line );
    host().lines.clear();
    EXPECT_EQ( GetParam().status, statusOf( left ) );
    if ( GetParam().trace != nullptr ) {
        EXPECT_TRUE( host().traced( 3, GetParam().trace ) )
            << testing::PrintToString( host().lines );
    }
    clear();
    _plSock->answerLimit = usualLimit;
    expectBothSensorsRight();
}

INSTANTIATE_TEST_SUITE_P( Each, FaultCaseTest, testing::ValuesIn( cases ),
                          []( const auto &each ) { return std::string( each.param.name ); } );

namespace {

class FaultDeathTest : public FaultsTest, public testing::WithParamInterface<const char *> {};

} // namespace

// A driver that asked for a word fetches a word: the length is the bus's promise.
TEST_P( FaultDeathTest, WordOfAnotherLengthEndsTheProcess ) {
    fault( std::string( "bus 1 chip 0x48 " ) + GetParam() );
    EXPECT_DEATH( statusOf( left ), "data.size\\(\\) == 2" );
    clear();
    expectBothSensorsRight();
}

INSTANTIATE_TEST_SUITE_P( Each, FaultDeathTest,
                          testing::Values( "empty-read", "short-read", "long-read" ),
                          []( const auto &each ) {
                              std::string name = each.param;
                              name.resize( name.find( '-' ) );
                              return name;
                          } );

TEST_F( FaultsTest, OnesReadAsTheRegisterAllOnes ) {
    fault( "bus 1 chip 0x48 ones" );
    EXPECT_FLOAT_EQ( -1.5F, celsiusOf( left ) ); // -1, and the half degree moves away from zero
    clear();
    expectBothSensorsRight();
}

TEST_F( FaultsTest, MuxThatKeepsItsChannelIsClearedBeforeTheNextBatch ) {
    fault( "bus 1 chip 0x70 no-release count 4" );
    EXPECT_EQ( PL_STATUS_FAILED, statusOf( left ) );
    EXPECT_EQ( "0x01\nok", server.control( "get mux-asic.control" ) );
    expectBothSensorsRight();
    EXPECT_EQ( "0x00\nok", server.control( "get mux-asic.control" ) );
}

TEST_F( FaultsTest, ChipThatIsPulledInMidBatchFailsAndComesBack ) {
    server.control( "set asic-left.present 0" );
    EXPECT_EQ( PL_STATUS_FAILED, statusOf( left ) );
    EXPECT_EQ( "0x00\nok", server.control( "get mux-asic.control" ) );
    EXPECT_FLOAT_EQ( 43.5F, celsiusOf( right ) );
    server.control( "set asic-left.present 1" );
    expectBothSensorsRight();
}

namespace {

/// The sensor of the processor's board as a raw chip, whose register 2 reads as a block of four.
class RawFaultsTest : public FaultsTest {
  protected:
    RawFaultsTest() { chip->ops->writeWord( chip, 2, 0x8004 ); }

    pl_status readBlock() { return chip->ops->blockRead( chip, 2, buffer.data(), &length ); }

    pl_smbus *chip = pl_smbus_add( "cpu-bus", 0x4a );
    std::array<unsigned char, 255> buffer{};
    unsigned length = 99;
};

} // namespace

TEST_F( RawFaultsTest, HealthyBlockHasFourBytes ) {
    EXPECT_EQ( PL_STATUS_OK, readBlock() );
    EXPECT_EQ( 4u, length );
}

TEST_F( RawFaultsTest, BlocksOfAnotherLengthAreTakenAsTheyCome ) {
    fault( "bus 2 short-block count 1" );
    EXPECT_EQ( PL_STATUS_OK, readBlock() );
    EXPECT_EQ( 3u, length );
    fault( "bus 2 long-block count 1" );
    EXPECT_EQ( PL_STATUS_OK, readBlock() );
    EXPECT_EQ( 5u, length );
    fault( "bus 2 empty-block count 1" );
    EXPECT_EQ( PL_STATUS_OK, readBlock() );
    EXPECT_EQ( 0u, length );
    EXPECT_EQ( PL_STATUS_OK, readBlock() );
    EXPECT_EQ( 4u, length );
}

TEST_F( RawFaultsTest, WrongCountFailsTheBlock ) {
    for ( const char *line : { "bus 2 bad-count count 1", "bus 2 ones count 1" } ) {
        fault( line );
        EXPECT_EQ( PL_STATUS_FAILED, readBlock() ) << line;
        EXPECT_EQ( 0u, length );
        EXPECT_EQ( PL_STATUS_OK, readBlock() );
    }
}

TEST_F( RawFaultsTest, TransferOfAnotherLengthIsAnIoError ) {
    for ( const char *kind : { "empty-read", "short-read", "long-read" } ) {
        fault( std::string( "bus 2 count 1 " ) + kind );
        EXPECT_EQ( PL_STATUS_IO_ERROR, chip->ops->i2cBlockRead( chip, 2, buffer.data(), 4 ) );
        EXPECT_EQ( PL_STATUS_OK, chip->ops->i2cBlockRead( chip, 2, buffer.data(), 4 ) );
    }
}

TEST_F( RawFaultsTest, RawAccessIsNotTriedAgain ) {
    fault( "bus 2 nack count 1" );
    EXPECT_EQ( PL_STATUS_FAILED, readBlock() );
    EXPECT_EQ( PL_STATUS_OK, readBlock() );
}

// A host that gave up must not be the reason for a write that happens twice.
TEST_F( RawFaultsTest, WriteWhoseAnswerWasLostHappensOnce ) {
    fault( "server hang-up count 1" );
    fault( "bus 2 reg 3 chip 0x4a nack at 2" ); // counts the writes that reach the bus
    EXPECT_EQ( PL_STATUS_IO_ERROR, chip->ops->writeWord( chip, 3, 0x0050 ) );
    EXPECT_EQ( "80\nok", server.control( "get cpu-board.tos" ) );
    EXPECT_EQ( "1 hits 1: server hang-up count 1\n2 hits 0: bus 2 reg 3 chip 0x4a nack at 2\nok",
               server.control( "fault" ) );
}

TEST_F( FaultsTest, SlowAnswerDelaysNobodyElse ) {
    fault( "server slow 600000 count 1" );
    RawClient other( server.socketPath() );
    other.send( Requests::batch( {} ) );
    while ( server.control( "fault" ) == "1 hits 0: server slow 600000 count 1\nok" ) {
    }
    expectBothSensorsRight();
}

TEST_F( FaultsTest, ClientThatLeavesBeforeItsSlowAnswerIsForgotten ) {
    fault( "server slow 20 count 1" );
    {
        RawClient other( server.socketPath() );
        other.send( Requests::batch( {} ) );
        while ( server.control( "fault" ) == "1 hits 0: server slow 20 count 1\nok" ) {
        }
    }
    expectBothSensorsRight();
    RawClient third( server.socketPath() );
    EXPECT_TRUE( third.ask( Requests::batch( {} ) ) );
}

TEST_F( FaultsTest, HangUpBehindTheAnswerSendsTheAnswerFirst ) {
    fault( "server hang-up-after count 1" );
    RawClient other( server.socketPath() );
    EXPECT_TRUE( other.ask( Requests::batch( {} ) ) );
    EXPECT_TRUE( other.hungUp() );
}

TEST_F( FaultsTest, HangUpBehindTheAnswerLosesNoBatchThatFollowsAtOnce ) {
    for ( int round = 0; round < 50; ++round ) {
        fault( "server hang-up-after count 1" );
        expectBothSensorsRight();
    }
}

TEST( FaultFileTest, FaultsOfTheFileAreOnFromTheStart ) {
    const TemporaryFile script;
    script.write( "# lost once\nfault server hang-up count 1\nfault bus any stuck\n" );
    ServerProcess server( {}, { "--faults", script.path() } );
    EXPECT_EQ( "1 hits 0: server hang-up count 1\n2 hits 0: bus any stuck\nok",
               server.control( "fault" ) );
}

TEST( FaultFileTest, WrongLineKeepsTheServerFromStarting ) {
    const TemporaryFile script;
    script.write( "fault bus 1 nock\n" );
    try {
        ServerProcess server( {}, { "--faults", script.path() } );
        FAIL();
    } catch ( const std::runtime_error &error ) {
        EXPECT_NE( std::string::npos,
                   std::string( error.what() ).find( script.path() + ":1: no fault 'nock'" ) )
            << error.what();
    }
}
