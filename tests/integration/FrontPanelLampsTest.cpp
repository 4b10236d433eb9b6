// Lamps from the host's call to what a person sees.
#include "tests/integration/FrontPanel.h"

#include <string_view>

namespace {

// The texts are literals: a device keeps a pointer to its own.
constexpr const char *ethernet33 = R"({"driver":"VundaTXcvrLedCPLD","did":31,
    "address":{"address":97},"driverArgs":{"ledName":"Ethernet33"}})";
constexpr const char *ethernet34 = R"({"driver":"VundaTXcvrLedCPLD","did":31,
    "address":{"address":97},"driverArgs":{"ledName":"Ethernet34"}})";
constexpr const char *status = R"({"driver":"VundaTSystemLedCPLD","did":32,
    "address":{"address":98},"driverArgs":{"reg":65,"id":1}})";

class FrontPanelLampsTest : public FrontPanel {
  protected:
    pl_led *lamp( const char *arguments ) const {
        return function<decltype( pl_led_add )>( "pl_led_add" )( arguments );
    }
    static pl_status settingIs( pl_led *led, pl_led_status setting ) {
        return led->ops->setLightSetting( led, setting );
    }
};

struct Seen {
    pl_led_status setting;
    pl_status result;
    const char *port; ///< what a person sees of a lamp that was off
    const char *system;
};
void PrintTo( const Seen &each, std::ostream *out ) {
    *out << each.setting;
}
constexpr Seen seen[] = {
    { PL_LED_OFF, PL_STATUS_OK, "off", "off" },
    { PL_LED_GOOD, PL_STATUS_OK, "green", "green" },
    { PL_LED_WARNING, PL_STATUS_OK, "amber", "amber" },
    { PL_LED_BAD, PL_STATUS_OK, "amber", "red" },
    { PL_LED_INACTIVE, PL_STATUS_INVALID, "off", "off" },
    { PL_LED_UNKNOWN, PL_STATUS_OK, "off", "off" },
    { PL_LED_BEACON, PL_STATUS_OK, "off", "green" }, // a port's lamp waits for the first tick
};

class FrontPanelSettingTest : public FrontPanelLampsTest,
                              public testing::WithParamInterface<Seen> {};

TEST_P( FrontPanelSettingTest, IsSeenOnTheLampAndOnNoOther ) {
    EXPECT_EQ( GetParam().result, settingIs( lamp( ethernet33 ), GetParam().setting ) );
    EXPECT_EQ( GetParam().result, settingIs( lamp( status ), GetParam().setting ) );
    EXPECT_EQ( GetParam().port, look( "port-lamps.ethernet33" ) );
    EXPECT_EQ( GetParam().system, look( "system-lamps.status" ) );
    EXPECT_EQ( "off", look( "port-lamps.ethernet34" ) );
    EXPECT_EQ( "off", look( "system-lamps.locator" ) );
}

INSTANTIATE_TEST_SUITE_P( Settings, FrontPanelSettingTest, testing::ValuesIn( seen ),
                          []( const auto &each ) {
                              return "Setting" + std::to_string( each.param.setting );
                          } );

/// The bits that light Ethernet34 and choose its colour, and the whole register of the system's.
struct Written {
    pl_led_status setting;
    int lit;
    int amber; ///< -1: as it was
    const char *system;
};
constexpr Written written[] = {
    { PL_LED_OFF, 0, -1, "0x83" },     { PL_LED_GOOD, 1, 0, "0x82" },
    { PL_LED_WARNING, 1, 1, "0x80" },  { PL_LED_BAD, 1, 1, "0x81" },
    { PL_LED_UNKNOWN, 0, -1, "0x83" }, { PL_LED_BEACON, 0, -1, "0x82" },
};

TEST_F( FrontPanelLampsTest, EverySettingFromEveryOther ) {
    pl_led *port = lamp( ethernet34 );
    pl_led *system = lamp( status );
    int amber = 0;
    const auto set = [&]( const Written &each ) {
        amber = each.amber < 0 ? amber : each.amber;
        EXPECT_EQ( PL_STATUS_OK, settingIs( port, each.setting ) );
        EXPECT_EQ( PL_STATUS_OK, settingIs( system, each.setting ) );
    };
    for ( const Written &before : written ) {
        for ( const Written &after : written ) {
            set( before );
            set( after );
            char expected[8];
            snprintf( expected, sizeof expected, "0x%02x", after.lit << 7 | amber << 3 );
            EXPECT_EQ( expected, look( "port-lamps.lamps" ) ) << before.setting << after.setting;
            EXPECT_EQ( after.system, look( "system-lamps.lamps" ) )
                << before.setting << after.setting;
        }
    }
}

TEST_F( FrontPanelLampsTest, BeaconBlinksAmberOnAPortUntilItIsSetToGood ) {
    pl_led *port = lamp( ethernet33 );
    settingIs( port, PL_LED_BEACON );
    secondPasses();
    EXPECT_EQ( "off", look( "port-lamps.ethernet33" ) ) << "the first phase is the dark one";
    secondPasses();
    EXPECT_EQ( "amber", look( "port-lamps.ethernet33" ) );
    secondPasses();
    secondPasses();
    EXPECT_EQ( "amber blinking", look( "port-lamps.ethernet33" ) );
    // One more than is seen: the first time it is green until its second bit is written.
    EXPECT_EQ( "4", look( "port-lamps.ethernet33_changes" ) );
    settingIs( port, PL_LED_GOOD );
    EXPECT_EQ( "green", look( "port-lamps.ethernet33" ) );
    secondPasses();
    secondPasses();
    EXPECT_EQ( "5", look( "port-lamps.ethernet33_changes" ) );
}

TEST_F( FrontPanelLampsTest, BeaconBlinksTheLocatorBesideAGreenStatus ) {
    pl_led *system = lamp( status );
    settingIs( system, PL_LED_BEACON );
    for ( int second = 0; second < 5; ++second ) {
        secondPasses();
        EXPECT_EQ( "green", look( "system-lamps.status" ) );
    }
    EXPECT_EQ( "blue blinking", look( "system-lamps.locator" ) );
    EXPECT_EQ( "4", look( "system-lamps.locator_changes" ) );
    settingIs( system, PL_LED_OFF );
    secondPasses();
    EXPECT_EQ( "0x83", look( "system-lamps.lamps" ) );
}

TEST_F( FrontPanelLampsTest, AllLampsBlinkInOnePhase ) {
    settingIs( lamp( ethernet33 ), PL_LED_BEACON );
    settingIs( lamp( status ), PL_LED_BEACON );
    settingIs( lamp( ethernet34 ), PL_LED_BEACON );
    secondPasses();
    for ( int turn = 0; turn < 3; ++turn ) {
        secondPasses();
        EXPECT_EQ( "0xcc", look( "port-lamps.lamps" ) );
        EXPECT_EQ( "0x02", look( "system-lamps.lamps" ) );
        secondPasses();
        EXPECT_EQ( "0x0c", look( "port-lamps.lamps" ) );
        EXPECT_EQ( "0x82", look( "system-lamps.lamps" ) );
    }
}

TEST_F( FrontPanelLampsTest, CpldThatLeavesWhileALampBlinksIsLitAgainWhenItIsBack ) {
    pl_led *port = lamp( ethernet33 );
    pl_led *system = lamp( status );
    settingIs( port, PL_LED_BEACON );
    settingIs( system, PL_LED_BEACON );
    turn( "port-lamps.present", "0" );
    turn( "system-lamps.present", "0" );
    secondPasses();
    secondPasses();
    EXPECT_TRUE(
        FakeHost::get().traced( 0, "Error: failed to toggle led Ethernet33 for blinking" ) );
    EXPECT_TRUE( FakeHost::get().traced( 0, "Error: failed to toggle led 1 for blinking" ) );
    turn( "port-lamps.present", "1" );
    turn( "system-lamps.present", "1" );
    secondPasses();
    secondPasses();
    EXPECT_EQ( "0x44", look( "port-lamps.lamps" ) );
    EXPECT_EQ( "0x02", look( "system-lamps.lamps" ) );
}

TEST_F( FrontPanelLampsTest, SettingOnACpldThatIsGoneFails ) {
    pl_led *port = lamp( ethernet33 );
    pl_led *system = lamp( status );
    turn( "port-lamps.present", "0" );
    turn( "system-lamps.present", "0" );
    EXPECT_EQ( PL_STATUS_IO_ERROR, settingIs( port, PL_LED_GOOD ) );
    EXPECT_EQ( PL_STATUS_FAILED, settingIs( system, PL_LED_GOOD ) );
    turn( "port-lamps.present", "1" );
    turn( "system-lamps.present", "1" );
    EXPECT_EQ( PL_STATUS_OK, settingIs( port, PL_LED_GOOD ) );
    EXPECT_EQ( PL_STATUS_OK, settingIs( system, PL_LED_GOOD ) );
    EXPECT_EQ( "green", look( "port-lamps.ethernet33" ) );
    EXPECT_EQ( "green", look( "system-lamps.status" ) );
}

} // namespace
