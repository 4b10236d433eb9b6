#pragma once

#include "tests/soak/Device.h"

#include <array>
#include <cstdint>

namespace Soak {

/// One LM75 of the board.
struct Sensor {
    std::string_view name;
    double temperature = 25; ///< in the world
    double converted = 25;   ///< what the chip has converted last
    bool asleep = false;

    void temperatureIs( double celsius );
    void asleepIs( bool isAsleep );
    /// The temperature register: 1/256 °C a unit, in steps of 0.125 °C.
    int registerContent() const;
    /// What the driver makes of it: half degrees, the half away from zero below zero too.
    float reading() const;
};

/// The six LM75 of the board. The one of the CPU board is there three times: as a sensor, raw, and
/// as the bit that puts it to sleep.
class Sensors : public Part {
  public:
    std::unique_ptr<Device> device( const Entry &entry, void *record ) override;
    void begin( World &world ) override;
    void change( Random &random, World &world, std::string_view turn ) override;
    void setByHost( Random &random, Judge &judge ) override;

  private:
    void readRaw( pl_smbus *raw, Judge &judge ) const;

    std::array<Sensor, 6> sensors_ = { { { "inlet" },
                                         { "asic-left" },
                                         { "asic-right" },
                                         { "outlet" },
                                         { "rear" },
                                         { "cpu-board" } } };
    Sensor &cpuBoard_ = sensors_.back();
    pl_gpio *sleepBit_ = nullptr;
};

} // namespace Soak
