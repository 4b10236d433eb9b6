#include "SmbusServer/EntryJson.h"
#include "tests/support/Requests.h"

#include <gtest/gtest.h>
#include <string>

using namespace Requests;
using namespace SmbusServer;

namespace {

/// A batch whose first requests have been answered.
Recording::Entry entryOf( Smbus::TransactionRequest batch, int answered ) {
    Recording::Entry entry;
    entry.set_time( 7 );
    entry.set_duration( 450 );
    *entry.mutable_request() = std::move( batch );
    for ( int i = 0; i < answered; ++i ) {
        entry.mutable_response()->add_response();
    }
    return entry;
}

Recording::Entry failedEntry( Smbus::TransactionRequest batch, int answered ) {
    Recording::Entry entry = entryOf( std::move( batch ), answered );
    entry.mutable_response()->set_failed( true );
    entry.mutable_response()->set_error( "no acknowledge" );
    return entry;
}

/// What each request came to, in one line.
std::string outcomes( const Recording::Entry &entry ) {
    const std::string key = "\"outcome\":\"";
    const std::string text = entryJson( entry, 0 );
    std::string line;
    for ( size_t at = 0; ( at = text.find( key, at ) ) != std::string::npos; ) {
        at += key.size();
        line += ( line.empty() ? "" : " " ) + text.substr( at, text.find( '"', at ) - at );
    }
    return line;
}

} // namespace

TEST( EntryJsonTest, EntryHasItsPlaceItsTimeAndItsRequests ) {
    Recording::Entry entry = entryOf( batch( { readBytes( 0x48, 3, 2 ) } ), 1 );
    entry.mutable_response()->mutable_response( 0 )->set_data( "\x19\x80" );
    Recording::Failure &failure = *entry.add_failure();
    failure.set_request( 0 );
    failure.set_cause( "time-out" );
    failure.set_times( 2 );
    EXPECT_EQ( R"({"offset":25,"time_us":7,"duration_us":450,"requests":[)"
               R"({"master":"I2C","pci":0,"accelerator":0,"bus":0,"chip":72,"operation":"read",)"
               R"("register":3,"register_bytes":1,"length":2,"pec":false,"written":"",)"
               R"("read":"1980","outcome":"done",)"
               R"("failures":[{"cause":"time-out","times":2}]}],"failed":false,"error":null})",
               entryJson( entry, 25 ) );
}

TEST( EntryJsonTest, EachTypeHasItsName ) {
    const std::string text =
        entryJson( entryOf( batch( { receiveByte( 0x48 ), sendByte( 0x48, 1 ),
                                     writeBytes( 0x48, 1, "A" ), processCall( 0x58, 0x30, "AB" ),
                                     blockRead( 0x58, 0x99 ), blockWrite( 0x58, 0x99, "AB" ) } ),
                            6 ),
                   0 );
    for ( const char *name :
          { "receive_byte", "send_byte", "write", "process_call", "block_read", "block_write" } ) {
        EXPECT_NE( std::string::npos, text.find( std::string( "\"operation\":\"" ) + name + "\"" ) )
            << name;
    }
}

TEST( EntryJsonTest, FailureSkipsWhatIsBehindItButLetsGoOfTheMuxes ) {
    const auto all = batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 2 ), readBytes( 0x48, 1, 1 ),
                              sendByte( 0x70, 0 ) } );
    EXPECT_EQ( "done done done done", outcomes( entryOf( all, 4 ) ) );
    EXPECT_EQ( "done failed skipped done", outcomes( failedEntry( all, 1 ) ) );
}

TEST( EntryJsonTest, RefusedBatchLetsGoOfNothing ) {
    EXPECT_EQ(
        "failed skipped skipped",
        outcomes( failedEntry(
            batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 2 ), sendByte( 0x70, 0 ) } ), 0 ) ) );
}

TEST( EntryJsonTest, TextOfARecordingCannotBreakTheLine ) {
    Recording::Entry entry = failedEntry( batch( { readBytes( 0x48, 0, 2 ) } ), 0 );
    entry.mutable_response()->set_error( "no\n\"acknowledge\" \xff" );
    EXPECT_NE( std::string::npos,
               entryJson( entry, 0 ).find( R"("error":"no\n\"acknowledge\" ?")" ) );
}
