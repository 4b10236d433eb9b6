#include "HostTool/Snapshot/StateFile.h"

#include "HostTool/Failure.h"
#include "HostTool/Snapshot/Origin.h"
#include "HostTool/Snapshot/StateText.h"
#include "tests/HostTool/BoardFolder.h"
#include "tests/HostTool/Snapshot/MadeStates.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

using namespace Made;
using HostTool::Failure;
using HostTool::Snapshot::readState;
using HostTool::Snapshot::readStateFile;
using HostTool::Snapshot::textOf;

namespace {

std::string refusalOf( const std::string &text ) {
    try {
        readState( "golden.json", text );
    } catch ( const Failure &failure ) {
        EXPECT_EQ( HostTool::ExitCode::badInput, failure.code() );
        return failure.what();
    }
    return "none";
}

std::string replaced( std::string text, const std::string &what, const std::string &with ) {
    const size_t at = text.find( what );
    EXPECT_NE( std::string::npos, at ) << what << " is not in " << text;
    return text.replace( at, what.size(), with );
}

const std::string oneSensor = textOf( board( { sensor( "inlet", 24.5 ) } ) );

TEST( StateFileTest, ReadsWhatIsWritten ) {
    BoardState all =
        board( { sensor( "inlet", failed( "quote \" brace } comma , \\ \n end" ) ),
                 fan( "fan1", 100000 ), supply( "psu1" ), slot( "psu1-slot", "A", "1" ),
                 emptySlot( "psu2-slot" ), cage( "Ethernet1", { { "reset", unread( "" ) } } ),
                 lamp( "status" ), line( "door", 1.1113281 ) } );
    all.devices[1].values[0].second.age = 0.209;
    all.devices[2].driver = "";
    all.devices[3].did = std::nullopt;
    all.origin.isWhole = false;
    all.origin.serverIsUp = false;
    all.origin.serverIsDownFor = "Connection refused";
    EXPECT_EQ( all, readState( "", textOf( all ) ) );
}

TEST( StateFileTest, ALineAValue ) {
    EXPECT_EQ( R"({
  "snapshot": 1,
  "tool": "1.0.0",
  "taken": "2026-11-21T17:10:16Z",
  "board": {
    "name": "VundaT",
    "topology": "crc32:00000001",
    "devices": "crc32:00000002",
    "whole": true,
    "simulated": false
  },
  "library": {
    "file": "libKavraDriversVundaT.so.1.0.0",
    "soname": null
  },
  "server": {
    "up": true,
    "reason": null
  },
  "devices": {
    "inlet": {
      "class": "temp_sensor",
      "driver": "X",
      "did": 7,
      "thresholds": {
        "alert": 45,
        "critical": 55
      },
      "state": "ok",
      "reason": null,
      "identity": {},
      "values": {
        "temperature": {"value": 24.5, "unit": "C", "status": "PL_STATUS_OK", )"
               R"("reason": null, "freshness": "fresh", "age_s": 0}
      },
      "settings": {}
    }
  }
}
)",
               oneSensor );
}

TEST( StateFileTest, UnknownKeysAreTaken ) {
    const std::string text = replaced( oneSensor, "\"tool\"", "\"colour\": \"red\", \"tool\"" );
    EXPECT_EQ( readState( "", oneSensor ), readState( "", text ) );
}

struct Flawed {
    const char *name;
    const char *what;
    const char *with;
    const char *message;
};
constexpr Flawed flaws[] = {
    { "Syntax", "\"tool\": ", "\"tool\" ", "golden.json:3:10: Missing a colon" },
    { "NewerFormat", "\"snapshot\": 1", "\"snapshot\": 2",
      "golden.json:2:15: snapshot: the format is 2, of kavractl 1.0.0; this kavractl " },
    { "NoFormat", "\"snapshot\"", "\"schnappschuss\"",
      "golden.json:1:1: this is no snapshot: it has no \"snapshot\"" },
    { "FormatZero", "\"snapshot\": 1", "\"snapshot\": 0",
      "golden.json:2:15: snapshot: must be the number of the format" },
    { "FormatText", "\"snapshot\": 1", "\"snapshot\": \"1\"",
      "golden.json:2:15: snapshot: must be the number of the format" },
    { "MissingKey", "\"unit\": \"C\", ", "",
      "golden.json:33:24: devices.inlet.values.temperature: \"unit\" is missing" },
    { "WrongWord", "\"fresh\"", "\"stale\"",
      "golden.json:33:108: devices.inlet.values.temperature.freshness: 'stale' is none of fresh, "
      "old, never, failed, none" },
    { "WrongClass", "\"temp_sensor\"", "\"sensor\"",
      "golden.json:22:16: devices.inlet.class: 'sensor' is none of temp_sensor, fan," },
    { "WrongState", "\"ok\"", "\"fine\"",
      "golden.json:29:16: devices.inlet.state: 'fine' is none" },
    { "NegativeAge", "\"age_s\": 0", "\"age_s\": -1",
      "golden.json:33:126: devices.inlet.values.temperature.age_s: must be a number that is not "
      "negative, or null" },
    { "ValueIsAnObject", "24.5", "{}",
      "golden.json:33:34: devices.inlet.values.temperature.value: must be a number, a text, true, "
      "false or null" },
    { "DeviceIsNone", "\"values\": {", "\"values\": 3, \"x\": {",
      "golden.json:32:17: devices.inlet.values: must be an object" },
    { "KeyTwice", "\"settings\": {}", "\"settings\": {}, \"values\": {}",
      "golden.json:35:23: devices.inlet: \"values\" is given twice" },
};

void PrintTo( const Flawed &flaw, std::ostream *out ) {
    *out << flaw.name;
}

class FlawTest : public testing::TestWithParam<Flawed> {};

TEST_P( FlawTest, IsToldWithPlaceAndKey ) {
    const std::string text = replaced( oneSensor, GetParam().what, GetParam().with );
    const std::string refusal = refusalOf( text );
    EXPECT_EQ( GetParam().message, refusal.substr( 0, std::string( GetParam().message ).size() ) );
}

INSTANTIATE_TEST_SUITE_P( Texts, FlawTest, testing::ValuesIn( flaws ),
                          []( const auto &each ) { return std::string( each.param.name ); } );

TEST( StateFileTest, DeviceThatStandsTwiceIsRefused ) {
    const std::string twice = textOf( board( { lamp( "a" ), lamp( "a" ) } ) );
    EXPECT_EQ( "golden.json:34:5: devices: \"a\" is given twice", refusalOf( twice ) );
}

TEST( StateFileTest, OtherDocumentsAreNoSnapshots ) {
    EXPECT_EQ( "golden.json:1:1: this is no snapshot: it has no \"snapshot\"; 'kavractl snapshot' "
               "makes one",
               refusalOf( "[]" ) );
    EXPECT_EQ( "golden.json:1:1: The document is empty.", refusalOf( "" ) );
}

TEST( StateFileTest, FileThatCannotBeReadIsNamed ) {
    const BoardFolder folder;
    try {
        readStateFile( folder.file( "none.json" ) );
        ADD_FAILURE();
    } catch ( const Failure &failure ) {
        EXPECT_EQ( "cannot read " + folder.file( "none.json" ) + ": No such file or directory",
                   failure.what() );
    }
}

TEST( StateFileTest, ChecksumIsTheCommonOne ) {
    EXPECT_EQ( "crc32:cbf43926", HostTool::Snapshot::checksum( "123456789" ) );
    EXPECT_EQ( "crc32:00000000", HostTool::Snapshot::checksum( "" ) );
}

} // namespace
