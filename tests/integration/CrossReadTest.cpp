// Two clients that use equal addresses behind different channels.
#include "KavraUtil/PLSocket.h"
#include "KavraUtil/Smbus.pb.h"
#include "tests/SmbusServer/TemporaryFile.h"
#include "tests/support/Requests.h"
#include "tests/support/ServerProcess.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>

using namespace Requests;

namespace {

/// A channel of a mux, and what the word of the sensor behind it reads.
struct Place {
    unsigned mux;
    unsigned channel;
    std::string word;
};

struct Tally {
    int right = 0;
    int failed = 0;
    int wrong = 0;
};

struct BothTallies {
    Tally left;
    Tally right;
};

Smbus::TransactionRequest readOf( const Place &place ) {
    auto request = batch( { sendByte( place.mux, place.channel ), readBytes( 0x48, 0, 2 ),
                            sendByte( place.mux, 0 ) } );
    for ( Smbus::Request &each : *request.mutable_request() ) {
        each.set_mastertype( Smbus::SCD );
        each.set_pci( 0x300 );
        each.set_address( each.address() | uint64_t{ 1 } << 39 );
    }
    request.set_retries( 0 );
    return request;
}

/// One client: all its batches, each answer compared with what its own chip says.
void readAgainAndAgain( const Place &place, int batches, Tally &tally ) {
    PlatformLibrary::PLSocket socket;
    ASSERT_EQ( 0, socket.setup() );
    Smbus::TransactionRequest request = readOf( place );
    for ( int i = 0; i < batches; ++i ) {
        Smbus::TransactionResponse *answer = nullptr;
        ASSERT_EQ( 0, socket.sendRequestWait( &request, &answer ) );
        const std::unique_ptr<Smbus::TransactionResponse> owned( answer );
        if ( answer->failed() ) {
            ++tally.failed;
        } else {
            ++( answer->response( 1 ).data() == place.word ? tally.right : tally.wrong );
        }
    }
}

BothTallies runBoth( const Place &left, const Place &right, int batches ) {
    BothTallies both;
    std::thread one( readAgainAndAgain, left, batches, std::ref( both.left ) );
    std::thread other( readAgainAndAgain, right, batches, std::ref( both.right ) );
    one.join();
    other.join();
    return both;
}

const std::string word41( "\x29\0", 2 );
const std::string word43AndAHalf( "\x2b\x80" );

/// A mux each: what one leaves on, the other's chip shares the wires with.
constexpr const char *twoMuxes =
    R"({ "busses": [ { "master": "SCD", "pci": 768, "bus": 1, "chips": [
    { "name": "mux-left", "type": "PCA9548", "address": "0x70", "channels": [
        { "channel": 0, "chips": [ { "name": "left", "type": "LM75", "address": "0x48",
                                     "set": { "temperature": 41 } } ] } ] },
    { "name": "mux-right", "type": "PCA9548", "address": "0x71", "channels": [
        { "channel": 0, "chips": [ { "name": "right", "type": "LM75", "address": "0x48",
                                     "set": { "temperature": 43.5 } } ] } ] } ] } ] })";

} // namespace

TEST( CrossReadTest, NeitherClientEverReadsTheOthersChip ) {
    constexpr int batches = 100'000;
    const ServerProcess server;
    const BothTallies both = runBoth( { 0x70, 1, word41 }, { 0x70, 2, word43AndAHalf }, batches );
    EXPECT_EQ( batches, both.left.right );
    EXPECT_EQ( batches, both.right.right );
}

TEST( CrossReadTest, NorDoesItWhenMuxesDoNotLetGo ) {
    constexpr int batches = 5'000;
    const TemporaryFile board;
    board.write( twoMuxes );
    ServerProcess server( board.path() );
    for ( int at = 1; at < 2000; at += 100 ) {
        for ( const char *mux : { "0x70", "0x71" } ) {
            ASSERT_EQ( "ok", server.control( std::string( "fault bus 1 no-release chip " ) + mux +
                                             " count 3 at " + std::to_string( at ) ) );
        }
    }
    const BothTallies both = runBoth( { 0x70, 1, word41 }, { 0x71, 1, word43AndAHalf }, batches );
    EXPECT_EQ( 0, both.left.wrong );
    EXPECT_EQ( 0, both.right.wrong );
    EXPECT_GT( both.left.failed, 10 );
    EXPECT_GT( both.right.failed, 10 );
    EXPECT_GT( both.left.right, batches / 2 );
    EXPECT_GT( both.right.right, batches / 2 );
}
