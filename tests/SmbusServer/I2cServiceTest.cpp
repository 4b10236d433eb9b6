// The real server on the kernel's adapters, while batches are in hand. Its program is the one that
// is installed, but for the kernel: its adapters lead to an emulated board.
#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/Service.h"
#include "tests/support/BoardProcess.h"
#include "tests/support/Requests.h"
#include "tests/support/ServerProcess.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <set>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

using namespace Requests;
using namespace Service;

namespace {

constexpr const char *document = R"({ "busses": [ { "master": "I2C", "bus": 0, "chips": [
    { "name": "left", "type": "PCA9548", "address": "0x70", "channels": [
        { "channel": 0, "chips": [
            { "name": "s0", "type": "LM75", "address": "0x48", "set": { "temperature": 10 } } ] } ] },
    { "name": "right", "type": "PCA9548", "address": "0x71", "channels": [
        { "channel": 0, "chips": [
            { "name": "s1", "type": "LM75", "address": "0x48",
              "set": { "temperature": 33 } } ] } ] } ] } ] })";

class I2cServiceTest : public testing::Test {
  protected:
    /// The board is bus 0 of the master I2C.
    void start( const std::string &muxes = "[]" ) {
        writeMap( 0, muxes );
        server_.emplace( std::string(), std::vector<std::string>{ "--i2c-dev", map_ },
                         BINARY_DIR "/bin/SmbusServerOnBoard" );
    }
    void writeMap( unsigned bus, const std::string &muxes = "[]" ) const {
        std::ofstream( map_ ) << R"({ "busses": [ { "master": "I2C", "bus": )" << bus
                              << R"(, "device": ")" << board.path() << R"(", "muxes": )" << muxes
                              << " } ] }";
    }

    static Smbus::TransactionRequest behind( unsigned mux, unsigned bus = 0 ) {
        Smbus::TransactionRequest request =
            batch( { sendByte( mux, 1 ), readBytes( 0x48, 0, 1 ), sendByte( mux, 0 ) } );
        for ( Smbus::Request &each : *request.mutable_request() ) {
            each.set_address( each.address() | uint64_t{ bus } << 39 );
        }
        return request;
    }
    static constexpr unsigned left = 0x70;
    static constexpr unsigned right = 0x71;

    /// Degrees, or the error.
    static std::string textOf( const std::optional<Smbus::TransactionResponse> &answer ) {
        return !answer            ? "no answer"
               : answer->failed() ? answer->error()
                                  : std::to_string( answer->response( 1 ).data()[0] );
    }
    std::string ask( const Smbus::TransactionRequest &request ) {
        return textOf( RawClient( server().socketPath() ).ask( request ) );
    }

    /// The server has seen the batch's select, and waits for its read.
    void putInHand( RawClient &client, const Smbus::TransactionRequest &request ) {
        board.hang( 0x48 );
        client.send( request );
        board.waitForHang();
        ASSERT_EQ( "0x01", board.get( "left.control" ) );
    }

    ServerProcess &server() { return *server_; }

    BoardProcess board{ document };
    Folder folder;

  private:
    std::string map_ = folder.file( "map.json" );
    std::optional<ServerProcess> server_;
};

TEST_F( I2cServiceTest, ServesTheBoard ) {
    start();
    EXPECT_EQ( "10", ask( behind( left ) ) );
    EXPECT_EQ( "33", ask( behind( right ) ) );
}

TEST_F( I2cServiceTest, BatchInHandAtSigtermEndsWithItsMuxesClosedAndIsAnswered ) {
    start();
    RawClient client( server().socketPath() );
    RawClient idle( server().socketPath() );
    idle.ask( behind( right ) ); // both are connected
    putInHand( client, behind( left ) );
    server().signal( SIGTERM );
    EXPECT_TRUE( idle.hungUp() ); // the signal has arrived
    board.release();
    EXPECT_EQ( "10", textOf( client.answer() ) );
    EXPECT_TRUE( client.hungUp() );
    EXPECT_EQ( 0, server().stop() );
    EXPECT_EQ( "0x00", board.get( "left.control" ) );
}

TEST_F( I2cServiceTest, BatchInHandThatFailsAtSigtermClosesItsMuxesToo ) {
    start();
    RawClient client( server().socketPath() );
    RawClient idle( server().socketPath() );
    idle.ask( behind( right ) );
    putInHand( client, behind( left ) );
    server().signal( SIGTERM );
    EXPECT_TRUE( idle.hungUp() );
    board.set( "s0.present", "0" );
    board.release();
    EXPECT_EQ( "bus 0 mux 0x70=01 chip 0x48 reg 0x00: no acknowledge", textOf( client.answer() ) );
    EXPECT_EQ( 0, server().stop() );
    EXPECT_EQ( "0x00", board.get( "left.control" ) );
}

TEST_F( I2cServiceTest, MuxThatAKilledServerLeftOnIsClearedBeforeABatchThatDoesNotNameIt ) {
    start( R"([ "0x70", "0x71" ])" );
    RawClient client( server().socketPath() );
    putInHand( client, behind( left ) );
    server().kill();
    board.release();
    server().start();
    EXPECT_EQ( "0x01", board.get( "left.control" ) );
    EXPECT_EQ( "33", ask( behind( right ) ) );
    EXPECT_EQ( "0x00", board.get( "left.control" ) );
}

/// With the other end of $NOTIFY_SOCKET: what the server tells systemd.
class I2cReloadTest : public I2cServiceTest {
  protected:
    I2cReloadTest() { setenv( "NOTIFY_SOCKET", folder.file( "notify" ).c_str(), 1 ); }
    ~I2cReloadTest() override {
        unsetenv( "NOTIFY_SOCKET" );
        close( states_ );
    }

    /// The next thing that it tells.
    std::string state( int flags = 0 ) const {
        std::array<char, 64> text = {};
        const ssize_t count = recv( states_, text.data(), text.size(), flags );
        return count < 0 ? "none" : std::string( text.data(), static_cast<size_t>( count ) );
    }
    std::string stateSoFar() const { return state( MSG_DONTWAIT ); }

    /// A batch is in hand, and the board is bus 5 once the new map is served.
    void moveBoardMeanwhile( RawClient &client ) {
        EXPECT_EQ( "READY=1", state() );
        putInHand( client, behind( left ) );
        writeMap( 5 );
        server().signal( SIGHUP );
        EXPECT_EQ( "RELOADING=1", state() );
    }

  private:
    int states_ = listenAt( folder.file( "notify" ), SOCK_DGRAM );
};

TEST_F( I2cReloadTest, NewMapIsReportedOnlyWhenItIsServed ) {
    start();
    RawClient client( server().socketPath() );
    moveBoardMeanwhile( client );
    EXPECT_EQ( "ok", server().control( "fault" ) ); // the event loop has gone on
    EXPECT_EQ( "none", stateSoFar() );
    board.release();
    EXPECT_EQ( "10", textOf( client.answer() ) ); // by the map with which it began
    EXPECT_EQ( "READY=1", state() );
    EXPECT_TRUE( server().waitForLog( "the documents were read again" ) );
    EXPECT_EQ( "33", ask( behind( right, 5 ) ) );
    EXPECT_TRUE( ask( behind( right ) ).starts_with( "bus 0 chip 0x71 reg 0x01: no such bus" ) );
}

TEST_F( I2cReloadTest, BatchThatComesMeanwhileIsPerformedByTheNewMap ) {
    start();
    RawClient client( server().socketPath() );
    moveBoardMeanwhile( client );
    RawClient next( server().socketPath() );
    next.send( behind( right, 5 ) );
    board.release();
    EXPECT_EQ( "33", textOf( next.answer() ) );
}

TEST_F( I2cServiceTest, NoProgramThatItStartsWouldInheritAnAdapter ) {
    start();
    const std::string folderOfDescriptors = "/proc/" + std::to_string( server().pid() ) + "/fdinfo";
    const auto descriptors = [&] {
        std::set<std::string> paths;
        for ( const auto &entry : std::filesystem::directory_iterator( folderOfDescriptors ) ) {
            paths.insert( entry.path() );
        }
        return paths;
    };
    RawClient client( server().socketPath() );
    client.ask( batch( {} ) );
    const std::set<std::string> before = descriptors();
    client.ask( behind( left ) );
    int adapters = 0;
    for ( const std::string &path : descriptors() ) {
        if ( before.contains( path ) ) {
            continue;
        }
        const std::string info = fileText( path );
        const std::string mark = "flags:";
        const unsigned long flags =
            std::stoul( info.substr( info.find( mark ) + mark.size() ), nullptr, 8 );
        adapters += ( flags & O_CLOEXEC ) != 0 ? 1 : 100;
    }
    EXPECT_EQ( 1, adapters );
}

} // namespace
