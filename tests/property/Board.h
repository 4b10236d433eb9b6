#pragma once

#include "tests/property/BusModel.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Property {

/// A mux on the way to a chip.
struct PathMux {
    BusModel::ChipId chip;
    Route route;
    uint8_t control; ///< opens the channel
};

/// A device that the host adds.
struct BoardDevice {
    std::string driver;
    std::string arguments; ///< as the host hands them over
    BusModel::ChipId chip = 0;
    Route route;
    std::vector<PathMux> path; ///< the outermost first
};

/// A board: how it is soldered, how its document draws it, and the devices on it.
struct Board {
    BusModel bus;
    std::string topology;
    std::vector<BoardDevice> devices;
};

/// Media of every kind, muxes up to three deep, chips at any address that is free on their way:
/// equal ones behind different channels are frequent.
Board drawBoard();

/// The settings of every device's arguments.
constexpr int gpioRegister = 0x5C;
constexpr int gpioBit = 5;
constexpr int fanOfDevice = 2;
constexpr int sensorOfDevice = 3;
constexpr int supplyMaxRpm = 18'000;
constexpr int lampRegister = 0x41;

} // namespace Property
