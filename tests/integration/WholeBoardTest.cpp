// The board documents as a whole: what they have on them, and that all of it can be read.
#include "tests/support/RunProgram.h"
#include "tests/support/ServerProcess.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <rapidjson/document.h>
#include <set>
#include <string>
#include <vector>

namespace {

using rapidjson::Document;
using rapidjson::Value;

const std::string board = SOURCE_DIR "/boards/VundaT";

Document parsed( const std::string &text ) {
    Document document;
    document.Parse( text.c_str() );
    EXPECT_FALSE( document.HasParseError() ) << text;
    return document;
}

Document documentOf( const std::string &file ) {
    std::ifstream stream( board + "/" + file );
    return parsed( { std::istreambuf_iterator<char>( stream ), {} } );
}

/// Every "driver" in a document, however deep.
void collectDrivers( const Value &value, std::set<std::string> &drivers ) {
    if ( value.IsArray() ) {
        for ( const Value &each : value.GetArray() ) {
            collectDrivers( each, drivers );
        }
    } else if ( value.IsObject() ) {
        for ( const auto &member : value.GetObject() ) {
            if ( std::string( "driver" ) == member.name.GetString() ) {
                drivers.insert( member.value.GetString() );
            }
            collectDrivers( member.value, drivers );
        }
    }
}

/// How many muxes are on the way to the bus that has most of them.
int muxDepth( const Value &value ) {
    int deepest = 0;
    if ( value.IsArray() ) {
        for ( const Value &each : value.GetArray() ) {
            deepest = std::max( deepest, muxDepth( each ) );
        }
    } else if ( value.IsObject() ) {
        for ( const auto &member : value.GetObject() ) {
            const int isMux = std::string( "muxes" ) == member.name.GetString() ? 1 : 0;
            deepest = std::max( deepest, isMux + muxDepth( member.value ) );
        }
    }
    return deepest;
}

class WholeBoardTest : public testing::Test {
  protected:
    ProgramResult show( std::vector<std::string> arguments ) const {
        arguments.insert( arguments.begin(),
                          { BINARY_DIR "/bin/kavractl", "--board", board, "show" } );
        return runProgram( arguments, { "SMBUSD_SOCKET=" + server.socketPath(),
                                        "ASAN_OPTIONS=detect_leaks=0", "NO_COLOR=1" } );
    }

    ServerProcess server;
};

/// The driver of a QSFP cage answers these without reading a register.
bool isNeverRead( const std::string &key ) {
    return key == "mod_sel" || key == "lp_mode";
}

/// "Ethernet7.reset: reason" for a reading without a value of a device that should have one.
std::string failuresIn( const Document &shown ) {
    std::string failures;
    for ( const Value &device : shown["devices"].GetArray() ) {
        for ( const auto &reading : device["readings"].GetObject() ) {
            const std::string status = reading.value["status"].GetString();
            const bool isRead = status == "PL_STATUS_OK" && !reading.value["value"].IsNull();
            const bool isUnread = reading.value["freshness"] == "never" && status == "PL_STATUS_OK";
            if ( !isRead && status != "PL_STATUS_NOT_SUPPORTED" &&
                 !( isUnread && isNeverRead( reading.name.GetString() ) ) ) {
                failures += std::string( device["name"].GetString() ) + "." +
                            reading.name.GetString() + ": " + status + "\n";
            }
        }
    }
    return failures;
}

} // namespace

TEST_F( WholeBoardTest, EveryDeviceIsShownWithoutAFailure ) {
    const ProgramResult result = show( { "--json" } );
    EXPECT_EQ( 0, result.status ) << result.err;
    const Document shown = parsed( result.out );
    EXPECT_EQ( "", failuresIn( shown ) );
    std::map<std::string, int> states;
    std::map<std::string, int> classes;
    for ( const Value &device : shown["devices"].GetArray() ) {
        ++states[device["state"].GetString()];
        ++classes[device["class"].GetString()];
    }
    // The cages of 17 ports are empty; lamps, raw proxies and the system have nothing to read.
    EXPECT_EQ( ( std::map<std::string, int>{ { "ok", 54 }, { "absent", 17 }, { "added", 39 } } ),
               states );
    EXPECT_EQ( ( std::map<std::string, int>{ { "temp_sensor", 12 },
                                             { "fan", 10 },
                                             { "psu", 2 },
                                             { "slot", 8 },
                                             { "xcvr", 34 },
                                             { "led", 3 },
                                             { "gpio", 5 },
                                             { "smbus", 35 },
                                             { "system", 1 } } ),
               classes );
}

TEST_F( WholeBoardTest, NothingIsSaidOnStderr ) {
    const ProgramResult result = show( {} );
    EXPECT_EQ( 0, result.status );
    EXPECT_EQ( "", result.err );
}

TEST_F( WholeBoardTest, EveryModuleThatIsPluggedInIsSeenAtItsPort ) {
    for ( int port = 1; port <= 34; ++port ) {
        const std::string name = "Ethernet" + std::to_string( port );
        EXPECT_EQ( "ok", server.control( "set " + name + ".present " + ( port % 2 ? "1" : "0" ) ) );
    }
    const Document shown = parsed( show( { "--json" } ).out );
    for ( const Value &device : shown["devices"].GetArray() ) {
        if ( std::string( "xcvr" ) == device["class"].GetString() ) {
            const std::string name = device["name"].GetString();
            const bool isOdd = std::stoi( name.substr( strlen( "Ethernet" ) ) ) % 2 != 0;
            EXPECT_EQ( isOdd, device["readings"]["present"]["value"].GetBool() ) << name;
        }
    }
}

TEST_F( WholeBoardTest, EachModuleIsBehindTheBusOfItsPort ) {
    for ( int port = 1; port <= 34; ++port ) {
        const std::string name = "Ethernet" + std::to_string( port );
        server.control( "set " + name + ".present 1" );
        server.control( "set " + name + ".serial S" + std::to_string( port ) );
    }
    for ( int port = 1; port <= 34; ++port ) {
        const std::string bus = "Ethernet" + std::to_string( port ) + "-bus";
        const std::string offset = port <= 32 ? "196" : "68";
        const ProgramResult result =
            runProgram( { BINARY_DIR "/bin/kavractl", "--board", board, "--json", "smbus",
                          "i2cblock", bus, "0x50", offset, "3" },
                        { "SMBUSD_SOCKET=" + server.socketPath(), "ASAN_OPTIONS=detect_leaks=0" } );
        const Document answer = parsed( result.out );
        std::string serial;
        for ( const Value &byte : answer["block"].GetArray() ) {
            serial += static_cast<char>( byte.GetInt() );
        }
        EXPECT_EQ( ( "S" + std::to_string( port ) + "  " ).substr( 0, 3 ), serial ) << bus;
    }
}

TEST( BoardDocumentsTest, EveryDriverIsUsed ) {
    std::set<std::string> drivers;
    collectDrivers( documentOf( "devices.json" ), drivers );
    collectDrivers( documentOf( "topology.json" ), drivers );
    EXPECT_EQ(
        ( std::set<std::string>{ "Dummy", "GpioDriver", "LM75", "PCA9548", "Pmbus", "PsuSlot",
                                 "SmbusProxyDriver", "VundaGenericXcvrCPLD", "VundaTFanCpld",
                                 "VundaTSystemLedCPLD", "VundaTXcvrLedCPLD" } ),
        drivers );
}

TEST( BoardDocumentsTest, MuxesAreTwoDeep ) {
    EXPECT_EQ( 2, muxDepth( documentOf( "topology.json" ) ) );
}
