// Fan trays through the built library, the real server and the emulated fan CPLD.
#include "tests/integration/LoadedLibraryFixture.h"

#include <array>
#include <atomic>
#include <cstdlib>
#include <thread>
#include <vector>

extern "C" const char *__asan_default_options() {
    return "detect_leaks=0";
}

namespace {

// What a device of the board's devices.json gets. The texts are literals: a device keeps a pointer.
constexpr std::array arguments = {
    R"({"driver":"VundaTFanCpld","did":40,"address":{"address":96},"driverArgs":{"fanId":1}})",
    R"({"driver":"VundaTFanCpld","did":40,"address":{"address":96},"driverArgs":{"fanId":2}})",
    R"({"driver":"VundaTFanCpld","did":40,"address":{"address":96},"driverArgs":{"fanId":3}})",
    R"({"driver":"VundaTFanCpld","did":40,"address":{"address":96},"driverArgs":{"fanId":4}})",
    R"({"driver":"VundaTFanCpld","did":40,"address":{"address":96},"driverArgs":{"fanId":5}})",
    R"({"driver":"VundaTFanCpld","did":40,"address":{"address":96},"driverArgs":{"fanId":6}})",
};
constexpr int untouched = -7;

class FanTraysTest : public LoadedLibraryFixture {
  protected:
    void SetUp() override {
        LoadedLibraryFixture::SetUp();
        ASSERT_EQ( PL_STATUS_OK, initialise( "pl_fan_init" ) );
        ASSERT_EQ( PL_STATUS_OK, initialise( "pl_slot_init" ) );
        for ( const char *text : arguments ) {
            fans_.push_back( function<decltype( pl_fan_add )>( "pl_fan_add" )( text ) );
            slots_.push_back( function<decltype( pl_slot_add )>( "pl_slot_add" )( text ) );
        }
    }

    void turn( const std::string &knob, const std::string &value ) {
        EXPECT_EQ( "ok", server.control( "set fans." + knob + " " + value ) );
    }
    std::string knob( const std::string &name ) { return server.control( "get fans." + name ); }

    pl_status setRpm( int fan, int rpm ) const {
        return at( fans_, fan )->ops->setRpm( at( fans_, fan ), rpm );
    }
    pl_status getRpm( int fan, int &rpm ) const {
        return at( fans_, fan )->ops->getRpm( at( fans_, fan ), &rpm );
    }
    int rpm( int fan ) const {
        int value = untouched;
        EXPECT_EQ( PL_STATUS_OK, getRpm( fan, value ) );
        return value;
    }
    pl_status failureOf( int fan ) const {
        int value = untouched;
        const pl_status status = getRpm( fan, value );
        EXPECT_EQ( untouched, value );
        return status;
    }
    /// The description; empty without a tray.
    std::string tray( int number ) const {
        char *text = nullptr;
        const pl_status status =
            at( slots_, number )->ops->getPresence( at( slots_, number ), &text );
        EXPECT_EQ( text ? PL_STATUS_OK : PL_STATUS_NOT_PRESENT, status );
        const std::string copy = text ? text : "";
        free( text );
        return copy;
    }

  private:
    template <typename Record>
    static Record *at( const std::vector<Record *> &records, int number ) {
        return records.at( static_cast<size_t>( number - 1 ) );
    }

    std::vector<pl_fan *> fans_;
    std::vector<pl_slot *> slots_;
};

TEST_F( FanTraysTest, InitialisationReachesTheChip ) {
    EXPECT_EQ( "0x00\nok", knob( "control" ) );
    EXPECT_EQ( "50\nok", knob( "duty" ) );
}

struct Speed {
    int asked;
    const char *duty;
    int read;
};

// A step of the duty is 6.25 %; a count of the tachometers is 100 rpm.
TEST_F( FanTraysTest, SpeedThatIsSetIsTheSpeedThatIsRead ) {
    turn( "inertia", "0" );
    for ( const Speed &each :
          { Speed{ 19750, "100", 19700 }, Speed{ 30000, "100", 19700 }, Speed{ 9875, "50", 9800 },
            Speed{ 2469, "12.5", 2400 }, Speed{ 1234, "6.25", 1200 } } ) {
        EXPECT_EQ( PL_STATUS_OK, setRpm( 2, each.asked ) );
        EXPECT_EQ( std::string( each.duty ) + "\nok", knob( "duty" ) );
        for ( int fan = 1; fan <= 6; ++fan ) {
            EXPECT_EQ( each.read, rpm( fan ) ) << each.asked;
        }
    }
}

TEST_F( FanTraysTest, SpeedOfZeroIsTheFullSpeed ) {
    turn( "inertia", "0" );
    EXPECT_EQ( PL_STATUS_OK, setRpm( 1, 0 ) );
    EXPECT_EQ( 19700, rpm( 1 ) );
}

TEST_F( FanTraysTest, RotorsTakeTheirTime ) {
    turn( "inertia", "60" );
    EXPECT_EQ( 9800, rpm( 1 ) );
    setRpm( 1, 19750 );
    EXPECT_GT( 19700, rpm( 1 ) );
    turn( "advance", "3600" );
    EXPECT_EQ( 19700, rpm( 1 ) );
}

TEST_F( FanTraysTest, WornRotorTurnsSlowerThanTheOthers ) {
    turn( "inertia", "0" );
    turn( "tray3_front_wear", "100" );
    setRpm( 3, 19750 );
    EXPECT_EQ( 16100, rpm( 3 ) );
    EXPECT_EQ( 19700, rpm( 4 ) );
}

TEST_F( FanTraysTest, StoppedRotorIsAFailureAndNoSpeedOfZero ) {
    turn( "tray6_rear_blocked", "1" );
    EXPECT_EQ( PL_STATUS_BAD_READING, failureOf( 6 ) );
    EXPECT_EQ( 9800, rpm( 5 ) );
    turn( "tray6_rear_blocked", "0" );
    turn( "advance", "3600" );
    EXPECT_EQ( 9800, rpm( 6 ) );
}

TEST_F( FanTraysTest, TrayThatLeavesTakesItsFanWithIt ) {
    turn( "tray4_present", "0" );
    EXPECT_EQ( "", tray( 4 ) );
    EXPECT_EQ( PL_STATUS_BAD_READING, failureOf( 4 ) );
    EXPECT_NE( "", tray( 3 ) );
    EXPECT_EQ( 9800, rpm( 3 ) );
    turn( "tray4_present", "1" );
    turn( "advance", "3600" );
    EXPECT_NE( "", tray( 4 ) );
    EXPECT_EQ( 9800, rpm( 4 ) );
}

TEST_F( FanTraysTest, TrayThatComesAndGoesBetweenAnyTwoAccesses ) {
    turn( "inertia", "0" );
    std::atomic<bool> over = false;
    std::thread hand( [&] {
        for ( int i = 0; !over; ++i ) {
            turn( "tray2_present", i % 2 ? "1" : "0" );
        }
    } );
    for ( int i = 0; i < 300; ++i ) {
        int value = untouched;
        const pl_status status = getRpm( 2, value );
        EXPECT_TRUE( status == PL_STATUS_OK || status == PL_STATUS_BAD_READING ) << status;
        EXPECT_TRUE( status == PL_STATUS_OK ? value > 0 : value == untouched ) << value;
        tray( 2 );
        EXPECT_EQ( PL_STATUS_OK, setRpm( 2, 9875 + i ) );
    }
    over = true;
    hand.join();
    EXPECT_EQ( 9800, rpm( 1 ) );
}

TEST_F( FanTraysTest, ChipThatIsGoneFailsEverything ) {
    turn( "present", "0" );
    EXPECT_EQ( PL_STATUS_FAILED, failureOf( 1 ) );
    EXPECT_EQ( PL_STATUS_FAILED, setRpm( 1, 9875 ) );
    turn( "present", "1" );
    EXPECT_EQ( 9800, rpm( 1 ) );
}

TEST_F( FanTraysTest, DescriptionIsOfTheTrayThatIsThere ) {
    EXPECT_EQ( "FruFactoryIds: PLDevice\n"
               "device.group = 'FanTray'\n"
               "slotId = 2\n"
               "device.fanTray = ( 'FanTray%d' % slotId, )\n"
               "fanTray = device.fanTray\n"
               "fanTray.modelName = 'FAN-1U-1x1C-F'\n"
               "fanTray.serialNum = 'N/A'\n"
               "fanTray.slotId = slotId\n"
               "fan = fanTray.newFan( 'Fan%d' % ( slotId ) )\n"
               "fan.airflowDirection = 'frontToBackAirflow'\n"
               "fan.maxRpm = 19750\n"
               "fan.p = 0\n"
               "fan.i = 0\n"
               "fan.libPath = ''\n"
               "fan.devArgs = '" +
                   std::string( arguments[1] ) + "'\n",
               tray( 2 ) );
}

TEST_F( FanTraysTest, TrayOfTheOtherAirflowHasAnotherDescription ) {
    const std::string before = tray( 5 );
    turn( "tray5_present", "0" );
    turn( "tray5_airflow", "b2f" );
    turn( "tray5_present", "1" );
    const std::string after = tray( 5 );
    EXPECT_NE( std::string::npos, after.find( "modelName = 'FAN-1U-1x1C-R'\n" ) );
    EXPECT_NE( std::string::npos, after.find( "'backToFrontAirflow'\n" ) );
    turn( "tray5_airflow", "f2b" );
    EXPECT_EQ( before, tray( 5 ) );
}

} // namespace
