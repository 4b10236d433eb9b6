/// What is exposed of readings that were made up.
#include "tests/HostTool/Metrics/ExposedBoard.h"

#include <gmock/gmock.h>

#include <limits>

using namespace HostTool;
using namespace std::chrono_literals;
using testing::HasSubstr;
using testing::Not;

class ExpositionTest : public testing::Test {
  protected:
    ExposedBoard board;

    /// Everything that is said of readings beside their values.
    std::string notes() {
        std::string all;
        for ( const char *family : { "kavra_reading_status", "kavra_reading_age_seconds",
                                     "kavra_reading_never_read" } ) {
            all += board.samples( family );
        }
        return all;
    }
};

TEST_F( ExpositionTest, ValueIsASampleOfItsDevice ) {
    board.add( "fan", "fan1", { good( 9800 ), none() } );
    board.add( "fan", "fan2", { good( 0 ), none() } );
    EXPECT_EQ( "{device=\"fan1\"} 9800\n{device=\"fan2\"} 0\n",
               board.samples( "kavra_fan_speed_rpm" ) );
    EXPECT_EQ( "", notes() );
}

TEST_F( ExpositionTest, FamilyHasHelpAndType ) {
    board.add( "gpio", "line", { good( 1 ) } );
    EXPECT_THAT( board.text(), HasSubstr( "# HELP kavra_gpio_value The state of the line, 0 or 1.\n"
                                          "# TYPE kavra_gpio_value gauge\n"
                                          "kavra_gpio_value{device=\"line\"} 1\n" ) );
}

TEST_F( ExpositionTest, FamilyWithoutASampleIsLeftOut ) {
    board.add( "gpio", "line", { good( 1 ) } );
    EXPECT_THAT( board.text(), Not( HasSubstr( "kavra_fan" ) ) );
}

TEST_F( ExpositionTest, FloatIsTheDecimalThatOneWouldWrite ) {
    board.add( "temp_sensor", "inlet", { good( 24.1F ) } );
    board.add( "temp_sensor", "cold", { good( -0.5F ) } );
    board.add( "temp_sensor", "huge", { good( std::numeric_limits<float>::max() ) } );
    EXPECT_EQ( "{device=\"inlet\"} 24.1\n{device=\"cold\"} -0.5\n{device=\"huge\"} 3.4028235e+38\n",
               board.samples( "kavra_temperature_celsius" ) );
}

TEST_F( ExpositionTest, ThresholdsAreExposedBesideTheTemperature ) {
    board.add( "temp_sensor", "inlet", { good( 24.1F ) } );
    EXPECT_EQ( "{device=\"inlet\"} 45\n", board.samples( "kavra_temperature_alert_celsius" ) );
    EXPECT_EQ( "{device=\"inlet\"} 55.1\n", board.samples( "kavra_temperature_critical_celsius" ) );
}

TEST_F( ExpositionTest, StateIsALabel ) {
    board.add( "temp_sensor", "inlet", { good( 50.0F ) } );
    board.add( "led", "lamp", {} );
    EXPECT_EQ( "{device=\"inlet\",class=\"temp_sensor\",state=\"alert\"} 1\n"
               "{device=\"lamp\",class=\"led\",state=\"added\"} 1\n",
               board.samples( "kavra_device_state" ) );
}

TEST_F( ExpositionTest, FailedReadingHasItsStatusAndNoValue ) {
    board.add( "temp_sensor", "inlet", { failed( PL_STATUS_IO_ERROR ) } );
    EXPECT_EQ( "", board.samples( "kavra_temperature_celsius" ) );
    EXPECT_EQ( "{device=\"inlet\",class=\"temp_sensor\",reading=\"temperature\","
               "status=\"PL_STATUS_IO_ERROR\"} 1\n",
               notes() );
}

TEST_F( ExpositionTest, OneFailedReadingLeavesTheOthers ) {
    board.add( "psu", "psu1",
               { good( true ), good( 230.0F ), failed( 17 ), good( 1.0F ), good( 12.0F ),
                 good( 1.5F ), good( 18.0F ) } );
    EXPECT_EQ( "{device=\"psu1\"} 230\n", board.samples( "kavra_psu_input_volts" ) );
    EXPECT_EQ( "", board.samples( "kavra_psu_input_amperes" ) );
    EXPECT_EQ( "{device=\"psu1\",class=\"psu\",reading=\"input_current\",status=\"status 17\"} 1\n",
               notes() );
}

TEST_F( ExpositionTest, ReasonIsNoLabel ) {
    board.add( "temp_sensor", "inlet", { failed( PL_STATUS_FAILED, "chip 0x48 is silent" ) } );
    EXPECT_THAT( board.text(), Not( HasSubstr( "0x48" ) ) );
}

TEST_F( ExpositionTest, EmptySlotIsNothingButEmpty ) {
    const Reading absent = failed( PL_STATUS_NOT_PRESENT, "not present" );
    board.add( "slot", "psu1-slot", { good( false ), absent, absent, absent } );
    EXPECT_EQ( "{device=\"psu1-slot\"} 0\n", board.samples( "kavra_slot_present" ) );
    EXPECT_EQ( "", board.samples( "kavra_slot_info" ) );
    EXPECT_EQ( "", notes() );
}

TEST_F( ExpositionTest, EmptyCageHasNoSignals ) {
    Device &cage = board.add( "xcvr", "Ethernet33",
                              { good( "sfp" ), good( false ), good( true ), good( true ),
                                good( false ), none(), none(), none(), none() } );
    cage.readings[3].polledAt = board.now - 1s;
    EXPECT_EQ( "{device=\"Ethernet33\"} 0\n", board.samples( "kavra_xcvr_present" ) );
    EXPECT_EQ( "", board.samples( "kavra_xcvr_rx_los" ) );
    EXPECT_EQ( "", board.samples( "kavra_xcvr_tx_fault" ) );
    EXPECT_EQ( "", notes() );
}

TEST_F( ExpositionTest, PolledValueHasItsAge ) {
    Device &cage = board.add( "xcvr", "Ethernet1",
                              { good( "qsfp" ), good( true ), none(), none(), none(), none(),
                                none(), good( false ), none() } );
    cage.readings[1].polledAt = board.now - 250ms;
    EXPECT_EQ( "{device=\"Ethernet1\"} 1\n", board.samples( "kavra_xcvr_present" ) );
    EXPECT_EQ( "{device=\"Ethernet1\"} 0\n", board.samples( "kavra_xcvr_reset" ) );
    EXPECT_EQ( "{device=\"Ethernet1\",class=\"xcvr\",reading=\"present\"} 0.25\n", notes() );
}

TEST_F( ExpositionTest, ValueThatWasNeverReadIsNoZero ) {
    board.add( "xcvr", "Ethernet1",
               { good( "qsfp" ), good( true ), none(), none(), none(), none(),
                 Reading::unread( "the driver answers without reading it" ), none(), none() } );
    EXPECT_EQ( "", board.samples( "kavra_xcvr_lp_mode" ) );
    EXPECT_EQ( "{device=\"Ethernet1\",class=\"xcvr\",reading=\"lp_mode\"} 1\n", notes() );
}

TEST_F( ExpositionTest, RefusedDeviceFailsInEachReading ) {
    board.addRefused( "fan", "fan1" );
    board.addRefused( "led", "lamp" );
    EXPECT_EQ( "{device=\"fan1\",class=\"fan\",state=\"failed\"} 1\n"
               "{device=\"lamp\",class=\"led\",state=\"failed\"} 1\n",
               board.samples( "kavra_device_state" ) );
    EXPECT_THAT( notes(), HasSubstr( "reading=\"speed\",status=\"PL_STATUS_FAILED\"} 1" ) );
}

TEST_F( ExpositionTest, ModelAndSerialAreLabels ) {
    board.add( "slot", "psu1-slot", { good( true ), good( "" ), good( "PWR-500" ), good( "A1" ) } );
    EXPECT_EQ( "{device=\"psu1-slot\",model=\"PWR-500\",serial=\"A1\"} 1\n",
               board.samples( "kavra_slot_info" ) );
}

TEST_F( ExpositionTest, PartWithoutASerialHasAModel ) {
    board.add( "slot", "fan1-slot", { good( true ), good( "" ), good( "FAN-1" ), none() } );
    EXPECT_EQ( "{device=\"fan1-slot\",model=\"FAN-1\",serial=\"\"} 1\n",
               board.samples( "kavra_slot_info" ) );
}

TEST_F( ExpositionTest, PartThatNothingIsKnownOfHasNoInfo ) {
    board.add( "slot", "fan1-slot", { good( true ), good( "" ), none(), none() } );
    EXPECT_EQ( "", board.samples( "kavra_slot_info" ) );
}

TEST_F( ExpositionTest, LastRestartHasItsTimeAndCause ) {
    board.add( "system", "switch",
               { good( "power loss" ), good( "1700000000" ), good( "both supplies" ) } );
    EXPECT_EQ( "{device=\"switch\"} 1700000000\n",
               board.samples( "kavra_system_reload_time_seconds" ) );
    EXPECT_EQ( "{device=\"switch\",cause=\"power loss\",detail=\"both supplies\"} 1\n",
               board.samples( "kavra_system_reload_cause_info" ) );
}

TEST_F( ExpositionTest, TextThatIsNoNumberIsNoValue ) {
    board.add( "system", "switch", { good( "x" ), good( "17 o'clock" ), good( "" ) } );
    EXPECT_EQ( "", board.samples( "kavra_system_reload_time_seconds" ) );
}

TEST_F( ExpositionTest, LabelsAreEscaped ) {
    board.add( "slot", "a\"b",
               { good( true ), good( "" ), good( "back\\slash" ), good( "new\nline" ) } );
    EXPECT_EQ( "{device=\"a\\\"b\",model=\"back\\\\slash\",serial=\"new\\nline\"} 1\n",
               board.samples( "kavra_slot_info" ) );
}

TEST_F( ExpositionTest, LabelsAreMadeValidUtf8 ) {
    board.add( "gpio", "H\xC3\xBClle \xC3", { good( 1 ) } );
    EXPECT_EQ( "{device=\"H\xC3\xBClle \xEF\xBF\xBD\"} 1\n", board.samples( "kavra_gpio_value" ) );
}

TEST_F( ExpositionTest, ScrapeSaysWhereItComesFromAndHowLongItTook ) {
    EXPECT_EQ( "1\n", board.samples( "kavra_server_up" ) );
    EXPECT_EQ( "1.5\n", board.samples( "kavra_scrape_duration_seconds" ) );
    EXPECT_EQ( "{version=\"1.2.3\",library=\"lib.so\",board=\"Vunda\xEF\xBF\xBDT\"} 1\n",
               board.samples( "kavra_build_info" ) );
}

TEST_F( ExpositionTest, NothingIsKnownOfDevicesWithoutAServer ) {
    board.add( "fan", "fan1", { good( 9800 ), none() } );
    board.hasServer = false;
    EXPECT_EQ( "0\n", board.samples( "kavra_server_up" ) );
    EXPECT_THAT( board.text(), Not( HasSubstr( "fan1" ) ) );
}

TEST_F( ExpositionTest, NextPassFollowsWhatHasChanged ) {
    board.add( "temp_sensor", "inlet", { good( 24.5F ) } );
    board.text();
    Device &inlet = board.devices.front();
    inlet.readings = { failed( PL_STATUS_IO_ERROR ) };
    inlet.state = State::failed;
    EXPECT_EQ( "", board.samples( "kavra_temperature_celsius" ) );
    EXPECT_THAT( notes(), HasSubstr( "PL_STATUS_IO_ERROR" ) );
    inlet.readings = { failed( PL_STATUS_FAILED ) };
    EXPECT_THAT( notes(), HasSubstr( "PL_STATUS_FAILED" ) );
    inlet.readings = { good( 50.5F ) };
    inlet.state = State::alert;
    EXPECT_EQ( "{device=\"inlet\"} 50.5\n", board.samples( "kavra_temperature_celsius" ) );
    EXPECT_EQ( "{device=\"inlet\",class=\"temp_sensor\",state=\"alert\"} 1\n",
               board.samples( "kavra_device_state" ) );
    EXPECT_EQ( "", notes() );
}

TEST_F( ExpositionTest, PartThatWasReplacedHasItsOwnLabels ) {
    board.add( "slot", "psu1-slot", { good( true ), good( "" ), good( "PWR-500" ), good( "A1" ) } );
    board.text();
    board.devices.front().readings[3] = good( "B2" );
    EXPECT_EQ( "{device=\"psu1-slot\",model=\"PWR-500\",serial=\"B2\"} 1\n",
               board.samples( "kavra_slot_info" ) );
}

TEST_F( ExpositionTest, OtherDevicesInTheNextPassAreOthers ) {
    board.add( "fan", "fan1", { good( 9800 ), none() } );
    board.text();
    board.devices.clear();
    board.add( "gpio", "line", { good( 1 ) } );
    EXPECT_EQ( "{device=\"line\"} 1\n", board.samples( "kavra_gpio_value" ) );
    EXPECT_EQ( "", board.samples( "kavra_fan_speed_rpm" ) );
}
