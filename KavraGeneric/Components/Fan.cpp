#include "KavraGeneric/Components/Fan.h"

#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/HostServices.h"

#include <cstddef>

namespace Component::LogicalDevice {

Fan::Fan() : host_( &ops_, this ) {}

Fan::~Fan() = default;

pl_status Fan::debugInfo( char ** ) const {
    return PL_STATUS_OK;
}

pl_status Fan::debugInfoCallback( const pl_fan *fan, char **text ) {
    pl_trace( 4, "%s(%p)", "debugInfoCallback", static_cast<const void *>( fan ) );
    return HostRecord<pl_fan, Fan>::deviceOf( fan ).debugInfo( text );
}

pl_status Fan::getRpmCallback( pl_fan *fan, int *rpm ) {
    pl_trace( 4, "%s(%p)", "getRpmCallback", static_cast<const void *>( fan ) );
    return HostRecord<pl_fan, Fan>::deviceOf( fan ).getRpm( rpm );
}

pl_status Fan::setRpmCallback( pl_fan *fan, int rpm ) {
    pl_trace( 4, "%s(%p, %d)", "setRpmCallback", static_cast<const void *>( fan ), rpm );
    return HostRecord<pl_fan, Fan>::deviceOf( fan ).setRpm( rpm );
}

const pl_fan_ops Fan::ops_ = {
    .size = sizeof( pl_fan_ops ),
    .reserved = 0,
    .debugInfo = debugInfoCallback,
    .getRpm = getRpmCallback,
    .setRpm = setRpmCallback,
};
static_assert( sizeof( pl_fan_ops ) == 32 );
static_assert( offsetof( pl_fan_ops, debugInfo ) == 8 );
static_assert( offsetof( pl_fan_ops, getRpm ) == 16 );
static_assert( offsetof( pl_fan_ops, setRpm ) == 24 );

} // namespace Component::LogicalDevice

pl_fan *pl_fan_add( const char *arguments ) {
    Drivers::DriverArgs args;
    Component::DeviceBase *device = Component::DeviceBase::create( arguments, args );
    if ( !device ) {
        pl_trace( 0, "DeviceBase::create() failed" );
        return nullptr;
    }
    Component::LogicalDevice::Fan *fan = device->newFan( args );
    if ( !fan ) {
        pl_trace( 0, "newFan() failed" );
        return nullptr;
    }
    return fan->record();
}
