#include "tests/KavraGeneric/Drivers/PmbusFixture.h"
#include "tests/support/SimulationFolder.h"

#include <utility>

namespace {

using Drivers::Pmbus;

class PmbusSimulationTest : public HostOfSupplies {
  protected:
    PmbusSimulationTest() {
        SimulationFolder::path();
        loadTopology( pmbusTopology );
        simulate();
    }

    float reading( pl_status ( *get )( pl_psu *, float * ) ) {
        EXPECT_EQ( PL_STATUS_OK, get( psu, &value ) );
        return value;
    }
};

TEST_F( PmbusSimulationTest, TableHasModelAndSerialNumber ) {
    EXPECT_EQ( "DPS550AB6A", Pmbus::values.at( 0x9A ).valStr() );
    EXPECT_EQ( "GTVD1615001656", Pmbus::values.at( 0x9E ).valStr() );
    addPsu();
    EXPECT_EQ( &Pmbus::values, &device().expectedValues() );
}

TEST_F( PmbusSimulationTest, FreshSupplyGivesTheReadingsOfA550WattSupply ) {
    addPsu();
    EXPECT_EQ( 230.0F, reading( psu->ops->get_input_voltage ) );
    EXPECT_EQ( 1.25F, reading( psu->ops->get_input_current ) );
    EXPECT_EQ( 286.0F, reading( psu->ops->get_input_power ) );
    EXPECT_NEAR( 12.0F, reading( psu->ops->get_output_voltage ), 0.05 );
    EXPECT_EQ( 22.0F, reading( psu->ops->get_output_current ) );
    EXPECT_EQ( 263.0F, reading( psu->ops->get_output_power ) );
}

TEST_F( PmbusSimulationTest, FreshSupplyHasGoodPower ) {
    addPsu();
    EXPECT_EQ( PL_STATUS_OK, psu->ops->get_power_ok( psu, &number ) );
    EXPECT_EQ( 1, number );
    EXPECT_TRUE( host().texts( 3 ).empty() || host().texts( 3 ).back().find( "CLEAR" ) != 0 );
}

TEST_F( PmbusSimulationTest, FreshFansTurn ) {
    for ( const auto &[arguments, speed] :
          { std::pair( R"("fanId": 1, "maxFanRpm": 20000)", 9008 ),
            std::pair( R"("fanId": 2, "maxFanRpm": 20000)", 8976 ) } ) {
        addFan( arguments );
        EXPECT_EQ( PL_STATUS_OK, fan->ops->getRpm( fan, &number ) );
        EXPECT_EQ( speed, number );
    }
}

TEST_F( PmbusSimulationTest, FreshSensorsAreWarm ) {
    for ( const auto &[arguments, celsius] :
          { std::pair( R"("sensorId": 1)", 27.0F ), std::pair( R"("sensorId": 2)", 41.5F ),
            std::pair( R"("sensorId": 3)", 38.0F ) } ) {
        addSensor( arguments );
        EXPECT_EQ( PL_STATUS_OK, sensor->ops->getTemperature( sensor, &value ) );
        EXPECT_EQ( celsius, value );
    }
}

// A write goes to the register that was read last.
TEST_F( PmbusSimulationTest, DutySetRightAfterAReadingLandsInItsRegister ) {
    addFan();
    fan->ops->getRpm( fan, &number );
    EXPECT_EQ( PL_STATUS_OK, fan->ops->setRpm( fan, 10000 ) );
    EXPECT_EQ( PL_STATUS_OK, fan->ops->getRpm( fan, &number ) );
    EXPECT_EQ( 50, number );
}

} // namespace
