#include "Conformance/CageValues.h"

#include "Conformance/Knobs.h"

namespace Conformance {

namespace {

struct CageLine {
    const char *knob;
    const char *operation;
    pl_status ( *const pl_qsfp_ops::*qsfp )( pl_xcvr *, int * );
    pl_status ( *const pl_sfp_ops::*sfp )( pl_xcvr *, int * );
};
const CageLine cageLines[] = {
    { "interrupt", "getInterrupt", &pl_qsfp_ops::getInterrupt, nullptr },
    { "rx_los", "getRxLos", nullptr, &pl_sfp_ops::getRxLos },
    { "tx_fault", "getTxFault", nullptr, &pl_sfp_ops::getTxFault },
};

auto slotOf( const Device &device, const CageLine &line ) {
    const pl_xcvr_ops *const ops = device.as<pl_xcvr>()->ops;
    return line.sfp != nullptr ? ops->u.sfp.*line.sfp : ops->u.qsfp.*line.qsfp;
}

/// A line that is not there is passed over.
void requireLine( const Device &device, const CageLine &line, double wanted, Tried &tried ) {
    const auto slot = slotOf( device, line );
    if ( slot == nullptr ) {
        tried.passOver( device.entry->name + ": " + line.operation + " is null" );
        return;
    }
    tried.one();
    requireValue( ask( device, line.operation, slot ), wanted, 0 );
}

/// Sets the driven line of a cage, and reads it back where it can be.
void requireOutput( const World &world, const Device &device, const std::string &knob, int value,
                    Tried &tried ) {
    auto *const xcvr = device.as<pl_xcvr>();
    const bool isSfp = xcvr->ops->type == PL_XCVR_SFP;
    const auto set = isSfp ? xcvr->ops->u.sfp.setTxDisable : xcvr->ops->u.qsfp.setReset;
    const auto get = isSfp ? xcvr->ops->u.sfp.getTxDisable : xcvr->ops->u.qsfp.getReset;
    if ( set == nullptr ) {
        tried.passOver( device.entry->name + ( isSfp ? ": setTxDisable" : ": setReset" ) +
                        " is null" );
        return;
    }
    tried.one();
    const std::string what = device.entry->name + ": set to " + std::to_string( value );
    const pl_status status = set( xcvr, value );
    require( status == PL_STATUS_OK, what + ": status " + std::to_string( status ) );
    settle( { device } );
    require( world.number( knob ) == value,
             what + ", and " + knob + " is " + world.get( knob ).value_or( "" ) );
    if ( get != nullptr ) {
        requireValue( ask( device, isSfp ? "getTxDisable" : "getReset", get ), value, 0 );
    }
}

} // namespace

void cageInputs( Subject &subject ) {
    Tried tried( "a transceiver" );
    const std::vector<Device> cages = subject.devices( DeviceClass::xcvr );
    const World &world = subject.world();
    for ( const char *value : { "1", "0" } ) {
        for ( const Device &device : cages ) {
            if ( !world.get( device.entry->name + ".present" ) ) {
                continue;
            }
            world.set( device.entry->name + ".present", "1" );
            for ( const CageLine &line : cageLines ) {
                const std::string knob = device.entry->name + "." + line.knob;
                if ( world.get( knob ) ) {
                    world.set( knob, value );
                }
            }
        }
        settle( cages );
        for ( const Device &device : cages ) {
            const bool isSfp = device.as<pl_xcvr>()->ops->type == PL_XCVR_SFP;
            for ( const CageLine &line : cageLines ) {
                const auto wanted = world.number( device.entry->name + "." + line.knob );
                if ( wanted && ( line.sfp != nullptr ) == isSfp ) {
                    requireLine( device, line, *wanted, tried );
                }
            }
        }
    }
    tried.requireAny();
}

void cagePresence( Subject &subject ) {
    Tried tried( "a transceiver" );
    const World &world = subject.world();
    for ( const char *value : { "0", "1" } ) {
        for ( const Device &device : subject.devices( DeviceClass::xcvr ) ) {
            if ( world.get( device.entry->name + ".present" ) ) {
                world.set( device.entry->name + ".present", value );
            }
        }
        settle( subject.devices( DeviceClass::xcvr ) );
        for ( const Device &device : subject.devices( DeviceClass::xcvr ) ) {
            const auto isThere = world.number( device.entry->name + ".present" );
            if ( !isThere ) {
                continue;
            }
            if ( !hasPresence( device ) ) {
                tried.passOver( device.entry->name + ": getPresence is null" );
                continue;
            }
            tried.one();
            const pl_status wanted = isThere == 1.0 ? PL_STATUS_OK : PL_STATUS_NOT_PRESENT;
            const Answer answer = askCage( device );
            require( answer.status == wanted,
                     statusText( answer ) + " and not " + std::to_string( wanted ) );
        }
    }
    tried.requireAny();
}

void cageOutputs( Subject &subject ) {
    Tried tried( "a transceiver's driven line" );
    const World &world = subject.world();
    for ( const int value : { 1, 0 } ) {
        for ( const Device &device : subject.devices( DeviceClass::xcvr ) ) {
            const bool isSfp = device.as<pl_xcvr>()->ops->type == PL_XCVR_SFP;
            const std::string knob = device.entry->name + ( isSfp ? ".tx_disable" : ".reset" );
            if ( world.get( knob ) ) {
                requireOutput( world, device, knob, value, tried );
            }
        }
    }
    tried.requireAny();
}

} // namespace Conformance
