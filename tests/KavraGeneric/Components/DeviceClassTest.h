#pragma once

#include "tests/support/FakeHost.h"
#include "tests/support/LibraryFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Component::LogicalDevice {
class Fan;
class Gpio;
class Led;
class Psu;
class QsfpXcvr;
class SfpXcvr;
class Slot;
class SmbusProxy;
class TempSensor;
} // namespace Component::LogicalDevice

/// What a device of the driver "Test" hands out. Null is a refusal.
struct Offer {
    Component::LogicalDevice::Fan *fan = nullptr;
    Component::LogicalDevice::Gpio *gpio = nullptr;
    Component::LogicalDevice::Led *led = nullptr;
    Component::LogicalDevice::Psu *psu = nullptr;
    Component::LogicalDevice::QsfpXcvr *qsfpXcvr = nullptr;
    Component::LogicalDevice::SfpXcvr *sfpXcvr = nullptr;
    Component::LogicalDevice::Slot *slot = nullptr;
    Component::LogicalDevice::SmbusProxy *smbusProxy = nullptr;
    Component::LogicalDevice::TempSensor *tempSensor = nullptr;

    std::vector<std::string> asked; ///< "newFan", "newSfpXcvr 3", in order
    int devicesMade = 0;
};

/// Puts a driver "Test" into the registry, so that entry points reach logical devices of the test's
/// own.
class DeviceClassTest : public LibraryFixture {
  protected:
    /// A status that no part of the library gives: it can only have been passed on.
    static constexpr int itsOwnStatus = -77;

    DeviceClassTest();
    ~DeviceClassTest() override;

    /// The traces so far, each "level text".
    static std::vector<std::string> traces();
    /// Those after the first that has this text.
    static std::vector<std::string> tracesAfter( const std::string &text );
    /// A pointer as "%p" prints it.
    static std::string printed( const void *pointer );

    /// Needs no access method.
    static constexpr const char *testDevice =
        R"({ "did": 7, "driver": "Test", "provideHam": 0, "address": { "address": 72 } })";
    /// The same with driver arguments, given as the members of a JSON object.
    static const char *testDeviceWith( const std::string &driverArgs );

    Offer offer;
};
