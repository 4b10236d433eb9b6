//     STATUS_WORD         13 INPUT   11 POWER_GOOD#   10 FANS    6 OFF   3 VIN_UV   2 TEMPERATURE
//                         1 CML      0 none of the low byte's others
//     STATUS_INPUT        5 undervoltage warning   4 undervoltage   3 off for low input
//     STATUS_TEMPERATURE  7 overtemperature   6 overtemperature warning
//     STATUS_CML          7 command not supported   6 data not supported   5 packet error code
//                         1 other
//     STATUS_FANS_1_2     7 fan 1   6 fan 2
#include "EmulatedBoard/PmbusStatus.h"

#include <array>
#include <cstddef>

namespace EmulatedBoard {

namespace {

constexpr unsigned wordInput = 1U << 13;
constexpr unsigned wordPowerNotGood = 1U << 11;
constexpr unsigned wordFans = 1U << 10;
constexpr unsigned wordOff = 1U << 6;
constexpr unsigned wordInputLow = 1U << 3;
constexpr unsigned wordTemperature = 1U << 2;
constexpr unsigned wordCommunication = 1U << 1;
constexpr unsigned wordOther = 1U << 0;

constexpr unsigned inputWeak = 0x20;
constexpr unsigned inputLow = 0x10;
constexpr unsigned inputOff = 0x08;
constexpr unsigned temperatureFault = 0x80;
constexpr unsigned temperatureWarning = 0x40;
constexpr std::array<unsigned, 2> fanFaults = { 0x80, 0x40 };

} // namespace

PmbusStatus PmbusStatus::of( const SupplyWorld &world, const SupplyState &state ) {
    PmbusStatus status;
    if ( world.inputVoltage < SupplyModel::weakInput ) {
        status.input |= inputWeak;
    }
    if ( !state.inputGood ) {
        status.input |= inputLow | inputOff;
    }
    const double hotSpot = state.temperatures[1];
    if ( hotSpot > SupplyModel::warmHotSpot ) {
        status.temperature |= temperatureWarning;
    }
    if ( hotSpot > SupplyModel::tooWarmHotSpot ) {
        status.temperature |= temperatureFault;
    }
    for ( std::size_t fan = 0; fan < fanFaults.size(); ++fan ) {
        status.fans |= world.fanFault[fan] ? fanFaults[fan] : 0;
    }
    return status;
}

void PmbusStatus::add( const PmbusStatus &more ) {
    input |= more.input;
    temperature |= more.temperature;
    communication |= more.communication;
    fans |= more.fans;
}

// OFF and POWER_GOOD# tell what is; the other bits what was since they were cleared. The low byte
// has no bit for a fan and for an input that is weak and no more.
unsigned PmbusStatus::word( bool outputOn ) const {
    unsigned status = outputOn ? 0 : wordOff | wordPowerNotGood;
    status |= input != 0 ? wordInput : 0;
    status |= ( input & inputLow ) != 0 ? wordInputLow : 0;
    status |= temperature != 0 ? wordTemperature : 0;
    status |= communication != 0 ? wordCommunication : 0;
    status |= fans != 0 ? wordFans : 0;
    status |= fans != 0 || ( input & inputWeak ) != 0 ? wordOther : 0;
    return status;
}

} // namespace EmulatedBoard
