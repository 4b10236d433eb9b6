#include "HostTool/Explain/Traffic.h"

#include "HostTool/Failure.h"

#include <gtest/gtest.h>

using namespace HostTool::Explain;
using HostTool::Failure;

static const std::string line =
    R"({"offset":25,"time_us":1,"duration_us":2,"requests":[{"master":"SCD","pci":768,)"
    R"("accelerator":1,"bus":2,"chip":72,"operation":"read","register":3,"register_bytes":1,)"
    R"("length":2,"pec":true,"written":"","read":"1980","outcome":"done","failures":)"
    R"([{"cause":"no acknowledge","times":2},{"cause":"time-out","times":1}]}],)"
    R"("failed":false,"error":null})";

static std::string replaced( const std::string &what, const std::string &by ) {
    std::string text = line;
    return text.replace( text.find( what ), what.size(), by );
}

TEST( TrafficTest, LineIsATransaction ) {
    const std::vector<Transaction> all = parseRecording( line + "\n" + line + "\n" );
    ASSERT_EQ( 2u, all.size() );
    EXPECT_EQ( 25u, all[0].offset );
    EXPECT_EQ( "", all[0].error );
    ASSERT_EQ( 1u, all[0].requests.size() );
    const Request &request = all[0].requests[0];
    EXPECT_EQ( "SCD pci 0x00000300 accelerator 1 bus 2", textOf( request.bus ) );
    EXPECT_EQ( 72u, request.chip );
    EXPECT_EQ( Operation::read, request.operation );
    EXPECT_EQ( 3u, request.reg );
    EXPECT_EQ( 2u, request.length );
    EXPECT_TRUE( request.pec );
    EXPECT_EQ( "\x19\x80", request.read );
    EXPECT_EQ( Outcome::done, request.outcome );
    EXPECT_EQ( 3u, request.failedAttempts );
    EXPECT_EQ( "no acknowledge, 2 times; time-out", request.causes );
}

TEST( TrafficTest, FailedTransactionHasAReason ) {
    EXPECT_EQ( "no reason given",
               parseRecording( replaced( "\"failed\":false", "\"failed\":true" ) )[0].error );
}

TEST( TrafficTest, NothingPrintedIsNoTransaction ) {
    EXPECT_TRUE( parseRecording( "" ).empty() );
}

TEST( TrafficTest, OutputOfAnotherKindIsRefused ) {
    EXPECT_THROW( parseRecording( "2026-11-21 12:26:43.688989Z +850us SCD" ), Failure );
    EXPECT_THROW( parseRecording( "[]" ), Failure );
    EXPECT_THROW( parseRecording( replaced( "\"read\",\"register\"", "\"peek\",\"register\"" ) ),
                  Failure );
    EXPECT_THROW( parseRecording( replaced( "\"chip\":72", "\"chip\":-1" ) ), Failure );
    EXPECT_THROW( parseRecording( replaced( "\"outcome\"", "\"outcome2\"" ) ), Failure );
}
