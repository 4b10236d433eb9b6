#include "KavraGeneric/Components/TempSensor.h"

#include "tests/KavraGeneric/Components/DeviceClassTest.h"
#include "tests/KavraGeneric/Components/Layout.h"

namespace {

using Component::LogicalDevice::TempSensor;
using testing::ElementsAre;
using testing::IsEmpty;

class RecordingSensor final : public TempSensor {
  public:
    pl_status getTemperature( float *celsius ) override {
        *celsius = 25.5F;
        return -77;
    }
    using TempSensor::alertThreshold_;
    using TempSensor::criticalThreshold_;
};

/// Writes down when its thresholds are set, among the traces.
class ProgrammedSensor final : public TempSensor {
  public:
    void alertThresholdIs( float celsius ) override {
        pl_trace( 9, "alertThresholdIs %.1f", static_cast<double>( celsius ) );
    }
    void criticalThresholdIs( float celsius ) override {
        pl_trace( 9, "criticalThresholdIs %.1f", static_cast<double>( celsius ) );
    }
    pl_status getTemperature( float * ) override { return 0; }
};

class TempSensorTest : public DeviceClassTest {
  protected:
    RecordingSensor sensor;
    pl_temp_sensor *const record = sensor.record();
};

TEST_F( TempSensorTest, RecordFollowsTheVirtualTablePointer ) {
    EXPECT_EQ( 8, Layout::offsetIn( &sensor, record ) );
    EXPECT_EQ( &TempSensor::ops_, Layout::operationsOf( record ) );
    EXPECT_EQ( &sensor, Layout::deviceBehind( record ) );
}

TEST_F( TempSensorTest, ThresholdsFollowTheRecord ) {
    EXPECT_EQ( 32, Layout::offsetIn( &sensor, &sensor.alertThreshold_ ) );
    EXPECT_EQ( 36, Layout::offsetIn( &sensor, &sensor.criticalThreshold_ ) );
    EXPECT_EQ( 40u, sizeof( TempSensor ) );
}

TEST_F( TempSensorTest, ConstructorLeavesTheHostsWordAlone ) {
    const Layout::MadeOverPattern<RecordingSensor> made;
    EXPECT_EQ( made.pattern, made.hostWord() );
}

TEST_F( TempSensorTest, TableHasItsSizeAnEmptySlotAndOneMore ) {
    EXPECT_EQ( 24u, Layout::tableSize( &TempSensor::ops_ ) );
    EXPECT_EQ( 0u, Layout::tableSecondWord( &TempSensor::ops_ ) );
    EXPECT_EQ( 0u, Layout::slot( &TempSensor::ops_, 0 ) );
    EXPECT_EQ( Layout::addressOf( TempSensor::getTemperatureCallback ),
               Layout::slot( &TempSensor::ops_, 1 ) );
}

TEST_F( TempSensorTest, OperationsFollowTheDestructor ) {
    EXPECT_EQ( 2u, Layout::virtualSlot( &TempSensor::alertThresholdIs ) );
    EXPECT_EQ( 3u, Layout::virtualSlot( &TempSensor::criticalThresholdIs ) );
    EXPECT_EQ( 4u, Layout::virtualSlot( &TempSensor::getTemperature ) );
}

TEST_F( TempSensorTest, GetTemperatureIsTracedAndForwarded ) {
    float celsius = 0;
    EXPECT_EQ( itsOwnStatus, record->ops->getTemperature( record, &celsius ) );
    EXPECT_FLOAT_EQ( 25.5F, celsius );
    EXPECT_THAT( traces(), ElementsAre( "4 getTemperatureCallback(" + printed( record ) + ")" ) );
}

TEST_F( TempSensorTest, BaseKeepsTheThresholdsOfTheEntryPoint ) {
    offer.tempSensor = &sensor;
    EXPECT_EQ( record, pl_temp_sensor_add( testDevice, 70.5F, 85.0F ) );
    EXPECT_FLOAT_EQ( 70.5F, sensor.alertThreshold_ );
    EXPECT_FLOAT_EQ( 85.0F, sensor.criticalThreshold_ );
}

TEST_F( TempSensorTest, EntryPointTracesBeforeItSetsEachThreshold ) {
    ProgrammedSensor programmed;
    offer.tempSensor = &programmed;
    pl_temp_sensor_add( testDevice, 70.5F, 85.0F );
    EXPECT_THAT( tracesAfter( "Test device created" ),
                 ElementsAre( "0 setting alert threshold", "9 alertThresholdIs 70.5",
                              "0 setting critical threshold", "9 criticalThresholdIs 85.0" ) );
}

TEST_F( TempSensorTest, DriverThatRefusesGivesNullWithoutATrace ) {
    EXPECT_EQ( nullptr, pl_temp_sensor_add( testDevice, 70, 85 ) );
    EXPECT_THAT( tracesAfter( "Test device created" ), IsEmpty() );
}

} // namespace
