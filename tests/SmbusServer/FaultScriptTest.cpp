#include "SmbusServer/FaultScript.h"
#include "tests/SmbusServer/TemporaryFile.h"

#include <gtest/gtest.h>
#include <string>

using namespace SmbusServer;

namespace {

std::string errorOf( std::string_view line ) {
    try {
        parseFault( line );
    } catch ( const FaultError &error ) {
        return error.what();
    }
    return "none";
}

} // namespace

TEST( FaultScriptTest, BusFaultSaysWhichRequestsItMeets ) {
    const Fault fault = parseFault( "fault bus 3 master SCD pci 0x300 accelerator 1 chip 0x48 "
                                    "reg 17 nack at 2 count 5" );
    EXPECT_EQ( FaultKind::Nack, fault.kind );
    EXPECT_EQ( 3u, fault.bus );
    EXPECT_EQ( Smbus::SCD, fault.master );
    EXPECT_EQ( 0x300u, fault.pci );
    EXPECT_EQ( 1u, fault.accelerator );
    EXPECT_EQ( 0x48u, fault.chip );
    EXPECT_EQ( 17u, fault.reg );
    EXPECT_EQ( 2u, fault.at );
    EXPECT_EQ( 5u, fault.count );
}

TEST( FaultScriptTest, WhatIsLeftOutMatchesEverythingForEver ) {
    const Fault fault = parseFault( "fault bus any stuck" );
    EXPECT_EQ( FaultKind::Stuck, fault.kind );
    EXPECT_FALSE( fault.bus || fault.master || fault.pci || fault.chip || fault.reg );
    EXPECT_EQ( 1u, fault.at );
    EXPECT_EQ( Fault::forEver, fault.count );
}

TEST( FaultScriptTest, OrderOfTheWordsBehindThePlaceDoesNotMatter ) {
    const Fault fault = parseFault( " fault\tbus 1  count 2 short-read chip 72 \r" );
    EXPECT_EQ( FaultKind::ShortRead, fault.kind );
    EXPECT_EQ( 72u, fault.chip );
    EXPECT_EQ( 2u, fault.count );
}

TEST( FaultScriptTest, ServerFaultMayHaveAnArgumentOrAText ) {
    EXPECT_EQ( 250u, parseFault( "fault server slow 250" ).value );
    EXPECT_EQ( 0u, parseFault( "fault server responses 0" ).value );
    EXPECT_EQ( "the  bus, it hangs",
               parseFault( "fault server fail count 1 text the  bus, it hangs" ).text );
    EXPECT_EQ( "", parseFault( "fault server fail" ).text );
}

TEST( FaultScriptTest, WrongLineIsExplained ) {
    EXPECT_EQ( "a fault's line begins with 'fault'", errorOf( "bus 1 nack" ) );
    EXPECT_EQ( "'fault' needs a value", errorOf( "fault" ) );
    EXPECT_EQ( "a fault is of a 'bus' or of the 'server', not of 'chip'",
               errorOf( "fault chip 0x48 nack" ) );
    EXPECT_EQ( "'bus' takes a number from 0 to 127, not '128'", errorOf( "fault bus 128 nack" ) );
    EXPECT_EQ( "'chip' takes a number from 0 to 127, not '48h'",
               errorOf( "fault bus 1 chip 48h nack" ) );
    EXPECT_EQ( "'count' takes a number from 1 to 4294967295, not '-1'",
               errorOf( "fault bus 1 nack count -1" ) );
    EXPECT_EQ( "'at' needs a value", errorOf( "fault bus 1 nack at" ) );
    EXPECT_EQ( "'stuck' is a second kind; a line has one", errorOf( "fault bus 1 nack stuck" ) );
    EXPECT_EQ( "'chip' has no meaning for a fault of the server",
               errorOf( "fault server chip 0x48 hang-up" ) );
    EXPECT_TRUE( errorOf( "fault bus 1" ).starts_with( "what goes wrong is missing" ) );
    EXPECT_TRUE( errorOf( "fault bus 1 hang-up" ).starts_with( "no fault 'hang-up' of a bus" ) );
    EXPECT_TRUE( errorOf( "fault server nack" ).starts_with( "no fault 'nack' of a server" ) );
    EXPECT_TRUE( errorOf( "fault bus 1 master X nack" ).starts_with( "no master 'X'" ) );
}

TEST( FaultFileTest, FileHasALineEach ) {
    const TemporaryFile file;
    file.write( "# a comment\n\n  fault bus 1 nack\nfault server hang-up\n" );
    const std::vector<Fault> faults = loadFaults( file.path() );
    ASSERT_EQ( 2u, faults.size() );
    EXPECT_EQ( "bus 1 nack", faults[0].line );
    EXPECT_EQ( FaultKind::HangUp, faults[1].kind );
}

TEST( FaultFileTest, WrongLineIsNamed ) {
    const TemporaryFile file;
    file.write( "# a comment\nset inlet.present 0\n" );
    try {
        loadFaults( file.path() );
        FAIL();
    } catch ( const FaultError &error ) {
        EXPECT_EQ( file.path() + ":2: a fault's line begins with 'fault'", error.what() );
    }
}

TEST( FaultFileTest, FolderIsNoFaultScript ) {
    try {
        loadFaults( "/" );
        FAIL();
    } catch ( const FaultError &error ) {
        EXPECT_STREQ( "/: cannot be read: Is a directory", error.what() );
    }
}

TEST( FaultFileTest, FileThatIsMissingIsNamed ) {
    const TemporaryFile file;
    try {
        loadFaults( file.path() );
        FAIL();
    } catch ( const FaultError &error ) {
        EXPECT_EQ( file.path() + ": cannot be read: No such file or directory", error.what() );
    }
}
