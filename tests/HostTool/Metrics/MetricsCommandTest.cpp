/// kavractl metrics on a library whose devices behave as their arguments say.
#include "tests/HostTool/Kavractl.h"
#include "tests/HostTool/Metrics/MetricsProcess.h"

#include <gmock/gmock.h>

#include <array>
#include <climits>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace fs = std::filesystem;

/// Sees each time that a file is renamed to a name in a folder.
class FileWatch {
  public:
    FileWatch( const std::string &folder, std::string name )
        : fd_( inotify_init1( IN_CLOEXEC ) ), name_( std::move( name ) ) {
        inotify_add_watch( fd_, folder.c_str(), IN_MOVED_TO );
    }
    ~FileWatch() { close( fd_ ); }
    FileWatch( const FileWatch & ) = delete;
    FileWatch &operator=( const FileWatch & ) = delete;

    /// Waits for one that was not waited for before, 20 s at most.
    bool waitForFile() {
        constexpr int longestWait = 20'000;
        pollfd each = { fd_, POLLIN, 0 };
        alignas( inotify_event ) std::array<char, sizeof( inotify_event ) + NAME_MAX + 1> buffer;
        while ( poll( &each, 1, longestWait ) == 1 &&
                read( fd_, buffer.data(), buffer.size() ) > 0 ) {
            if ( name_ == reinterpret_cast<const inotify_event *>( buffer.data() )->name ) {
                return true;
            }
        }
        return false;
    }

  private:
    int fd_;
    std::string name_;
};

class MetricsCommandTest : public KavractlTest {
  protected:
    MetricsCommandTest() : server( std::make_unique<ListeningSocket>( socketPath() ) ) {
        environment["KAVRA_LIBRARY"] = FAKE_LIBRARY;
        folder.devices( R"([
            { "class": "temp_sensor", "name": "hot", "arguments": { "behave": "hot" },
              "thresholds": { "alert": 45, "critical": 55 } },
            { "class": "fan", "name": "broken", "arguments": { "behave": "fail-on-read" } },
            { "class": "gpio", "name": "refused", "arguments": { "behave": "refuse" } },
            { "class": "slot", "name": "psu1-slot", "arguments": { "behave": "absent" } },
            { "class": "xcvr", "name": "port", "arguments": { "kind": "qsfp" } },
            { "class": "system", "name": "sw\"itch", "arguments": { "behave": "remembers" } } ])" );
    }

    std::vector<std::string> assignments() const {
        std::vector<std::string> all;
        for ( const auto &[name, value] : environment ) {
            all.push_back( name + "=" + value );
        }
        return all;
    }
    std::unique_ptr<MetricsProcess> start( const std::vector<std::string> &arguments ) const {
        return std::make_unique<MetricsProcess>( arguments, assignments() );
    }
    std::unique_ptr<MetricsProcess> listening() const {
        return start( { "metrics", "--listen", "127.0.0.1:0" } );
    }
    std::string get( MetricsProcess &metrics ) const {
        return metrics.ask( "GET /metrics HTTP/1.0\r\n\r\n" );
    }

    void serverGoes() {
        server->die();
        fs::remove( socketPath() );
    }
    void serverComes() { server = std::make_unique<ListeningSocket>( socketPath() ); }

    std::string textFile() const { return folder.file( "kavra.prom" ); }
    std::string content() const {
        std::ifstream file( textFile() );
        return { std::istreambuf_iterator<char>( file ), {} };
    }
    /// The call is wrong: exit code 2, the message on stderr and nothing on stdout.
    void expectRefusal( std::vector<std::string> arguments, const std::string &message ) const {
        arguments.insert( arguments.begin(), "metrics" );
        const ProgramResult result = kavractl( arguments );
        EXPECT_EQ( 2, result.status );
        EXPECT_EQ( "kavractl: " + message + "\n", result.err );
        EXPECT_EQ( "", result.out );
    }

    std::unique_ptr<ListeningSocket> server;
};

TEST_F( MetricsCommandTest, PrintsWhatTheDevicesRead ) {
    const ProgramResult result = kavractl( { "metrics" } );
    EXPECT_EQ( 0, result.status ) << result.err;
    for ( const char *line :
          { "kavra_server_up 1", "kavra_temperature_celsius{device=\"hot\"} 50",
            "kavra_device_state{device=\"hot\",class=\"temp_sensor\",state=\"alert\"} 1",
            "kavra_reading_status{device=\"broken\",class=\"fan\",reading=\"speed\","
            "status=\"PL_STATUS_FAILED\"} 1",
            "kavra_device_state{device=\"refused\",class=\"gpio\",state=\"failed\"} 1",
            "kavra_slot_present{device=\"psu1-slot\"} 0", "kavra_xcvr_reset{device=\"port\"} 1",
            "kavra_system_reload_time_seconds{device=\"sw\\\"itch\"} 1700000000" } ) {
        EXPECT_THAT( result.out, HasSubstr( std::string( "\n" ) + line + "\n" ) );
    }
    EXPECT_THAT( result.out, Not( HasSubstr( "kavra_fan_speed_rpm" ) ) );
}

TEST_F( MetricsCommandTest, SaysOnStderrWhatFailedInTheLibrarysWords ) {
    const ProgramResult result = kavractl( { "metrics" } );
    EXPECT_THAT( result.err, HasSubstr( "kavractl: 'broken': speed: PL_STATUS_FAILED: execute: "
                                        "failure in response bus 0 chip 0x48: no acknowledge\n" ) );
    EXPECT_THAT( result.err, HasSubstr( "kavractl: 'refused': not added: parsing devArgs" ) );
    EXPECT_THAT( result.err, Not( HasSubstr( "psu1-slot" ) ) );
}

TEST_F( MetricsCommandTest, NamesPickDevices ) {
    const ProgramResult result = kavractl( { "metrics", "hot" } );
    EXPECT_THAT( result.out, HasSubstr( "device=\"hot\"" ) );
    EXPECT_THAT( result.out, Not( HasSubstr( "broken" ) ) );
    EXPECT_EQ( "", result.err );
    expectRefusal( { "hott" },
                   "no device 'hott' in " + folder.path() + "/devices.json; did you mean 'hot'?" );
}

TEST_F( MetricsCommandTest, MissingServerIsExposedAndIsTheExitCode ) {
    server->die();
    const ProgramResult result = kavractl( { "metrics" } );
    EXPECT_EQ( 3, result.status );
    EXPECT_THAT( result.out, HasSubstr( "\nkavra_server_up 0\n" ) );
    EXPECT_THAT( result.out, Not( HasSubstr( "device=" ) ) );
    EXPECT_THAT( result.err, StartsWith( "kavractl: no SMBus server at " + socketPath() +
                                         ": Connection refused\n  start one: " ) );
}

TEST_F( MetricsCommandTest, LibraryThatIsNotThereStopsItAtOnce ) {
    environment["KAVRA_LIBRARY"] = "/no/library.so";
    const ProgramResult result = kavractl( { "metrics", "--textfile", textFile() } );
    EXPECT_EQ( 3, result.status );
    EXPECT_FALSE( fs::exists( textFile() ) );
}

TEST_F( MetricsCommandTest, OptionsThatDoNotGoTogetherAreRefused ) {
    expectRefusal( { "--textfile", "a.prom", "--listen", "127.0.0.1:0" },
                   "--textfile and --listen are two ways out; start kavractl metrics once for "
                   "each" );
    expectRefusal( { "--every", "5" }, "--every goes with --textfile: what is asked for over "
                                       "--listen is read when it is asked for" );
    expectRefusal( { "--for", "5" }, "--for goes with --listen, or with --textfile and --every" );
    expectRefusal( { "--textfile", "kavra.txt" },
                   "--textfile 'kavra.txt': the name must end in .prom, the node exporter reads no "
                   "other" );
    expectRefusal( { "--listen", "0.0.0.0:9877" },
                   "cannot listen on '0.0.0.0:9877': only 127.0.0.1, [::1], in numbers, or a Unix "
                   "socket: there "
                   "is no encryption and no password; put a proxy that has both in front for "
                   "readers elsewhere" );
}

TEST_F( MetricsCommandTest, TextFileIsWhatIsPrinted ) {
    const ProgramResult result = kavractl( { "metrics", "--textfile", textFile() } );
    EXPECT_EQ( 0, result.status ) << result.err;
    EXPECT_EQ( "", result.out );
    EXPECT_THAT( content(), HasSubstr( "\nkavra_temperature_celsius{device=\"hot\"} 50\n" ) );
}

TEST_F( MetricsCommandTest, MissingFolderIsNamed ) {
    const ProgramResult result = kavractl( { "metrics", "hot", "--textfile", "/no/such/k.prom" } );
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavractl: cannot write /no/such/k.prom: No such file or directory\n", result.err );
}

TEST_F( MetricsCommandTest, FullDiskLeavesTheFileAsItWas ) {
    folder.write( "kavra.prom", "before 1\n" );
    std::vector<std::string> variables = assignments();
    const ProgramResult result = runProgram( { "/bin/sh", "-c",
                                               "trap '' XFSZ; ulimit -f 1; exec " BINARY_DIR
                                               "/bin/kavractl metrics hot --textfile " +
                                                   textFile() },
                                             variables );
    EXPECT_EQ( 2, result.status );
    EXPECT_EQ( "kavractl: cannot write " + textFile() + ": File too large\n", result.err );
    EXPECT_EQ( "before 1\n", content() );
    for ( const auto &each : fs::directory_iterator( folder.path() ) ) {
        EXPECT_THAT( each.path().filename().string(), Not( StartsWith( "." ) ) );
    }
}

TEST_F( MetricsCommandTest, FullStandardOutputIsAFailure ) {
    std::vector<std::string> variables = assignments();
    const ProgramResult result =
        runProgram( { "/bin/sh", "-c", "exec " BINARY_DIR "/bin/kavractl metrics hot > /dev/full" },
                    variables );
    EXPECT_EQ( 2, result.status );
    EXPECT_THAT( result.err, HasSubstr( "cannot write to standard output: No space left" ) );
}

TEST_F( MetricsCommandTest, TextFileIsWrittenAgainAndAgain ) {
    FileWatch watch( folder.path(), "kavra.prom" );
    const auto metrics = start( { "metrics", "hot", "--textfile", textFile(), "--every", "1" } );
    EXPECT_TRUE( watch.waitForFile() );
    EXPECT_TRUE( watch.waitForFile() );
    EXPECT_THAT( content(), HasSubstr( "kavra_server_up 1\n" ) );
    serverGoes();
    EXPECT_TRUE( metrics->waitFor( "no SMBus server at " ) );
    // A file that was written before may not have been waited for yet.
    constexpr int enough = 5;
    for ( int i = 0; i < enough && content().find( "kavra_server_up 0\n" ) == std::string::npos;
          ++i ) {
        EXPECT_TRUE( watch.waitForFile() );
    }
    EXPECT_THAT( content(), HasSubstr( "kavra_server_up 0\n" ) );
    EXPECT_EQ( 0, metrics->terminate() ) << metrics->log();
}

TEST_F( MetricsCommandTest, TextFileThatFailsLaterIsComplainedOfAndTriedAgain ) {
    const std::string inner = folder.file( "inner" );
    const std::string path = inner + "/k.prom";
    fs::create_directory( inner );
    FileWatch watch( inner, "k.prom" );
    const auto metrics = start( { "metrics", "hot", "--textfile", path, "--every", "1" } );
    EXPECT_TRUE( watch.waitForFile() );
    // A folder in its place: nothing can be renamed to it.
    fs::remove( path );
    fs::create_directory( path );
    EXPECT_TRUE( metrics->waitFor( "kavractl: cannot write " + path + ": Is a directory\n" ) );
    fs::remove( path );
    EXPECT_TRUE( watch.waitForFile() );
    EXPECT_EQ( 0, metrics->terminate() ) << metrics->log();
}

TEST_F( MetricsCommandTest, EachGetReadsTheBoard ) {
    const auto metrics = listening();
    const std::string answer = get( *metrics );
    EXPECT_THAT( answer, StartsWith( "HTTP/1.1 200 OK\r\n" ) );
    EXPECT_THAT( answer,
                 HasSubstr( "Content-Type: text/plain; version=0.0.4; charset=utf-8\r\n" ) );
    EXPECT_THAT( answer, HasSubstr( "\nkavra_temperature_celsius{device=\"hot\"} 50\n" ) );
    EXPECT_THAT( get( *metrics ), HasSubstr( "kavra_server_up 1\n" ) );
    EXPECT_EQ( 0, metrics->terminate() ) << metrics->log();
}

TEST_F( MetricsCommandTest, HeadHasNoBody ) {
    const auto metrics = listening();
    EXPECT_THAT( metrics->ask( "HEAD /metrics HTTP/1.0\r\n\r\n" ),
                 AllOf( StartsWith( "HTTP/1.1 200 OK\r\n" ), HasSubstr( "Content-Length: " ),
                        EndsWith( "\r\n\r\n" ) ) );
}

TEST_F( MetricsCommandTest, OtherPathsAndMethodsAreAnsweredWithALine ) {
    const auto metrics = listening();
    EXPECT_THAT( metrics->ask( "GET / HTTP/1.0\r\n\r\n" ),
                 AllOf( StartsWith( "HTTP/1.1 404 " ),
                        EndsWith( "\r\n\r\nNot found: the metrics are at /metrics.\n" ) ) );
    EXPECT_THAT( metrics->ask( "DELETE /metrics HTTP/1.0\r\n\r\n" ),
                 AllOf( StartsWith( "HTTP/1.1 405 " ), HasSubstr( "Allow: GET, HEAD\r\n" ) ) );
    EXPECT_THAT( metrics->ask( "POST /metrics HTTP/1.0\r\nContent-Length: 3\r\n\r\na=b" ),
                 StartsWith( "HTTP/1.1 405 " ) );
}

TEST_F( MetricsCommandTest, GarbageAndOversizedHeadsHarmNobody ) {
    const auto metrics = listening();
    EXPECT_THAT( metrics->ask( "\x01\x02garbage\r\n\r\n" ), Not( HasSubstr( " 200 " ) ) );
    EXPECT_THAT( metrics->ask( "GET /metrics HTTP/1.1\r\nX: " + std::string( 64 * 1024, 'x' ) ),
                 Not( HasSubstr( " 200 " ) ) );
    EXPECT_THAT( get( *metrics ), HasSubstr( "200 OK" ) );
    EXPECT_EQ( 0, metrics->terminate() ) << metrics->log();
}

TEST_F( MetricsCommandTest, SilentClientsHoldNobodyUp ) {
    const auto metrics = listening();
    const int silent = metrics->connect();
    const int slow = metrics->connect();
    EXPECT_EQ( 4, write( slow, "GET ", 4 ) );
    EXPECT_THAT( get( *metrics ), HasSubstr( "200 OK" ) );
    EXPECT_EQ( 0, metrics->terminate() ) << metrics->log();
    close( silent );
    close( slow );
}

TEST_F( MetricsCommandTest, ClientThatGoesHarmsNobody ) {
    const auto metrics = listening();
    const int gone = metrics->connect();
    const std::string request = "GET /metrics HTTP/1.0\r\n\r\n";
    EXPECT_LT( 0, write( gone, request.data(), request.size() ) );
    close( gone );
    EXPECT_THAT( get( *metrics ), HasSubstr( "200 OK" ) );
    EXPECT_EQ( 0, metrics->terminate() ) << metrics->log();
}

TEST_F( MetricsCommandTest, UnixSocketIsServedAndGoes ) {
    const std::string path = folder.file( "m.sock" );
    const auto metrics = start( { "metrics", "--listen", "unix:" + path } );
    EXPECT_THAT( get( *metrics ), HasSubstr( "\nkavra_server_up 1\n" ) );
    EXPECT_EQ( 0, metrics->terminate() ) << metrics->log();
    EXPECT_FALSE( fs::exists( path ) );
}

TEST_F( MetricsCommandTest, ServerMayComeGoAndComeBack ) {
    serverGoes();
    const auto metrics = listening();
    EXPECT_THAT( get( *metrics ), HasSubstr( "\nkavra_server_up 0\n" ) );
    serverComes();
    EXPECT_TRUE( metrics->waitFor( "kavractl: the SMBus server is there\n" ) );
    EXPECT_THAT( get( *metrics ), HasSubstr( "kavra_temperature_celsius{device=\"hot\"} 50\n" ) );
    serverGoes();
    EXPECT_TRUE( metrics->waitFor( "no SMBus server at " ) );
    const std::string without = get( *metrics );
    EXPECT_THAT( without, HasSubstr( "\nkavra_server_up 0\n" ) );
    EXPECT_THAT( without, Not( HasSubstr( "device=" ) ) );
    serverComes();
    EXPECT_TRUE( metrics->waitFor( "kavractl: the SMBus server is there\n" ) );
    EXPECT_THAT( get( *metrics ), HasSubstr( "kavra_temperature_celsius{device=\"hot\"} 50\n" ) );
    EXPECT_EQ( 0, metrics->terminate() ) << metrics->log();
}

TEST_F( MetricsCommandTest, FailureIsToldOnceAndNotAtEachScrape ) {
    const auto metrics = listening();
    get( *metrics );
    get( *metrics );
    EXPECT_EQ( 0, metrics->terminate() );
    const std::string line = "'broken': speed: ";
    const size_t first = metrics->log().find( line );
    EXPECT_NE( std::string::npos, first );
    EXPECT_EQ( std::string::npos, metrics->log().find( line, first + 1 ) ) << metrics->log();
}

TEST_F( MetricsCommandTest, WrongDocumentStopsItAlsoWhenTheServerComesLater ) {
    folder.devices(
        R"([ { "class": "fan", "name": "fan1", "arguments": { "a": "bad-number" } } ])" );
    serverGoes();
    const auto metrics = listening();
    get( *metrics );
    serverComes();
    EXPECT_TRUE( metrics->waitFor( "kavractl: the SMBus server is there\n" ) );
    EXPECT_THAT( get( *metrics ), StartsWith( "HTTP/1.1 503 " ) );
    EXPECT_EQ( 2, metrics->wait() );
    EXPECT_THAT( metrics->log(), HasSubstr( "'fan1': an argument is not a number" ) );
}

TEST_F( MetricsCommandTest, EndsByItselfAfterTheTimeGiven ) {
    const auto metrics = start( { "metrics", "--listen", "127.0.0.1:0", "--for", "1" } );
    EXPECT_EQ( 0, metrics->wait() ) << metrics->log();
}
