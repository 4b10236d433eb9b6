#include "tests/soak/Supplies.h"

#include "EmulatedBoard/PmbusFormat.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace Soak {

using EmulatedBoard::fromLinear11;
using EmulatedBoard::SupplyState;
using EmulatedBoard::toLinear11;

namespace {

constexpr int voutExponent = -9;
constexpr int fullSpeed = 20000;
constexpr const char *knownModels[] = { "DPS550AB6A", "VPS550F-R" };
constexpr const char *unknownModel = "XPS600";

float linear( double value ) {
    return static_cast<float>( fromLinear11( toLinear11( value ) ) );
}

float linear16( double value ) {
    return static_cast<float>(
        std::ldexp( std::round( std::ldexp( value, -voutExponent ) ), voutExponent ) );
}

/// What a supply answers: nobody, when the slot is empty.
template <class Value>
Truth<Value> answered( const Supply &supply, Value value ) {
    return supply.present ? Truth<Value>{ PL_STATUS_OK, value } : Truth<Value>{ PL_STATUS_FAILED };
}

/// A supply and what its readings are called; psu1 tells by a command whether its power is good,
/// psu2 by the slot register.
class SupplyDevice : public Device {
  public:
    SupplyDevice( Supply &supply, pl_psu *psu, bool powerGoodByRegister )
        : supply_( supply ), psu_( psu ), powerGoodByRegister_( powerGoodByRegister ) {}

    void read( Judge &judge ) override {
        const SupplyState state = supply_.state();
        Truth<int> good = answered( supply_, static_cast<int>( supply_.powerGood() ) );
        good.status = powerGoodByRegister_ ? PL_STATUS_OK : good.status;
        judge.read( "get_power_ok", psu_, &pl_psu_ops::get_power_ok, good );
        supply_.faultsAreCleared(); // it begins with that; after a fault the device is read again
        reads( judge, "get_input_voltage", &pl_psu_ops::get_input_voltage,
               linear( supply_.world.inputVoltage ) );
        reads( judge, "get_input_current", &pl_psu_ops::get_input_current,
               linear( state.inputCurrent ) );
        reads( judge, "get_input_power", &pl_psu_ops::get_input_power, linear( state.inputPower ) );
        reads( judge, "get_output_voltage", &pl_psu_ops::get_output_voltage,
               linear16( state.outputVoltage ) );
        reads( judge, "get_output_current", &pl_psu_ops::get_output_current,
               linear( state.outputCurrent ) );
        reads( judge, "get_output_power", &pl_psu_ops::get_output_power,
               linear( state.outputPower ) );
    }

  private:
    void reads( Judge &judge, const char *callback,
                pl_status ( *pl_psu_ops::*slot )( pl_psu *, float * ), float value ) {
        judge.read( callback, psu_, slot, answered( supply_, value ) );
    }

    Supply &supply_;
    pl_psu *psu_;
    bool powerGoodByRegister_;
};

/// A supply without good power, or one whose model is in no table, counts as not there.
class SupplySlot : public Device {
  public:
    SupplySlot( const Supply &supply, pl_slot *slot ) : supply_( supply ), slot_( slot ) {}

    bool isSlot() const override { return true; }
    void read( Judge &judge ) override {
        const bool isKnown =
            std::ranges::find( knownModels, supply_.model ) != std::end( knownModels );
        Truth<std::string> truth = { PL_STATUS_NOT_PRESENT };
        if ( isKnown && supply_.powerGood() ) {
            truth = { PL_STATUS_OK, "PowerSupply " + supply_.model + " { serialNumber '" +
                                        supply_.serial + "' }" };
        }
        char *text = nullptr;
        const pl_status status = slot_->ops->getPresence( slot_, &text );
        const std::string got = text ? text : "";
        free( text );
        judge.check( "getPresence", status, got, truth );
    }

  private:
    const Supply &supply_;
    pl_slot *slot_;
};

} // namespace

// An output that goes off and then on again starts without old faults.
void Supply::worldHasChanged( bool wasOn ) {
    world.outputOn = !outputOff;
    if ( world.outputOn && !wasOn ) {
        faultsAreCleared();
    }
    for ( size_t fan = 0; fan < shownFanFaults.size(); ++fan ) {
        shownFanFaults[fan] = shownFanFaults[fan] || world.fanFault[fan];
    }
}

Supplies::Supplies() {
    supplies_[0].name = supplies_[0].identityName = "psu1";
    supplies_[1].name = "psu2";
    supplies_[1].identityName = "psu2-eeprom";
}

std::unique_ptr<Device> Supplies::lineOf( const Supply &supply, const std::string &line,
                                          pl_gpio *gpio ) {
    return deviceOf( [&supply, gpio, isEmpty = line == "-empty"]( Judge &judge ) {
        const bool isOne = isEmpty ? !supply.present : !supply.powerGood();
        judge.read( "bitRead", gpio, &pl_gpio_ops::bitRead, Truth<unsigned>{ 0, isOne } );
    } );
}

// psu1, psu1-fan1, psu1-inlet, psu1-slot, psu1-empty and so on.
std::unique_ptr<Device> Supplies::device( const Entry &entry, void *record ) {
    if ( !entry.name.starts_with( "psu" ) ) {
        return nullptr;
    }
    const size_t index = entry.name[3] == '1' ? 0 : 1;
    Supply &supply = supplies_[index];
    const std::string role = entry.name.substr( 4 );
    if ( entry.deviceClass == "psu" ) {
        return std::make_unique<SupplyDevice>( supply, static_cast<pl_psu *>( record ),
                                               index == 1 );
    }
    if ( entry.deviceClass == "slot" ) {
        return std::make_unique<SupplySlot>( supply, static_cast<pl_slot *>( record ) );
    }
    if ( entry.deviceClass == "gpio" ) {
        return lineOf( supply, role, static_cast<pl_gpio *>( record ) );
    }
    if ( entry.deviceClass == "fan" ) {
        const size_t fan = role == "-fan1" ? 0 : 1;
        auto *const pl = static_cast<pl_fan *>( record );
        fans_[index].push_back( { pl, fan } );
        return deviceOf( [&supply, pl, fan]( Judge &judge ) {
            Truth<int> rpm =
                answered( supply, static_cast<int>( linear( supply.state().fanSpeeds[fan] ) ) );
            if ( supply.present && supply.shownFanFaults[fan] ) {
                rpm.status = PL_STATUS_BAD_READING;
            }
            judge.read( "getRpm", pl, &pl_fan_ops::getRpm, rpm );
        } );
    }
    const size_t sensor = role == "-inlet" ? 0 : role == "-hot-spot" ? 1 : 2;
    return deviceOf(
        [&supply, sensor, thermometer = static_cast<pl_temp_sensor *>( record )]( Judge &judge ) {
            const float celsius = linear( supply.state().temperatures[sensor] );
            judge.read( "getTemperature", thermometer, &pl_temp_sensor_ops::getTemperature,
                        answered( supply, std::max( celsius, 0.0F ) ) );
        } );
}

void Supplies::begin( World &world ) {
    for ( Supply &supply : supplies_ ) {
        world.set( supply.identityName + ".model", supply.model );
        world.set( supply.identityName + ".serial", supply.serial );
        world.setNumber( supply.name + ".load", supply.world.load );
        world.setNumber( supply.name + ".ambient", supply.world.ambient );
        world.setNumber( supply.name + ".input_voltage", supply.world.inputVoltage );
    }
}

// A supply goes; or one comes, also in the place of another. It is a new one, at times of a model
// that nobody knows, and its registers are as after power-on.
void Supplies::replace( Supply &supply, Random &random, World &world ) {
    world.setSwitch( supply.name + ".present", false );
    supply.present = !supply.present || !random.oneIn( 3 );
    if ( supply.present ) {
        supply.model = random.oneIn( 5 ) ? unknownModel : knownModels[random.below( 2 )];
        supply.serial = "S" + std::to_string( random.below( 1'000'000'000 ) );
        supply.world.fanDuty = {};
        supply.faultsAreCleared();
        world.set( supply.identityName + ".model", supply.model );
        world.set( supply.identityName + ".serial", supply.serial );
        world.setSwitch( supply.name + ".present", true );
    }
}

void Supplies::change( Random &random, World &world, std::string_view ) {
    Supply &supply = supplies_[random.below( supplies_.size() )];
    const bool wasOn = supply.world.outputOn;
    const size_t fan = random.below( 2 );
    switch ( random.below( 8 ) ) {
    case 0:
        supply.world.inputVoltage =
            random.oneIn( 4 ) ? random.between( 0, 95 ) : random.between( 1900, 2500 ) / 10.0;
        world.setNumber( supply.name + ".input_voltage", supply.world.inputVoltage );
        break;
    case 1:
        supply.world.fanFault[fan] = !supply.world.fanFault[fan] && random.oneIn( 3 );
        world.setSwitch( supply.name + ( fan == 0 ? ".fan1_fault" : ".fan2_fault" ),
                         supply.world.fanFault[fan] );
        break;
    case 2:
        supply.outputOff = !supply.outputOff && random.oneIn( 3 );
        world.setSwitch( supply.name + ".output_off", supply.outputOff );
        break;
    case 3:
    case 4:
        replace( supply, random, world );
        break;
    case 5:
        supply.world.ambient = random.between( -400, 500 ) / 10.0;
        world.setNumber( supply.name + ".ambient", supply.world.ambient );
        break;
    default:
        supply.world.load = random.between( 0, 550 );
        world.setNumber( supply.name + ".load", supply.world.load );
        break;
    }
    supply.worldHasChanged( wasOn );
}

void Supplies::setByHost( Random &random, Judge &judge ) {
    const size_t index = random.below( supplies_.size() );
    Supply &supply = supplies_[index];
    const Fan &fan = fans_[index][random.below( fans_[index].size() )];
    const int duty = random.between( 0, 100 );
    const pl_status status = fan.record->ops->setRpm( fan.record, duty * fullSpeed / 100 );
    if ( judge.checkStatus( "setRpm", status, supply.present ? PL_STATUS_OK : PL_STATUS_FAILED ) &&
         supply.present ) {
        supply.world.fanDuty[fan.number] = duty;
    }
}

} // namespace Soak
