#include "EmulatedBoard/SupplyModel.h"

#include <gtest/gtest.h>

using namespace EmulatedBoard;

static double efficiency( double load ) {
    const SupplyState state = SupplyModel::stateIn( { .load = load } );
    return state.outputPower / state.inputPower;
}

TEST( SupplyModelTest, PowerIsVoltageTimesCurrentOnBothSides ) {
    for ( const double load : { 0.0, 1.0, 137.5, 275.0, 550.0 } ) {
        const SupplyState state = SupplyModel::stateIn( { .inputVoltage = 120, .load = load } );
        EXPECT_DOUBLE_EQ( load, state.outputVoltage * state.outputCurrent );
        EXPECT_DOUBLE_EQ( state.inputPower, 120 * state.inputCurrent );
        EXPECT_GT( state.inputPower, state.outputPower );
    }
}

TEST( SupplyModelTest, EfficiencyIsBestInTheMiddle ) {
    EXPECT_NEAR( 0.94, efficiency( 275 ), 0.01 );
    EXPECT_LT( efficiency( 55 ), efficiency( 275 ) );
    EXPECT_LT( efficiency( 550 ), efficiency( 275 ) );
    EXPECT_GT( efficiency( 550 ), 0.92 );
}

TEST( SupplyModelTest, OutputSagsWithTheLoad ) {
    EXPECT_DOUBLE_EQ( 12.2, SupplyModel::stateIn( { .load = 0 } ).outputVoltage );
    EXPECT_DOUBLE_EQ( 12.0, SupplyModel::stateIn( { .load = 550 } ).outputVoltage );
}

TEST( SupplyModelTest, FansFollowTheLoadAndGoFasterWhenTold ) {
    EXPECT_DOUBLE_EQ( 6000, SupplyModel::stateIn( { .load = 0 } ).fanSpeeds[0] );
    EXPECT_DOUBLE_EQ( 20000, SupplyModel::stateIn( { .load = 550 } ).fanSpeeds[1] );
    const SupplyState told = SupplyModel::stateIn( { .load = 0, .fanDuty = { 80, 10 } } );
    EXPECT_DOUBLE_EQ( 16000, told.fanSpeeds[0] );
    EXPECT_DOUBLE_EQ( 6000, told.fanSpeeds[1] );
}

TEST( SupplyModelTest, LessAirIsMoreHeat ) {
    const auto hotSpot = []( const std::array<bool, 2> &fault ) {
        return SupplyModel::stateIn( { .load = 550, .fanFault = fault } ).temperatures[1];
    };
    EXPECT_LT( hotSpot( { false, false } ), 60 );
    EXPECT_GT( hotSpot( { true, false } ), hotSpot( { false, false } ) );
    EXPECT_GT( hotSpot( { true, true } ), SupplyModel::tooWarmHotSpot );
}

TEST( SupplyModelTest, AirGetsWarmerOnItsWay ) {
    const SupplyState state = SupplyModel::stateIn( { .ambient = 30 } );
    EXPECT_LT( 30, state.temperatures[0] );
    EXPECT_LT( state.temperatures[0], state.temperatures[2] );
    EXPECT_LT( state.temperatures[2], state.temperatures[1] );
}

TEST( SupplyModelTest, OutputThatIsOffTakesStandbyPower ) {
    const SupplyState state = SupplyModel::stateIn( { .outputOn = false } );
    EXPECT_FALSE( state.outputOn );
    EXPECT_EQ( 0, state.outputVoltage );
    EXPECT_EQ( 0, state.outputPower );
    EXPECT_GT( state.inputPower, 0 );
    EXPECT_GT( state.fanSpeeds[0], 0 );
}

TEST( SupplyModelTest, BelowItsInputRangeEverythingIsOff ) {
    EXPECT_TRUE( SupplyModel::stateIn( { .inputVoltage = 85 } ).outputOn );
    const SupplyState state = SupplyModel::stateIn( { .inputVoltage = 84.9 } );
    EXPECT_FALSE( state.inputGood );
    EXPECT_FALSE( state.outputOn );
    EXPECT_EQ( 0, state.inputPower );
    EXPECT_EQ( 0, state.fanSpeeds[0] );
    EXPECT_EQ( 0, SupplyModel::stateIn( { .inputVoltage = 0 } ).inputCurrent );
}
