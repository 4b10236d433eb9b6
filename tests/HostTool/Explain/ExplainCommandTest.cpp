/// kavractl explain with the library and the server as they are built, on the emulated VundaT
/// board.
#include "tests/HostTool/Kavractl.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

namespace fs = std::filesystem;

class ExplainCommandTest : public KavractlTest {
  protected:
    ExplainCommandTest() {
        environment["KAVRA_BOARD"] = SOURCE_DIR "/boards/VundaT";
        environment["SMBUSD_SOCKET"] = "/no/such/socket";
        environment["TMPDIR"] = folder.file( "tmp" );
        fs::create_directory( folder.file( "tmp" ) );
    }

    ~ExplainCommandTest() override {
        EXPECT_TRUE( fs::is_empty( folder.file( "tmp" ) ) ) << "something was left behind";
    }

    std::string explain( std::vector<std::string> arguments ) const {
        arguments.insert( arguments.begin(), "explain" );
        const ProgramResult result = kavractl( arguments );
        EXPECT_EQ( 0, result.status );
        EXPECT_EQ( "", result.err );
        return result.out;
    }

    /// The lines of one step of one device.
    std::string step( const std::string &device, const std::string &name ) const {
        const std::string text = explain( { device } );
        const size_t start = text.find( "\n  " + name );
        if ( start == std::string::npos ) {
            return "no such step in " + text;
        }
        size_t end = start + 1;
        do {
            end = text.find( '\n', end ) + 1;
        } while ( text.compare( end, 4, "    " ) == 0 );
        return text.substr( start + 1, end - start - 1 );
    }

    /// A board of the test's own: the real one with these devices.
    void ownDevices( const std::string &text ) {
        for ( const char *name : { "topology.json", "emulation.json" } ) {
            fs::copy( std::string( SOURCE_DIR "/boards/VundaT/" ) + name, folder.file( name ),
                      fs::copy_options::overwrite_existing );
        }
        folder.devices( text );
        environment["KAVRA_BOARD"] = folder.path();
    }

    rapidjson::Document explained( const std::vector<std::string> &arguments ) const {
        return parsed( explain( arguments ) );
    }
};

TEST_F( ExplainCommandTest, SensorBehindTwoMuxesSelectsAndDeselectsThem ) {
    EXPECT_EQ( "  getTemperature\n"
               "    transaction 1: SCD pci 0x00000300 accelerator 1 bus 0 (scd0-accel1-bus0)\n"
               "      select        0x70            = 04  mux 101 mux-chassis, channel 0x04 "
               "mux-chassis-channel2\n"
               "      select        0x71            = 08  mux 102 mux-rear, channel 0x08 "
               "mux-rear-channel3\n"
               "      read          0x48  reg 0x00  2 bytes -> 23 00\n"
               "      deselect      0x71            = 00  mux 102 mux-rear\n"
               "      deselect      0x70            = 00  mux 101 mux-chassis\n"
               "    1 transaction, 5 requests, 13 bytes; 1.28 ms at 100 kHz, 0.32 ms at 400 kHz\n",
               step( "outlet", "getTemperature" ) );
}

TEST_F( ExplainCommandTest, SupplyIsReadBehindItsMux ) {
    EXPECT_EQ( "  get_output_voltage\n"
               "    transaction 1: SCD pci 0x00000300 accelerator 0 bus 3 (scd0-bus3)\n"
               "      select        0x71            = 01  mux 103 mux-psu, channel 0x01 "
               "mux-psu-channel0\n"
               "      read          0x58  reg 0x20  1 byte -> 17\n"
               "      read          0x58  reg 0x8b  2 bytes -> 3a 18\n"
               "      deselect      0x71            = 00  mux 103 mux-psu\n"
               "    1 transaction, 4 requests, 13 bytes; 1.27 ms at 100 kHz, 0.32 ms at 400 kHz\n",
               step( "psu1", "get_output_voltage" ) );
}

TEST_F( ExplainCommandTest, AddingAFanInitialisesItsController ) {
    EXPECT_EQ( "  pl_fan_add\n"
               "    transaction 1: SCD pci 0x00000300 accelerator 0 bus 4 (scd0-bus4)\n"
               "      write         0x60  reg 0x33  1 byte = 00\n"
               "    transaction 2: SCD pci 0x00000300 accelerator 0 bus 4 (scd0-bus4)\n"
               "      write         0x60  reg 0x33  1 byte = 00\n"
               "    2 transactions, 2 requests, 6 bytes; 0.58 ms at 100 kHz, 0.14 ms at 400 kHz\n",
               step( "fan1", "pl_fan_add" ) );
}

TEST_F( ExplainCommandTest, SecondFanFindsItsControllerInitialised ) {
    const std::string text = explain( { "fan1", "fan2" } );
    EXPECT_THAT( text.substr( text.find( "fan2  fan  VundaTFanCpld  did 40\n" ) ),
                 StartsWith( "fan2  fan  VundaTFanCpld  did 40\n  pl_fan_add: 0 transactions\n" ) );
}

TEST_F( ExplainCommandTest, TransceiverIsAnsweredFromTheCacheThatAPollFills ) {
    const auto document = explained( { "--json", "Ethernet5" } );
    ASSERT_EQ( 1u, document["devices"].Size() );
    int polls = 0;
    for ( const auto &each : document["devices"][0]["steps"].GetArray() ) {
        const std::string kind = each["kind"].GetString();
        const int transactions = each["sum"]["transactions"].GetInt();
        if ( kind == "reading" ) {
            EXPECT_EQ( 0, transactions ) << each["name"].GetString();
        } else if ( kind == "poll" ) {
            ++polls;
            EXPECT_EQ( 1, transactions );
            EXPECT_EQ( 1000, each["period_ms"].GetInt() );
            // every register that any cage of the chip asks for
            EXPECT_EQ( 16, each["sum"]["requests"].GetInt() );
        }
    }
    EXPECT_EQ( 1, polls );
}

TEST_F( ExplainCommandTest, WhatATransceiverIsToldGoesOverTheWires ) {
    EXPECT_EQ( "  setReset\n"
               "    transaction 1: SCD pci 0x00000300 accelerator 0 bus 5 (scd0-bus5)\n"
               "      write         0x32  reg 0x20  1 byte = 00\n"
               "    1 transaction, 1 request, 3 bytes; 0.29 ms at 100 kHz, 0.07 ms at 400 kHz\n",
               step( "Ethernet1", "setReset" ) );
}

TEST_F( ExplainCommandTest, FailedRequestIsToldWithItsCause ) {
    EXPECT_EQ( "  blockRead 0x00: PL_STATUS_FAILED\n"
               "    transaction 1: I2C pci 0x00000000 accelerator 0 bus 2 (cpu-bus)\n"
               "      block read    0x4a  reg 0x00  0 bytes   failed: the block's count is wrong\n"
               "      failed: bus 2 chip 0x4a reg 0x00: the block's count is wrong\n"
               "    1 transaction, 1 request, 1 byte; 0.11 ms at 100 kHz, 0.03 ms at 400 kHz\n",
               step( "cpu-board-raw", "blockRead" ) );
}

TEST_F( ExplainCommandTest, EveryDeviceOfTheBoardIsExplained ) {
    std::vector<std::string> names = { "explain" };
    const auto devices = parsed( kavractl( { "list", "--json" } ).out );
    for ( const auto &each : devices["devices"].GetArray() ) {
        names.emplace_back( each["name"].GetString() );
    }
    const ProgramResult result = kavractl( names );
    EXPECT_EQ( 0, result.status ) << result.err;
    for ( size_t i = 1; i < names.size(); ++i ) {
        EXPECT_THAT( "\n" + result.out, HasSubstr( "\n" + names[i] + "  " ) );
    }
}

TEST_F( ExplainCommandTest, BussesAreShownTheBusiestFirst ) {
    const auto document = explained( { "--json" } );
    const auto &busses = document["busses"];
    ASSERT_EQ( 8u, busses.Size() );
    EXPECT_STREQ( "scd0-bus3", busses[0]["bus_label"].GetString() );
    double before = 100;
    for ( const auto &bus : busses.GetArray() ) {
        const double busy = bus["busy_percent_at_100_khz"].GetDouble();
        EXPECT_LE( busy, before );
        EXPECT_NEAR( busy / 4, bus["busy_percent_at_400_khz"].GetDouble(), 1e-5 );
        before = busy;
        double sum = 0;
        double deviceBefore = 100;
        for ( const auto &device : bus["devices"].GetArray() ) {
            const double share = device["busy_percent_at_100_khz"].GetDouble();
            EXPECT_LE( share, deviceBefore );
            deviceBefore = share;
            sum += share;
        }
        EXPECT_NEAR( busy, sum, 1e-4 );
    }
}

TEST_F( ExplainCommandTest, RatesScaleTheLoad ) {
    const auto document =
        explained( { "--json", "--rates", "--every", "10", "--rate", "fan=2", "inlet", "fan1" } );
    EXPECT_EQ( 10, document["seconds"]["temp_sensor"].GetDouble() );
    EXPECT_EQ( 2, document["seconds"]["fan"].GetDouble() );
    const auto &busses = document["busses"];
    ASSERT_EQ( 2u, busses.Size() );
    EXPECT_DOUBLE_EQ( 0.5, busses[0]["transactions_per_second"].GetDouble() );
    EXPECT_DOUBLE_EQ( 0.1, busses[1]["transactions_per_second"].GetDouble() );
    EXPECT_DOUBLE_EQ( 0.048, busses[1]["milliseconds_per_second_at_100_khz"].GetDouble() );
}

TEST_F( ExplainCommandTest, TableNamesTheRatesAndTheBusses ) {
    const std::string text = explain( { "--rates", "inlet", "Ethernet1" } );
    EXPECT_THAT( text, StartsWith( "What reads is called every 1 s; the library polls by itself. "
                                   "Time of the wires alone.\n\nBUS " ) );
    EXPECT_THAT( text, HasSubstr( "\nSCD pci 0x00000300 accelerator 0 bus 5 (scd0-bus5)\n"
                                  "  DEVICE     CLASS  WHAT  EVERY  TRANSACTIONS/S" ) );
    EXPECT_THAT( text, HasSubstr( "  Ethernet1  xcvr   poll    1 s            1.00       16.00" ) );
    EXPECT_THAT( text, EndsWith( "Nothing goes over a bus for reading 1 xcvr.\n" ) );
}

TEST_F( ExplainCommandTest, MoreThanTheBusCarriesIsMarked ) {
    const std::string text = explain( { "--rates", "--rate", "psu=0.005", "psu1" } );
    EXPECT_THAT( text, HasSubstr( "148.80 % !" ) );
    EXPECT_THAT( text, HasSubstr( "  37.20 %" ) );
    EXPECT_THAT( text, HasSubstr( "! is more than the bus can carry.\n" ) );
}

TEST_F( ExplainCommandTest, RefusedDeviceDoesNotKeepTheOthersFromBeingExplained ) {
    ownDevices( R"([
        { "class": "fan", "name": "fan1",
          "arguments": { "did": 40, "driver": "LM57", "address": { "address": 96 } } },
        { "class": "fan", "name": "fan2",
          "arguments": { "did": 2, "driver": "LM75", "address": { "address": 72 } } },
        { "class": "temp_sensor", "name": "inlet",
          "arguments": { "did": 1, "driver": "LM75", "address": { "address": 72 } },
          "thresholds": { "alert": 45, "critical": 55 } } ])" );
    const ProgramResult result = kavractl( { "explain", "fan1", "fan2", "inlet" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.out, HasSubstr( "read          0x48  reg 0x00  2 bytes -> 18 80\n" ) );
    EXPECT_THAT( result.err, HasSubstr( "'fan1': not added: driver LM57 not found" ) );
    EXPECT_THAT( result.err,
                 HasSubstr( "'fan2': driver 'LM75', class fan: Not implemented newFan" ) );
    const auto rates = parsed( kavractl( { "explain", "--json" } ).out );
    EXPECT_EQ( 2u, rates["refused"].Size() );
}

TEST_F( ExplainCommandTest, AssertionOfTheLibraryLeavesNothingBehind ) {
    ownDevices( R"([ { "class": "temp_sensor", "name": "ghost",
        "arguments": { "did": 1, "driver": "LM75", "address": { "address": 79 } },
        "thresholds": { "alert": 45, "critical": 55 } } ])" );
    const ProgramResult result = kavractl( { "explain" } );
    EXPECT_EQ( -SIGABRT, result.status );
    EXPECT_THAT( result.err,
                 EndsWith( "kavractl: while adding 'ghost' (" + folder.path() +
                           "/devices.json:1); name the other devices to go on without it\n" ) );
}

TEST_F( ExplainCommandTest, UnknownDeviceIsRefused ) {
    const ProgramResult result = kavractl( { "explain", "inlett" } );
    EXPECT_EQ( 2, result.status );
    EXPECT_THAT( result.err, HasSubstr( "'inlet'" ) );
}

TEST_F( ExplainCommandTest, RunningServerIsNoneOfItsBusiness ) {
    for ( const char *option : { "--socket=/s", "--simulate", "--wait" } ) {
        const ProgramResult result = kavractl( { "explain", option, "inlet" } );
        EXPECT_EQ( 2, result.status );
        EXPECT_THAT( result.err, StartsWith( "kavractl: explain takes no --" ) );
    }
}

TEST_F( ExplainCommandTest, SimulationOfTheEnvironmentIsLeftOut ) {
    environment["SIMULATION_VMID"] = "1";
    EXPECT_THAT( step( "inlet", "getTemperature" ),
                 HasSubstr( "read          0x48  reg 0x00  2 bytes -> 18 80\n" ) );
}

TEST_F( ExplainCommandTest, BoardWithoutAnEmulatedOneIsRefused ) {
    ownDevices( R"([ { "class": "system", "name": "switch" } ])" );
    fs::remove( folder.file( "emulation.json" ) );
    const ProgramResult result = kavractl( { "explain" } );
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavractl: explain needs the emulated board: cannot read " +
                   folder.file( "emulation.json" ) + ": No such file or directory\n",
               result.err );
}

TEST_F( ExplainCommandTest, BrokenEmulatedBoardIsToldInTheServersWords ) {
    ownDevices( R"([ { "class": "system", "name": "switch" } ])" );
    folder.write( "emulation.json", "{" );
    const ProgramResult result = kavractl( { "explain" } );
    EXPECT_EQ( 2, result.status );
    EXPECT_THAT( result.err, StartsWith( "kavractl: " + folder.file( "emulation.json" ) + ":1:" ) );
}

TEST_F( ExplainCommandTest, BoardOnWhichNothingIsReadHasNoLoad ) {
    ownDevices( R"([ { "class": "system", "name": "switch" } ])" );
    EXPECT_THAT( explain( {} ), HasSubstr( "\nNothing goes over any bus.\n" ) );
}
