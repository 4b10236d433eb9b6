#include "KavraGeneric/Drivers/Pmbus.h"

#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/KavraGeneric/Drivers/PmbusFixture.h"

#include <stdexcept>

namespace {

using Drivers::Pmbus;

struct Reading {
    const char *name;
    pl_status ( *pl_psu_ops::*get )( pl_psu *, float * );
    const char *batch;
};
constexpr Reading readings[] = {
    { "InputVoltage", &pl_psu_ops::get_input_voltage, "58[88]x2" },
    { "InputCurrent", &pl_psu_ops::get_input_current, "58[89]x2" },
    { "OutputCurrent", &pl_psu_ops::get_output_current, "58[8c]x2" },
    { "OutputPower", &pl_psu_ops::get_output_power, "58[96]x2" },
    { "InputPower", &pl_psu_ops::get_input_power, "58[97]x2" },
};

class PmbusReadingTest : public PmbusTest, public testing::WithParamInterface<Reading> {
  protected:
    pl_status read() { return ( psu->ops->*GetParam().get )( psu, &value ); }
};

TEST_P( PmbusReadingTest, IsOneWordInLinear11 ) {
    addPsu();
    answer( { word( 0xD3C0 ) } );
    EXPECT_EQ( PL_STATUS_OK, read() );
    EXPECT_EQ( 15.0F, value );
    EXPECT_EQ( Strings{ GetParam().batch }, batches() );
}

TEST_P( PmbusReadingTest, FailureKeepsTheOutput ) {
    addPsu();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, read() );
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, read() );
    EXPECT_EQ( untouched, value );
}

INSTANTIATE_TEST_SUITE_P( Readings, PmbusReadingTest, testing::ValuesIn( readings ),
                          []( const auto &row ) { return std::string( row.param.name ); } );

TEST_F( PmbusTest, OutputVoltageIsModeAndWordInOneBatch ) {
    addPsu();
    answer( { bytes( 0x17 ), word( 0x0C00 ) } );
    EXPECT_EQ( PL_STATUS_OK, outputVoltage() );
    EXPECT_EQ( 6.0F, value );
    EXPECT_EQ( Strings{ "58[20]x1 | 58[8b]x2" }, batches() );
}

TEST_F( PmbusTest, OutputVoltageWithTheExponentOfTheArguments ) {
    addPsu( R"("voutExponent": 30)" );
    answer( { bytes( 0x17 ), word( 0x0C00 ) } );
    EXPECT_EQ( PL_STATUS_OK, outputVoltage() );
    EXPECT_EQ( 768.0F, value );
}

TEST_F( PmbusTest, OutputVoltageWithBit15IsNegative ) {
    addPsu();
    answer( { bytes( 0x17 ), word( 0xFE00 ) } );
    EXPECT_EQ( PL_STATUS_OK, outputVoltage() );
    EXPECT_EQ( -1.0F, value );
}

TEST_F( PmbusTest, OutputVoltageInAnotherFormatIsLeftAlone ) {
    addPsu();
    answer( { bytes( 0x40 ), word( 0x0C00 ) } );
    EXPECT_EQ( PL_STATUS_OK, outputVoltage() );
    EXPECT_EQ( untouched, value );
}

TEST_F( PmbusTest, FailedOutputVoltageKeepsTheOutput ) {
    addPsu();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, outputVoltage() );
    EXPECT_EQ( untouched, value );
}

TEST_F( PmbusTest, ExponentThatIsNoNumberIsThrown ) {
    EXPECT_THROW( addPsu( R"("voutExponent": "x")" ), std::invalid_argument );
}

TEST_F( PmbusTest, FaultsAreClearedBeforeTheStatusIsRead ) {
    addPsu();
    powerOk();
    EXPECT_EQ( ( Strings{ "58[10]=00 | 58=03", "58[79]x2" } ), batches() );
    const Smbus::TransactionRequest clearing = requests().front();
    for ( const Smbus::Request &request : clearing.request() ) {
        EXPECT_FALSE( request.flag() );
    }
}

TEST_F( PmbusTest, EveryStatusWordHasItsAnswer ) {
    const struct {
        unsigned statusWord;
        pl_status status;
        int good;
    } rows[] = {
        { 0x0000, PL_STATUS_OK, 1 },
        { 0x0040, PL_STATUS_OK, 1 },
        { 0x0840, PL_STATUS_OK, 0 },
        { 0x0800, PL_STATUS_BAD_READING, -999 },
        { 0xF7BF, PL_STATUS_OK, 1 },
        { 0xFFFF, PL_STATUS_OK, 0 },
        { 0xFFBF, PL_STATUS_BAD_READING, -999 },
    };
    addPsu();
    for ( const auto &row : rows ) {
        SCOPED_TRACE( row.statusWord );
        number = -999;
        answer( { ok, ok } );
        answer( { word( row.statusWord ) } );
        EXPECT_EQ( row.status, powerOk() );
        EXPECT_EQ( row.good, number );
    }
}

TEST_F( PmbusTest, PowerGoodOverPmbusIsTraced ) {
    addPsu();
    host().lines.clear();
    answer( { ok, ok } );
    answer( { word( 0x0840 ) } );
    powerOk();
    EXPECT_EQ( ( Strings{ "get_power_ok_callback", "pl_status Drivers::Pmbus::get_power_ok(int*)",
                          "Ensure WRITE_PROTECT is disabled and issue CLEAR_FAULTS command",
                          "Checking power OK using STATUS_WORD_REG",
                          "statusWord: 0x840, powerBad: 0b1, off: 0b1" } ),
               ownTraces( 4 ) );
    EXPECT_TRUE( host().texts( 3 ).empty() );
}

TEST_F( PmbusTest, BitsOfTheStatusWordAreTracedEachByItsName ) {
    addPsu();
    answer( { ok, ok } );
    answer( { word( 0x0800 ) } );
    powerOk();
    EXPECT_TRUE( host().traced( 4, "statusWord: 0x800, powerBad: 0b1, off: 0b0" ) );
    answer( { ok, ok } );
    answer( { word( 0xF7FF ) } );
    powerOk();
    EXPECT_TRUE( host().traced( 4, "statusWord: 0xf7ff, powerBad: 0b0, off: 0b1" ) );
}

TEST_F( PmbusTest, FaultsThatCannotBeClearedAreTracedAndTheStatusRead ) {
    addPsu();
    answerFailed( "" );
    answer( { word( 0 ) } );
    EXPECT_EQ( PL_STATUS_OK, powerOk() );
    EXPECT_EQ( 1, number );
    EXPECT_TRUE( host().traced( 3, "CLEAR_FAULTS PMBus command failed: 6" ) );
}

TEST_F( PmbusTest, FailedStatusWordIsPassedOn ) {
    addPsu();
    answer( { ok, ok } );
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, powerOk() );
    EXPECT_EQ( -999, number );
}

TEST_F( PmbusTest, ClearingFaultsPassesTheStatusOn ) {
    addPsu();
    EXPECT_EQ( PL_STATUS_OK, device().clearFaults() );
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, device().clearFaults() );
}

constexpr const char *wired = R"("gpioDevice": "gpios", "powerOkReg": 12, "powerOkBit": 3)";

TEST_F( PmbusTest, WiredPowerGoodIsReadFromItsBit ) {
    const struct {
        const char *activeLow;
        int content;
        int good;
    } rows[] = {
        { "", 0xF7, 1 },
        { "", 0x08, 0 },
        { R"(, "powerOkActiveLow": true)", 0x08, 0 },
        { R"(, "powerOkActiveLow": false)", 0x08, 1 },
        { R"(, "powerOkActiveLow": false)", 0xF7, 0 },
        { R"(, "powerOkActiveLow": "True")", 0x08, 1 }, // true is "true" and nothing else
        { R"(, "powerOkActiveLow": 1)", 0x08, 1 },
    };
    for ( const auto &row : rows ) {
        SCOPED_TRACE( row.activeLow );
        Component::DeviceBase::devices.clear();
        addPsu( std::string( wired ) + row.activeLow );
        forget();
        answer( { ok, ok } );
        answer( { bytes( row.content ) } );
        EXPECT_EQ( PL_STATUS_OK, powerOk() );
        EXPECT_EQ( row.good, number );
        EXPECT_EQ( ( Strings{ "58[10]=00 | 58=03", "40[0c]x1" } ), batches() );
    }
}

TEST_F( PmbusTest, WiredPowerGoodIsTraced ) {
    addPsu( wired );
    host().lines.clear();
    powerOk();
    EXPECT_EQ( ( Strings{ "get_power_ok_callback", "pl_status Drivers::Pmbus::get_power_ok(int*)",
                          "Ensure WRITE_PROTECT is disabled and issue CLEAR_FAULTS command",
                          "Checking power OK using powerOkGpio_" } ),
               ownTraces( 4 ) );
}

TEST_F( PmbusTest, WiredPowerGoodThatFailsIsPassedOn ) {
    addPsu( wired );
    answer( { ok, ok } );
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, powerOk() );
    EXPECT_EQ( -999, number );
}

TEST_F( PmbusTest, FaultsThatCannotBeClearedAreTracedAndTheWiredBitRead ) {
    addPsu( wired );
    answerFailed( "" );
    answer( { bytes( 0xF7 ) } );
    EXPECT_EQ( PL_STATUS_OK, powerOk() );
    EXPECT_EQ( 1, number );
    EXPECT_TRUE( host().traced( 3, "CLEAR_FAULTS PMBus command failed: 6" ) );
}

TEST_F( PmbusTest, WiredPowerGoodNeedsRegisterAndBit ) {
    for ( const char *missing : { R"("powerOkBit": 3)", R"("powerOkReg": 12)" } ) {
        try {
            addPsu( std::string( R"("gpioDevice": "gpios", )" ) + missing );
            ADD_FAILURE() << missing;
        } catch ( const std::out_of_range &error ) {
            EXPECT_STREQ( "map::at", error.what() );
        }
    }
}

TEST_F( PmbusTest, EachSensorHasItsCommand ) {
    const struct {
        const char *arguments;
        uint8_t id;
        const char *batch;
    } rows[] = {
        { R"("sensorId": 1)", 1, "58[8d]x2" },
        { R"("sensorId": 2)", 2, "58[8e]x2" },
        { R"("sensorId": 3)", 3, "58[8f]x2" },
        { R"("sensorId": 17, "tempSensor": 2)", 17, "58[8e]x2" },
        { R"("sensorId": 1, "tempSensor": "3")", 1, "58[8f]x2" },
    };
    for ( const auto &row : rows ) {
        SCOPED_TRACE( row.arguments );
        addSensor( row.arguments );
        answer( { word( 0xF0A6 ) } ); // 166 * 2^-2
        EXPECT_EQ( PL_STATUS_OK, temperature() );
        EXPECT_EQ( 41.5F, value );
        EXPECT_EQ( row.batch, lastBatch() );
        EXPECT_EQ( row.id, Layout::wordAt<uint8_t>( sensor, 40 ) );
        EXPECT_EQ( static_cast<uint8_t>( lastRequest().request( 0 ).address() ),
                   Layout::wordAt<uint8_t>( sensor, 41 ) );
    }
}

TEST_F( PmbusTest, AddingASensorAsksNothing ) {
    addSensor();
    EXPECT_TRUE( batches().empty() );
}

TEST_F( PmbusTest, NegativeTemperatureReadsAsZero ) {
    addSensor();
    answer( { word( 0x07FF ) } );
    EXPECT_EQ( PL_STATUS_OK, temperature() );
    EXPECT_EQ( 0.0F, value );
}

TEST_F( PmbusTest, FailedTemperatureKeepsAnOutputThatIsNotNegative ) {
    addSensor();
    value = 25;
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, temperature() );
    EXPECT_EQ( 25.0F, value );
}

TEST_F( PmbusTest, FailedTemperatureMakesANegativeOutputZero ) {
    addSensor();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, temperature() );
    EXPECT_EQ( 0.0F, value );
}

TEST_F( PmbusTest, SensorThatTheStandardLacksIsThrown ) {
    const struct {
        const char *arguments;
        const char *text;
    } rows[] = {
        { R"("sensorId": 4)", "array::at: __n (which is 3) >= _Nm (which is 3)" },
        { R"("sensorId": 1, "tempSensor": 0)",
          "array::at: __n (which is 18446744073709551615) >= _Nm (which is 3)" },
        { R"("sensorId": 1, "tempSensor": 257)",
          "array::at: __n (which is 256) >= _Nm (which is 3)" },
    };
    for ( const auto &row : rows ) {
        try {
            addSensor( row.arguments );
            ADD_FAILURE() << row.arguments;
        } catch ( const std::out_of_range &error ) {
            EXPECT_STREQ( row.text, error.what() );
        }
    }
    EXPECT_TRUE( host().traced( 5, "Creating Pmbus TempSensor device 4 using sensor 4" ) );
}

TEST_F( PmbusTest, CreationIsTraced ) {
    addPsu();
    addFan();
    addSensor( R"("sensorId": 17, "tempSensor": 2)" );
    EXPECT_TRUE( host().traced( 0, "Creating Pmbus Device" ) );
    EXPECT_EQ( ( Strings{ "Creating Pmbus Psu Device", "Creating Pmbus Fan Device",
                          "Creating Pmbus TempSensor device 17 using sensor 2" } ),
               host().texts( 5 ) );
}

TEST_F( PmbusTest, EachAddIsANewLogicalDeviceOfTheOneSupply ) {
    addPsu();
    const pl_psu *first = psu;
    addPsu();
    EXPECT_NE( first, psu );
    EXPECT_EQ( &device(), Layout::wordAt<const Pmbus *>( psu, 24 ) );
    EXPECT_EQ( &device(), Layout::wordAt<const Pmbus *>( first, 24 ) );
}

TEST_F( PmbusTest, NumbersAreDecimal ) {
    EXPECT_THROW( addPsu( R"("gpioDevice": "gpios", "powerOkReg": "r", "powerOkBit": 1)" ),
                  std::invalid_argument );
    EXPECT_THROW( addFan( R"("fanId": "", "maxFanRpm": 1)" ), std::invalid_argument );
    EXPECT_THROW( addFan( R"("fanId": 1, "maxFanRpm": "fast")" ), std::invalid_argument );
    EXPECT_THROW( addSensor( R"("sensorId": "x")" ), std::invalid_argument );
}

using PmbusDeathTest = PmbusTest;

TEST_F( PmbusDeathTest, SensorWithoutItsNumberStops ) {
    EXPECT_DEATH(
        addSensor( R"("tempSensor": 1)" ),
        "Assertion `args.driverArgs.find\\( \"sensorId\" \\) != args.driverArgs.end\\(\\)'" );
}

TEST_F( PmbusDeathTest, GpioDeviceThatIsNotThereStops ) {
    EXPECT_DEATH( addPsu( R"("gpioDevice": "none", "powerOkReg": 1, "powerOkBit": 1)" ),
                  "Assertion `device' failed" );
}

} // namespace
