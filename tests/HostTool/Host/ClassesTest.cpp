/// What a class makes of the readings of its devices.
#include "HostTool/Host/Classes.h"
#include "HostTool/Host/HostServices.h"

#include <gtest/gtest.h>

using namespace HostTool;

class ClassesTest : public testing::Test {
  protected:
    /// The state of a supply that says this about its power, and reads well otherwise.
    static State supply( Reading powerOk ) {
        Entry entry = {};
        entry.deviceClass = DeviceClass::psu;
        std::vector<Reading> readings( rowOf( DeviceClass::psu ).columns.size(),
                                       Reading::of( 12.0F ) );
        readings.front() = std::move( powerOk );
        return judge( entry, readings );
    }
};

TEST_F( ClassesTest, SupplyWhosePowerIsNotGoodIsBad ) {
    EXPECT_EQ( State::bad, supply( Reading::of( false ) ) );
    EXPECT_EQ( State::ok, supply( Reading::of( true ) ) );
}

TEST_F( ClassesTest, SupplyThatDoesNotTellOfItsPowerIsNotBad ) {
    EXPECT_EQ( State::ok, supply( Reading::unread( "the driver answers without reading it" ) ) );
    EXPECT_EQ( State::ok, supply( { {}, PL_STATUS_NOT_SUPPORTED, "not supported" } ) );
}

TEST_F( ClassesTest, FailureWithoutAWordHasNoWordOfAnotherDevice ) {
    pl_fan_ops ops = {};
    ops.size = sizeof( ops );
    ops.debugInfo = []( const pl_fan *, char ** ) { return pl_status{ PL_STATUS_FAILED }; };
    pl_fan fan = {};
    fan.ops = &ops;
    pl_trace( 0, "%s", "the other device burns" );
    const std::vector<Reading> readings = rowOf( DeviceClass::fan ).read( &fan, Entry{} );
    EXPECT_EQ( meaningOf( PL_STATUS_FAILED ), readings.at( 1 ).reason );
}
