/// kavractl metrics, the library and the server as they are built, on the emulated VundaT board.
#include "tests/HostTool/Kavractl.h"
#include "tests/HostTool/Metrics/MetricsProcess.h"
#include "tests/support/ServerProcess.h"

#include <gmock/gmock.h>

#include <csignal>
#include <filesystem>
#include <fstream>

using testing::HasSubstr;
using testing::Not;

class MetricsBoardTest : public KavractlTest {
  protected:
    MetricsBoardTest() {
        environment["SMBUSD_SOCKET"] = server.socketPath();
        environment["KAVRA_BOARD"] = SOURCE_DIR "/boards/VundaT";
    }

    std::unique_ptr<MetricsProcess> listening( const std::vector<std::string> &devices = {} ) {
        std::vector<std::string> arguments = { "metrics", "--listen", "127.0.0.1:0" };
        arguments.insert( arguments.end(), devices.begin(), devices.end() );
        std::vector<std::string> assignments;
        for ( const auto &[name, value] : environment ) {
            assignments.push_back( name + "=" + value );
        }
        return std::make_unique<MetricsProcess>( arguments, assignments );
    }
    static std::string get( MetricsProcess &metrics ) {
        return metrics.ask( "GET /metrics HTTP/1.0\r\n\r\n" );
    }
    /// What promtool says against an exposition.
    ProgramResult judged( const std::string &exposition ) const {
        folder.write( "exposition", exposition );
        return runProgram(
            { "/bin/sh", "-c", "promtool check metrics < " + folder.file( "exposition" ) } );
    }
    static bool hasPromtool() { return std::filesystem::exists( "/usr/bin/promtool" ); }

    ServerProcess server;
};

TEST_F( MetricsBoardTest, WholeBoardIsAccepted ) {
    if ( !hasPromtool() ) {
        GTEST_SKIP() << "promtool is not installed";
    }
    server.control( "set psu2.present 0" );
    const ProgramResult result = kavractl( { "metrics" } );
    EXPECT_EQ( 0, result.status ) << result.err;
    const ProgramResult verdict = judged( result.out );
    EXPECT_EQ( 0, verdict.status ) << verdict.out << verdict.err;
    EXPECT_EQ( "", verdict.out + verdict.err );
}

TEST_F( MetricsBoardTest, BoardWithoutAServerIsAcceptedToo ) {
    if ( !hasPromtool() ) {
        GTEST_SKIP() << "promtool is not installed";
    }
    server.stop();
    const ProgramResult verdict = judged( kavractl( { "metrics" } ).out );
    EXPECT_EQ( 0, verdict.status ) << verdict.out << verdict.err;
}

/// The block of a page that begins with this line, without its indent.
static std::string blockOf( const std::string &page, const std::string &firstLine ) {
    std::ifstream file( page );
    std::string block;
    const std::string indent( 4, ' ' );
    for ( std::string line; std::getline( file, line ); ) {
        if ( line == indent + firstLine || ( !block.empty() && line.starts_with( indent ) ) ) {
            block += line.substr( indent.size() ) + "\n";
        } else if ( !block.empty() ) {
            break;
        }
    }
    return block;
}

TEST_F( MetricsBoardTest, ExamplesOfThePageAreAccepted ) {
    if ( !hasPromtool() ) {
        GTEST_SKIP() << "promtool is not installed";
    }
    const std::string page = SOURCE_DIR "/docs/metrics.md";
    folder.write( "alerts.yml", blockOf( page, "groups:" ) );
    folder.write( "prometheus.yml", blockOf( page, "scrape_configs:" ) );
    const ProgramResult rules =
        runProgram( { "/usr/bin/promtool", "check", "rules", folder.file( "alerts.yml" ) } );
    EXPECT_EQ( 0, rules.status ) << rules.out << rules.err;
    EXPECT_THAT( rules.out, HasSubstr( "SUCCESS: 5 rules found" ) );
    const ProgramResult config =
        runProgram( { "/usr/bin/promtool", "check", "config", folder.file( "prometheus.yml" ) } );
    EXPECT_EQ( 0, config.status ) << config.out << config.err;
}

TEST_F( MetricsBoardTest, ValuesAreThoseOfTheWorld ) {
    const auto metrics = listening();
    EXPECT_THAT( get( *metrics ),
                 HasSubstr( "kavra_temperature_celsius{device=\"inlet\"} 24.5\n" ) );
    EXPECT_EQ( "ok", server.control( "set inlet.temperature 41.5" ) );
    EXPECT_THAT( get( *metrics ),
                 HasSubstr( "kavra_temperature_celsius{device=\"inlet\"} 41.5\n" ) );
    EXPECT_EQ( 0, metrics->terminate() ) << metrics->log();
}

TEST_F( MetricsBoardTest, SupplyThatIsPulledLosesItsSamplesAndSaysWhy ) {
    const auto metrics = listening();
    EXPECT_THAT( get( *metrics ), HasSubstr( "kavra_psu_input_volts{device=\"psu2\"} 230\n" ) );
    EXPECT_EQ( "ok", server.control( "set psu2.present 0" ) );
    const std::string without = get( *metrics );
    EXPECT_THAT( without, HasSubstr( "kavra_slot_present{device=\"psu2-slot\"} 0\n" ) );
    EXPECT_THAT( without, Not( HasSubstr( "kavra_psu_input_volts{device=\"psu2\"}" ) ) );
    EXPECT_THAT( without, HasSubstr( "reading=\"input_voltage\",status=\"PL_STATUS_" ) );
    EXPECT_TRUE( metrics->waitFor( "kavractl: 'psu2': input_voltage" ) );
    EXPECT_EQ( "ok", server.control( "set psu2.present 1" ) );
    EXPECT_THAT( get( *metrics ), HasSubstr( "kavra_psu_input_volts{device=\"psu2\"} 230\n" ) );
    EXPECT_TRUE( metrics->waitFor( "kavractl: 'psu2': it is read again\n" ) );
    EXPECT_EQ( 0, metrics->terminate() ) << metrics->log();
}

TEST_F( MetricsBoardTest, FullStandardOutputIsAFailure ) {
    const ProgramResult result = runProgram(
        { "/bin/sh", "-c", "exec " BINARY_DIR "/bin/kavractl metrics > /dev/full" },
        { "SMBUSD_SOCKET=" + server.socketPath(), "KAVRA_BOARD=" + environment["KAVRA_BOARD"] } );
    EXPECT_EQ( 2, result.status );
    EXPECT_THAT( result.err, HasSubstr( "cannot write to standard output: No space left" ) );
}

TEST_F( MetricsBoardTest, SignalsOfACageAreAsOldAsTheirPoll ) {
    const std::string text = kavractl( { "metrics", "Ethernet1" } ).out;
    EXPECT_THAT( text, HasSubstr( "kavra_xcvr_reset{device=\"Ethernet1\"} 0\n" ) );
    EXPECT_THAT( text, HasSubstr( "kavra_reading_age_seconds{device=\"Ethernet1\",class=\"xcvr\","
                                  "reading=\"reset\"} " ) );
}

TEST_F( MetricsBoardTest, ServerMayRestartBetweenTwoScrapes ) {
    const auto metrics = listening();
    EXPECT_THAT( get( *metrics ), HasSubstr( "\nkavra_server_up 1\n" ) );
    server.stop();
    EXPECT_TRUE( metrics->waitFor( "no SMBus server at " ) );
    EXPECT_THAT( get( *metrics ), HasSubstr( "\nkavra_server_up 0\n" ) );
    server.start();
    EXPECT_TRUE( metrics->waitFor( "kavractl: the SMBus server is there\n" ) );
    EXPECT_THAT( get( *metrics ),
                 HasSubstr( "kavra_temperature_celsius{device=\"inlet\"} 24.5\n" ) );
    EXPECT_EQ( 0, metrics->terminate() ) << metrics->log();
}

TEST_F( MetricsBoardTest, ServerThatDiesDuringAScrapeLeavesNoSampleOfIt ) {
    // No transceivers: a poll that meets a server which does not answer would end the process.
    const auto metrics = listening( { "inlet", "outlet", "rear" } );
    EXPECT_THAT( get( *metrics ), HasSubstr( "\nkavra_server_up 1\n" ) );
    server.signal( SIGSTOP );
    const int client = metrics->connect();
    const std::string request = "GET /metrics HTTP/1.0\r\n\r\n";
    ASSERT_LT( 0, write( client, request.data(), request.size() ) );
    server.kill();
    const std::string answer = readAll( client );
    close( client );
    EXPECT_THAT( answer, HasSubstr( "\nkavra_server_up 0\n" ) );
    EXPECT_THAT( answer, Not( HasSubstr( "device=" ) ) );
    EXPECT_EQ( 0, metrics->terminate() ) << metrics->log();
}
