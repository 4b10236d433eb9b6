// What the pl_<class>_add() entry points have in common, class by class.
#include "KavraGeneric/NotImplementedException.h"
#include "tests/KavraGeneric/Components/DeviceClassTest.h"

namespace {

struct EntryPoint {
    const char *name;
    void *( *add )( const char *arguments );
    const char *operation;      ///< of the device's factory
    const char *creationFailed; ///< the trace that follows the framework's own; empty for none
    const char *refused;        ///< likewise, when the driver gives null
};

void PrintTo( const EntryPoint &entryPoint, std::ostream *stream ) {
    *stream << entryPoint.name;
}

constexpr EntryPoint entryPoints[] = {
    { "slot", []( const char *text ) -> void * { return pl_slot_add( text ); }, "newSlot",
      "0 DeviceBase::create() failed", "0 newSlot() failed" },
    { "led", []( const char *text ) -> void * { return pl_led_add( text ); }, "newLed",
      "0 DeviceBase::create() failed", "0 newLed() failed" },
    { "fan", []( const char *text ) -> void * { return pl_fan_add( text ); }, "newFan",
      "0 DeviceBase::create() failed", "0 newFan() failed" },
    { "psu", []( const char *text ) -> void * { return pl_psu_add( text ); }, "newPsu",
      "2 DeviceBase::create() failed", "2 newPsu() failed" },
    { "temp_sensor", []( const char *text ) -> void * { return pl_temp_sensor_add( text, 1, 2 ); },
      "newTempSensor", "", "" },
    { "sfp", []( const char *text ) -> void * { return pl_xcvr_add( text ); }, "newSfpXcvr",
      "0 DeviceBase::create() failed", "0 newSfpXcvr() failed" },
    { "qsfp", []( const char *text ) -> void * { return pl_xcvr_add( text ); }, "newQsfpXcvr",
      "0 DeviceBase::create() failed", "0 newQsfpXcvr() failed" },
    { "smbus", []( const char *text ) -> void * { return pl_smbus_add( text, 0 ); },
      "newSmbusProxy", "0 DeviceBase::create() failed", "0 newSmbusProxy() failed" },
    { "gpio", []( const char *text ) -> void * { return pl_gpio_add( text ); }, "newGpio", "", "" },
};

std::vector<std::string> linesOf( const char *trace ) {
    return *trace ? std::vector<std::string>{ trace } : std::vector<std::string>{};
}

class EntryPointsTest : public DeviceClassTest, public testing::WithParamInterface<EntryPoint> {
  protected:
    /// A device of the driver, with the arguments that a transceiver needs.
    static std::string device( const std::string &driver ) {
        return R"({ "did": 7, "provideHam": 0, "address": { "address": 72 }, "driver": ")" +
               driver + R"(", "driverArgs": { "id": 3, "type": ")" + GetParam().name + "\" } }";
    }

    const std::string test = device( "Test" );
    const std::string dummy = device( "Dummy" );
    const std::string unknown = device( "NoSuchDriver" );
};

TEST_P( EntryPointsTest, TextThatIsNoJsonGivesNullAndItsTraces ) {
    EXPECT_EQ( nullptr, GetParam().add( "{" ) );
    EXPECT_EQ( linesOf( GetParam().creationFailed ),
               tracesAfter( "failed to parse json object as a device" ) );
}

TEST_P( EntryPointsTest, UnknownDriverGivesNullAndItsTraces ) {
    EXPECT_EQ( nullptr, GetParam().add( unknown.c_str() ) );
    EXPECT_EQ( linesOf( GetParam().creationFailed ),
               tracesAfter( "factory function returned a null object" ) );
}

TEST_P( EntryPointsTest, DriverThatRefusesGivesNullAndItsTraces ) {
    EXPECT_EQ( nullptr, GetParam().add( test.c_str() ) );
    EXPECT_EQ( 1u, offer.asked.size() );
    EXPECT_EQ( linesOf( GetParam().refused ), tracesAfter( "Test device created" ) );
}

TEST_P( EntryPointsTest, SecondAddReusesTheHardwareDeviceAndAsksItAgain ) {
    GetParam().add( test.c_str() );
    GetParam().add( test.c_str() );
    EXPECT_EQ( 1, offer.devicesMade );
    ASSERT_EQ( 2u, offer.asked.size() );
    EXPECT_EQ( 0u, offer.asked[1].find( GetParam().operation ) );
}

class MissingOperationTest : public EntryPointsTest {};

TEST_P( MissingOperationTest, IsThrownByName ) {
    try {
        GetParam().add( dummy.c_str() );
        FAIL() << "nothing was thrown";
    } catch ( const NotImplementedException &missing ) {
        EXPECT_EQ( std::string( "Not implemented " ) + GetParam().operation, missing.what() );
    }
}

const auto nameOfRow = []( const auto &row ) { return std::string( row.param.name ); };

INSTANTIATE_TEST_SUITE_P( Classes, EntryPointsTest, testing::ValuesIn( entryPoints ), nameOfRow );

// The last row is left out: every hardware device has GPIO lines.
INSTANTIATE_TEST_SUITE_P( Classes, MissingOperationTest,
                          testing::ValuesIn( std::begin( entryPoints ),
                                             std::end( entryPoints ) - 1 ),
                          nameOfRow );

} // namespace
