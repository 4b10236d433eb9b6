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

std::vector<uint8_t> I2cDevBackend::rootMuxesOf( const BusName &bus ) const {
    return map_.rootMuxesOf( bus );
}

void I2cDevBackend::mapIs( I2cDevMap map ) {
    map_ = std::move( map );
    adapters_.clear();
}

uint64_t I2cDevBackend::open( const BusName &bus ) {
    const std::optional<std::string> device = map_.deviceOf( bus );
    if ( !device ) {
        return 0;
    }
    Adapter &adapter = adapterOf( *device );
    const bool isOpen = adapter.opened && !hasLeft( *device, adapter );
    if ( !isOpen ) {
        openAnew( *device, adapter );
    }
    const std::lock_guard lock( mutex_ );
    uint64_t &opening = openings_[map_.wiresOf( bus )];
    if ( !isOpen && adapter.opened ) {
        opening = ++lastOpening_;
    }
    return adapter.opened ? opening : 0;
}

void I2cDevBackend::openAnew( const std::string &device, Adapter &adapter ) {
    adapter.error = kernel_.open( device, adapter.opened );
    if ( adapter.error == 0 ) {
        adapter.error = adapter.opened->functions( adapter.functions );
    }
    if ( adapter.error != 0 ) {
        adapter.opened.reset();
    }
    if ( std::exchange( adapter.told, adapter.error ) == adapter.error ) {
        return;
    }
    if ( adapter.error == 0 ) {
        logEvent( "%s: opened, functions 0x%08lx", device.c_str(), adapter.functions );
    } else {
        logEvent( "%s: %s", device.c_str(), strerror( adapter.error ) );
    }
}

// The kernel keeps an adapter that was unplugged, and its number, until nobody has it open; but it
// lets nobody open it again. So what opens, with the same number, is the one that is open already.
// One that has left is closed at once: the kernel waits for that.
bool I2cDevBackend::hasLeft( const std::string &device, Adapter &adapter ) {
    std::unique_ptr<I2cAdapter> again;
    const int error = kernel_.open( device, again );
    const bool left = error == 0 ? again->deviceNumber() != adapter.opened->deviceNumber()
                                 : causeOf( openErrors, error, Cause::None ) == Cause::NoController;
    if ( left ) {
        adapter.opened.reset();
        adapter.error = error == 0 ? ENODEV : error;
        adapter.told = adapter.error;
        logEvent( "%s: gone", device.c_str() );
    }
    return left;
}

Cause I2cDevBackend::perform( const Operation &operation, std::string &read ) {
    const std::optional<std::string> device = map_.deviceOf( operation.bus );
    if ( !device ) {
        return Cause::NoSuchBus;
    }
    Adapter &adapter = adapterOf( *device );
    if ( !adapter.opened ) {
        return causeOf( openErrors, adapter.error, Cause::ControllerError );
    }
    int error = adapter.opened->chipIs( operation.chip );
    if ( error == EBUSY ) {
        return Cause::ChipInUse;
    }
    if ( error == 0 ) {
        error = i2cTransfer( *adapter.opened, adapter.functions, operation, read );
    }
    // Adapters on a cable have all kinds of numbers for not being there any more.
    if ( error != 0 && error != EOPNOTSUPP && hasLeft( *device, adapter ) ) {
        return Cause::NoController;
    }
    return transferCause( operation, error );
}

} // namespace SmbusServer
