// What an administrator reads.
#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/Service.h"
#include "tests/support/ServerProcess.h"

#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <unistd.h>

using namespace Service;

class LogTest : public testing::Test {
  protected:
    ServerProcess server;
    RawClient client{ server.socketPath() };
};

TEST_F( LogTest, FailureIsLoggedWithClientBusChipAndCause ) {
    client.ask( nobodyRead() );
    EXPECT_TRUE( server.waitForLog(
        "(pid " + std::to_string( getpid() ) + ", uid " + std::to_string( getuid() ) +
        "): accelerator 0 bus 0 chip 0x4f reg 0x00: no acknowledge\n" ) );
}

TEST_F( LogTest, ManyFailuresDoNotFloodIt ) {
    for ( int i = 0; i < 1000; ++i ) {
        client.ask( nobodyRead() );
    }
    server.stop();
    size_t lines = 0;
    std::istringstream log( server.log() );
    for ( std::string line; std::getline( log, line ); ) {
        lines += line.ends_with( "no acknowledge" ) ? 1U : 0U;
    }
    EXPECT_GE( lines, 20u );
    EXPECT_LT( lines, 100u );
}
