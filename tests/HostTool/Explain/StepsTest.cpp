#include "HostTool/Explain/Steps.h"

#include "tests/HostTool/Explain/Requests.h"

#include <gtest/gtest.h>

using namespace ExplainRequests;
using namespace HostTool::Explain;

namespace {

Step reading( const std::string &name, Turn turn, std::vector<Transaction> transactions ) {
    return { .kind = StepKind::reading,
             .name = name,
             .turn = turn,
             .transactions = std::move( transactions ) };
}

/// Names and turns of the steps, and how many transactions each has.
std::string summary( const std::vector<Step> &steps ) {
    std::string text;
    for ( const Step &each : steps ) {
        text += ( text.empty() ? "" : " | " ) + each.name + " " + nameOf( each.turn ) + " " +
                std::to_string( each.transactions.size() );
    }
    return text;
}

} // namespace

TEST( StepsTest, TransactionBelongsToTheStepThatItWasRecordedIn ) {
    // given three steps, the second of which put nothing on the wires, and a gap of no step
    std::vector<DeviceSteps> devices( 2 );
    devices[0].steps = { { .kind = StepKind::add, .name = "add", .from = 25, .to = 90 },
                         { .kind = StepKind::reading, .name = "cached", .from = 90, .to = 90 } };
    devices[1].steps = { { .kind = StepKind::reading, .name = "read", .from = 120, .to = 150 } };
    // when
    attribute( { batch( 25, {} ), batch( 60, {} ), batch( 90, {} ), batch( 120, {} ) }, devices );
    // then
    EXPECT_EQ( "add every 2 | cached every 0", summary( devices[0].steps ) );
    EXPECT_EQ( 60u, devices[0].steps[0].transactions[1].offset );
    EXPECT_EQ( "read every 1", summary( devices[1].steps ) );
    EXPECT_EQ( 120u, devices[1].steps[0].transactions[0].offset );
}

TEST( StepsTest, TurnsThatAskTheSameAreOneStep ) {
    const Transaction first = batch( 25, { readBytes( 0x48, 0, 2 ) } );
    Transaction further = batch( 60, { readBytes( 0x48, 0, 2 ) } );
    further.requests[0].read = "\x20\x20"; // it is warmer now
    std::vector<Step> steps = { reading( "getTemperature", Turn::first, { first } ),
                                reading( "getTemperature", Turn::further, { further } ) };
    uniteTurns( steps );
    EXPECT_EQ( "getTemperature every 1", summary( steps ) );
}

TEST( StepsTest, TurnsThatAskForDifferentThingsAreTwoSteps ) {
    std::vector<Step> steps = { reading( "getPresence", Turn::first,
                                         { batch( 25, { readBytes( 0x40, 8, 1 ) } ),
                                           batch( 60, { readBytes( 0x50, 0, 16 ) } ) } ),
                                reading( "getPresence", Turn::further,
                                         { batch( 90, { readBytes( 0x40, 8, 1 ) } ) } ) };
    uniteTurns( steps );
    EXPECT_EQ( "getPresence first 2 | getPresence further 1", summary( steps ) );
}

TEST( StepsTest, TurnsAreUnitedByTheNameOfTheCallback ) {
    std::vector<Step> steps = { reading( "a", Turn::first, { batch( 25, {} ) } ),
                                reading( "b", Turn::first, {} ),
                                reading( "a", Turn::further, { batch( 60, {} ) } ),
                                reading( "b", Turn::further, {} ) };
    uniteTurns( steps );
    EXPECT_EQ( "a every 1 | b every 0", summary( steps ) );
}
