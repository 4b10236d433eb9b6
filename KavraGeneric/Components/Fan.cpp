#include "KavraGeneric/Components/Fan.h"

#include "KavraGeneric/Components/AddDevice.h"
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
    auto *fan = Component::addDevice( arguments, 0, "newFan", &Component::DeviceBase::newFan );
    return fan ? fan->record() : nullptr;
}
