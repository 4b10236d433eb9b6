#include "tests/SmbusServer/RawClient.h"
#include "tests/SmbusServer/Service.h"
#include "tests/support/RunProgram.h"
#include "tests/support/ServerProcess.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>

/// The control socket of the real server, and ctl as its client.
class ControlSocketTest : public testing::Test {
  protected:
    ProgramResult ctl( const std::string &line ) {
        return runProgram(
            { BINARY_DIR "/bin/kavra-smbusd", "ctl", "--control", server.controlPath(), line } );
    }

    ServerProcess server;
    RawClient client{ server.controlPath() };
};

TEST_F( ControlSocketTest, OneConnectionTakesManyLines ) {
    client.send( "set inlet.temperature 30\nget inlet.temperature\n" );
    EXPECT_EQ( "ok\n", client.receiveLine() );
    EXPECT_EQ( "30\n", client.receiveLine() );
    EXPECT_EQ( "ok\n", client.receiveLine() );
    client.send( "get rear.temperature\n" );
    EXPECT_EQ( "33.5\n", client.receiveLine() );
}

TEST_F( ControlSocketTest, ErrorKeepsTheConnection ) {
    client.send( "frob\nget inlet.present\n" );
    EXPECT_EQ( "error: no command 'frob'; there are: list, get, set, fault, clear, help\n",
               client.receiveLine() );
    EXPECT_EQ( "1\n", client.receiveLine() );
}

TEST_F( ControlSocketTest, LastLineNeedsNoLineEnd ) {
    client.send( "get inlet.temperature" );
    client.endOfInput();
    EXPECT_EQ( "24.5\n", client.receiveLine() );
    EXPECT_EQ( "ok\n", client.receiveLine() );
    EXPECT_TRUE( client.hungUp() );
}

TEST_F( ControlSocketTest, LineMayArriveByteByByte ) {
    for ( const char byte : std::string( "get inlet.present\n" ) ) {
        client.send( std::string( 1, byte ) );
    }
    EXPECT_EQ( "1\n", client.receiveLine() );
}

TEST_F( ControlSocketTest, EndlessLineIsCutOff ) {
    client.send( std::string( 10'000, 'x' ) );
    EXPECT_TRUE( client.hungUp() );
    EXPECT_TRUE( server.waitForLog( "closed after a line above 4096 bytes" ) );
    EXPECT_EQ( "1\nok", server.control( "get inlet.present" ) );
}

TEST_F( ControlSocketTest, ManyUnreadAnswersComeInOrder ) {
    constexpr int count = 2000;
    std::string lines;
    for ( int i = 0; i < count; ++i ) {
        lines += "get inlet.temperature\n";
    }
    client.send( lines );
    for ( int i = 0; i < count; ++i ) {
        ASSERT_EQ( "24.5\n", client.receiveLine() );
        ASSERT_EQ( "ok\n", client.receiveLine() );
    }
}

TEST( ControlSocketLogTest, CommandIsOneLineOfTheLogWhateverItHolds ) {
    ServerProcess server( {}, { "--verbose" } );
    EXPECT_EQ( "error: no command '\x1b[2J\a'; there are: list, get, set, fault, clear, help",
               server.control( "\x1b[2J\a" ) );
    EXPECT_TRUE( server.waitForLog( "): ?[2J?\n" ) );
}

TEST_F( ControlSocketTest, NobodyWaitsForAClientThatAsksNothing ) {
    client.send( "get inlet.present\n" );
    EXPECT_EQ( "1\n", client.receiveLine() );
    EXPECT_EQ( "ok\n", client.receiveLine() );
    EXPECT_EQ( 0, server.stop() );
    EXPECT_TRUE( client.hungUp() );
}

TEST_F( ControlSocketTest, CtlPrintsTheDataAlone ) {
    const ProgramResult result = ctl( "get inlet.temperature" );
    EXPECT_EQ( 0, result.status );
    EXPECT_EQ( "24.5\n", result.out );
    EXPECT_EQ( "", result.err );
}

TEST_F( ControlSocketTest, CtlPrintsNothingForASet ) {
    const ProgramResult result = ctl( "set inlet.temperature 31.5" );
    EXPECT_EQ( 0, result.status );
    EXPECT_EQ( "", result.out + result.err );
    EXPECT_EQ( "31.5\nok", server.control( "get inlet.temperature" ) );
}

TEST_F( ControlSocketTest, CtlExitsWith1OnAnErrorAnswer ) {
    const ProgramResult result = ctl( "set inlet.temperature hot" );
    EXPECT_EQ( 1, result.status );
    EXPECT_EQ( "", result.out );
    EXPECT_EQ( "error: inlet.temperature cannot be 'hot': it takes -55 to 125 °C\n", result.err );
}

TEST_F( ControlSocketTest, CtlFindsTheServerByTheSocketsName ) {
    const ProgramResult result =
        runProgram( { BINARY_DIR "/bin/kavra-smbusd", "ctl", "get", "inlet.present" } );
    EXPECT_EQ( 0, result.status );
    EXPECT_EQ( "1\n", result.out );
}

TEST_F( ControlSocketTest, CtlSaysThatTheSocketOfTheHostsIsNotTheControlSocket ) {
    const ProgramResult result = runProgram(
        { BINARY_DIR "/bin/kavra-smbusd", "ctl", "--control", server.socketPath(), "list" } );
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavra-smbusd: " + server.socketPath() +
                   ": the server hung up without an answer; is it its control socket?\n",
               result.err );
}

TEST_F( ControlSocketTest, CtlSaysThatAServerHangsUpWhileItSends ) {
    const Service::Folder folder;
    const std::string path = folder.file( "hangs-up" );
    const int listener = Service::listenAt( path, SOCK_STREAM );
    std::thread hangUp( [&] {
        const int fd = accept( listener, nullptr, nullptr );
        char first = 0;
        EXPECT_EQ( 1, read( fd, &first, 1 ) );
        close( fd );
    } );
    // More than the socket keeps for somebody who does not read.
    const std::string word( 120'000, 'x' );
    const ProgramResult result = runProgram(
        { Service::program, "ctl", "--control", path, word, word, word, word, word, word } );
    hangUp.join();
    close( listener );
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavra-smbusd: " + path +
                   ": the server hung up without an answer; is it its control socket?\n",
               result.err );
}

TEST_F( ControlSocketTest, CtlExitsWith3WhenTheSocketsNameIsTooLong ) {
    const std::string path = server.controlPath() + std::string( 110, 'x' );
    const ProgramResult result =
        runProgram( { BINARY_DIR "/bin/kavra-smbusd", "ctl", "--control", path, "list" } );
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavra-smbusd: " + path + ": no server there: File name too long\n", result.err );
}

TEST_F( ControlSocketTest, CtlExitsWith3WithoutAServer ) {
    server.stop();
    const ProgramResult result = ctl( "list" );
    EXPECT_EQ( 3, result.status );
    EXPECT_EQ( "kavra-smbusd: " + server.controlPath() +
                   ": no server there: No such file or directory\n",
               result.err );
}
