#include "tests/KavraGeneric/Components/DeviceClassTest.h"

#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Drivers/Registry.h"

#include <cstdio>
#include <deque>

namespace {

using Drivers::DriverArgs;
namespace LogicalDevice = Component::LogicalDevice;

class TestDevice final : public Component::HardwareDevice {
  public:
    explicit TestDevice( Offer &offer ) : offer_( offer ) { ++offer.devicesMade; }

    LogicalDevice::Fan *newFan( const DriverArgs & ) override {
        return give( "newFan", offer_.fan );
    }
    LogicalDevice::Gpio *newGpio( const DriverArgs & ) override {
        return give( "newGpio", offer_.gpio );
    }
    LogicalDevice::Led *newLed( const DriverArgs & ) override {
        return give( "newLed", offer_.led );
    }
    LogicalDevice::Psu *newPsu( const DriverArgs & ) override {
        return give( "newPsu", offer_.psu );
    }
    LogicalDevice::QsfpXcvr *newQsfpXcvr( unsigned id, const DriverArgs & ) override {
        return give( "newQsfpXcvr " + std::to_string( id ), offer_.qsfpXcvr );
    }
    LogicalDevice::SfpXcvr *newSfpXcvr( unsigned id, const DriverArgs & ) override {
        return give( "newSfpXcvr " + std::to_string( id ), offer_.sfpXcvr );
    }
    LogicalDevice::Slot *newSlot( const DriverArgs & ) override {
        return give( "newSlot", offer_.slot );
    }
    LogicalDevice::SmbusProxy *newSmbusProxy( const DriverArgs & ) override {
        return give( "newSmbusProxy", offer_.smbusProxy );
    }
    LogicalDevice::TempSensor *newTempSensor( const DriverArgs & ) override {
        return give( "newTempSensor", offer_.tempSensor );
    }

  private:
    template <typename Device>
    Device *give( const std::string &asked, Device *device ) {
        offer_.asked.push_back( asked );
        return device;
    }

    Offer &offer_;
};

} // namespace

DeviceClassTest::DeviceClassTest() {
    GTEST_FLAG_SET( death_test_style, "threadsafe" );
    Drivers::drivers["Test"] = [this]( const DriverArgs &, Ham::Ham * ) {
        return new TestDevice( offer );
    };
}

DeviceClassTest::~DeviceClassTest() {
    Drivers::drivers.erase( "Test" );
}

std::vector<std::string> DeviceClassTest::traces() {
    std::vector<std::string> found;
    for ( const FakeHost::Line &line : FakeHost::get().lines ) {
        found.push_back( std::to_string( line.level ) + " " + line.text );
    }
    return found;
}

std::vector<std::string> DeviceClassTest::tracesAfter( const std::string &text ) {
    const std::vector<std::string> all = traces();
    for ( auto line = all.begin(); line != all.end(); ++line ) {
        if ( line->substr( 2 ) == text ) {
            return { line + 1, all.end() };
        }
    }
    return { "no trace: " + text };
}

std::string DeviceClassTest::printed( const void *pointer ) {
    char text[32];
    std::snprintf( text, sizeof text, "%p", pointer );
    return text;
}

const char *DeviceClassTest::testDeviceWith( const std::string &driverArgs ) {
    static std::deque<std::string> texts; // devices keep pointers to theirs
    texts.push_back( R"({ "did": 7, "driver": "Test", "provideHam": 0, )"
                     R"("address": { "address": 72 }, "driverArgs": { )" +
                     driverArgs + " } }" );
    return texts.back().c_str();
}
