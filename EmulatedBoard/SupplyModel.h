#pragma once

#include <array>

namespace EmulatedBoard {

/// What surrounds a power supply and what it is told to do.
struct SupplyWorld {
    double inputVoltage = 230;          ///< V
    double load = 275;                  ///< W that the switch draws
    double ambient = 25;                ///< °C of the air that comes in
    bool outputOn = true;               ///< both the line and the command say so
    std::array<bool, 2> fanFault = {};  ///< a fan that stands still
    std::array<double, 2> fanDuty = {}; ///< % that is asked for; the supply may need more
};

/// How a supply does in it, all at rest: nothing takes time.
struct SupplyState {
    bool inputGood;
    bool outputOn;
    double inputCurrent;
    double inputPower;
    double outputVoltage;
    double outputCurrent;
    double outputPower;
    std::array<double, 3> temperatures; ///< °C: air that comes in, hot spot, air that goes out
    std::array<double, 2> fanSpeeds;    ///< rpm
};

/// A 550 W, 12 V supply with two fans. Above its rating it goes on; nothing breaks.
struct SupplyModel {
    static constexpr double ratedPower = 550;     ///< W
    static constexpr double lowestInput = 85;     ///< V, below it the supply is off
    static constexpr double weakInput = 90;       ///< V
    static constexpr double fullSpeed = 20000;    ///< rpm at 100 %
    static constexpr double warmHotSpot = 95;     ///< °C
    static constexpr double tooWarmHotSpot = 105; ///< °C

    static SupplyState stateIn( const SupplyWorld &world );
};

} // namespace EmulatedBoard
