#include "KavraGeneric/Components/Led.h"

#include "tests/KavraGeneric/Components/DeviceClassTest.h"
#include "tests/KavraGeneric/Components/Layout.h"

#include <new>
#include <utility>

namespace {

using Component::LogicalDevice::Led;
using testing::ElementsAre;
using testing::IsEmpty;

/// Writes the phases that it is shown into a log that several lamps share.
class TestLed final : public Led {
  public:
    explicit TestLed( char letter = '?', std::string *shared = nullptr )
        : name( letter ), log( shared ) {}

    bool handleBlinkTimer( bool phase ) override {
        *log += name;
        *log += phase ? '1' : '0';
        if ( std::exchange( memoryIsOut, false ) ) {
            throw std::bad_alloc();
        }
        return ticksLeft-- > 1;
    }
    pl_status setLightSetting( pl_led_status setting ) override {
        shown = setting;
        return -77;
    }

    using Led::blink_;
    using Led::notifyList_;

    const char name;
    std::string *const log;
    int ticksLeft = 1000;
    bool memoryIsOut = false; ///< at the next tick
    pl_led_status shown = PL_LED_OFF;
};

class LedTest : public DeviceClassTest {
  protected:
    static FakeHost::Timer &blinkTimer() { return *host().timers.at( 0 ); }
    static void tick() { host().tick( blinkTimer() ); }

    std::string log;
    TestLed a{ 'a', &log };
    TestLed b{ 'b', &log };
    pl_led *const record = a.record();
};

using LedDeathTest = LedTest;

TEST_F( LedTest, RecordFollowsTheVirtualTablePointer ) {
    EXPECT_EQ( 8, Layout::offsetIn( &a, record ) );
    EXPECT_EQ( &Led::ops_, Layout::operationsOf( record ) );
    EXPECT_EQ( &a, Layout::deviceBehind( record ) );
}

TEST_F( LedTest, BlinkFlagFollowsTheRecordAndStartsClear ) {
    EXPECT_EQ( 32, Layout::offsetIn( &a, &a.blink_ ) );
    EXPECT_FALSE( a.blink_ );
    EXPECT_EQ( 40u, sizeof( Led ) );
}

TEST_F( LedTest, ConstructorLeavesTheHostsWordAlone ) {
    const Layout::MadeOverPattern<TestLed> made;
    EXPECT_EQ( made.pattern, made.hostWord() );
}

TEST_F( LedTest, TableHasItsSizeAndOneSlot ) {
    EXPECT_EQ( 16u, Layout::tableSize( &Led::ops_ ) );
    EXPECT_EQ( 0u, Layout::tableSecondWord( &Led::ops_ ) );
    EXPECT_EQ( Layout::addressOf( Led::setLightSettingCallback ), Layout::slot( &Led::ops_, 0 ) );
}

TEST_F( LedTest, OperationsFollowTheDestructor ) {
    EXPECT_EQ( 2u, Layout::virtualSlot( &Led::handleBlinkTimer ) );
    EXPECT_EQ( 3u, Layout::virtualSlot( &Led::setLightSetting ) );
}

TEST_F( LedTest, SetLightSettingIsTracedWithTheSettingAndForwarded ) {
    EXPECT_EQ( itsOwnStatus, record->ops->setLightSetting( record, PL_LED_BEACON ) );
    EXPECT_EQ( PL_LED_BEACON, a.shown );
    EXPECT_THAT( traces(),
                 ElementsAre( "4 setLightSettingCallback(" + printed( record ) + ", 6)" ) );
}

TEST_F( LedTest, SettingThatIsNoneReachesTheLampAsItIs ) {
    EXPECT_EQ( itsOwnStatus, record->ops->setLightSetting( record, pl_led_status( 7 ) ) );
    EXPECT_EQ( pl_led_status( 7 ), a.shown );
    EXPECT_THAT( traces(),
                 ElementsAre( "4 setLightSettingCallback(" + printed( record ) + ", 7)" ) );
}

TEST_F( LedTest, SettingsHaveTheirNames ) {
    const char *const names[] = {
        "Off", "Good", "Warning", "Bad", "Inactive", "Unknown", "Beacon"
    };
    for ( unsigned setting = 0; setting <= 6; ++setting ) {
        EXPECT_STREQ( names[setting], Led::getLedStatusString( pl_led_status( setting ) ) );
    }
}

TEST_F( LedDeathTest, NameOfASettingAboveSixEndsTheProcess ) {
    EXPECT_DEATH( Led::getLedStatusString( pl_led_status( 7 ) ),
                  testing::HasSubstr( "Assertion `( unsigned )status < sizeof ( strs ) / "
                                      "sizeof ( *strs )' failed" ) );
}

TEST_F( LedTest, AddingALampThatDoesNotBlinkMakesNoTimer ) {
    offer.led = &a;
    EXPECT_EQ( record, pl_led_add( testDevice ) );
    EXPECT_THAT( host().timers, IsEmpty() );
    EXPECT_THAT( tracesAfter( "Test device created" ), IsEmpty() );
}

TEST_F( LedTest, AddingALampThatMayBlinkMakesTheTimerUnarmed ) {
    offer.led = &a;
    a.blink_ = true;
    EXPECT_EQ( record, pl_led_add( testDevice ) );
    EXPECT_THAT( tracesAfter( "Test device created" ),
                 ElementsAre( "0 creating unique led blink timer" ) );
    EXPECT_EQ( Led::handleBlinkTimerCallback, blinkTimer().callback );
    EXPECT_EQ( nullptr, blinkTimer().context );
    EXPECT_FALSE( blinkTimer().armed );
}

TEST_F( LedTest, SecondBlinkingLampSharesTheTimer ) {
    Led::createBlinkTimer();
    offer.led = &b;
    b.blink_ = true;
    pl_led_add( testDevice );
    EXPECT_EQ( 1u, host().timers.size() );
    EXPECT_THAT( tracesAfter( "Test device created" ), IsEmpty() );
}

TEST_F( LedDeathTest, HostThatGivesNoTimerEndsTheProcess ) {
    host().timerAddFails = true;
    EXPECT_DEATH(
        {
            tellTracesWhenDying();
            Led::createBlinkTimer();
        },
        testing::AllOf( testing::HasSubstr( "Assertion `blinkTimer_' failed" ),
                        testing::HasSubstr( "0 creating unique led blink timer\n"
                                            "0 failed to create blink timer\n" ) ) );
}

TEST_F( LedDeathTest, RegistrationWithoutTheTimerEndsTheProcess ) {
    EXPECT_DEATH(
        {
            tellTracesWhenDying();
            Led::notifyOnBlink( &a );
        },
        testing::AllOf(
            testing::HasSubstr( "Assertion `blinkTimer_' failed" ),
            testing::HasSubstr( "4 notifyOnBlink() adding led to blink notification list\n" ) ) );
}

TEST_F( LedTest, FirstRegistrationArmsTheTimerForASecond ) {
    Led::createBlinkTimer();
    Led::notifyOnBlink( &a );
    EXPECT_THAT( blinkTimer().periods, ElementsAre( 1000 ) );
    EXPECT_THAT( tracesAfter( "creating unique led blink timer" ),
                 ElementsAre( "4 notifyOnBlink() adding led to blink notification list" ) );
}

TEST_F( LedTest, SecondRegistrationLeavesTheTimerRunning ) {
    Led::createBlinkTimer();
    Led::notifyOnBlink( &a );
    Led::notifyOnBlink( &b );
    EXPECT_THAT( blinkTimer().periods, ElementsAre( 1000 ) );
    EXPECT_THAT( TestLed::notifyList_, ElementsAre( &a, &b ) );
}

TEST_F( LedTest, LampsRegisteredBetweenTicksShareThePhaseInOrder ) {
    Led::createBlinkTimer();
    Led::notifyOnBlink( &b );
    Led::notifyOnBlink( &a );
    tick();
    tick();
    tick();
    EXPECT_EQ( "b0a0b1a1b0a0", log );
    EXPECT_THAT( blinkTimer().periods, ElementsAre( 1000, 1000, 1000, 1000 ) );
}

TEST_F( LedTest, LampThatJoinsInTheMiddleTakesThePhaseOfTheNextTick ) {
    Led::createBlinkTimer();
    Led::notifyOnBlink( &a );
    tick();
    Led::notifyOnBlink( &b );
    tick();
    EXPECT_EQ( "a0a1b1", log );
}

TEST_F( LedTest, TickIsTracedWithTheNumberOfLamps ) {
    Led::createBlinkTimer();
    Led::notifyOnBlink( &a );
    Led::notifyOnBlink( &b );
    host().lines.clear();
    tick();
    EXPECT_THAT( traces(),
                 ElementsAre( "4 handleBlinkTimerCallback() led blink timer hit notifying 2 "
                              "leds" ) );
}

TEST_F( LedTest, LampRegisteredTwiceIsCalledTwice ) {
    Led::createBlinkTimer();
    Led::notifyOnBlink( &a );
    Led::notifyOnBlink( &a );
    tick();
    EXPECT_EQ( "a0a0", log );
}

TEST_F( LedTest, LampThatStopsAtTheFirstTickIsRemovedAndTheTimerNotArmedAgain ) {
    a.ticksLeft = 1;
    Led::createBlinkTimer();
    Led::notifyOnBlink( &a );
    tick();
    EXPECT_THAT( TestLed::notifyList_, IsEmpty() );
    EXPECT_THAT( blinkTimer().periods, ElementsAre( 1000 ) );
    EXPECT_FALSE( blinkTimer().armed );
}

TEST_F( LedTest, LampThatStopsDoesNotDisturbTheOneBehindIt ) {
    a.ticksLeft = 1;
    Led::createBlinkTimer();
    Led::notifyOnBlink( &a );
    Led::notifyOnBlink( &b );
    tick();
    tick();
    EXPECT_EQ( "a0b0b1", log );
    EXPECT_TRUE( blinkTimer().armed );
}

TEST_F( LedTest, PhaseTurnsAlsoOnATickThatLeavesNoLamp ) {
    a.ticksLeft = 1;
    Led::createBlinkTimer();
    Led::notifyOnBlink( &a );
    tick();
    Led::notifyOnBlink( &b );
    tick();
    EXPECT_EQ( "a0b1", log );
    EXPECT_THAT( blinkTimer().periods, ElementsAre( 1000, 1000, 1000 ) );
}

TEST_F( LedTest, TickThatThrowsTurnsThePhaseAndIsFollowedByTheNext ) {
    Led::createBlinkTimer();
    Led::notifyOnBlink( &a );
    Led::notifyOnBlink( &b );
    a.memoryIsOut = true;
    EXPECT_THROW( tick(), std::bad_alloc );
    EXPECT_TRUE( blinkTimer().armed );
    tick();
    EXPECT_EQ( "a0a1b1", log );
}

TEST_F( LedTest, TimerThatCannotBeArmedIsIgnored ) {
    Led::createBlinkTimer();
    host().timerSetFails = true;
    Led::notifyOnBlink( &a );
    Led::handleBlinkTimerCallback( nullptr );
    EXPECT_EQ( "a0", log );
    EXPECT_THAT( TestLed::notifyList_, ElementsAre( &a ) );
    EXPECT_THAT( host().texts( 0 ), ElementsAre( "creating unique led blink timer" ) );
}

} // namespace
