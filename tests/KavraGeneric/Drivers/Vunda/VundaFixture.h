#pragma once

#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "tests/support/FakeSmbusServer.h"
#include "tests/support/LibraryFixture.h"

#include <deque>
#include <string>
#include <vector>

using Strings = std::vector<std::string>;

/// What the host does with the board's CPLDs: device 7 is alone on its bus, device 8 is behind two
/// muxes.
class VundaHost : public LibraryFixture {
  protected:
    static constexpr const char *topology = R"([
        { "type": "I2C", "ham": "KavraSmbus", "id": 1, "devices": [ { "did": 7 } ] },
        { "type": "SCD", "ham": "KavraSmbus", "pci": 768, "accelerators": [ { "id": 0, "busses": [
            { "id": 3,
              "devices": [ { "did": 100, "driver": "PCA9548", "address": { "address": 112 } } ],
              "muxes": [ { "did": 100, "busses": [
                  { "id": 4,
                    "devices": [ { "did": 101, "driver": "PCA9548",
                                   "address": { "address": 113 } } ],
                    "muxes": [ { "did": 101, "busses": [
                        { "id": 8, "devices": [ { "did": 8 } ] } ] } ] } ] } ] } ] } ] } ])";

    /// The arguments of a device at 0x60; the driver arguments are the members of a JSON object.
    static const char *arguments( const std::string &driver, const std::string &driverArgs,
                                  unsigned did = 7 ) {
        static std::deque<std::string> texts; // devices keep pointers to theirs
        texts.push_back(
            R"({ "name": "cpld", "driver": ")" + driver + R"(", "did": )" + std::to_string( did ) +
            R"(, "address": { "address": 96 }, "driverArgs": { )" + driverArgs + " } }" );
        return texts.back().c_str();
    }

    template <typename Device>
    static Device &device( unsigned did = 7 ) {
        return dynamic_cast<Device &>( *Component::DeviceBase::devices.at( did ) );
    }

    /// The traces of a level, without the access method's.
    static Strings ownTraces( int level ) {
        Strings texts = host().texts( level );
        std::erase( texts, "executing KavraSmbusHam request" );
        return texts;
    }

    static constexpr int untouched = -999;
};

/// The same over the wire.
class VundaTest : protected FakeSmbusServer, public VundaHost {
  protected:
    VundaTest() {
        connect();
        loadTopology( topology );
    }

    /// Forgets what was traced and what went over the wire so far.
    void forgetAll() {
        forget();
        host().lines.clear();
    }
};
