// What the lamps of both LED CPLDs have in common: settings from every state, blinking, traces.
#include "KavraGeneric/Components/Led.h"
#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/KavraGeneric/Drivers/Vunda/LedFixture.h"

namespace {

struct Lamp {
    const char *driver;
    const char *driverArgs;
    const char *name;       // in traces
    int settingLevel;       // of the trace that tells each setting
    const char *setting;    // its beginning
    const char *written[7]; // by each setting, where all registers read as 0
    pl_status failure;      // when the first batch fails

    friend void PrintTo( const Lamp &lamp, std::ostream *out ) { *out << lamp.name; }
};

const Lamp lamps[] = {
    { "VundaTXcvrLedCPLD",
      R"("ledName": "Ethernet33")",
      "Ethernet33",
      5,
      "setting CPLD SFP+ Led Ethernet33 to ",
      { "00", "40 00", "40 04", "40 04", "", "00", "00" },
      PL_STATUS_IO_ERROR },
    { "VundaTXcvrLedCPLD",
      R"("ledName": "Ethernet34")",
      "Ethernet34",
      5,
      "setting CPLD SFP+ Led Ethernet34 to ",
      { "00", "80 00", "80 08", "80 08", "", "00", "00" },
      PL_STATUS_IO_ERROR },
    { "VundaTSystemLedCPLD",
      R"("reg": "65", "id": "2")",
      "2",
      6,
      "setting CPLD System Diag/LOC Led 2 to ",
      { "83", "82", "80", "81", "", "83", "82" },
      PL_STATUS_FAILED },
};

class VundaLedTest : public LampTest, public testing::WithParamInterface<Lamp> {
  protected:
    VundaLedTest() { addLed( GetParam().driver, GetParam().driverArgs ); }

    /// The bytes written since the last call, in order.
    std::string written() {
        std::string bytes;
        for ( const std::string &batch : batches() ) {
            const size_t write = batch.find( '=' );
            if ( write != std::string::npos ) {
                bytes += ( bytes.empty() ? "" : " " ) + batch.substr( write + 1 );
            }
        }
        forget();
        return bytes;
    }

    static bool isKnown( pl_led_status setting ) {
        return setting <= PL_LED_BEACON && setting != PL_LED_INACTIVE;
    }
    static std::string writtenBy( pl_led_status setting ) {
        return isKnown( setting ) ? GetParam().written[setting] : "";
    }
};

constexpr pl_led_status settings[] = {
    PL_LED_OFF,      PL_LED_GOOD,    PL_LED_WARNING, PL_LED_BAD,
    PL_LED_INACTIVE, PL_LED_UNKNOWN, PL_LED_BEACON,  static_cast<pl_led_status>( 7 ),
};

TEST_P( VundaLedTest, EverySettingFromEveryState ) {
    for ( const pl_led_status from : settings ) {
        for ( const pl_led_status to : settings ) {
            SCOPED_TRACE( std::to_string( from ) + " to " + std::to_string( to ) );
            addLed( GetParam().driver, GetParam().driverArgs );
            set( from );
            written();
            const bool stays = from == PL_LED_BEACON && to == PL_LED_BEACON;
            EXPECT_EQ( isKnown( to ) ? PL_STATUS_OK : PL_STATUS_INVALID, set( to ) );
            EXPECT_EQ( stays ? "" : writtenBy( to ), written() );
            EXPECT_EQ( to == PL_LED_BEACON ? 1U : 0U, blinking() );
            set( PL_LED_OFF );
        }
    }
}

TEST_P( VundaLedTest, BeaconTwiceRegistersOnceAndTouchesNothing ) {
    set( PL_LED_BEACON );
    forgetAll();
    EXPECT_EQ( PL_STATUS_OK, set( PL_LED_BEACON ) );
    EXPECT_EQ( Strings{}, batches() );
    EXPECT_EQ( 1U, blinking() );
}

TEST_P( VundaLedTest, SettingTakesEveryEntryOfTheLampOut ) {
    using Component::LogicalDevice::Led;
    set( PL_LED_BEACON );
    Led::notifyOnBlink( Layout::wordAt<Led *>( led, 16 ) );
    ASSERT_EQ( 2U, blinking() );
    set( PL_LED_OFF );
    EXPECT_EQ( 0U, blinking() );
}

TEST_P( VundaLedTest, LampBlinksAgainAfterAnyOtherSetting ) {
    for ( const pl_led_status between : settings ) {
        set( PL_LED_BEACON );
        set( between );
        EXPECT_EQ( PL_STATUS_OK, set( PL_LED_BEACON ) );
        EXPECT_EQ( 1U, blinking() );
    }
}

TEST_P( VundaLedTest, FirstBlinkingLampArmsTheTimer ) {
    ASSERT_EQ( 1U, host().timers.size() );
    EXPECT_FALSE( blinkTimer().armed );
    set( PL_LED_BEACON );
    EXPECT_EQ( std::vector<int>{ 1000 }, blinkTimer().periods );
}

TEST_P( VundaLedTest, SettingIsTracedByName ) {
    const char *names[] = { "Off", "Good", "Warning", "Bad", "Inactive", "Unknown", "Beacon" };
    for ( unsigned setting = 0; setting < std::size( names ); ++setting ) {
        for ( int time = 0; time < 2; ++time ) { // also when it is as it was
            host().lines.clear();
            set( static_cast<pl_led_status>( setting ) );
            EXPECT_EQ( Strings{ std::string( GetParam().setting ) + names[setting] },
                       host().texts( GetParam().settingLevel ) );
        }
    }
}

TEST_P( VundaLedTest, UnexpectedSettingIsTraced ) {
    for ( const auto &[setting, number] :
          { std::pair( PL_LED_INACTIVE, "4" ), { aboveAll, "7" }, { farAbove, "-1" } } ) {
        host().lines.clear();
        EXPECT_EQ( PL_STATUS_INVALID, set( setting ) );
        EXPECT_EQ( Strings{ std::string( "led " ) + GetParam().name +
                            " was given an unexpected setting " + number },
                   host().texts( 0 ) );
        EXPECT_EQ( setting == PL_LED_INACTIVE ? 1U : 0U,
                   host().texts( GetParam().settingLevel ).size() );
    }
}

TEST_P( VundaLedTest, FailedWriteDoesNotUndoTheBlinking ) {
    answerFailed( "" );
    EXPECT_EQ( GetParam().failure, set( PL_LED_BEACON ) );
    EXPECT_EQ( 1U, blinking() );
    answerFailed( "" );
    EXPECT_EQ( GetParam().failure, set( PL_LED_OFF ) );
    EXPECT_EQ( 0U, blinking() );
}

TEST_P( VundaLedTest, FailedTickIsTracedOnceAndTheLampBlinksOn ) {
    set( PL_LED_BEACON );
    for ( int phase = 0; phase < 2; ++phase ) {
        forgetAll();
        answerFailed( "" );
        answerFailed( "" ); // a port's lamp has two bits to light
        tick();
        const std::string trace =
            std::string( "Error: failed to toggle led " ) + GetParam().name + " for blinking";
        const Strings texts = host().texts( 0 );
        EXPECT_EQ( trace, texts.back() );
        EXPECT_EQ( 1, std::count( texts.begin(), texts.end(), trace ) );
    }
    EXPECT_EQ( 1U, blinking() );
}

INSTANTIATE_TEST_SUITE_P( Lamps, VundaLedTest, testing::ValuesIn( lamps ),
                          testing::PrintToStringParamName() );

} // namespace
