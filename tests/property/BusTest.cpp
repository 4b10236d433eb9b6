// Random boards under random drivers: what travels over the wire, held against a model of the
// busses that knows neither topologies nor drivers.
#include "KavraGeneric/Topology/Loader.h"
#include "tests/property/Actions.h"
#include "tests/property/Property.h"
#include "tests/property/WireServer.h"
#include "tests/support/LibraryFixture.h"

namespace {

using namespace Property;

/// A board and what its host does with it.
struct Plan {
    Board board;
    std::vector<Step> steps;
};

Plan drawPlan() {
    Plan plan{ drawBoard(), {} };
    for ( unsigned i = plan.board.devices.empty() ? 0 : drawCount( 60 ); i > 0; --i ) {
        plan.steps.push_back( drawStep( plan.board ) );
    }
    return plan;
}

std::string describe( const Plan &plan ) {
    std::string text = plan.board.topology + "\n";
    for ( std::size_t i = 0; i < plan.board.devices.size(); ++i ) {
        text += "device " + std::to_string( i ) + ": chip " +
                std::to_string( plan.board.devices[i].chip ) + " " +
                plan.board.devices[i].arguments + "\n";
    }
    for ( const Step &step : plan.steps ) {
        text += describe( step );
    }
    return text;
}

class BusProperty : public LibraryFixture {
  protected:
    static void check( const Plan &plan ) {
        resetLibrary();
        host().traceDropped = true;
        BusModel bus = plan.board.bus;
        const WireServer server(
            [&bus]( const Smbus::TransactionRequest &batch ) { return bus.perform( batch ); } );
        require( Topology::loadTopology( plan.board.topology.c_str() ) == PL_STATUS_OK,
                 "was not loaded" );
        Host steps( plan.board );
        Twin twin( plan.board );
        for ( const Step &step : plan.steps ) {
            const std::string expected = steps.expect( step, twin );
            if ( step.refused ) {
                bus.refuse( *step.refused );
            }
            const std::string actual = steps.perform( step );
            requireSame( twin.takeNotes(), bus.takeNotes(),
                         "bus, at " + Property::describe( step ) );
            requireSame( expected, actual, "result, at " + Property::describe( step ) );
        }
    }
};

TEST_F( BusProperty, EachChipSeesItsOperationsAloneAndEveryPathIsClosed ) {
    forAll( [] {
        const Plan plan = drawPlan();
        return Case{ describe( plan ), [plan] { check( plan ); } };
    } );
}

} // namespace
