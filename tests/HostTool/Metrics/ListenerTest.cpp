#include "HostTool/Metrics/Listener.h"
#include "HostTool/Failure.h"
#include "tests/HostTool/BoardFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <filesystem>

using namespace HostTool;
using HostTool::Metrics::Listener;

class ListenerTest : public testing::Test {
  protected:
    static std::string refusalOf( const std::string &where ) {
        try {
            const Listener listener( where );
        } catch ( const Failure &failure ) {
            EXPECT_EQ( ExitCode::badInput, failure.code() );
            return failure.what();
        }
        return "";
    }
    std::string path() const { return folder.file( "m.sock" ); }
    std::string where() const { return "unix:" + path(); }

    BoardFolder folder;
};

TEST_F( ListenerTest, FreePortIsTakenAndNamed ) {
    const Listener first( "127.0.0.1:0" );
    const Listener second( "127.0.0.1:0" );
    EXPECT_TRUE( first.name().starts_with( "http://127.0.0.1:" ) );
    EXPECT_TRUE( first.name().ends_with( "/metrics" ) );
    EXPECT_NE( first.name(), second.name() );
}

TEST_F( ListenerTest, PortThatIsTakenIsRefused ) {
    const Listener first( "127.0.0.1:0" );
    const std::string name = first.name();
    const std::string where = name.substr( 7, name.rfind( '/' ) - 7 );
    EXPECT_EQ( "cannot listen on '" + where + "': Address already in use", refusalOf( where ) );
}

TEST_F( ListenerTest, OtherMachinesAreRefused ) {
    for ( const std::string where : { "0.0.0.0:1", "192.0.2.1:80", "[::]:80", "[2001:db8::1]:80",
                                      "localhost:80", ":80", "[127.0.0.1]:80", "::1:80" } ) {
        EXPECT_EQ( "cannot listen on '" + where +
                       "': only 127.0.0.1, [::1], in numbers, or a Unix socket: there is no "
                       "encryption and no "
                       "password; put a proxy that has both in front for readers elsewhere",
                   refusalOf( where ) );
    }
}

TEST_F( ListenerTest, WhatIsNoAddressIsAnsweredWithTheForms ) {
    for ( const std::string where :
          { "127.0.0.1", "127.0.0.1:", "127.0.0.1:x", "127.0.0.1:65536", "127.0.0.1:-1", "x" } ) {
        EXPECT_EQ( "cannot listen on '" + where +
                       "': --listen takes 127.0.0.1:PORT, [::1]:PORT or unix:PATH",
                   refusalOf( where ) );
    }
}

TEST_F( ListenerTest, SocketIsForOwnerAndGroupAndGoes ) {
    {
        const Listener listener( where() );
        EXPECT_EQ( where(), listener.name() );
        struct stat file = {};
        ASSERT_EQ( 0, stat( path().c_str(), &file ) );
        EXPECT_EQ( 0660U, file.st_mode & 0777U );
    }
    EXPECT_FALSE( std::filesystem::exists( path() ) );
}

TEST_F( ListenerTest, DeadSocketIsReplacedAndALiveOneIsNot ) {
    ListeningSocket other( path() );
    EXPECT_EQ( "cannot listen on '" + where() + "': somebody else listens there",
               refusalOf( where() ) );
    other.die();
    EXPECT_EQ( "", refusalOf( where() ) );
}

TEST_F( ListenerTest, FileThatIsNoSocketStays ) {
    folder.write( "m.sock", "text" );
    EXPECT_EQ( "cannot listen on '" + where() + "': there is a file that is no socket",
               refusalOf( where() ) );
    EXPECT_TRUE( std::filesystem::exists( path() ) );
}

TEST_F( ListenerTest, PathIsCheckedBeforeItIsUsed ) {
    EXPECT_EQ( "cannot listen on 'unix:': it has no path", refusalOf( "unix:" ) );
    const std::string longPath = "unix:/" + std::string( 200, 'x' );
    EXPECT_EQ( "cannot listen on '" + longPath + "': the path is longer than a socket's may be",
               refusalOf( longPath ) );
    EXPECT_EQ( "cannot listen on 'unix:/no/such/m.sock': No such file or directory",
               refusalOf( "unix:/no/such/m.sock" ) );
}
