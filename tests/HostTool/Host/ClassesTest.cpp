/// What a class makes of the readings of its devices.
#include "HostTool/Host/Classes.h"

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
