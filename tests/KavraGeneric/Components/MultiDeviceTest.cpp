#include "KavraGeneric/Components/MultiDevice.h"

#include "KavraGeneric/Components/Fan.h"
#include "KavraGeneric/Components/Gpio.h"
#include "KavraGeneric/Components/Led.h"
#include "KavraGeneric/Components/Psu.h"
#include "KavraGeneric/Components/Slot.h"
#include "KavraGeneric/Components/Xcvr.h"
#include "KavraGeneric/NotImplementedException.h"
#include "tests/KavraGeneric/Components/CreationFixture.h"

namespace {

using Component::DeviceBase;
using Component::HardwareDevice;
using Component::MultiDevice;
namespace LogicalDevice = Component::LogicalDevice;

struct TestSlot final : LogicalDevice::Slot {
    pl_status getPresence( char ** ) override { return 0; }
};
struct TestLed final : LogicalDevice::Led {
    bool handleBlinkTimer( bool ) override { return false; }
    pl_status setLightSetting( pl_led_status ) override { return 0; }
};
struct TestPsu final : LogicalDevice::Psu {
    pl_status get_power_ok( int * ) override { return 0; }
    pl_status get_input_current( float * ) override { return 0; }
    pl_status get_output_current( float * ) override { return 0; }
    pl_status get_input_voltage( float * ) override { return 0; }
    pl_status get_output_voltage( float * ) override { return 0; }
    pl_status get_input_power( float * ) override { return 0; }
    pl_status get_output_power( float * ) override { return 0; }
};
struct TestFan final : LogicalDevice::Fan {
    pl_status getRpm( int * ) override { return 0; }
    pl_status setRpm( int ) override { return 0; }
};
struct TestXcvr final : LogicalDevice::SfpXcvr {
    TestXcvr() : SfpXcvr( 1 ) {}
    int getPresence() override { return 0; }
    pl_status getTxFault( int * ) override { return 0; }
    pl_status getRxLos( int * ) override { return 0; }
    pl_status getTxDisable( int * ) override { return 0; }
    pl_status setTxDisable( int ) override { return 0; }
};

// One of each, or none.
struct Part final : HardwareDevice {
    explicit Part( bool refusing ) : refuses( refusing ) {}

    template <typename Made>
    Made *give() {
        return refuses ? nullptr : new Made;
    }
    LogicalDevice::Slot *newSlot( const Drivers::DriverArgs & ) override {
        return give<TestSlot>();
    }
    LogicalDevice::Led *newLed( const Drivers::DriverArgs & ) override { return give<TestLed>(); }
    LogicalDevice::Psu *newPsu( const Drivers::DriverArgs & ) override { return give<TestPsu>(); }
    LogicalDevice::Fan *newFan( const Drivers::DriverArgs & ) override { return give<TestFan>(); }
    LogicalDevice::SfpXcvr *newSfpXcvr( unsigned, const Drivers::DriverArgs & ) override {
        return give<TestXcvr>();
    }
    LogicalDevice::Gpio *newGpio( const Drivers::DriverArgs &given ) override {
        return refuses ? nullptr : HardwareDevice::newGpio( given );
    }

    bool refuses;
};

struct Box final : MultiDevice {
    void init() override {
        ++initCount;
        argsAtInit = deviceDriverArgs.size();
    }
    /// Records kept of each class, in the order of the lists.
    std::vector<size_t> counts() const {
        return { slots_.size(), leds_.size(),  psus_.size(),
                 fans_.size(),  xcvrs_.size(), gpios_.size() };
    }
    template <typename Record>
    static std::vector<Record *> records( const std::list<Record *> &list ) {
        return { list.begin(), list.end() };
    }
    using MultiDevice::fans_;

    int initCount = 0;
    size_t argsAtInit = 0;
};

class MultiDeviceTest : public CreationTest {
  protected:
    MultiDeviceTest() {
        driver( "Box", [this] { return box = new Box; } );
        driver( "Part", [] { return new Part( false ); } );
        driver( "RefusingPart", [] { return new Part( true ); } );
    }

    static std::string boxText( unsigned did, const std::string &driver = "Box" ) {
        return R"({ "driver": ")" + driver + R"(", "did": )" + std::to_string( did ) +
               R"(, "isMultiDevice": true, "multiDeviceArgs": { "left": "a", "right": "b" } })";
    }

    /// A box with one sub-device's arguments under the key "part".
    Box &boxWith( const std::string &part ) {
        create( boxText( 9 ) );
        box->deviceDriverArgsIs( { { "part", part } } );
        host().lines.clear();
        return *box;
    }

    static std::string part( const std::string &driver ) {
        return text( driver, 70, R"("provideHam": 0,
            "driverArgs": { "id": 1, "type": "sfp", "register": 1, "bitpos": 2 })" );
    }

    static constexpr size_t classes = 6;
    /// Asks for the class with this place among the lists; the record as plain address.
    static const void *add( Box &box, size_t place, const std::string &key ) {
        switch ( place ) {
        case 0:
            return box.addSlot( key );
        case 1:
            return box.addLed( key );
        case 2:
            return box.addPsu( key );
        case 3:
            return box.addFan( key );
        case 4:
            return box.addXcvr( key );
        default:
            return box.addGpio( key );
        }
    }

    Box *box = nullptr;
};

TEST_F( MultiDeviceTest, NewDeviceIsTracedStepByStep ) {
    DeviceBase *made = create( boxText( 9 ) );
    EXPECT_EQ( box, made );
    EXPECT_EQ( ( Strings{ "looking for already existing device 9", "creating HardwareDevice Box",
                          "calling factory function for Box", "Box MultiDevice created" } ),
               steps() );
    EXPECT_EQ( box, DeviceBase::devices.at( 9 ) );
}

TEST_F( MultiDeviceTest, GetsNoAccessMethodEvenWhenAskedFor ) {
    loadTopology( R"([ { "type": "I2C", "ham": "KavraSmbus", "id": 1,
                         "devices": [ { "did": 9 } ] } ])" );
    create( R"({ "driver": "Box", "did": 9, "provideHam": 1, "isMultiDevice": true,
                 "multiDeviceArgs": {} })" );
    EXPECT_EQ( nullptr, factoryHam );
    EXPECT_EQ( nullptr, box->ham() );
    EXPECT_FALSE( host().traced( 0, "creating Ham" ) );
}

TEST_F( MultiDeviceTest, HasItsArgumentsBeforeItIsInitialised ) {
    create( boxText( 9 ) );
    EXPECT_EQ( 1, box->initCount );
    EXPECT_EQ( 2U, box->argsAtInit );
    EXPECT_STREQ( "a", box->getDeviceDriverArg( "left" ) );
    EXPECT_STREQ( "b", box->getDeviceDriverArg( "right" ) );
}

TEST_F( MultiDeviceTest, SecondTextWithTheDidReusesTheDevice ) {
    DeviceBase *first = create( boxText( 9 ) );
    host().lines.clear();
    EXPECT_EQ( first, create( boxText( 9, "Other" ) ) );
    EXPECT_EQ( ( Strings{ "looking for already existing device 9",
                          "using previously instanciated HardwareDevice Other" } ),
               steps() );
    EXPECT_EQ( 1, factoryCalls["Box"] );
}

TEST_F( MultiDeviceTest, SingleDeviceWithTheDidIsReused ) {
    DeviceBase *single = create( text( "Probe", 9 ) );
    EXPECT_EQ( single, create( boxText( 9 ) ) );
    EXPECT_EQ( 0, factoryCalls["Box"] );
}

TEST_F( MultiDeviceTest, UnknownDriverGivesNull ) {
    EXPECT_EQ( nullptr, create( boxText( 9, "Nobody" ) ) );
    EXPECT_EQ( ( Strings{ "looking for already existing device 9", "creating HardwareDevice Nobody",
                          "driver Nobody not found", "factory function returned a null object" } ),
               steps() );
    EXPECT_FALSE( isEntered( 9 ) );
}

TEST_F( MultiDeviceTest, DriverOfSingleDevicesCountsAsNull ) {
    EXPECT_EQ( nullptr, create( boxText( 9, "Probe" ) ) );
    EXPECT_EQ( ( Strings{ "looking for already existing device 9", "creating HardwareDevice Probe",
                          "calling factory function for Probe",
                          "factory function returned a null object" } ),
               steps() );
    EXPECT_FALSE( isEntered( 9 ) );
}

TEST_F( MultiDeviceTest, MissingKeyGivesNullAndATrace ) {
    create( boxText( 9 ) );
    host().lines.clear();
    EXPECT_EQ( nullptr, box->getDeviceDriverArg( "middle" ) );
    EXPECT_EQ( ( std::vector<FakeHost::Line>{
                   { 0, "Failed to find driverArgs for driver key 'middle'" } } ),
               host().lines );
}

TEST_F( MultiDeviceTest, MissingKeyAddsNothing ) {
    Box &empty = boxWith( "" );
    for ( size_t place = 0; place < classes; ++place ) {
        SCOPED_TRACE( place );
        host().lines.clear();
        EXPECT_EQ( nullptr, add( empty, place, "middle" ) );
        EXPECT_EQ( ( std::vector<FakeHost::Line>{
                       { 0, "Failed to find driverArgs for driver key 'middle'" } } ),
                   host().lines );
    }
    EXPECT_EQ( std::vector<size_t>( classes, 0 ), empty.counts() );
}

TEST_F( MultiDeviceTest, AddedRecordGoesIntoTheListOfItsClass ) {
    Box &full = boxWith( part( "Part" ) );
    for ( size_t place = 0; place < classes; ++place ) {
        SCOPED_TRACE( place );
        std::vector<size_t> expected = full.counts();
        ++expected.at( place );
        EXPECT_NE( nullptr, add( full, place, "part" ) );
        EXPECT_EQ( expected, full.counts() );
    }
}

TEST_F( MultiDeviceTest, NullRecordIsKeptToo ) {
    Box &full = boxWith( part( "RefusingPart" ) );
    driver( "RefusingPart", [] { return nullptr; } );
    for ( size_t place = 0; place < classes; ++place ) {
        SCOPED_TRACE( place );
        EXPECT_EQ( nullptr, add( full, place, "part" ) );
    }
    EXPECT_EQ( std::vector<size_t>( classes, 1 ), full.counts() );
}

TEST_F( MultiDeviceTest, ListKeepsTheOrderOfAdding ) {
    Box &full = boxWith( part( "Part" ) );
    pl_fan *first = full.addFan( "part" );
    full.deviceDriverArgsIs( { { "part", "{" } } );
    EXPECT_EQ( nullptr, full.addFan( "part" ) );
    full.deviceDriverArgsIs( { { "part", part( "Part" ) } } );
    pl_fan *last = full.addFan( "part" );
    EXPECT_EQ( ( std::vector<pl_fan *>{ first, nullptr, last } ), Box::records( full.fans_ ) );
}

TEST_F( MultiDeviceTest, EachClassGoesThroughItsOwnEntryPoint ) {
    Box &full = boxWith( part( "Part" ) );
    const void *const tables[classes] = {
        full.addSlot( "part" )->ops, full.addLed( "part" )->ops,  full.addPsu( "part" )->ops,
        full.addFan( "part" )->ops,  full.addXcvr( "part" )->ops, full.addGpio( "part" )->ops,
    };
    const void *const expected[classes] = {
        &LogicalDevice::Slot::ops_, &LogicalDevice::Led::ops_,     &LogicalDevice::Psu::ops_,
        &LogicalDevice::Fan::ops_,  &LogicalDevice::SfpXcvr::ops_, &LogicalDevice::Gpio::ops_,
    };
    EXPECT_TRUE( std::equal( tables, tables + classes, expected ) );
}

TEST_F( MultiDeviceTest, HalfTheClassesTraceTheirArguments ) {
    const std::string arguments = part( "Part" );
    const Strings expected[classes] = {
        {},
        {},
        {},
        { "MultiDevice::addFan driver args = " + arguments },
        { "MultiDevice::addXcvr driver args = " + arguments },
        { "MultiDevice::addGpio driver args = " + arguments },
    };
    Box &full = boxWith( arguments );
    for ( size_t place = 0; place < classes; ++place ) {
        SCOPED_TRACE( place );
        host().lines.clear();
        add( full, place, "part" );
        EXPECT_EQ( expected[place], host().texts( 6 ) );
        EXPECT_EQ( "parsing devArgs = " + arguments, host().texts( 0 ).front() );
    }
}

TEST_F( MultiDeviceTest, ArgumentsAreTracedBeforeTheEntryPointRuns ) {
    boxWith( part( "Part" ) ).addFan( "part" );
    EXPECT_EQ( 6, host().lines.front().level );
}

TEST_F( MultiDeviceTest, SubDeviceWithoutTheClassThrowsAndKeepsNothing ) {
    Box &full = boxWith( text( "GpioDriver", 71 ) );
    EXPECT_THROW( full.addFan( "part" ), NotImplementedException );
    EXPECT_EQ( std::vector<size_t>( classes, 0 ), full.counts() );
}

} // namespace
