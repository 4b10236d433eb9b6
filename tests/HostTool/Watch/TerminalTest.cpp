/// kavractl watch in a terminal, on the emulated board that is driven underneath.
#include "tests/HostTool/Watch/Tmux.h"
#include "tests/support/RunProgram.h"
#include "tests/support/ServerProcess.h"

#include <gmock/gmock.h>

#include <csignal>
#include <memory>
#include <sstream>

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;

class TerminalTest : public testing::Test {
  protected:
    void SetUp() override {
        if ( !Tmux::isInstalled() ) {
            GTEST_SKIP() << "tmux is not installed";
        }
    }

    /// Starts the view between two lines of a shell: what was on the screen before, and how it
    /// ended.
    void watch( const std::string &devices = "", const std::string &environment = "" ) {
        const std::string settings =
            "LC_ALL=C.UTF-8 ASAN_OPTIONS=detect_leaks=0 KAVRA_BOARD=" SOURCE_DIR
            "/boards/VundaT SMBUSD_SOCKET=" +
            server.socketPath() + " " + environment;
        start( "env " + settings + " " BINARY_DIR "/bin/kavractl watch " + devices );
    }

    void start( const std::string &command ) {
        terminal = std::make_unique<Tmux>(
            80, 24,
            "ulimit -c 0\necho before\n" + command +
                "\necho \"ended with $?\"\n"
                "echo modes: $( stty -a | grep -o -E -- '-?(icanon|echo) ' )\nexec cat\n" );
    }

    void turn( const std::string &knob, const std::string &value ) {
        EXPECT_EQ( "ok", server.control( "set " + knob + " " + value ) );
    }
    std::string world( const std::string &knob ) {
        const std::string answer = server.control( "get " + knob );
        return answer.substr( 0, answer.find( '\n' ) );
    }

    void expect( const std::string &text ) {
        EXPECT_TRUE( terminal->waitFor( text ) ) << text << " is not in\n" << terminal->screen();
    }

    /// Waits for the end and makes sure that the terminal is as it was.
    void expectEnd( int status ) {
        expect( "ended with " + std::to_string( status ) );
        expect( "modes: icanon echo\n" );
        EXPECT_THAT( terminal->screen(),
                     AllOf( HasSubstr( "before\n" ), Not( HasSubstr( "asic-left" ) ) ) );
    }

    std::string row( int number ) {
        std::istringstream rows( terminal->screen() );
        std::string text;
        for ( int i = 0; i <= number; ++i ) {
            std::getline( rows, text );
        }
        return text;
    }

    ServerProcess server;
    std::unique_ptr<Tmux> terminal;
};

TEST_F( TerminalTest, TemperatureThatChangesAppears ) {
    watch();
    expect( "inlet            24.5 C" );
    turn( "inlet.temperature", "31.5" );
    expect( "*inlet            31.5 C" );
    expect( "inlet: temperature 24.5 C -> 31.5 C" );
}

TEST_F( TerminalTest, SupplyThatLeavesFailsAndItsSlotIsAbsent ) {
    watch( "psu2 psu2-slot psu2-inlet psu2-fan1" );
    expect( "psu2-slot DPS550AB6A" );
    turn( "psu2.present", "0" );
    expect( "psu2-slot absent" );
    EXPECT_TRUE( terminal->waitUntil( []( const std::string &screen ) {
        return screen.find( "!psu2-inlet failed" ) != std::string::npos &&
               screen.find( "3 devices in trouble" ) != std::string::npos;
    } ) )
        << terminal->screen();
    turn( "psu2.present", "1" );
    expect( "all well" );
}

TEST_F( TerminalTest, FollowsTheSizeOfTheTerminal ) {
    watch();
    expect( "asic-left" );
    terminal->resize( 120, 40 );
    EXPECT_TRUE( terminal->waitUntil(
        [&]( const std::string & ) { return row( 39 ).find( "q quit" ) != std::string::npos; } ) )
        << terminal->screen();
    terminal->resize( 60, 20 );
    expect( "The screen is too small: 60x20" );
    terminal->resize( 80, 24 );
    EXPECT_TRUE( terminal->waitUntil(
        [&]( const std::string & ) { return row( 23 ).find( "q quit" ) != std::string::npos; } ) )
        << terminal->screen();
}

TEST_F( TerminalTest, QuittingGivesTheTerminalBack ) {
    watch();
    expect( "asic-left" );
    terminal->press( "q" );
    expectEnd( 0 );
}

TEST_F( TerminalTest, SignalGivesTheTerminalBack ) {
    watch();
    expect( "asic-left" );
    kill( terminal->program(), SIGTERM );
    expectEnd( 128 + SIGTERM );
}

TEST_F( TerminalTest, SignalLeavesNoLitterOnAnOldTerminal ) {
    watch( "", "TERM=vt100" );
    expect( "asic-left" );
    kill( terminal->program(), SIGTERM );
    expect( "ended with " + std::to_string( 128 + SIGTERM ) );
    EXPECT_THAT( terminal->screen(), Not( HasSubstr( "$<" ) ) );
}

TEST_F( TerminalTest, AbortOfTheLibraryGivesTheTerminalBackAndIsTold ) {
    watch();
    expect( "asic-left" );
    // The transceiver driver ends the process when a poll fails.
    EXPECT_EQ( "ok", server.control( "fault bus 5 chip 0x32 nack" ).substr( 0, 2 ) );
    expectEnd( 128 + SIGABRT );
    EXPECT_THAT( terminal->screen(), HasSubstr( "Assertion `false' failed." ) );
    EXPECT_THAT( terminal->screen(), HasSubstr( "kavractl: while a timer of the library ran" ) );
}

TEST_F( TerminalTest, ServerThatDiesIsShownAndTheViewGoesOn ) {
    watch();
    expect( "all well" );
    server.kill();
    expect( "no server for " );
    expect( "Connection refused" );
    server.start();
    turn( "inlet.temperature", "31.5" );
    expect( "all well" );
    expect( "31.5 C" );
    terminal->press( "q" );
    expectEnd( 0 );
}

TEST_F( TerminalTest, KeysReachTheDevices ) {
    watch( "fan1 fan1-slot Ethernet1" );
    expect( "fan1" );
    terminal->press( "Tab" );
    expect( "full speed 19750 rpm" );
    terminal->press( "f" );
    expect( "Speed of fan1" );
    terminal->press( "100% Enter" );
    expect( "fan1: 19750 rpm" );
    EXPECT_EQ( "100", world( "fans.duty" ) );
    terminal->press( "BTab" );
    expect( "reset no" ); // is refused before the first poll
    terminal->press( "r" );
    expect( "Hold the module of Ethernet1 in reset? y/n" );
    terminal->press( "y" );
    expect( "Ethernet1: reset on" );
    EXPECT_EQ( "1", world( "Ethernet1.reset" ) );
    EXPECT_EQ( "0", world( "Ethernet2.reset" ) );
}

TEST_F( TerminalTest, BeaconBlinksInPhaseWithTheLamp ) {
    watch( "Ethernet33 Ethernet33-led" );
    expect( "Ethernet33-led" );
    terminal->press( "l n" );
    bool wasLit = false;
    bool wasDark = false;
    EXPECT_TRUE( terminal->waitUntil( [&]( const std::string &before ) {
        // The knob of the lamp itself would say that it blinks.
        constexpr unsigned long bitOfEthernet33 = 0x40;
        const std::string lamps = world( "port-leds.lamps" );
        const bool isLit = before.find( "●" ) != std::string::npos;
        const bool isDark = before.find( "○" ) != std::string::npos;
        // What changed in between tells nothing.
        if ( before != terminal->screen() || isLit == isDark ) {
            return false;
        }
        EXPECT_EQ( isLit, ( std::stoul( lamps, nullptr, 16 ) & bitOfEthernet33 ) != 0 )
            << lamps << "\n"
            << before;
        wasLit |= isLit;
        wasDark |= isDark;
        return wasLit && wasDark;
    } ) );
}

TEST_F( TerminalTest, BeaconIsOffBehindTheEnd ) {
    watch( "Ethernet33-led" );
    expect( "Ethernet33-led" );
    terminal->press( "l n" );
    EXPECT_TRUE( terminal->waitUntil( [&]( const std::string & ) {
        return world( "port-leds.ethernet33_changes" ) != "0"; // it blinks
    } ) );
    terminal->press( "q" );
    expectEnd( 0 );
    EXPECT_EQ( "off", world( "port-leds.ethernet33" ) );
}

TEST_F( TerminalTest, WorksWithoutColourAndWithoutUtf8 ) {
    watch( "", "TERM=vt100 LC_ALL=C" );
    expect( "Ports  [# ]" );
    const std::string screen = terminal->screen( true );
    EXPECT_THAT( screen, Not( HasSubstr( "\033[32m" ) ) );
    for ( const char each : screen ) {
        EXPECT_GE( each, 0 ) << screen;
    }
}

TEST_F( TerminalTest, ColoursAreLeftOutWhenTheyAreNotWanted ) {
    watch( "", "TERM=screen-256color" );
    expect( "■" );
    EXPECT_THAT( terminal->screen( true ), HasSubstr( "\033[32m" ) );
    terminal->press( "q" );
    expect( "ended" );
    watch( "", "TERM=screen-256color NO_COLOR=1" );
    expect( "■" );
    EXPECT_THAT( terminal->screen( true ), Not( HasSubstr( "\033[32m" ) ) );
}

TEST_F( TerminalTest, PrintsLinesWhenTheOutputIsNoTerminal ) {
    watch( "inlet psu1-slot | cat" );
    expect( "  inlet: ok  temperature 24.5 C" );
    turn( "inlet.temperature", "50" );
    expect( "  inlet: temperature 24.5 C -> 50.0 C" );
    expect( "  inlet: state ok -> alert" );
    turn( "psu1.present", "0" );
    expect( "  psu1-slot: present yes -> no" );
    server.kill();
    expect( "  no server: " );
    server.start();
    expect( "  the server is back" );
}

TEST_F( TerminalTest, TerminalThatNothingIsKnownOfIsTold ) {
    watch( "", "TERM=no-such-terminal" );
    expect( "kavractl: nothing is known of a terminal 'no-such-terminal'" );
    expect( "ended with 2" );
}
