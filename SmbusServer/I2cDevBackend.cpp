#include "SmbusServer/I2cDevBackend.h"

#include "SmbusServer/I2cTransfer.h"
#include "SmbusServer/Log.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <iterator>
#include <optional>
#include <utility>

namespace SmbusServer {

struct ErrnoRow {
    int error;
    Cause cause;
};

// What opening the device file says.
static constexpr ErrnoRow openErrors[] = {
    { ENOENT, Cause::NoController }, { ENXIO, Cause::NoController },
    { ENODEV, Cause::NoController }, { ENOTDIR, Cause::NoController },
    { ENOTTY, Cause::NoController }, // a file that is no adapter
    { EACCES, Cause::NotPermitted }, { EPERM, Cause::NotPermitted },
};

// What a transfer says, as the kernel's adapters use the numbers.
static constexpr ErrnoRow transferErrors[] = {
    { ENXIO, Cause::NoAcknowledge },
    { EREMOTEIO, Cause::NoAcknowledge }, // older adapters, for address and data alike
    { ENODEV, Cause::NoDevice },
    { EAGAIN, Cause::ArbitrationLost },
    { ETIMEDOUT, Cause::TimedOut },
    { EBUSY, Cause::BusBusy },
    { EPROTO, Cause::BadProtocol },
    { EBADMSG, Cause::BadPacketErrorCode },
    { EOPNOTSUPP, Cause::NotSupported },
    { EINVAL, Cause::NotSupported }, // refused before it reached the wires
};

template <size_t size>
static Cause causeOf( const ErrnoRow ( &rows )[size], int error, Cause otherwise ) {
    const auto *row = std::ranges::find( rows, error, &ErrnoRow::error );
    return row == std::end( rows ) ? otherwise : row->cause;
}

static Cause transferCause( const Operation &operation, int error ) {
    if ( error == 0 ) {
        return Cause::None;
    }
    if ( error == EPROTO && operation.type == Smbus::BLOCK_READ ) {
        return Cause::BadBlockCount;
    }
    return causeOf( transferErrors, error, Cause::ControllerError );
}

I2cDevBackend::I2cDevBackend( I2cKernel &kernel, I2cDevMap map )
    : kernel_( kernel ), map_( std::move( map ) ) {}

bool I2cDevBackend::severalAccelerators( const BusName &bus ) const {
    return map_.severalAccelerators( bus );
}

I2cDevBackend::Adapter &I2cDevBackend::adapterOf( const std::string &device ) {
    const std::lock_guard lock( mutex_ );
    return adapters_[device];
}

int I2cDevBackend::open( const std::string &device, Adapter &adapter ) {
    if ( adapter.opened ) {
        return 0;
    }
    int error = kernel_.open( device, adapter.opened );
    if ( error == 0 ) {
        error = adapter.opened->functions( adapter.functions );
    }
    if ( error != 0 ) {
        adapter.opened.reset();
    }
    if ( std::exchange( adapter.told, error ) == error ) {
        return error;
    }
    if ( error == 0 ) {
        logEvent( "%s: opened, functions 0x%08lx", device.c_str(), adapter.functions );
    } else {
        logEvent( "%s: %s", device.c_str(), strerror( error ) );
    }
    return error;
}

Cause I2cDevBackend::perform( const Operation &operation, std::string &read ) {
    const std::optional<std::string> device = map_.deviceOf( operation.bus );
    if ( !device ) {
        return Cause::NoSuchBus;
    }
    Adapter &adapter = adapterOf( *device );
    int error = open( *device, adapter );
    if ( error != 0 ) {
        return causeOf( openErrors, error, Cause::ControllerError );
    }
    error = adapter.opened->chipIs( operation.chip );
    if ( error == EBUSY ) {
        return Cause::ChipInUse;
    }
    if ( error == 0 ) {
        error = i2cTransfer( *adapter.opened, adapter.functions, operation, read );
    }
    if ( error == ENODEV ) {
        adapter.opened.reset(); // the adapter itself may have been unplugged
    }
    return transferCause( operation, error );
}

} // namespace SmbusServer
