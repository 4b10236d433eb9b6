#include "HostTool/Snapshot/Compare.h"
#include "HostTool/Snapshot/DiffText.h"
#include "tests/HostTool/Snapshot/MadeStates.h"

#include <gtest/gtest.h>

#include <ostream>

using namespace Made;
using HostTool::Snapshot::compare;
using HostTool::Snapshot::Difference;
using HostTool::Snapshot::nameOf;
using HostTool::Snapshot::notesOf;
using HostTool::Snapshot::Tolerances;

namespace {

std::string said( const std::vector<Difference> &differences ) {
    std::string all;
    for ( const Difference &each : differences ) {
        all +=
            ( all.empty() ? "" : " | " ) + std::string( nameOf( each.group ) ) + ": " + each.text;
    }
    return all;
}

std::string said( const BoardState &golden, const BoardState &now ) {
    return said( compare( golden, now, Tolerances() ) );
}

struct Sentence {
    const char *name;
    DeviceState before;
    DeviceState after;
    const char *text;
};

DeviceState refused( DeviceState device, const std::string &reason ) {
    device.state = State::failed;
    device.reason = reason;
    return device;
}

DeviceState withThresholds( DeviceState device, double alert, double critical ) {
    device.thresholds = { alert, critical };
    return device;
}

DeviceState withDriver( DeviceState device, const std::string &driver ) {
    device.driver = driver;
    return device;
}

std::vector<Sentence> sentences() {
    return {
        { "NothingChanged", sensor( "inlet", 24 ), sensor( "inlet", 24 ), "" },

        { "Warmer", sensor( "inlet", 24 ), sensor( "inlet", 33.5 ),
          "value: inlet is 9.5 degrees warmer (33.5 C, was 24.0 C)" },
        { "Colder", sensor( "inlet", 24 ), sensor( "inlet", -3.25 ),
          "value: inlet is 27.2 degrees colder (-3.2 C, was 24.0 C)" },
        { "Slower", fan( "fan2", 9800 ), fan( "fan2", 8036 ),
          "value: fan2 turns 18 % slower (8036 rpm, was 9800 rpm)" },
        { "Faster", fan( "fan2", 1000 ), fan( "fan2", 2500 ),
          "value: fan2 turns 150 % faster (2500 rpm, was 1000 rpm)" },
        { "StandsStill", fan( "fan2", 9800 ), fan( "fan2", 0 ),
          "value: fan2 stands still (0 rpm, was 9800 rpm)" },
        { "StoodStill", fan( "fan2", 0 ), fan( "fan2", 9800 ),
          "value: fan2 turns, and stood still (9800 rpm, was 0 rpm)" },
        { "LowerVoltage", supply( "psu1" ),
          supply( "psu1", { { "input_voltage", is( 115.0, "V" ) } } ),
          "value: psu1's input voltage is 115.00 V lower (115.00 V, was 230.00 V)" },
        { "DrawsMorePower", supply( "psu1" ),
          supply( "psu1", { { "input_power", is( 280.0, "W" ) } } ),
          "value: psu1 draws 50.0 W more (280.0 W, was 230.0 W)" },
        { "DrawsLessCurrent", supply( "psu1", { { "input_current", is( 4.0, "A" ) } } ),
          supply( "psu1" ), "value: psu1 draws 3.00 A less (1.00 A, was 4.00 A)" },
        { "DeliversLess", supply( "psu1" ),
          supply( "psu1", { { "output_power", is( 16.0, "W" ) } } ),
          "value: psu1 delivers 200.0 W less (16.0 W, was 216.0 W)" },
        { "PowerIsNotGood", supply( "psu1" ), supply( "psu1", { { "power_ok", is( false ) } } ),
          "value: psu1 says that its power is not good" },
        { "LineChanged", line( "door", 0 ), line( "door", 1 ), "value: door's value is 1, was 0" },
        { "OtherUnit", sensor( "inlet", 24 ), sensor( "inlet", is( 24.0, "F" ) ),
          "value: inlet's temperature is 24.00 F, was 24.0 C" },

        { "LostSignal", cage( "Ethernet5" ), cage( "Ethernet5", { { "rx_los", is( true ) } } ),
          "value: Ethernet5 lost its signal" },
        { "SignalIsBack", cage( "Ethernet5", { { "rx_los", is( true ) } } ), cage( "Ethernet5" ),
          "value: Ethernet5 has a signal again" },
        { "TransmitterFault", cage( "Ethernet5" ),
          cage( "Ethernet5", { { "tx_fault", is( true ) } } ),
          "value: Ethernet5 reports a transmitter fault" },
        { "TransmitterOff", cage( "Ethernet5" ),
          cage( "Ethernet5", { { "tx_disable", is( true ) } } ),
          "setting: Ethernet5's transmitter is switched off" },
        { "InReset", cage( "Ethernet5" ), cage( "Ethernet5", { { "reset", is( true ) } } ),
          "setting: Ethernet5 is held in reset" },
        { "LowPower", cage( "Ethernet5" ), cage( "Ethernet5", { { "lp_mode", is( true ) } } ),
          "setting: Ethernet5 is in low power mode" },
        { "ModuleIsMissing", cage( "Ethernet5" ),
          cage( "Ethernet5", { { "present", is( false ) }, { "rx_los", is( true ) } } ),
          "missing: the module of Ethernet5 is missing" },
        { "ModuleIsAdditional", cage( "Ethernet5", { { "present", is( false ) } } ),
          cage( "Ethernet5" ), "additional: the module of Ethernet5 is additional" },
        { "EmptyCageKeepsItsSettings", cage( "Ethernet5", { { "present", is( false ) } } ),
          cage( "Ethernet5", { { "present", is( false ) }, { "reset", is( true ) } } ),
          "setting: Ethernet5 is held in reset" },
        { "EmptyCageHasNoSignals", cage( "Ethernet5", { { "present", is( false ) } } ),
          cage( "Ethernet5", { { "present", is( false ) }, { "rx_los", is( true ) } } ), "" },
        { "OtherKindOfCage", cage( "Ethernet5" ),
          cage( "Ethernet5", { { "type", text( "qsfp" ) } } ),
          "part: Ethernet5 is another type: qsfp, was sfp" },

        { "TrayIsMissing", slot( "fan3-slot", "FAN-F", "1" ), emptySlot( "fan3-slot" ),
          "missing: fan3 is missing" },
        { "SlotOfAnotherName", slot( "tray", "FAN-F", "1" ), emptySlot( "tray" ),
          "missing: tray is missing" },
        { "TrayIsAdditional", emptySlot( "fan3-slot" ), slot( "fan3-slot", "FAN-F", "1" ),
          "additional: fan3 is additional" },
        { "BothAreEmpty", emptySlot( "fan3-slot" ), emptySlot( "fan3-slot" ), "" },
        { "OtherModel", slot( "psu2-slot", "PWR-500AC-R", "1" ),
          slot( "psu2-slot", "PWR-500AC-F", "2" ),
          "part: psu2 is another model: PWR-500AC-F, was PWR-500AC-R" },
        { "OtherUnitOfTheModel", slot( "psu2-slot", "PWR-500AC-F", "1" ),
          slot( "psu2-slot", "PWR-500AC-F", "2" ), "part: psu2 is another unit: serial 2, was 1" },
        { "OtherDescription", slot( "fan1-slot", none(), none(), "model = F\nair = front\nid = 1" ),
          slot( "fan1-slot", none(), none(), "model = F\nair = back\nid = 1" ),
          "part: fan1's description is 'air = back', was 'air = front'" },
        { "LongerDescription", slot( "fan1-slot", none(), none(), "model = F\n" ),
          slot( "fan1-slot", none(), none(), "model = F\nair = back" ),
          "part: fan1's description is 'air = back', was ''" },
        { "NotRecognised", slot( "psu1-slot", "A", "1" ),
          emptySlot( "psu1-slot", "Unknown modelName. PSU is unmanaged" ),
          "part: psu1 is not recognised: Unknown modelName. PSU is unmanaged" },
        { "RecognisedNow", emptySlot( "psu1-slot", "Unknown modelName. PSU is unmanaged" ),
          slot( "psu1-slot", "A", "1" ), "part: psu1 is recognised, and was not" },
        { "FromUnknownToEmpty", emptySlot( "psu1-slot", "Unknown modelName. PSU is unmanaged" ),
          emptySlot( "psu1-slot" ), "missing: psu1 is missing" },

        { "CannotBeRead", sensor( "inlet", 24 ), sensor( "inlet", failed(), State::failed ),
          "state: inlet cannot be read: PL_STATUS_FAILED: bus 0 chip 0x48: no acknowledge (was "
          "24.0 C)" },
        { "CanBeRead", sensor( "inlet", failed(), State::failed ), sensor( "inlet", 24 ),
          "state: inlet can be read: 24.0 C (was PL_STATUS_FAILED: bus 0 chip 0x48: no "
          "acknowledge)" },
        { "FailsInAnotherWay", sensor( "inlet", failed(), State::failed ),
          sensor( "inlet", failed( "no server", "PL_STATUS_IO_ERROR" ), State::failed ),
          "state: inlet cannot be read: PL_STATUS_IO_ERROR: no server (was PL_STATUS_FAILED: bus 0 "
          "chip 0x48: no acknowledge)" },
        { "FailsInTheSameWay", sensor( "inlet", failed( "at 1" ), State::failed ),
          sensor( "inlet", failed( "at 2" ), State::failed ), "" },
        { "OneOfManyValuesFails", supply( "psu1" ),
          supply( "psu1", { { "input_power", failed( "no" ) } } ),
          "state: psu1's input power cannot be read: PL_STATUS_FAILED: no (was 230.0 W)" },
        { "TwoOfManyValuesFail", supply( "psu1" ),
          supply( "psu1",
                  { { "input_power", failed( "no" ) }, { "input_current", failed( "no" ) } } ),
          "state: psu1's input current and input power cannot be read: PL_STATUS_FAILED: no" },
        { "MostValuesFail", supply( "psu1" ),
          supply( "psu1", { { "input_power", failed( "1" ) },
                            { "input_current", failed( "2" ) },
                            { "output_power", failed( "3" ) },
                            { "output_current", failed( "4" ) } } ),
          "state: 4 of the 7 values of psu1 cannot be read: PL_STATUS_FAILED: 2" },
        { "NeverRead", cage( "Ethernet5" ),
          cage( "Ethernet5", { { "reset", unread( "not polled" ) } } ),
          "state: Ethernet5's reset was not read: not polled (was no)" },
        { "ReadForTheFirstTime", cage( "Ethernet5", { { "reset", unread( "not polled" ) } } ),
          cage( "Ethernet5" ), "state: Ethernet5's reset can be read: no (was not polled)" },
        { "NotSupportedAnyMore", supply( "psu1" ), supply( "psu1", { { "input_power", none() } } ),
          "state: psu1's input power is not there any more (was 230.0 W): PL_STATUS_NOT_SUPPORTED: "
          "not supported" },
        { "SupportedNow", supply( "psu1", { { "output_power", none() } } ), supply( "psu1" ),
          "state: psu1's output power is there, and was not: 216.0 W" },
        { "NotAdded", lamp( "status" ), refused( lamp( "status" ), "not added: no driver" ),
          "state: status is failed, was added: not added: no driver" },
        { "Alert", sensor( "inlet", 44 ), sensor( "inlet", 46, State::alert ),
          "state: inlet is above its alert threshold of 45.0 C" },
        { "Critical", sensor( "inlet", 54, State::alert ), sensor( "inlet", 56, State::critical ),
          "state: inlet is above its critical threshold of 55.0 C" },
        { "WellAgain", sensor( "inlet", 46, State::alert ), sensor( "inlet", 44 ),
          "state: inlet is no longer above its alert threshold" },

        { "Thresholds", sensor( "inlet", 24 ), withThresholds( sensor( "inlet", 24 ), 50, 55 ),
          "setting: inlet's alert threshold is 5.0 C higher (50.0 C, was 45.0 C)" },
        { "Driver", sensor( "inlet", 24 ), withDriver( sensor( "inlet", 24 ), "Y" ),
          "setting: inlet's driver is 'Y', was 'X'" },
        { "Class", line( "a", 0 ), lamp( "a" ), "part: a is of class led, was of class gpio" },
        { "LampsAreNotAsked", lamp( "status" ), lamp( "status" ), "" },
    };
}

void PrintTo( const Sentence &sentence, std::ostream *out ) {
    *out << sentence.name;
}

class SentenceTest : public testing::TestWithParam<Sentence> {};

TEST_P( SentenceTest, IsSaid ) {
    const Sentence &sentence = GetParam();
    EXPECT_EQ( sentence.text, said( board( { sentence.before } ), board( { sentence.after } ) ) );
}

INSTANTIATE_TEST_SUITE_P( All, SentenceTest, testing::ValuesIn( sentences() ),
                          []( const auto &each ) { return std::string( each.param.name ); } );

TEST( CompareTest, MissingPartTakesWhatBelongsToItAlong ) {
    const BoardState golden =
        board( { supply( "psu2" ), fan( "psu2-fan1", 9000 ), line( "psu2-empty", 0 ),
                 sensor( "psu20-inlet", 24 ), slot( "psu2-slot", "A", "1" ) } );
    const BoardState now =
        board( { supply( "psu2", { { "output_power", failed() } } ), fan( "psu2-fan1", failed() ),
                 line( "psu2-empty", 1 ), sensor( "psu20-inlet", 34 ), emptySlot( "psu2-slot" ) } );
    const std::vector<Difference> differences = compare( golden, now, Tolerances() );
    EXPECT_EQ( "missing: psu2 is missing | value: psu20-inlet is 10.0 degrees warmer (34.0 C, was "
               "24.0 C)",
               said( differences ) );
    EXPECT_EQ( ( std::vector<std::string>{ "psu2", "psu2-fan1", "psu2-empty" } ),
               differences[0].with );
}

TEST( CompareTest, ValuesOfAPartThatIsAbsentInBothAreNoDifference ) {
    EXPECT_EQ( "",
               said( board( { emptySlot( "fan3-slot" ), fan( "fan3", failed( "", "A" ) ) } ),
                     board( { emptySlot( "fan3-slot" ), fan( "fan3", failed( "", "B" ) ) } ) ) );
}

TEST( CompareTest, MostImportantComesFirst ) {
    EXPECT_EQ( "missing: fan1 is missing | part: psu1 is another model: B, was A | value: inlet is "
               "10.0 degrees warmer (34.0 C, was 24.0 C)",
               said( board( { sensor( "inlet", 24 ), slot( "psu1-slot", "A", "1" ),
                              slot( "fan1-slot", "F", "1" ) } ),
                     board( { sensor( "inlet", 34 ), slot( "psu1-slot", "B", "1" ),
                              emptySlot( "fan1-slot" ) } ) ) );
}

TEST( CompareTest, DevicesOfOneOnlyAreMissingOrAdditional ) {
    EXPECT_EQ( "missing: a is no longer described | additional: b is described, and was not",
               said( board( { lamp( "a" ) } ), board( { lamp( "b" ) } ) ) );
}

TEST( CompareTest, DevicesThatWereNotNamedAreNotMissing ) {
    BoardState some = board( { lamp( "a" ) } );
    some.origin.isWhole = false;
    const BoardState all = board( { lamp( "a" ), lamp( "b" ) } );
    EXPECT_EQ( "", said( all, some ) );
    EXPECT_EQ( "", said( some, all ) );
}

TEST( CompareTest, DriversFreeTextMovesByItself ) {
    DeviceState golden = fan( "fan1", 9000 );
    DeviceState now = golden;
    golden.values[1].second = text( "pwm: 1" );
    now.values[1].second = text( "pwm: 2" );
    EXPECT_EQ( "", said( board( { golden } ), board( { now } ) ) );
}

TEST( CompareTest, AgeAndFreshnessAreNoDifference ) {
    DeviceState now = cage( "Ethernet1" );
    now.values[0].second.age = 0.7;
    now.values[0].second.freshness = Freshness::old;
    BoardState later = board( { now } );
    later.origin.taken = "2027-01-01T00:00:00Z";
    EXPECT_EQ( "", said( board( { cage( "Ethernet1" ) } ), later ) );
    EXPECT_TRUE( notesOf( board( {} ).origin, later.origin ).empty() );
}

TEST( CompareTest, ThresholdsThatComeAndGoAreToldAsSuch ) {
    const DeviceState with = sensor( "inlet", 24.5 );
    DeviceState without = with;
    without.thresholds.reset();
    ASSERT_TRUE( with.thresholds );
    EXPECT_EQ( "setting: inlet has no thresholds any more",
               said( board( { with } ), board( { without } ) ) );
    EXPECT_EQ( "setting: inlet has thresholds, and had none",
               said( board( { without } ), board( { with } ) ) );
}

TEST( CompareTest, KeysThatOneDoesNotHaveAreNotCompared ) {
    DeviceState now = fan( "fan1", 9000 );
    now.values.pop_back();
    now.settings.clear();
    EXPECT_EQ( "", said( board( { fan( "fan1", 9000 ) } ), board( { now } ) ) );
}

TEST( CompareTest, OtherDocumentsAndLibraryAreNoted ) {
    const HostTool::Snapshot::Origin golden = board( {} ).origin;
    HostTool::Snapshot::Origin now = golden;
    now.devices = "crc32:00000003";
    now.libraryFile = "libKavraDriversVundaT.so.1.2.0";
    now.isSimulated = true;
    EXPECT_EQ( ( std::vector<std::string>{ "devices.json is not the one of the golden snapshot",
                                           "the library is 'libKavraDriversVundaT.so.1.2.0', was "
                                           "'libKavraDriversVundaT.so.1.0.0'",
                                           "the registers are simulated, and were not" } ),
               notesOf( golden, now ) );
    now = golden;
    now.devices = now.topology = "crc32:00000003";
    now.board = "Other";
    EXPECT_EQ( ( std::vector<std::string>{
                   "topology.json and devices.json are not those of the golden snapshot",
                   "the board is 'Other', was 'VundaT'" } ),
               notesOf( golden, now ) );
}

TEST( CompareTest, TextHasAHeadingAGroupAndTheCount ) {
    HostTool::Snapshot::DiffReport report;
    EXPECT_EQ( "no difference\n", diffAsText( report ) );
    report.notes = { "the board is another" };
    report.differences =
        compare( board( { slot( "fan1-slot", "F", "1" ), sensor( "inlet", 24 ) } ),
                 board( { emptySlot( "fan1-slot" ), sensor( "inlet", 34 ) } ), Tolerances() );
    EXPECT_EQ( "note: the board is another\n"
               "\n"
               "Missing\n"
               "  fan1 is missing\n"
               "\n"
               "Values\n"
               "  inlet is 10.0 degrees warmer (34.0 C, was 24.0 C)\n"
               "\n"
               "2 differences\n",
               diffAsText( report ) );
}

TEST( CompareTest, TextDisturbsNoTerminal ) {
    HostTool::Snapshot::DiffReport report;
    report.differences = compare( board( { lamp( "a\033[2Jb\n" ) } ), board( {} ), Tolerances() );
    EXPECT_EQ( "Missing\n  a?[2Jb  is no longer described\n\n1 difference\n",
               diffAsText( report ) );
}

TEST( CompareTest, JsonHasStableKeys ) {
    HostTool::Snapshot::DiffReport report;
    report.goldenName = "golden.json";
    report.golden = report.now = board( {} ).origin;
    report.differences = compare( board( { sensor( "inlet", 24 ) } ),
                                  board( { sensor( "inlet", 33.5 ) } ), Tolerances() );
    EXPECT_EQ( R"({"golden":{"file":"golden.json","taken":"2026-11-21T17:10:16Z","tool":"1.0.0"},)"
               R"("now":{"file":null,"taken":"2026-11-21T17:10:16Z","tool":"1.0.0"},"tolerances":{)"
               R"("C":{"percent":0,"absolute":5},"rpm":{"percent":10,"absolute":0},)"
               R"("V":{"percent":5,"absolute":0},"A":{"percent":20,"absolute":1},)"
               R"("W":{"percent":20,"absolute":5}},"notes":[],"differences":[{"group":"value",)"
               R"("device":"inlet","keys":["temperature"],"golden":24,"now":33.5,"unit":"C",)"
               R"json("text":"inlet is 9.5 degrees warmer (33.5 C, was 24.0 C)","with":[]}]})json"
               "\n",
               diffAsJson( report ) );
}

} // namespace
