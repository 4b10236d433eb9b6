#pragma once

#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/HostServices.h"

namespace Component {

/// What most pl_<class>_add() entry points do: finds or makes the device that the arguments name
/// and has it make a logical device.
/// @param level of the trace that tells which of the two failed
/// @param makerName the maker's name in that trace
/// @return the logical device, or null after the trace
template <typename Logical>
Logical *addDevice( const char *arguments, int level, const char *makerName,
                    Logical *( DeviceBase::*maker )( const Drivers::DriverArgs &args ) ) {
    Drivers::DriverArgs args;
    DeviceBase *device = DeviceBase::create( arguments, args );
    if ( !device ) {
        pl_trace( level, "DeviceBase::create() failed" );
        return nullptr;
    }
    Logical *logical = ( device->*maker )( args );
    if ( !logical ) {
        pl_trace( level, "%s() failed", makerName );
    }
    return logical;
}

} // namespace Component
