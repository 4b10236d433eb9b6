#include "Conformance/Answers.h"

#include "Conformance/HostServices.h"

#include <bit>
#include <cstdint>
#include <cstdlib>

namespace Conformance {

namespace {

// No device reads as one of these: the first is a NaN that no arithmetic gives.
constexpr uint32_t untouchedBits = 0x7FC5'A5A5;

void requireThere( bool isThere, const std::string &operation ) {
    if ( !isThere ) {
        throw Skipped( operation + " is null" );
    }
}

/// What a device answers through those of its slots that are there.
class Answers {
  public:
    explicit Answers( const Device &device ) : device_( device ) {}

    template <class Value, class Record>
    Answers &with( const char *operation, pl_status ( *slot )( Record *, Value * ) ) {
        if ( slot != nullptr ) {
            all_.push_back( ask( device_, operation, slot ) );
        }
        return *this;
    }
    Answers &withCage() {
        if ( hasPresence( device_ ) ) {
            all_.push_back( askCage( device_ ) );
        }
        return *this;
    }
    std::vector<Answer> all() const { return all_; }

  private:
    const Device &device_;
    std::vector<Answer> all_;
};

std::vector<Answer> readPsu( const Device &device ) {
    const pl_psu_ops *const ops = device.as<pl_psu>()->ops;
    return Answers( device )
        .with( "get_power_ok", ops->get_power_ok )
        .with( "get_input_current", ops->get_input_current )
        .with( "get_output_current", ops->get_output_current )
        .with( "get_input_voltage", ops->get_input_voltage )
        .with( "get_output_voltage", ops->get_output_voltage )
        .with( "get_input_power", ops->get_input_power )
        .with( "get_output_power", ops->get_output_power )
        .all();
}

std::vector<Answer> readCage( const Device &device ) {
    const pl_xcvr_ops *const ops = device.as<pl_xcvr>()->ops;
    Answers answers( device );
    answers.withCage();
    if ( ops->type == PL_XCVR_SFP ) {
        const pl_sfp_ops &sfp = ops->u.sfp;
        return answers.with( "getTxFault", sfp.getTxFault )
            .with( "getRxLos", sfp.getRxLos )
            .with( "getTxDisable", sfp.getTxDisable )
            .all();
    }
    const pl_qsfp_ops &qsfp = ops->u.qsfp;
    return answers.with( "getModSel", qsfp.getModSel )
        .with( "getLpMode", qsfp.getLpMode )
        .with( "getReset", qsfp.getReset )
        .with( "getInterrupt", qsfp.getInterrupt )
        .all();
}

} // namespace

template <class Value, class Record>
Answer ask( const Device &device, const char *operation,
            pl_status ( *slot )( Record *, Value * ) ) {
    const std::string name = device.entry->name + ": " + operation;
    requireThere( slot != nullptr, name );
    auto value = std::bit_cast<Value>( untouchedBits );
    const pl_status status = slot( device.as<Record>(), &value );
    const bool isWritten = std::bit_cast<uint32_t>( value ) != untouchedBits;
    return { name, status, isWritten, isWritten ? static_cast<double>( value ) : 0, {} };
}

template Answer ask( const Device &, const char *, pl_status ( * )( pl_temp_sensor *, float * ) );
template Answer ask( const Device &, const char *, pl_status ( * )( pl_psu *, float * ) );
template Answer ask( const Device &, const char *, pl_status ( * )( pl_psu *, int * ) );
template Answer ask( const Device &, const char *, pl_status ( * )( pl_fan *, int * ) );
template Answer ask( const Device &, const char *, pl_status ( * )( pl_xcvr *, int * ) );
template Answer ask( const Device &, const char *, pl_status ( * )( pl_gpio *, unsigned * ) );

Answer askSlot( const Device &device ) {
    auto *const slot = device.as<pl_slot>();
    const std::string name = device.entry->name + ": getPresence";
    requireThere( slot->ops->getPresence != nullptr, name );
    char untouched = 0;
    char *text = &untouched;
    const pl_status status = slot->ops->getPresence( slot, &text );
    Answer answer = { name, status, text != &untouched, 0, {} };
    if ( answer.isWritten && text != nullptr ) {
        answer.text = text;
        free( text );
    }
    return answer;
}

static auto presenceOf( const pl_xcvr *xcvr ) {
    return xcvr->ops->type == PL_XCVR_SFP ? xcvr->ops->u.sfp.getPresence
                                          : xcvr->ops->u.qsfp.getPresence;
}

bool hasPresence( const Device &device ) {
    return presenceOf( device.as<pl_xcvr>() ) != nullptr;
}

Answer askCage( const Device &device ) {
    auto *const xcvr = device.as<pl_xcvr>();
    const auto slot = presenceOf( xcvr );
    const std::string name = device.entry->name + ": getPresence";
    requireThere( slot != nullptr, name );
    return { name, slot( xcvr ), false, 0, {} };
}

std::vector<Answer> read( const Device &device ) {
    switch ( device.entry->deviceClass ) {
    case DeviceClass::tempSensor:
        return Answers( device )
            .with( "getTemperature", device.as<pl_temp_sensor>()->ops->getTemperature )
            .all();
    case DeviceClass::fan:
        return Answers( device ).with( "getRpm", device.as<pl_fan>()->ops->getRpm ).all();
    case DeviceClass::psu:
        return readPsu( device );
    case DeviceClass::slot:
        return device.as<pl_slot>()->ops->getPresence == nullptr
                   ? std::vector<Answer>()
                   : std::vector<Answer>{ askSlot( device ) };
    case DeviceClass::xcvr:
        return readCage( device );
    case DeviceClass::gpio:
        return Answers( device ).with( "bitRead", device.as<pl_gpio>()->ops->bitRead ).all();
    case DeviceClass::led:
    case DeviceClass::smbus:
    case DeviceClass::system:
        break;
    }
    return {};
}

Answer readOne( const Device &device ) {
    const std::vector<Answer> answers = read( device );
    if ( answers.empty() ) {
        throw Skipped( device.entry->name + ": the operations that read are null" );
    }
    return answers.front();
}

void settle( const std::vector<Device> &devices ) {
    for ( const Device &device : devices ) {
        read( device );
    }
    HostServices::fireTimers();
}

std::string statusText( const Answer &answer ) {
    return answer.operation + ": status " + std::to_string( answer.status );
}

double valueOf( const Answer &answer ) {
    require( answer.status == PL_STATUS_OK, statusText( answer ) );
    return answer.value;
}

} // namespace Conformance
