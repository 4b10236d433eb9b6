#include "KavraGeneric/Library.h"

#include "KavraGeneric/HostServices.h"
#include "KavraGeneric/Topology/Loader.h"

#include <new>
#include <unistd.h>

PlatformLibrary::PLSocket *_plSock = nullptr;

namespace {

constexpr unsigned secondsBetweenAttempts = 1;

bool connectWithRetries( int retries ) {
    for ( int attempt = 0; attempt < retries; ++attempt ) {
        if ( _plSock->setup() == 0 ) {
            return true;
        }
        sleep( secondsBetweenAttempts );
    }
    return false;
}

void dropSocket() {
    if ( !_plSock ) {
        return;
    }
    if ( _plSock->watcher && pl_fd_watcher_delete ) {
        pl_fd_watcher_delete( static_cast<pl_fd_watcher *>( _plSock->watcher ) );
    }
    if ( _plSock->fd != -1 ) {
        close( _plSock->fd );
        _plSock->fd = -1;
    }
    delete _plSock;
    _plSock = nullptr;
}

} // namespace

pl_status plSockInit( const char *name, int retries ) {
    if ( _plSock ) {
        return PL_STATUS_OK;
    }
    _plSock = new ( std::nothrow ) PlatformLibrary::PLSocket;
    if ( _plSock && connectWithRetries( retries ) ) {
        return PL_STATUS_OK;
    }
    pl_trace( 0, "%s: socket Setup failed!", name );
    dropSocket();
    return PL_STATUS_IO_ERROR;
}

pl_status kavraLibraryInit( const char *name, const char *topology, int retries ) {
    pl_trace( 0, "%s", name );
    pl_trace( 5, "%s: json = %s", name, topology );
    const pl_status status = plSockInit( name, retries );
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    try {
        return Topology::loadTopology( topology );
    } catch ( const std::bad_alloc & ) {
        pl_trace( 0, "%s: no memory for the topology", name );
        return PL_STATUS_FAILED;
    }
}

pl_status pl_slot_init( const char *topology ) {
    return kavraLibraryInit( "pl_slot_init", topology, connectAttempts );
}

pl_status pl_led_init( const char *topology ) {
    return kavraLibraryInit( "pl_led_init", topology, connectAttempts );
}

pl_status pl_temp_sensor_init( const char *topology ) {
    return kavraLibraryInit( "pl_temp_sensor_init", topology, connectAttempts );
}

pl_status pl_fan_init( const char *topology ) {
    return kavraLibraryInit( "pl_fan_init", topology, connectAttempts );
}

pl_status pl_xcvr_init( const char *topology ) {
    return kavraLibraryInit( "pl_xcvr_init", topology, connectAttempts );
}

pl_status pl_psu_init( const char *topology ) {
    return kavraLibraryInit( "pl_psu_init", topology, connectAttempts );
}

pl_status pl_gpio_init( const char *topology ) {
    return kavraLibraryInit( "pl_gpio_init", topology, connectAttempts );
}

pl_status pl_smbus_init( const char *topology ) {
    pl_trace( 7, "%s\n", "pl_smbus_init" );
    return kavraLibraryInit( "pl_smbus_init", topology, connectAttempts );
}
