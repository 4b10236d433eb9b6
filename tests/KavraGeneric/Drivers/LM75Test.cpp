#include "KavraGeneric/Drivers/LM75.h"

#include "KavraGeneric/Components/DeviceBase.h"
#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/support/FakeSmbusServer.h"
#include "tests/support/LibraryFixture.h"
#include "tests/support/SimulationFolder.h"

#include <cmath>

namespace {

using Drivers::LM75;
using Threshold = LM75::Threshold;
using Lines = std::vector<FakeHost::Line>;
using Batches = std::vector<std::string>;

// Sensor 7 is alone on its bus; sensor 8 sits behind two muxes.
constexpr const char *topology = R"([
    { "type": "I2C", "ham": "KavraSmbus", "id": 1, "devices": [ { "did": 7 } ] },
    { "type": "SCD", "ham": "KavraSmbus", "pci": 768, "accelerators": [ { "id": 0, "busses": [
        { "id": 3,
          "devices": [ { "did": 100, "driver": "PCA9548", "address": { "address": 112 } } ],
          "muxes": [ { "did": 100, "busses": [
              { "id": 4,
                "devices": [ { "did": 101, "driver": "PCA9548", "address": { "address": 113 } } ],
                "muxes": [ { "did": 101, "busses": [
                    { "id": 8, "devices": [ { "did": 8 } ] } ] } ] } ] } ] } ] } ] } ])";

constexpr const char *sensor7 =
    R"({ "name": "inlet", "driver": "LM75", "did": 7, "address": { "address": 72 } })";
constexpr const char *sensor8 =
    R"({ "name": "outlet", "driver": "LM75", "did": 8, "address": { "address": 72 } })";

LM75 &device( unsigned did ) {
    return dynamic_cast<LM75 &>( *Component::DeviceBase::devices.at( did ) );
}

/// What the host does with a sensor.
class HostOfSensors : public LibraryFixture {
  protected:
    void add( const char *arguments, float alert = 75, float critical = 80 ) {
        sensor = pl_temp_sensor_add( arguments, alert, critical );
        ASSERT_NE( nullptr, sensor );
    }

    pl_status getTemperature() { return sensor->ops->getTemperature( sensor, &celsius ); }

    static constexpr float untouched = -999;

    pl_temp_sensor *sensor = nullptr;
    float celsius = untouched;
};

class LM75Test : protected FakeSmbusServer, public HostOfSensors {
  protected:
    LM75Test() {
        GTEST_FLAG_SET( death_test_style, "threadsafe" );
        connect();
        loadTopology( topology );
    }

    /// Adds sensor 7 and forgets what that took.
    void sensorOnABus() {
        add( sensor7 );
        forget();
        host().lines.clear();
    }

    /// The register word that a limit is written as.
    uint16_t written( float limit ) {
        EXPECT_EQ( PL_STATUS_OK, device( 7 ).setThreshold( Threshold::Alert, limit ) );
        const std::string data = lastRequest().request( 0 ).data();
        return Layout::wordAt<uint16_t>( data.data(), 0 );
    }
};

TEST_F( LM75Test, TemperatureIsOneWordFromRegisterZero ) {
    sensorOnABus();
    answer( { bytes( 0x19, 0x80 ) } );
    EXPECT_EQ( PL_STATUS_OK, getTemperature() );
    EXPECT_EQ( 25.5F, celsius );
    EXPECT_EQ( Batches{ "48[00]x2" }, batches() );
}

TEST_F( LM75Test, SensorBehindMuxesIsReachedThroughThem ) {
    add( sensor8 );
    answer( { ok, ok, bytes( 0x19, 0x00 ), ok, ok } );
    EXPECT_EQ( PL_STATUS_OK, getTemperature() );
    EXPECT_EQ( 25.0F, celsius );
    EXPECT_EQ( "70=04 | 71=08 | 48[00]x2 | 71=00 | 70=00", lastBatch() );
}

TEST_F( LM75Test, TemperaturesFromTheWire ) {
    const struct {
        int first, second; // in the order of the wire
        float celsius;
    } rows[] = {
        { 0x19, 0x00, 25.0F },   { 0x19, 0x80, 25.5F },  { 0x00, 0x00, 0.0F },
        { 0x00, 0x80, 0.5F },    { 0x7F, 0x80, 127.5F }, { 0xFF, 0x00, -1.0F },
        { 0xFF, 0x80, -1.5F },   { 0xE7, 0x80, -25.5F }, { 0x80, 0x00, -128.0F },
        { 0x80, 0x80, -128.5F }, { 0x19, 0x60, 25.0F }, // finer steps are cut
    };
    sensorOnABus();
    for ( const auto &row : rows ) {
        answer( { bytes( row.first, row.second ) } );
        EXPECT_EQ( PL_STATUS_OK, getTemperature() );
        EXPECT_EQ( row.celsius, celsius );
    }
}

TEST_F( LM75Test, EveryRegisterWordHasItsTemperature ) {
    for ( unsigned low = 0; low < 256; ++low ) {
        for ( const unsigned high : { 0x00U, 0x7FU, 0x80U, 0xFFU } ) {
            const double whole = low < 128 ? low : low - 256.0;
            const double half = high < 0x80 ? 0 : std::copysign( 0.5, whole );
            const auto raw = static_cast<uint16_t>( high << 8 | low );
            const auto read = static_cast<double>( LM75::registerToTemperature( raw ) );
            EXPECT_EQ( whole + half, read ) << raw;
        }
    }
}

TEST_F( LM75Test, ReadingIsTracedOnceBehindTheCallback ) {
    sensorOnABus();
    getTemperature();
    std::vector<std::string> own = host().texts( 6 );
    EXPECT_EQ( Batches{ "pl_status Drivers::LM75::getTemperature(float*)" }, own );
    EXPECT_EQ( 4, host().lines.front().level );
    EXPECT_EQ( 6, host().lines.at( 1 ).level );
}

TEST_F( LM75Test, FailedReadingKeepsTheOutput ) {
    sensorOnABus();
    answerFailed( "bus 1 chip 0x48 reg 0x00: no acknowledge" );
    EXPECT_EQ( PL_STATUS_FAILED, getTemperature() );
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, getTemperature() );
    EXPECT_EQ( untouched, celsius );
}

TEST_F( LM75Test, LimitsAreReadFromTheirRegisters ) {
    sensorOnABus();
    answer( { bytes( 0x4B, 0x00 ) } );
    EXPECT_EQ( PL_STATUS_OK, device( 7 ).getThreshold( Threshold::Alert, &celsius ) );
    EXPECT_EQ( 75.0F, celsius );
    answer( { bytes( 0xE7, 0x80 ) } );
    EXPECT_EQ( PL_STATUS_OK, device( 7 ).getThreshold( Threshold::Overheat, &celsius ) );
    EXPECT_EQ( -25.5F, celsius );
    EXPECT_EQ( ( Batches{ "48[02]x2", "48[03]x2" } ), batches() );
}

TEST_F( LM75Test, FailedReadOfALimitKeepsTheOutput ) {
    sensorOnABus();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, device( 7 ).getThreshold( Threshold::Alert, &celsius ) );
    EXPECT_EQ( untouched, celsius );
}

TEST_F( LM75Test, AddingASensorWritesBothLimits ) {
    add( sensor7, 75, 80.5F );
    EXPECT_EQ( ( Batches{ "48[02]=4b00", "48[03]=5080" } ), batches() );
}

TEST_F( LM75Test, AddingASensorIsTraced ) {
    add( sensor7 );
    EXPECT_EQ( Batches{ "Creating LM75" }, host().texts( 5 ) );
    const Batches steps = host().texts( 0 );
    ASSERT_LE( 3U, steps.size() );
    EXPECT_EQ( ( Batches{ "LM75 device created", "setting alert threshold",
                          "setting critical threshold" } ),
               Batches( steps.end() - 3, steps.end() ) );
}

TEST_F( LM75Test, LimitsAreWrittenWithoutPec ) {
    add( sensor7 );
    EXPECT_FALSE( lastRequest().request( 0 ).flag() );
}

TEST_F( LM75Test, LimitsAsTheWireHasThem ) {
    const struct {
        float limit;
        const char *batch;
    } rows[] = {
        { 25.5F, "48[02]=1980" },  { 25.0F, "48[02]=1900" },   { 0.0F, "48[02]=0000" },
        { 0.5F, "48[02]=0080" },   { 127.5F, "48[02]=7f80" },  { 25.2F, "48[02]=1900" },
        { 25.25F, "48[02]=1980" }, // a quarter goes up,
        { 25.75F, "48[02]=1900" }, // three quarters overflow the one bit
        { -10.0F, "48[02]=f6ff" }, // the sign fills the upper half
        { -10.5F, "48[02]=f6ff" }, { -128.0F, "48[02]=80ff" }, { -0.2F, "48[02]=0000" },
        { -0.5F, "48[02]=0080" },  // no whole degree, no sign
        { 200.0F, "48[02]=c8ff" }, // the range is not checked
    };
    sensorOnABus();
    for ( const auto &row : rows ) {
        SCOPED_TRACE( row.limit );
        written( row.limit );
        EXPECT_EQ( row.batch, lastBatch() );
    }
}

TEST_F( LM75Test, EveryHalfDegreeHasItsRegisterWord ) {
    sensorOnABus();
    for ( double limit = -128; limit <= 127.5; limit += 0.5 ) {
        SCOPED_TRACE( limit );
        const double whole = std::trunc( limit );
        const unsigned sign = whole < 0 ? 0xFF00 : 0;
        const unsigned half = whole != limit ? 0x8000 : 0;
        const unsigned low = static_cast<unsigned>( static_cast<int>( whole ) ) & 0xFF;
        EXPECT_EQ( sign | half | low, written( static_cast<float>( limit ) ) );
    }
}

TEST_F( LM75Test, FailedWriteOfALimitIsPassedOn ) {
    sensorOnABus();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, device( 7 ).setThreshold( Threshold::Overheat, 80 ) );
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, device( 7 ).setThreshold( Threshold::Overheat, 80 ) );
}

TEST_F( LM75Test, EachAddIsANewSensorOfTheOneChip ) {
    add( sensor7 );
    const pl_temp_sensor *first = sensor;
    add( sensor7 );
    EXPECT_NE( first, sensor );
    EXPECT_EQ( 1U, Component::DeviceBase::devices.count( 7 ) );
}

TEST_F( LM75Test, SensorKeepsItsLimitsBehindTheRecord ) {
    add( sensor7, 75, 80.5F );
    EXPECT_EQ( 75.0F, Layout::wordAt<float>( sensor, 24 ) );
    EXPECT_EQ( 80.5F, Layout::wordAt<float>( sensor, 28 ) );
    EXPECT_EQ( &device( 7 ), Layout::wordAt<const LM75 *>( sensor, 32 ) );
}

TEST_F( LM75Test, OperationsHaveTheirPlacesInTheVirtualTable ) {
    EXPECT_EQ( 2U, Layout::virtualSlot( &LM75::TempSensor::alertThresholdIs ) );
    EXPECT_EQ( 3U, Layout::virtualSlot( &LM75::TempSensor::criticalThresholdIs ) );
    EXPECT_EQ( 4U, Layout::virtualSlot( &LM75::TempSensor::getTemperature ) );
}

using LM75DeathTest = LM75Test;

TEST_F( LM75DeathTest, FailedAlertLimitStops ) {
    EXPECT_DEATH(
        {
            answerFailed( "" );
            add( sensor7 );
        },
        "Assertion `device_->setThreshold\\( Threshold::Alert, value \\) == PL_STATUS_OK'" );
}

TEST_F( LM75DeathTest, FailedCriticalLimitStops ) {
    EXPECT_DEATH(
        {
            answer( { bytes( 0x4B, 0x00 ) } );
            answerFailed( "" );
            add( sensor7 );
        },
        "Assertion `device_->setThreshold\\( Threshold::Overheat, value \\) == PL_STATUS_OK'" );
}

class LM75SimulationTest : public HostOfSensors {
  protected:
    LM75SimulationTest() {
        SimulationFolder::path();
        loadTopology( topology );
        simulate();
    }
};

TEST_F( LM75SimulationTest, PublishesThreeRegistersOfOneByte ) {
    const struct {
        unsigned reg;
        uint32_t value;
    } rows[] = { { 0, 39 }, { 2, 110 }, { 3, 110 } };
    EXPECT_EQ( std::size( rows ), LM75::values.size() );
    for ( const auto &row : rows ) {
        const Utils::ExpectedVal &published = LM75::values.at( row.reg );
        EXPECT_TRUE( published.isNumeric() );
        EXPECT_EQ( row.value, published.value() );
        EXPECT_EQ( 1U, published.size() );
    }
    add( sensor7 );
    EXPECT_EQ( &LM75::values, &device( 7 ).expectedValues() );
}

TEST_F( LM75SimulationTest, FreshSensorReadsMinusOneDegree ) {
    add( sensor7 );
    EXPECT_EQ( PL_STATUS_OK, getTemperature() );
    EXPECT_EQ( -1.0F, celsius );
}

TEST_F( LM75SimulationTest, FreshLimitsReadMinusOneDegree ) {
    add( sensor7 );
    for ( const Threshold threshold : { Threshold::Alert, Threshold::Overheat } ) {
        celsius = untouched;
        EXPECT_EQ( PL_STATUS_OK, device( 7 ).getThreshold( threshold, &celsius ) );
        EXPECT_EQ( -1.0F, celsius );
    }
}

TEST_F( LM75SimulationTest, FileIsNamedAfterDriverAndDevice ) {
    add( sensor7 );
    EXPECT_EQ( "276e6e\n", SimulationFolder::read( "LM75-inlet" ) );
}

// A limit is a word and the simulated register a byte: what does not fit is not written.
TEST_F( LM75SimulationTest, LimitsAreNotWritten ) {
    add( sensor7 );
    EXPECT_EQ( PL_STATUS_OK, device( 7 ).setThreshold( Threshold::Overheat, 30 ) );
    EXPECT_EQ( "276e6e\n", SimulationFolder::read( "LM75-inlet" ) );
}

// The one byte of the file is the upper one of the word: all it can change is the half degree.
TEST_F( LM75SimulationTest, FileMovesTheReadingByHalfADegree ) {
    add( sensor7 );
    SimulationFolder::write( "LM75-inlet", "7f6e6e\n" );
    getTemperature();
    EXPECT_EQ( -1.0F, celsius );
    SimulationFolder::write( "LM75-inlet", "806e6e\n" );
    getTemperature();
    EXPECT_EQ( -1.5F, celsius );
}

} // namespace
