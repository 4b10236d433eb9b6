#include "EmulatedBoard/SupplyModel.h"

#include <algorithm>

namespace EmulatedBoard {

namespace {

// The output sags a little with the load.
constexpr double idleVoltage = 12.2;
constexpr double sagAtRatedPower = 0.2;

// Losses, W: what the supply takes for itself, switching, and the copper's share, which grows with
// the square of the load. 92 % efficient at a fifth of its load, 94 % from half of it on.
constexpr double ownPower = 5;
constexpr double switchingLoss = 0.035;
constexpr double copperLoss = 4e-5;
constexpr double standbyPower = 4;

// The supply's own fan control, %.
constexpr double idleDuty = 30;
constexpr double fullDuty = 100;

// Heat that the case and the moving air carry away, W/K.
constexpr double caseConductance = 0.35;
constexpr double airConductance = 1.6; // both fans at full speed
constexpr double outletShare = 0.5;    // of the hot spot's rise
constexpr double inletRise = 1.5;      // K, from the board around the sensor

double neededDuty( double power ) {
    const double share = std::min( power / SupplyModel::ratedPower, 1.0 );
    return idleDuty + ( fullDuty - idleDuty ) * share;
}

void turnFans( SupplyState &state, const SupplyWorld &world ) {
    const double needed = neededDuty( state.outputPower );
    for ( size_t fan = 0; fan < state.fanSpeeds.size(); ++fan ) {
        const double duty = std::min( std::max( needed, world.fanDuty[fan] ), fullDuty );
        const bool turns = state.inputGood && !world.fanFault[fan];
        state.fanSpeeds[fan] = turns ? SupplyModel::fullSpeed * duty / fullDuty : 0;
    }
}

void warm( SupplyState &state, const SupplyWorld &world ) {
    const double air = ( state.fanSpeeds[0] + state.fanSpeeds[1] ) / ( 2 * SupplyModel::fullSpeed );
    const double losses = state.inputPower - state.outputPower;
    const double rise = losses / ( caseConductance + airConductance * air );
    state.temperatures = { world.ambient + inletRise, world.ambient + inletRise + rise,
                           world.ambient + inletRise + rise * outletShare };
}

} // namespace

SupplyState SupplyModel::stateIn( const SupplyWorld &world ) {
    SupplyState state = {};
    state.inputGood = world.inputVoltage >= lowestInput;
    state.outputOn = state.inputGood && world.outputOn;
    if ( state.outputOn ) {
        state.outputPower = world.load;
        state.outputVoltage = idleVoltage - sagAtRatedPower * world.load / ratedPower;
        state.outputCurrent = state.outputPower / state.outputVoltage;
        state.inputPower =
            ownPower + world.load * ( 1 + switchingLoss ) + copperLoss * world.load * world.load;
    } else if ( state.inputGood ) {
        state.inputPower = standbyPower;
    }
    state.inputCurrent = state.inputGood ? state.inputPower / world.inputVoltage : 0;
    turnFans( state, world );
    warm( state, world );
    return state;
}

} // namespace EmulatedBoard
