// Clients that do what no client should, many at a time: the server lives, stays small and serves
// another client between any two of their doings.
#include "tests/SmbusServer/RawClient.h"
#include "tests/support/Requests.h"
#include "tests/support/Sanitized.h"
#include "tests/support/ServerProcess.h"

#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

using namespace Requests;

class HostileClientTest : public testing::Test {
  protected:
    static constexpr int many = 64;
    static constexpr size_t largestFrame = 1 << 20;

    using Clients = std::vector<std::unique_ptr<RawClient>>;

    Clients connectMany() const {
        Clients clients;
        for ( int i = 0; i < many; ++i ) {
            clients.push_back( std::make_unique<RawClient>( server.socketPath() ) );
        }
        return clients;
    }

    static Smbus::Request inlet( Smbus::Request request ) {
        request.set_mastertype( Smbus::SCD );
        request.set_pci( 768 );
        return request;
    }

    static Smbus::TransactionRequest reads( int count, unsigned length ) {
        Smbus::TransactionRequest request;
        for ( int i = 0; i < count; ++i ) {
            *request.add_request() = inlet( readBytes( 0x48, 0, length ) );
        }
        return request;
    }

    void expectServed() {
        const auto answer = bystander.ask( reads( 1, 2 ) );
        ASSERT_TRUE( answer && answer->response_size() == 1 );
        EXPECT_EQ( "\x18\x80", answer->response( 0 ).data() );
    }

    /// The most memory that the server has ever had.
    void expectSmall() const {
        if ( isSanitized ) {
            GTEST_SKIP() << "the address sanitizer takes the memory";
        }
        constexpr size_t limitKiB = 64 * 1024;
        std::ifstream status( "/proc/" + std::to_string( server.pid() ) + "/status" );
        size_t peakKiB = 0;
        for ( std::string line; std::getline( status, line ); ) {
            if ( line.starts_with( "VmHWM:" ) ) {
                peakKiB = std::stoul( line.substr( 6 ) );
            }
        }
        EXPECT_GT( peakKiB, 0u );
        EXPECT_LT( peakKiB, limitKiB );
    }

    static std::string header( size_t length ) {
        std::string bytes;
        for ( int shift = 24; shift >= 0; shift -= 8 ) {
            bytes += static_cast<char>( length >> shift & 0xff );
        }
        return bytes;
    }

    ServerProcess server;
    RawClient bystander{ server.socketPath() };
};

// So long that the server counts the requests before it makes room for them.
TEST_F( HostileClientTest, LongFramesWithoutMeaningCloseTheirConnectionAlone ) {
    const std::string endless( 100'000, '\xff' );
    const std::string batchOfEndlessRequest = "\x0a" + endless;
    const std::string endlessNumber = "\x10" + endless;
    const std::string endlessNumberInARequest = "\x0a\xa0\x8d\x06\x10" + endless;
    for ( const std::string &payload :
          { batchOfEndlessRequest, endlessNumber, endlessNumberInARequest } ) {
        RawClient client( server.socketPath() );
        client.send( RawClient::frame( payload ) );
        EXPECT_TRUE( client.hungUp() );
        expectServed();
    }
}

TEST_F( HostileClientTest, FramesWithoutTheirEnd ) {
    const std::string begun = header( largestFrame ) + std::string( largestFrame - 1, '\x0a' );
    const Clients clients = connectMany();
    for ( const auto &each : clients ) {
        each->send( begun );
        expectServed();
    }
    EXPECT_TRUE( server.waitForLog( "closed after not ending its frame while memory is short" ) );
    expectServed();
    expectSmall();
}

TEST_F( HostileClientTest, AnswersThatNobodyTakes ) {
    const std::string frame = RawClient::frame( reads( 127, 8192 ).SerializeAsString() );
    const Clients clients = connectMany();
    for ( const auto &each : clients ) {
        each->send( frame );
        expectServed();
    }
    EXPECT_TRUE( server.waitForLog( "closed after not taking its answer while memory is short" ) );
    expectServed();
    expectSmall();
}

TEST_F( HostileClientTest, AnswerMuchTooLarge ) {
    RawClient client( server.socketPath() );
    const auto answer = client.ask( reads( 16'000, 8192 ) );
    EXPECT_EQ( "the answer is larger than a frame holds", answer->error() );
    expectSmall();
}

TEST_F( HostileClientTest, BatchesThatGrowAnotherRequestEachTime ) {
    RawClient client( server.socketPath() );
    for ( int place = 0; place < 200; ++place ) {
        Smbus::TransactionRequest request = reads( place, 1 );
        *request.add_request() = writeBytes( 0x48, 0, std::string( 900'000, 'x' ) );
        ASSERT_TRUE( client.ask( request ) );
    }
    expectServed();
    expectSmall();
}

TEST_F( HostileClientTest, ManyNestedNothings ) {
    std::string groups;
    while ( groups.size() < largestFrame ) {
        groups += "\xa3\x06\xa4\x06"; // the begin and the end of group 100
    }
    std::string inRequest = "\x0a";
    for ( size_t left = largestFrame - 4; left > 0; left >>= 7 ) {
        inRequest += static_cast<char>( left > 0x7f ? ( left & 0x7f ) | 0x80 : left );
    }
    inRequest += groups.substr( 0, largestFrame - 4 );
    for ( const std::string &payload : { groups, inRequest } ) {
        RawClient client( server.socketPath() );
        client.send( RawClient::frame( payload ) );
        EXPECT_TRUE( client.hungUp() );
        expectServed();
    }
    EXPECT_TRUE( server.waitForLog( "closed after a frame of too many requests" ) );
    expectSmall();
}

TEST_F( HostileClientTest, OneByteNowAndThen ) {
    const std::string frame = RawClient::frame( reads( 1, 2 ).SerializeAsString() );
    const Clients clients = connectMany();
    for ( const char byte : frame ) {
        for ( const auto &each : clients ) {
            each->send( std::string( 1, byte ) );
        }
        expectServed();
    }
    for ( const auto &each : clients ) {
        EXPECT_EQ( "\x18\x80", each->answer()->response( 0 ).data() );
    }
    expectSmall();
}

TEST_F( HostileClientTest, GarbageOfManyKindsFromManyAtOnce ) {
    const std::vector<std::string> garbage = {
        RawClient::frame( "" ) + RawClient::frame( "" ),
        header( 0 ),
        header( largestFrame + 1 ),
        header( 0xffffffff ),
        RawClient::frame( std::string( 100'000, '\xff' ) ),
        RawClient::frame( "\x0a\x7f" ),
        std::string( 3, '\0' ),
        std::string( 100'000, '\xff' ),
    };
    std::vector<std::thread> threads;
    for ( int i = 0; i < 4; ++i ) {
        threads.emplace_back( [&] {
            for ( int round = 0; round < 50; ++round ) {
                for ( const std::string &each : garbage ) {
                    RawClient( server.socketPath() ).send( each );
                }
            }
        } );
    }
    for ( int i = 0; i < 200; ++i ) {
        expectServed();
    }
    for ( std::thread &each : threads ) {
        each.join();
    }
    expectServed();
    expectSmall();
}
