#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/Service.h"
#include "tests/support/Requests.h"
#include "tests/support/Sanitized.h"
#include "tests/support/ServerProcess.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <vector>

namespace fs = std::filesystem;
using namespace Requests;

/// The real server on this switch's board.
class ServerTest : public testing::Test {
  protected:
    static Smbus::Request on( unsigned accelerator, unsigned bus, Smbus::Request request ) {
        request.set_mastertype( Smbus::SCD );
        request.set_pci( 768 );
        request.set_address( request.address() | uint64_t{ accelerator } << 46 |
                             uint64_t{ bus } << 39 );
        return request;
    }

    static Smbus::TransactionRequest inletRead() {
        return batch( { on( 0, 0, readBytes( 0x48, 0, 2 ) ) } );
    }

    /// What the inlet reads for this client; empty when it is not served.
    static std::string inlet( RawClient &client ) {
        const auto answer = client.ask( inletRead() );
        return answer && answer->response_size() == 1 ? answer->response( 0 ).data() : "";
    }

    ServerProcess server;
    RawClient client{ server.socketPath() };
    const std::string inletBytes = "\x18\x80"; // 24.5 °C
};

TEST_F( ServerTest, ReadsASensorOnTheBusItself ) {
    EXPECT_EQ( inletBytes, inlet( client ) );
}

TEST_F( ServerTest, ReadsASensorBehindTwoMuxes ) {
    const auto answer =
        client.ask( batch( { on( 1, 0, sendByte( 0x70, 0x04 ) ), on( 1, 0, sendByte( 0x71, 0x10 ) ),
                             on( 1, 0, readBytes( 0x49, 0, 2 ) ), on( 1, 0, sendByte( 0x71, 0 ) ),
                             on( 1, 0, sendByte( 0x70, 0 ) ) } ) );
    ASSERT_EQ( 5, answer->response_size() );
    EXPECT_EQ( "\x21\x80", answer->response( 2 ).data() );
    EXPECT_FALSE( answer->response( 0 ).has_data() );
    EXPECT_FALSE( answer->failed() );
}

TEST_F( ServerTest, ChannelDecidesWhichOfTwoEqualAddressesAnswers ) {
    const auto readBehind = [&]( unsigned control ) {
        return client
            .ask(
                batch( { on( 0, 1, sendByte( 0x70, control ) ), on( 0, 1, readBytes( 0x48, 0, 1 ) ),
                         on( 0, 1, sendByte( 0x70, 0 ) ) } ) )
            ->response( 1 )
            .data();
    };
    EXPECT_EQ( "\x29", readBehind( 1 ) );
    EXPECT_EQ( "\x2b", readBehind( 2 ) );
}

TEST_F( ServerTest, PlainI2cBusHasNoPciLocation ) {
    Smbus::Request request = readBytes( 0x4a, 0, 1 );
    request.set_address( request.address() | uint64_t{ 2 } << 39 );
    EXPECT_EQ( "\x26", client.ask( batch( { request } ) )->response( 0 ).data() );
}

TEST_F( ServerTest, WriteIsAnsweredWithItsBytesAndReachesTheChip ) {
    const auto answer =
        client.ask( batch( { on( 0, 0, writeBytes( 0x48, 3, std::string( "\x46\x00", 2 ) ) ) } ) );
    EXPECT_EQ( std::string( "\x46\x00", 2 ), answer->response( 0 ).data() );
    EXPECT_EQ( "70\nok", server.control( "get inlet.tos" ) );
}

TEST_F( ServerTest, ReadingFollowsTheWorld ) {
    EXPECT_EQ( "ok", server.control( "set inlet.temperature 31.5" ) );
    EXPECT_EQ( "\x1f\x80", inlet( client ) );
}

TEST_F( ServerTest, AbsentChipFailsAndLeavesItsMuxClosed ) {
    server.control( "set asic-left.present 0" );
    const auto answer =
        client.ask( batch( { on( 0, 1, sendByte( 0x70, 1 ) ), on( 0, 1, readBytes( 0x48, 0, 2 ) ),
                             on( 0, 1, sendByte( 0x70, 0 ) ) } ) );
    EXPECT_TRUE( answer->failed() );
    EXPECT_EQ( "accelerator 0 bus 1 mux 0x70=01 chip 0x48 reg 0x00: no acknowledge",
               answer->error() );
    EXPECT_EQ( "0x00\nok", server.control( "get mux-asic.control" ) );
}

TEST_F( ServerTest, UnknownBusFailsAndTheConnectionGoesOn ) {
    const auto answer = client.ask( batch( { on( 0, 9, readBytes( 0x48, 0, 2 ) ) } ) );
    EXPECT_EQ( "accelerator 0 bus 9 chip 0x48 reg 0x00: no such bus (master SCD, pci 0x00000300, "
               "accelerator 0)",
               answer->error() );
    EXPECT_EQ( inletBytes, inlet( client ) );
}

TEST_F( ServerTest, EmptyFrameIsAnEmptyBatch ) {
    client.send( RawClient::frame( "" ) );
    EXPECT_EQ( std::string( 4, '\0' ), client.receive( 4 ) );
}

TEST_F( ServerTest, FrameMayArriveByteByByte ) {
    for ( const char byte : RawClient::frame( inletRead().SerializeAsString() ) ) {
        client.send( std::string( 1, byte ) );
    }
    EXPECT_EQ( inletBytes, client.answer()->response( 0 ).data() );
}

TEST_F( ServerTest, UnfinishedFrameDoesNotHoldUpAnotherClient ) {
    const std::string frame = RawClient::frame( inletRead().SerializeAsString() );
    client.send( frame.substr( 0, 7 ) );
    RawClient other( server.socketPath() );
    EXPECT_EQ( inletBytes, inlet( other ) );
    client.send( frame.substr( 7 ) );
    EXPECT_EQ( inletBytes, client.answer()->response( 0 ).data() );
}

TEST_F( ServerTest, LargestFrameIsServedAndAnsweredInParts ) {
    Smbus::TransactionRequest request;
    for ( int i = 0; i < 120; ++i ) {
        *request.add_request() = on( 0, 0, writeBytes( 0x48, 3, std::string( 8192, '\x20' ) ) );
    }
    const auto answer = client.ask( request );
    ASSERT_TRUE( answer );
    EXPECT_EQ( 120, answer->response_size() );
    EXPECT_EQ( 8192u, answer->response( 119 ).data().size() );
    EXPECT_EQ( inletBytes, inlet( client ) );
}

TEST_F( ServerTest, ClientThatDoesNotTakeItsAnswerHoldsUpNobody ) {
    Smbus::TransactionRequest request;
    for ( int i = 0; i < 120; ++i ) {
        *request.add_request() = on( 0, 0, readBytes( 0x48, 0, 8192 ) );
    }
    client.send( request );
    RawClient other( server.socketPath() );
    EXPECT_EQ( inletBytes, inlet( other ) );
    EXPECT_EQ( 120, client.answer()->response_size() );
}

TEST_F( ServerTest, SixtyFourClientsAreServed ) {
    std::vector<std::unique_ptr<RawClient>> clients;
    for ( int i = 0; i < 64; ++i ) {
        clients.push_back( std::make_unique<RawClient>( server.socketPath() ) );
    }
    for ( const auto &each : clients ) {
        EXPECT_EQ( inletBytes, inlet( *each ) );
    }
}

TEST_F( ServerTest, OneClientTooManyWaitsUntilAnotherLeaves ) {
    std::vector<std::unique_ptr<RawClient>> clients;
    for ( int i = 0; i < 255; ++i ) {
        clients.push_back( std::make_unique<RawClient>( server.socketPath() ) );
    }
    EXPECT_EQ( inletBytes, inlet( *clients.back() ) );
    EXPECT_EQ( inletBytes, inlet( client ) );
    RawClient waiting( server.socketPath() );
    waiting.send( inletRead() );
    EXPECT_TRUE( server.waitForLog( "nobody is accepted for now: too many clients" ) );
    clients.pop_back();
    EXPECT_EQ( inletBytes, waiting.answer()->response( 0 ).data() );
}

TEST_F( ServerTest, LongBatchIsServed ) {
    Smbus::TransactionRequest request;
    for ( int i = 0; i < 16'000; ++i ) {
        *request.add_request() = on( 0, 0, readBytes( 0x48, 0, 2 ) );
    }
    const auto answer = client.ask( request );
    ASSERT_EQ( 16'000, answer->response_size() );
    EXPECT_EQ( inletBytes, answer->response( 15'999 ).data() );
}

static std::string emptyRequests( size_t count ) {
    std::string payload;
    for ( size_t i = 0; i < count; ++i ) {
        payload += std::string( "\x0a\x00", 2 );
    }
    return payload;
}

struct BadFrame {
    const char *name;
    std::string bytes;
    const char *logged;
};

class BadFrameTest : public ServerTest, public testing::WithParamInterface<BadFrame> {};

TEST_P( BadFrameTest, ClosesItsConnectionAndNoOther ) {
    RawClient bystander( server.socketPath() );
    client.send( GetParam().bytes );
    EXPECT_TRUE( client.hungUp() );
    EXPECT_TRUE( server.waitForLog( GetParam().logged ) );
    EXPECT_EQ( inletBytes, inlet( bystander ) );
}

INSTANTIATE_TEST_SUITE_P(
    Frames, BadFrameTest,
    testing::Values(
        BadFrame{ "Oversized", std::string( "\x00\x10\x00\x01", 4 ), "a frame above 1 MiB" },
        BadFrame{ "Huge", "\xff\xff\xff\xff", "a frame above 1 MiB" },
        BadFrame{ "Garbage", RawClient::frame( "\xff\xff\xff" ), "a frame that is no request" },
        BadFrame{ "CutMessage", RawClient::frame( "\x0a\x7f" ), "a frame that is no request" },
        BadFrame{ "TooManyRequests", RawClient::frame( emptyRequests( 500'000 ) ),
                  "a frame of too many requests" },
        BadFrame{ "TwoAtOnce", RawClient::frame( "" ) + RawClient::frame( "" ),
                  "a request before the answer to the last one" } ),
    []( const auto &each ) { return std::string( each.param.name ); } );

/// A server that may have no more descriptors than it has now.
class DescriptorLimitTest : public testing::Test {
  protected:
    void SetUp() override {
        if ( isSanitized ) {
            GTEST_SKIP() << descriptorsAreTaken;
        }
        rlimit limit = {};
        first->ask( nothing ); // it has been accepted
        prlimit( server.pid(), RLIMIT_NOFILE, nullptr, &limit );
        limit.rlim_cur = 0;
        while ( fs::is_symlink( "/proc/" + std::to_string( server.pid() ) + "/fd/" +
                                std::to_string( limit.rlim_cur ) ) ) {
            ++limit.rlim_cur;
        }
        prlimit( server.pid(), RLIMIT_NOFILE, &limit, nullptr );
        second.emplace( server.socketPath() );
        second->send( nothing );
    }

    static constexpr const char *paused = ": nobody is accepted for now: Too many open files\n";
    const Smbus::TransactionRequest nothing;
    ServerProcess server;
    std::optional<RawClient> first{ server.socketPath() };
    std::optional<RawClient> second;
};

TEST_F( DescriptorLimitTest, ClientAboveItIsServedWhenAnotherLeaves ) {
    EXPECT_TRUE( server.waitForLog( paused ) );
    EXPECT_TRUE( first->ask( nothing ) );
    first.reset();
    EXPECT_TRUE( second->answer() );
}

TEST_F( DescriptorLimitTest, ServerStopsAllTheSame ) {
    EXPECT_TRUE( server.waitForLog( paused ) );
    EXPECT_EQ( 0, server.stop() );
    EXPECT_TRUE( fs::is_empty( server.folder() ) );
}

TEST( FewDescriptorsTest, ServerSaysWhatItLacksUntilItHasEnough ) {
    if ( isSanitized ) {
        GTEST_SKIP() << descriptorsAreTaken;
    }
    const Service::Folder folder;
    const std::string script = folder.file( "few" );
    int failures = 0;
    for ( int limit = 4; limit < 64; ++limit ) {
        std::ofstream( script ) << "#!/bin/sh\nexec 3>&- 4>&- 5>&- 6>&- 7>&- 8>&- 9>&-\n"
                                << "ulimit -n " << limit << "\nexec " << Service::program
                                << " \"$@\"\n";
        fs::permissions( script, fs::perms::owner_all );
        try {
            ServerProcess server( {}, { "--record", folder.file( "recording" ) }, script );
            EXPECT_EQ( 0, server.stop() );
            break;
        } catch ( const std::runtime_error &error ) {
            ++failures;
            EXPECT_TRUE( std::string( error.what() ).ends_with( ": Too many open files\n" ) )
                << error.what();
        }
    }
    EXPECT_LT( 2, failures ); // the loop, the sockets, the signals
    EXPECT_GT( 60, failures );
}
