#include "HostTool/Explain/Rates.h"

#include "HostTool/Failure.h"
#include "tests/HostTool/Explain/Requests.h"

#include <gtest/gtest.h>

using namespace ExplainRequests;
using namespace HostTool::Explain;
using HostTool::DeviceClass;
using HostTool::Entry;
using HostTool::Failure;

namespace {

std::string errorOf( const std::string &change ) {
    try {
        Rates( 1, { change } );
    } catch ( const Failure &failure ) {
        return failure.what();
    }
    return "none";
}

class RatesTest : public testing::Test {
  protected:
    static Entry entry( DeviceClass deviceClass, const std::string &name ) {
        Entry made = {};
        made.deviceClass = deviceClass;
        made.name = name;
        return made;
    }

    static Step step( StepKind kind, std::vector<Transaction> transactions ) {
        return { .kind = kind,
                 .name = "step",
                 .periodMs = kind == StepKind::poll ? 500U : 0U,
                 .transactions = std::move( transactions ) };
    }

    /// One read of two bytes on a bus: 48 bits.
    static Transaction read( unsigned bus ) {
        Transaction transaction = batch( 0, { readBytes( 0x48, 0, 2 ) } );
        transaction.requests[0].bus.bus = bus;
        return transaction;
    }

    const Entry sensor = entry( DeviceClass::tempSensor, "inlet" );
    const Entry supply = entry( DeviceClass::psu, "psu1" );
};

} // namespace

TEST_F( RatesTest, ClassHasItsOwnRate ) {
    const Rates rates( 5, { "psu=10", "slot=0", "fan=0.5" } );
    EXPECT_EQ( 5, rates.secondsOf( DeviceClass::tempSensor ) );
    EXPECT_EQ( 10, rates.secondsOf( DeviceClass::psu ) );
    EXPECT_EQ( 0, rates.secondsOf( DeviceClass::slot ) );
    EXPECT_EQ( "every 5 s; fan every 0.5 s; psu every 10 s; slot never", rates.text() );
}

TEST_F( RatesTest, BadRateIsRefused ) {
    EXPECT_EQ( "--rate: no class 'psus'; the nearest is 'psu'", errorOf( "psus=1" ) );
    EXPECT_EQ( "--rate takes CLASS=SECONDS, such as psu=10, not 'psu'", errorOf( "psu" ) );
    for ( const char *seconds : { "", "x", "-1", "1s", "1e3", "nan", "0.0001", "86401" } ) {
        EXPECT_EQ( "--rate takes seconds from 0.001 to 86400, or 0 for never, not '" +
                       std::string( seconds ) + "'",
                   errorOf( std::string( "psu=" ) + seconds ) );
    }
}

TEST_F( RatesTest, LoadIsWhatReadsTimesItsRate ) {
    const auto loads =
        loadsOf( { { &sensor, "", { step( StepKind::reading, { read( 1 ), read( 1 ) } ) } } },
                 Rates( 4, {} ) );
    ASSERT_EQ( 1u, loads.size() );
    EXPECT_DOUBLE_EQ( 0.5, loads[0].load.transactions );
    EXPECT_DOUBLE_EQ( 0.5, loads[0].load.requests );
    EXPECT_DOUBLE_EQ( 0.24, loads[0].load.milliseconds( 100 ) ); // 2 * 48 bits in 4 s
    EXPECT_DOUBLE_EQ( 0.024, loads[0].load.busyPercent( 100 ) );
    EXPECT_DOUBLE_EQ( 4, loads[0].devices[0].seconds );
}

TEST_F( RatesTest, PollCountsAtItsOwnPeriod ) {
    const auto loads = loadsOf( { { &sensor, "", { step( StepKind::poll, { read( 1 ) } ) } } },
                                Rates( 60, { "temp_sensor=0" } ) );
    ASSERT_EQ( 1u, loads.size() );
    EXPECT_DOUBLE_EQ( 2, loads[0].load.transactions );
    EXPECT_TRUE( loads[0].devices[0].isPoll );
    EXPECT_DOUBLE_EQ( 0.5, loads[0].devices[0].seconds );
}

TEST_F( RatesTest, AddingAndSettingAreNoLoad ) {
    Step first = step( StepKind::reading, { read( 1 ) } );
    first.turn = Turn::first;
    EXPECT_TRUE(
        loadsOf( { { &sensor,
                     "",
                     { step( StepKind::init, { read( 1 ) } ), step( StepKind::add, { read( 1 ) } ),
                       first, step( StepKind::order, { read( 1 ) } ) } } },
                 Rates( 1, {} ) )
            .empty() );
}

TEST_F( RatesTest, BusiestComesFirst ) {
    const auto loads =
        loadsOf( { { &sensor, "", { step( StepKind::reading, { read( 1 ), read( 2 ) } ) } },
                   { &supply, "", { step( StepKind::reading, { read( 2 ), read( 2 ) } ) } } },
                 Rates( 1, {} ) );
    ASSERT_EQ( 2u, loads.size() );
    EXPECT_EQ( 2u, loads[0].bus.bus );
    EXPECT_DOUBLE_EQ( 3, loads[0].load.transactions );
    EXPECT_EQ( "psu1", loads[0].devices[0].entry->name );
    EXPECT_EQ( "inlet", loads[0].devices[1].entry->name );
    EXPECT_EQ( 1u, loads[1].bus.bus );
}

TEST_F( RatesTest, EmptyTransactionLoadsNoBus ) {
    EXPECT_TRUE( loadsOf( { { &sensor, "", { step( StepKind::poll, { batch( 0, {} ) } ) } } },
                          Rates( 1, {} ) )
                     .empty() );
}
