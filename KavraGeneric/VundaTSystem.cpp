#include "KavraGeneric/VundaTSystem.h"

#include "KavraGeneric/HostServices.h"
#include "KavraGeneric/Library.h"

#include <cstddef>

pl_status pl_system_get_reload_cause( pl_system *, char *, long *, char * ) {
    return PL_STATUS_NOT_SUPPORTED;
}

pl_status pl_system_powercycle( pl_system * ) {
    return PL_STATUS_NOT_SUPPORTED;
}

static const pl_system_ops systemOps = {
    .size = sizeof( pl_system_ops ),
    .reserved = 0,
    .unused0 = nullptr,
    .powercycle = pl_system_powercycle,
    .get_reload_cause = pl_system_get_reload_cause,
    .unused1 = nullptr,
};
static_assert( sizeof( pl_system_ops ) == 40 );
static_assert( offsetof( pl_system_ops, powercycle ) == 16 );
static_assert( offsetof( pl_system_ops, get_reload_cause ) == 24 );

pl_status pl_system_init( const char *topology ) {
    return kavraLibraryInit( "pl_system_init", topology, connectAttempts );
}

pl_system *pl_system_add( const char *arguments ) {
    pl_trace( 0, "VundaTSystem::pl_system_add( '%s' )", arguments );
    return new pl_system{ .host = 0, .ops = &systemOps };
}
