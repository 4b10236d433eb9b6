#include "KavraGeneric/Drivers/Drivers.h"
#include "tests/KavraGeneric/Drivers/ChipHam.h"
#include "tests/KavraGeneric/Drivers/Vunda/XcvrFixture.h"

#include <memory>
#include <new>
#include <optional>
#include <set>
#include <string>

namespace {

using Drivers::VundaGenericXcvrCPLD;
using XcvrPollTest = XcvrTest;
using Lines = std::vector<FakeHost::Line>;

TEST_F( XcvrPollTest, CreationMakesTheTimerWithoutArmingIt ) {
    Drivers::DriverArgs args;
    const std::unique_ptr<Component::DeviceBase> made(
        VundaGenericXcvrCPLD::create( args, nullptr ) );
    EXPECT_EQ( ( Lines{ { 5, "Creating VundaGenericXcvrCPLD device" }, { 0, "creating timer" } } ),
               host().lines );
    EXPECT_EQ( std::vector<int>{}, pollTimer().periods );
}

TEST_F( XcvrPollTest, DestructionDeletesTheTimer ) {
    Drivers::DriverArgs args;
    std::unique_ptr<Component::DeviceBase> made( VundaGenericXcvrCPLD::create( args, nullptr ) );
    host().lines.clear();
    made.reset();
    EXPECT_TRUE( pollTimer().deleted );
    EXPECT_EQ( ( Lines{ { 0, "destroying timer" } } ), host().lines );
}

TEST_F( XcvrPollTest, DeviceWithoutATimerHasNoneToDelete ) {
    host().timerAddFails = true;
    Drivers::DriverArgs args;
    std::unique_ptr<Component::DeviceBase> made( VundaGenericXcvrCPLD::create( args, nullptr ) );
    made.reset();
    EXPECT_EQ( ( Strings{ "creating timer", "destroying timer" } ), host().texts( 0 ) );
}

TEST_F( XcvrPollTest, StartPollsAndArmsTheTimerForASecond ) {
    addQsfp();
    EXPECT_EQ( Strings{ "" }, batches() ); // nothing to read yet
    EXPECT_EQ( std::vector<int>{ 1000 }, pollTimer().periods );
    EXPECT_EQ( 1U, host().timers.size() );
}

TEST_F( XcvrPollTest, StartIsTraced ) {
    addQsfp();
    const Strings steps = ownTraces( 0 );
    const Strings start = { "VundaGenericXcvrCPLD::init()", "setting polling interval to 1000ms",
                            "VundaGenericXcvrCPLD device created" };
    ASSERT_LE( start.size(), steps.size() );
    EXPECT_EQ( start, Strings( steps.end() - 3, steps.end() ) );
    EXPECT_EQ( Strings{ "Register cache updated for VundaGenericXcvrCPLD" }, host().texts( 6 ) );
}

TEST_F( XcvrPollTest, SecondStartOnlyPolls ) {
    addQsfp();
    forgetAll();
    cpld().init();
    EXPECT_EQ( Strings{ "" }, batches() );
    EXPECT_EQ( Strings{ "VundaGenericXcvrCPLD::init()" }, host().texts( 0 ) );
    EXPECT_EQ( std::vector<int>{ 1000 }, pollTimer().periods );
}

TEST_F( XcvrPollTest, FurtherPortsDoNotPoll ) {
    addQsfp();
    forgetAll();
    addSfp();
    EXPECT_EQ( Strings{}, batches() );
    EXPECT_EQ( 1U, host().timers.size() );
}

TEST_F( XcvrPollTest, RegisterJoinsThePollWhenFirstUsed ) {
    addQsfp();
    host().tick( pollTimer() );
    EXPECT_EQ( "", lastBatch() );
    qsfpOps().getReset( qsfp, &value );
    host().tick( pollTimer() );
    EXPECT_EQ( "60[20]x1", lastBatch() );
    qsfpOps().getPresence( qsfp );
    host().tick( pollTimer() );
    EXPECT_EQ( "60[10]x1 | 60[20]x1", lastBatch() );
}

TEST_F( XcvrPollTest, WrittenRegisterJoinsThePoll ) {
    addQsfp();
    qsfpOps().setReset( qsfp, 0 );
    host().tick( pollTimer() );
    EXPECT_EQ( "60[21]x1", lastBatch() );
}

TEST_F( XcvrPollTest, RegisterWhoseWriteFailedJoinsThePoll ) {
    addQsfp();
    answerFailed( "" );
    qsfpOps().setReset( qsfp, 0 );
    host().tick( pollTimer() );
    EXPECT_EQ( "60[21]x1", lastBatch() );
}

TEST_F( XcvrPollTest, EachRegisterTakesItsOwnAnswer ) {
    addQsfp();
    for ( const int reg : { 200, 3, 77 } ) {
        bitOf( static_cast<uint8_t>( reg ), 0 );
    }
    poll( { bytes( 0x01 ), bytes( 0x02 ), bytes( 0x04 ) } );
    EXPECT_EQ( "60[03]x1 | 60[4d]x1 | 60[c8]x1", lastBatch() );
    EXPECT_EQ( 1, bitOf( 3, 0 ) );
    EXPECT_EQ( 1, bitOf( 77, 1 ) );
    EXPECT_EQ( 1, bitOf( 200, 2 ) );
    EXPECT_EQ( 0, bitOf( 200, 0 ) );
}

TEST_F( XcvrPollTest, PollOverwritesWhatWasWritten ) {
    addSfp();
    sfpOps().setTxDisable( sfp, 1 );
    poll( { bytes( 0x00 ) } );
    EXPECT_EQ( 0, bitOf( 65, 6 ) );
}

TEST_F( XcvrPollTest, CpldBehindMuxesIsReachedThroughThem ) {
    addQsfp( qsfpSettings(), 1, 8 );
    EXPECT_EQ( "70=04 | 71=08 | 71=00 | 70=00", lastBatch() );
    qsfpOps().getReset( qsfp, &value );
    answer( { ok, ok, bytes( 0x02 ), ok, ok } );
    host().tick( pollTimer() );
    EXPECT_EQ( "70=04 | 71=08 | 60[20]x1 | 71=00 | 70=00", lastBatch() );
    EXPECT_EQ( 1, bitOf( 32, 1, true, 8 ) );
    qsfpOps().setReset( qsfp, 0 );
    EXPECT_EQ( "70=04 | 71=08 | 60[21]=04 | 71=00 | 70=00", lastBatch() );
}

// 32 QSFP ports, 8 a register, and two SFP+ ports.
TEST_F( XcvrPollTest, PollOf34PortsIsOneBatchWithOneReadARegister ) {
    std::set<std::string> expected;
    const auto place = [&]( Settings &settings, const char *signal, int first, int port ) {
        const int reg = first + port / 8;
        settings[std::string( signal ) + "Reg"] = std::to_string( reg );
        settings[std::string( signal ) + "Bit"] = std::to_string( port % 8 );
        char text[16];
        snprintf( text, sizeof text, "60[%02x]x1", static_cast<unsigned>( reg ) );
        expected.insert( text );
    };
    for ( int port = 0; port < 32; ++port ) {
        Settings settings = qsfpSettings();
        place( settings, "getPresence", 0x10, port );
        place( settings, "getReset", 0x20, port );
        place( settings, "setReset", 0x20, port );
        place( settings, "getInterrupt", 0x30, port );
        addQsfp( settings, port + 1 );
        qsfpOps().getPresence( qsfp );
        qsfpOps().getReset( qsfp, &value );
        qsfpOps().getInterrupt( qsfp, &value );
    }
    for ( int port = 0; port < 2; ++port ) {
        Settings settings = sfpSettings();
        place( settings, "getPresence", 0x40, port );
        place( settings, "getRxLos", 0x41, port );
        place( settings, "getTxFault", 0x42, port );
        place( settings, "getTxDisable", 0x43, port );
        addSfp( settings, port + 33 );
        sfpOps().getPresence( sfp );
        sfpOps().getRxLos( sfp, &value );
        sfpOps().getTxFault( sfp, &value );
        sfpOps().getTxDisable( sfp, &value );
    }
    forget();
    host().tick( pollTimer() );
    std::string line;
    for ( const std::string &read : expected ) {
        line += ( line.empty() ? "" : " | " ) + read;
    }
    EXPECT_EQ( 16U, expected.size() );
    EXPECT_EQ( Strings{ line }, batches() );
}

TEST_F( XcvrPollTest, TickPollsAndArmsTheTimerAgain ) {
    addQsfp();
    forgetAll();
    host().tick( pollTimer() );
    EXPECT_EQ( ( std::vector<int>{ 1000, 1000 } ), pollTimer().periods );
    EXPECT_EQ( ( Lines{ { 6, "pollCallbackWrapper" },
                        { 4, "executing KavraSmbusHam request" },
                        { 6, "Register cache updated for VundaGenericXcvrCPLD" } } ),
               host().lines );
}

TEST_F( XcvrPollTest, TickThatCannotArmTheTimerIsNotFatal ) {
    addQsfp();
    host().timerSetFails = true;
    forgetAll();
    host().tick( pollTimer() );
    EXPECT_EQ( Strings{ "failed to set timer interval" }, host().texts( 0 ) );
    EXPECT_FALSE( pollTimer().armed );
}

TEST_F( XcvrPollTest, TickThatThrowsArmsTheTimerAgain ) {
    bool memoryIsOut = false;
    ChipHam chip( [&]( unsigned, unsigned ) -> std::optional<std::string> {
        if ( memoryIsOut ) {
            throw std::bad_alloc();
        }
        return std::string( 1, '\x01' );
    } );
    Ham::hams["KavraSmbus"] = [&]( const auto &, const auto & ) { return &chip; };
    addQsfp();
    bitOf( 16, 0 );
    memoryIsOut = true;
    EXPECT_THROW( host().tick( pollTimer() ), std::bad_alloc );
    EXPECT_TRUE( pollTimer().armed );
    memoryIsOut = false;
    host().tick( pollTimer() );
    EXPECT_EQ( 1, bitOf( 16, 0 ) );
}

using XcvrPollDeathTest = XcvrTest;

TEST_F( XcvrPollDeathTest, StartThatFailsToPollStops ) {
    EXPECT_DEATH(
        {
            tellTracesWhenDying();
            answerFailed( "" );
            addQsfp();
        },
        "updateRegisterCache.*Assertion `false' failed(.|\n)*"
        "0 Failed to poll information for VundaGenericXcvrCPLD" );
}

TEST_F( XcvrPollDeathTest, TickThatFailsToPollStops ) {
    EXPECT_DEATH(
        {
            addQsfp();
            tellTracesWhenDying();
            dropReply();
            host().tick( pollTimer() );
        },
        "updateRegisterCache.*Assertion `false' failed(.|\n)*"
        "0 Failed to poll information for VundaGenericXcvrCPLD" );
}

TEST_F( XcvrPollDeathTest, StartThatCannotArmTheTimerStops ) {
    EXPECT_DEATH(
        {
            tellTracesWhenDying();
            host().timerSetFails = true;
            addQsfp();
        },
        "Assertion `pollStart\\(\\)' failed(.|\n)*0 setting polling interval to 1000ms\n"
        "0 failed to set timer interval" );
}

TEST_F( XcvrPollDeathTest, StartWithoutATimerStops ) {
    EXPECT_DEATH(
        {
            tellTracesWhenDying();
            host().timerAddFails = true;
            addQsfp();
        },
        "Assertion `pollStart\\(\\)' failed(.|\n)*0 failed to set timer interval" );
}

} // namespace
