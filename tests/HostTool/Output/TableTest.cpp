#include "HostTool/Output/Table.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fcntl.h>
#include <pty.h>
#include <unistd.h>

using namespace HostTool;

TEST( TableTest, ColumnsAreAsWideAsTheirWidestCell ) {
    Table table( { "NAME", "SPEED", "STATE" } );
    table.add( { { { "fan1" }, { "900", Align::right }, { "ok" } }, {} } );
    table.add( { { { "rear-fan" }, { "12000", Align::right }, { "ok" } }, {} } );
    EXPECT_EQ( "NAME      SPEED  STATE\n"
               "fan1        900  ok\n"
               "rear-fan  12000  ok\n",
               table.text( 0, false ) );
}

TEST( TableTest, EmptyCellsLeaveNoBlanksAtTheLineEnd ) {
    Table table( { "A", "B", "C" } );
    table.add( { { { "x" }, { "", Align::right }, { "" } }, {} } );
    table.add( { { { "x" }, { "", Align::right }, { "z" } }, {} } );
    EXPECT_EQ( "A  B  C\nx\nx     z\n", table.text( 0, false ) );
}

TEST( TableTest, LinesBelowBelongToTheirRow ) {
    Table table( { "NAME" } );
    table.add( { { { "psu1" } }, { "model: PWR-500", "serial: A1" } } );
    EXPECT_EQ( "  NAME\n  psu1\n      model: PWR-500\n      serial: A1\n", table.text( 2, false ) );
}

TEST( TableTest, ColourDoesNotCountAsWidth ) {
    Table table( { "A", "B" } );
    table.add( { { { "--", Align::left, Colour::red }, { "x" } }, {} } );
    EXPECT_EQ( "A   B\n\033[31m--\033[0m  x\n", table.text( 0, true ) );
    EXPECT_EQ( "A   B\n--  x\n", table.text( 0, false ) );
}

/// Standard output is a terminal as long as it lives.
class ColourTest : public testing::Test {
  protected:
    ColourTest() : before_( dup( STDOUT_FILENO ) ) {
        openpty( &master_, &slave_, nullptr, nullptr, nullptr );
        dup2( slave_, STDOUT_FILENO );
        setenv( "TERM", "xterm", replace );
        unsetenv( "NO_COLOR" );
    }
    ~ColourTest() override {
        noTerminal();
        for ( const int fd : { before_, master_, slave_ } ) {
            close( fd );
        }
    }
    void noTerminal() const { dup2( before_, STDOUT_FILENO ); }

    static constexpr int replace = 1;
    int before_;
    int master_ = -1;
    int slave_ = -1;
};

TEST_F( ColourTest, TerminalHasColour ) {
    EXPECT_TRUE( wantsColour() );
}

TEST_F( ColourTest, NoColorIsRespectedUnlessEmpty ) {
    setenv( "NO_COLOR", "1", replace );
    EXPECT_FALSE( wantsColour() );
    setenv( "NO_COLOR", "", replace );
    EXPECT_TRUE( wantsColour() );
}

TEST_F( ColourTest, DumbAndUnknownTerminalsHaveNone ) {
    setenv( "TERM", "dumb", replace );
    EXPECT_FALSE( wantsColour() );
    unsetenv( "TERM" );
    EXPECT_FALSE( wantsColour() );
}

TEST_F( ColourTest, FileHasNone ) {
    const int file = open( "/dev/null", O_WRONLY );
    dup2( file, STDOUT_FILENO );
    EXPECT_FALSE( wantsColour() );
    close( file );
}
