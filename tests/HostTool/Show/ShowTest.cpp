#include "tests/HostTool/Kavractl.h"

#include <gmock/gmock.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <csignal>

using testing::EndsWith;
using testing::HasSubstr;

/// "kavractl show" on a library whose devices behave as their arguments say.
class ShowTest : public KavractlTest {
  protected:
    ShowTest() { environment["KAVRA_LIBRARY"] = FAKE_LIBRARY; }

    /// A board with one device, d, of a class and a behaviour.
    void device( const std::string &deviceClass, const std::string &behaviour = "well" ) const {
        const bool isSensor = deviceClass == "temp_sensor";
        folder.devices(
            "[\n{ \"class\": \"" + deviceClass + "\", \"name\": \"d\"" +
            ", \"arguments\": { \"driver\": \"X\", \"behave\": \"" + behaviour + "\" }" +
            ( isSensor ? R"(, "thresholds": { "alert": 45, "critical": 55 })" : "" ) + " } ]" );
    }

    ProgramResult show() const { return kavractl( { "show" } ); }

    /// One member of the reading, as JSON text: reading( "temperature", "value" ).
    std::string reading( const char *column, const char *member ) const {
        const auto document = parsed( kavractl( { "show", "--json" } ).out );
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer( buffer );
        document["devices"][0]["readings"][column][member].Accept( writer );
        return buffer.GetString();
    }

    std::string place() const { return folder.path() + "/devices.json:2"; }

    ListeningSocket server{ socketPath() };
};

TEST_F( ShowTest, SensorWithItsThresholds ) {
    device( "temp_sensor" );
    const ProgramResult result = show();
    EXPECT_EQ( 0, result.status );
    EXPECT_EQ( "temp_sensor\n"
               "  NAME  TEMPERATURE   ALERT  CRITICAL  STATE  REASON\n"
               "  d          24.1 C  45.0 C    55.0 C  ok\n",
               result.out );
    EXPECT_EQ( "", result.err );
}

TEST_F( ShowTest, ThresholdsReachTheLibrary ) {
    device( "temp_sensor" );
    EXPECT_THAT( kavractl( { "show", "--trace", "1" } ).err,
                 HasSubstr( "trace 1: thresholds 45.0 55.0\n" ) );
}

TEST_F( ShowTest, ArgumentsReachTheLibraryAsCompactText ) {
    device( "temp_sensor" );
    EXPECT_THAT(
        kavractl( { "show", "--trace", "0" } ).err,
        HasSubstr( "trace 0: parsing devArgs = {\"driver\":\"X\",\"behave\":\"well\"}\n" ) );
}

TEST_F( ShowTest, FailedReadingIsNeverANumber ) {
    device( "temp_sensor", "fail-on-read" );
    const ProgramResult result = show();
    EXPECT_EQ( 1, result.status );
    EXPECT_EQ( "temp_sensor\n"
               "  NAME  TEMPERATURE   ALERT  CRITICAL  STATE   REASON\n"
               "  d              --  45.0 C    55.0 C  failed  PL_STATUS_FAILED: execute: failure "
               "in response bus 0 chip 0x48: no acknowledge\n",
               result.out );
}

TEST_F( ShowTest, FailedReadingIsNullInJsonWithAReason ) {
    device( "temp_sensor", "fail-on-read" );
    EXPECT_EQ( "null", reading( "temperature", "value" ) );
    EXPECT_EQ( "\"PL_STATUS_FAILED\"", reading( "temperature", "status" ) );
    EXPECT_EQ( "\"execute: failure in response bus 0 chip 0x48: no acknowledge\"",
               reading( "temperature", "reason" ) );
}

TEST_F( ShowTest, JsonHasStableKeys ) {
    device( "temp_sensor" );
    EXPECT_EQ( R"({"devices":[{"name":"d","class":"temp_sensor","driver":"X","did":null,)"
               R"("bus":null,"address":null,"thresholds":{"alert":45,"critical":55},)"
               R"("state":"ok","reason":null,"readings":{"temperature":)"
               R"({"value":24.1,"unit":"C","status":"PL_STATUS_OK","reason":null,)"
               R"("freshness":"fresh","age_s":0}}}]})"
               "\n",
               kavractl( { "show", "--json" } ).out );
}

TEST_F( ShowTest, FailedReadingIsNoneThatWasNeverTried ) {
    device( "temp_sensor", "fail-on-read" );
    EXPECT_EQ( "\"failed\"", reading( "temperature", "freshness" ) );
    EXPECT_EQ( "null", reading( "temperature", "age_s" ) );
}

TEST_F( ShowTest, ValueThatTheLibraryDoesNotWriteIsUnreadAndNotZero ) {
    for ( const char *deviceClass : { "temp_sensor", "fan", "psu", "gpio" } ) {
        device( deviceClass, "reads-nothing" );
        EXPECT_THAT( show().out, HasSubstr( " unread " ) ) << deviceClass;
        EXPECT_EQ( 0, show().status ) << deviceClass;
    }
    EXPECT_EQ( "null", reading( "value", "value" ) );
    EXPECT_EQ( "\"PL_STATUS_OK\"", reading( "value", "status" ) );
    EXPECT_EQ( "\"the driver answers without reading it\"", reading( "value", "reason" ) );
    EXPECT_EQ( "\"never\"", reading( "value", "freshness" ) );
}

TEST_F( ShowTest, ValueThatCannotBeHasNoFreshness ) {
    device( "fan" );
    EXPECT_EQ( "\"none\"", reading( "debug", "freshness" ) );
    device( "temp_sensor", "absent" );
    EXPECT_EQ( "\"none\"", reading( "temperature", "freshness" ) );
}

TEST_F( ShowTest, ValueThatIsNoNumberIsABadReading ) {
    device( "temp_sensor", "nan" );
    EXPECT_EQ( "null", reading( "temperature", "value" ) );
    EXPECT_EQ( "\"PL_STATUS_BAD_READING\"", reading( "temperature", "status" ) );
}

TEST_F( ShowTest, StatusWithoutANameIsShownAsItIs ) {
    device( "temp_sensor", "odd-status" );
    EXPECT_EQ( "\"status 17\"", reading( "temperature", "status" ) );
}

TEST_F( ShowTest, ExceptionOfACallbackIsAFailedReading ) {
    device( "temp_sensor", "throw-on-read" );
    EXPECT_EQ( "null", reading( "temperature", "value" ) );
    EXPECT_EQ( "\"basic_string: construction from null\"", reading( "temperature", "reason" ) );
}

TEST_F( ShowTest, SensorAboveAThresholdIsTrouble ) {
    device( "temp_sensor", "hot" );
    EXPECT_EQ( 1, show().status );
    EXPECT_THAT( show().out, HasSubstr( "  alert\n" ) );
    device( "temp_sensor", "burning" );
    EXPECT_EQ( 1, show().status );
    EXPECT_THAT( show().out, HasSubstr( "  critical\n" ) );
}

TEST_F( ShowTest, FanWithoutDebugText ) {
    device( "fan" );
    EXPECT_EQ( "fan\n  NAME     SPEED  DEBUG  STATE  REASON\n  d     4200 rpm  n/a    ok\n",
               show().out );
}

TEST_F( ShowTest, LongTextStandsBelowItsRow ) {
    device( "fan", "talkative" );
    EXPECT_THAT( show().out, EndsWith( "  d     4200 rpm  below  ok\n      pwm: 128\n"
                                       "      fault: ?no\n" ) );
    EXPECT_EQ( "\"pwm: 128\\nfault: ?no\"", reading( "debug", "value" ) );
}

TEST_F( ShowTest, SupplyWithAllItsValues ) {
    device( "psu" );
    EXPECT_EQ( "true", reading( "power_ok", "value" ) );
    EXPECT_EQ( "230", reading( "input_voltage", "value" ) );
    EXPECT_EQ( "2", reading( "input_current", "value" ) );
    EXPECT_EQ( "400", reading( "input_power", "value" ) );
    EXPECT_EQ( "12", reading( "output_voltage", "value" ) );
    EXPECT_EQ( "30", reading( "output_current", "value" ) );
    EXPECT_EQ( "360", reading( "output_power", "value" ) );
    EXPECT_EQ( 0, show().status );
}

TEST_F( ShowTest, SupplyThatIsNotWellIsTrouble ) {
    device( "psu", "unwell" );
    EXPECT_EQ( 1, show().status );
    EXPECT_THAT( show().out, HasSubstr( "  bad\n" ) );
}

TEST_F( ShowTest, AbsentSupplyShowsNoNumbersAndIsNoTrouble ) {
    device( "psu", "absent" );
    EXPECT_EQ( 0, show().status );
    EXPECT_THAT( show().out, EndsWith( "  absent  not present\n" ) );
    EXPECT_EQ( "null", reading( "output_power", "value" ) );
}

TEST_F( ShowTest, SlotsBehindTheEndOfAShorterTableAreNotCalled ) {
    device( "psu", "short-table" );
    EXPECT_EQ( "30", reading( "output_current", "value" ) );
    EXPECT_EQ( "null", reading( "input_voltage", "value" ) );
    EXPECT_EQ( "\"PL_STATUS_NOT_SUPPORTED\"", reading( "input_voltage", "status" ) );
}

TEST_F( ShowTest, SlotWithTheIdentityOfItsPart ) {
    device( "slot" );
    EXPECT_EQ( "true", reading( "present", "value" ) );
    EXPECT_EQ( "\"model: PWR-500\\nserial: A1\"", reading( "identity", "value" ) );
    EXPECT_THAT( kavractl( { "show", "--fdl" } ).out,
                 EndsWith( "      model: PWR-500\n      serial: A1\n" ) );
}

TEST_F( ShowTest, SlotWithModelAndSerialNumberOfItsPart ) {
    folder.devices( R"([ { "class": "slot", "name": "d", "arguments": { "behave": "well",
        "driverArgs": { "model_1": "PWR-500",
                        "psuFdl_1": "model: PWR-500\nserial: {serialNum}\n" } } } ])" );
    EXPECT_EQ( "\"PWR-500\"", reading( "model", "value" ) );
    EXPECT_EQ( "\"A1\"", reading( "serial", "value" ) );
    EXPECT_EQ( "slot\n"
               "  NAME  PRESENT  MODEL    SERIAL  STATE  REASON\n"
               "  d     yes      PWR-500  A1      ok\n",
               show().out );
}

TEST_F( ShowTest, DescriptionOfNoKnownTemplateTellsNoModel ) {
    device( "slot" );
    EXPECT_EQ( 0, show().status );
    EXPECT_EQ( "null", reading( "model", "value" ) );
    EXPECT_EQ( "\"PL_STATUS_NOT_SUPPORTED\"", reading( "serial", "status" ) );
    EXPECT_THAT( show().out, HasSubstr( "  d     yes      n/a    n/a     ok\n" ) );
}

TEST_F( ShowTest, EmptySlotIsAbsentAndNoTrouble ) {
    device( "slot", "absent" );
    EXPECT_EQ( 0, show().status );
    EXPECT_EQ( "false", reading( "present", "value" ) );
    EXPECT_EQ( "null", reading( "identity", "value" ) );
    EXPECT_THAT( show().out, HasSubstr( "no       --     --      absent  not present\n" ) );
}

TEST_F( ShowTest, SlotThatCannotBeReadIsNotAbsent ) {
    device( "slot", "fail-on-read" );
    EXPECT_EQ( 1, show().status );
    EXPECT_EQ( "null", reading( "present", "value" ) );
}

TEST_F( ShowTest, CachedSignalsAreGivenTheTimeOfAPoll ) {
    device( "xcvr", "sfp" );
    EXPECT_EQ( "\"sfp\"", reading( "type", "value" ) );
    EXPECT_EQ( "true", reading( "rx_los", "value" ) );
    EXPECT_EQ( "\"old\"", reading( "rx_los", "freshness" ) );
    EXPECT_EQ( "\"fresh\"", reading( "type", "freshness" ) );
    EXPECT_EQ( "\"PL_STATUS_NOT_SUPPORTED\"", reading( "lp_mode", "status" ) );
}

TEST_F( ShowTest, QsfpHasSignalsOfItsOwn ) {
    device( "xcvr", "qsfp" );
    const auto document = parsed( kavractl( { "show", "--json" } ).out );
    const auto &readings = document["devices"][0]["readings"];
    EXPECT_STREQ( "qsfp", readings["type"]["value"].GetString() );
    EXPECT_TRUE( readings["present"]["value"].GetBool() );
    EXPECT_TRUE( readings["interrupt"]["value"].GetBool() );
    EXPECT_TRUE( readings["rx_los"]["value"].IsNull() );
}

TEST_F( ShowTest, CageWithoutTheFaultLineHasNoFault ) {
    folder.devices( R"([ { "class": "xcvr", "name": "d", "arguments":
                           { "kind": "sfp", "driverArgs": { "txFaultSupported": "false" } } } ])" );
    EXPECT_EQ( "\"PL_STATUS_NOT_SUPPORTED\"", reading( "tx_fault", "status" ) );
    EXPECT_EQ( "true", reading( "tx_disable", "value" ) );
}

TEST_F( ShowTest, EmptyCageIsAbsent ) {
    device( "xcvr", "sfp absent" );
    const ProgramResult result = show();
    EXPECT_EQ( 0, result.status );
    EXPECT_THAT( result.out, HasSubstr( "absent" ) );
}

TEST_F( ShowTest, LineHasAValue ) {
    device( "gpio" );
    EXPECT_EQ( "1", reading( "value", "value" ) );
}

TEST_F( ShowTest, WhatCannotBeReadIsAdded ) {
    for ( const char *deviceClass : { "led", "smbus" } ) {
        device( deviceClass );
        EXPECT_THAT( show().out, EndsWith( "  NAME  STATE  REASON\n  d     added\n" ) );
    }
}

TEST_F( ShowTest, SystemWithoutAReloadCauseIsNoTrouble ) {
    device( "system" );
    EXPECT_EQ( 0, show().status );
    EXPECT_EQ( "null", reading( "reload_cause", "value" ) );
    EXPECT_EQ( "\"not supported\"", reading( "reload_cause", "reason" ) );
}

TEST_F( ShowTest, SystemWithAReloadCause ) {
    device( "system", "remembers" );
    EXPECT_EQ( "\"power loss\"", reading( "reload_cause", "value" ) );
    EXPECT_EQ( "\"both supplies\"", reading( "reload_detail", "value" ) );
}

TEST_F( ShowTest, ProxyByBusAndAddress ) {
    folder.devices( R"([ { "class": "smbus", "name": "p", "bus": "cpu-bus", "address": 74 } ])" );
    EXPECT_THAT( kavractl( { "show", "--trace=0" } ).err,
                 HasSubstr( "trace 0: smbus cpu-bus 74\n" ) );
}

TEST_F( ShowTest, OnlyTheNamedDevicesAreAdded ) {
    folder.devices(
        R"([ { "class": "gpio", "name": "a", "arguments": { "behave": "assert-on-add" } },
                         { "class": "gpio", "name": "b", "arguments": {} } ])" );
    const ProgramResult result = kavractl( { "show", "b" } );
    EXPECT_EQ( 0, result.status );
    EXPECT_EQ( "gpio\n  NAME  VALUE  STATE  REASON\n  b     1      ok\n", result.out );
}

TEST_F( ShowTest, RefusedDeviceIsShownAsFailedAndTheOthersGoOn ) {
    folder.devices( R"([ { "class": "gpio", "name": "a", "arguments": { "behave": "refuse" } },
                         { "class": "gpio", "name": "b", "arguments": {} } ])" );
    const ProgramResult result = show();
    EXPECT_EQ( 1, result.status );
    EXPECT_EQ( "gpio\n"
               "  NAME  VALUE  STATE   REASON\n"
               "  a     --     failed  not added: parsing devArgs = {\"behave\":\"refuse\"}; "
               "driver LM57 not found\n"
               "  b     1      ok\n",
               result.out );
}

TEST_F( ShowTest, ExceptionOfAddNamesTheEntry ) {
    device( "fan", "not-implemented" );
    const ProgramResult result = show();
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavractl: " + place() + ": 'd': driver 'X', class fan: Not implemented newFan\n",
               result.err );
    EXPECT_EQ( "", result.out );
}

TEST_F( ShowTest, ArgumentThatIsNoNumberNamesTheEntry ) {
    device( "fan", "bad-number" );
    const ProgramResult result = show();
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavractl: " + place() + ": 'd': an argument is not a number (stoi)\n", result.err );
}

TEST_F( ShowTest, AssertionOfAddNamesTheEntryBehindItsOwnText ) {
    device( "fan", "assert-on-add" );
    const ProgramResult result = show();
    EXPECT_EQ( -SIGABRT, result.status );
    EXPECT_THAT( result.err, HasSubstr( "json.HasMember( \\\"did\\\" )" ) );
    EXPECT_THAT( result.err, EndsWith( "kavractl: while adding 'd' (" + place() +
                                       "); name the other devices to go on without it\n" ) );
}

TEST_F( ShowTest, AssertionOfAReadingNamesTheEntry ) {
    device( "gpio", "assert-on-read" );
    const ProgramResult result = show();
    EXPECT_EQ( -SIGABRT, result.status );
    EXPECT_THAT( result.err, EndsWith( "kavractl: while reading 'd' (" + place() + ")\n" ) );
}

TEST_F( ShowTest, AssertionOfInitNamesTheTopology ) {
    device( "gpio" );
    environment["FAKE_INIT_STATUS"] = "assert";
    const ProgramResult result = show();
    EXPECT_EQ( -SIGABRT, result.status );
    EXPECT_THAT( result.err,
                 EndsWith( "kavractl: while loading " + folder.path() + "/topology.json\n" ) );
}

TEST_F( ShowTest, RefusedTopologyIsAWrongDocument ) {
    device( "gpio" );
    environment["FAKE_INIT_STATUS"] = "6";
    const ProgramResult result = show();
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavractl: " + folder.path() +
                   "/topology.json: the library refuses it: PL_STATUS_FAILED: pl_gpio_init\n",
               result.err );
}

TEST_F( ShowTest, EachClassIsInitialisedOnce ) {
    folder.devices( R"([ { "class": "gpio", "name": "a", "arguments": {} },
                         { "class": "led", "name": "b", "arguments": {} },
                         { "class": "gpio", "name": "c", "arguments": {} } ])" );
    const std::string traces = kavractl( { "show", "--trace", "0" } ).err;
    const size_t first = traces.find( "pl_gpio_init" );
    EXPECT_NE( std::string::npos, first );
    EXPECT_EQ( std::string::npos, traces.find( "pl_gpio_init", first + 1 ) );
    EXPECT_THAT( traces, HasSubstr( "pl_led_init" ) );
}

TEST_F( ShowTest, EmptyBoardShowsNothing ) {
    folder.devices( "[]" );
    EXPECT_EQ( 0, show().status );
    EXPECT_EQ( "{\"devices\":[]}\n", kavractl( { "show", "--json" } ).out );
}

TEST_F( ShowTest, MissingServerStopsAtOnceAndSaysHowToStartOne ) {
    device( "gpio" );
    server.die();
    const ProgramResult result = show();
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavractl: no SMBus server at " + socketPath() +
                   ": Connection refused\n"
                   "  start one:   kavra-smbusd --socket " +
                   socketPath() + " --board " + folder.path() +
                   "/emulation.json\n"
                   "  another one: kavractl --socket PATH, or SMBUSD_SOCKET=PATH\n"
                   "  wait for it: kavractl --wait\n",
               result.err );
}

TEST_F( ShowTest, OptionNamesAnotherSocket ) {
    device( "gpio" );
    EXPECT_THAT( kavractl( { "show", "--socket", "/no/such.sock" } ).err,
                 HasSubstr( "no SMBus server at /no/such.sock: No such file or directory\n" ) );
}

TEST_F( ShowTest, WaitingIsLeftToTheLibraryAndAnnounced ) {
    device( "gpio" );
    server.die();
    const ProgramResult result = kavractl( { "show", "--wait" } );
    EXPECT_EQ( 0, result.status );
    EXPECT_EQ( "kavractl: waiting up to 30 s for the SMBus server at " + socketPath() +
                   " (Connection refused)\n",
               result.err );
}

TEST_F( ShowTest, WaitingInVainIsAMissingServer ) {
    device( "gpio" );
    server.die();
    environment["FAKE_INIT_STATUS"] = "4";
    const ProgramResult result = kavractl( { "show", "--wait" } );
    EXPECT_EQ( 3, result.status );
    EXPECT_THAT( result.err, HasSubstr( "no SMBus server at " + socketPath() ) );
}
