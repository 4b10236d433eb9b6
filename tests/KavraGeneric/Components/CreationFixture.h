#pragma once

#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "tests/support/LibraryFixture.h"

#include <algorithm>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <vector>

using Strings = std::vector<std::string>;

/// A hardware device that tells how it was brought up.
class Probe final : public Component::HardwareDevice {
  public:
    void init() override {
        ++initCount;
        hamAtInit = ham();
        enteredAtInit = std::any_of( devices.begin(), devices.end(),
                                     [this]( const auto &entry ) { return entry.second == this; } );
        duringInit();
    }
    Utils::ExpectedValues &expectedValues() override { return values; }

    int initCount = 0;
    const Ham::Ham *hamAtInit = nullptr;
    bool enteredAtInit = false;
    std::function<void()> duringInit = [] {};
    Utils::ExpectedValues values = { { 0, { 39, 1 } } };
};

/// An access method that notes what the framework tells it.
class NotingHam final : public Ham::Ham {
  public:
    void prepare() override {}
    int execute() override { return 0; }
    void setDriverName( std::string driver, std::string name ) override {
        calls.push_back( "setDriverName(" + driver + ", " + name + ")" );
    }
    void setExpected( Utils::ExpectedValues *table ) override {
        calls.push_back( "setExpected" );
        expected = table;
    }

    Strings calls;
    Utils::ExpectedValues *expected = nullptr;
};

/// A registry with the driver "Probe", and device arguments for it.
class CreationTest : public LibraryFixture {
  protected:
    CreationTest() {
        GTEST_FLAG_SET( death_test_style, "threadsafe" );
        driver( "Probe", [this] { return probe = new Probe; } );
    }

    /// Puts a driver into the registry whose factory does this, and counts its calls.
    void driver( const std::string &name, std::function<Component::DeviceBase *()> factory ) {
        Drivers::drivers[name] = [this, name, factory]( const Drivers::DriverArgs &parsed,
                                                        Ham::Ham *ham ) {
            ++factoryCalls[name];
            factoryArgs = &parsed;
            factoryHam = ham;
            return factory();
        };
    }

    /// Device arguments without an access method, with more members put in front of the others.
    static std::string text( const std::string &driver, unsigned did,
                             const std::string &more = R"("provideHam": 0)" ) {
        return "{ " + more + R"(, "driver": ")" + driver + R"(", "did": )" + std::to_string( did ) +
               R"(, "address": { "address": 72 } })";
    }

    Component::DeviceBase *create( const std::string &arguments ) {
        texts.push_back( arguments );
        args = {};
        return Component::DeviceBase::create( texts.back().c_str(), args );
    }

    static bool isEntered( uint32_t did ) { return Component::DeviceBase::devices.contains( did ); }

    /// The traces of level 0 but the first, which is the arguments' text.
    static Strings steps() {
        Strings all = host().texts( 0 );
        if ( !all.empty() ) {
            all.erase( all.begin() );
        }
        return all;
    }

    std::list<std::string> texts; // devices keep pointers to theirs
    Drivers::DriverArgs args;
    Probe *probe = nullptr; ///< the last one made
    std::map<std::string, int> factoryCalls;
    const Drivers::DriverArgs *factoryArgs = nullptr;
    const Ham::Ham *factoryHam = nullptr;
};
