// Put into the server's program, this makes the kernel's adapters of emulated boards: a device file
// that is a socket is opened by connecting to the board behind it, and the calls of i2c-dev on it
// reach the board's chips. Everything else goes to the real kernel.
//
// The hardened headers define open() themselves, and so do we.
#undef _FORTIFY_SOURCE

#include "tests/support/BoardProcess.h"

#include <array>
#include <cerrno>
#include <cstdarg>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <string>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

using SmbusServer::Cause;
using SmbusServer::Operation;

namespace {

constexpr size_t mostDescriptors = 1024;

struct Adapter {
    bool isOne = false;
    uint8_t chip = 0;
};
std::array<Adapter, mostDescriptors> adapters; // by descriptor

bool isSocket( const char *path ) {
    struct stat file = {};
    return stat( path, &file ) == 0 && S_ISSOCK( file.st_mode );
}

Adapter *adapterOf( int fd ) {
    struct stat file = {};
    const bool is = fd >= 0 && static_cast<size_t>( fd ) < mostDescriptors &&
                    adapters[static_cast<size_t>( fd )].isOne && fstat( fd, &file ) == 0 &&
                    S_ISSOCK( file.st_mode );
    return is ? &adapters[static_cast<size_t>( fd )] : nullptr;
}

int errnoOf( Cause cause ) {
    switch ( cause ) {
    case Cause::None:
        return 0;
    case Cause::NoAcknowledge:
        return ENXIO;
    case Cause::NoController:
        return ENODEV;
    default:
        return EIO;
    }
}

// Bytes and words, with a command or without.
int smbus( int fd, uint8_t chip, const i2c_smbus_ioctl_data &call ) {
    const bool reading = call.read_write == I2C_SMBUS_READ;
    const unsigned length = call.size == I2C_SMBUS_BYTE        ? 0
                            : call.size == I2C_SMBUS_BYTE_DATA ? 1
                                                               : 2;
    std::string data;
    for ( unsigned i = 0; !reading && i < length; ++i ) {
        data += static_cast<char>( call.data->word >> ( 8 * i ) );
    }
    const Operation operation = { .bus = { .master = Smbus::I2C },
                                  .chip = chip,
                                  .reg = call.command,
                                  .type = reading ? Smbus::READ : Smbus::WRITE,
                                  .length = length,
                                  .data = data };
    std::string read;
    const Cause cause = RemoteBoard::performOn( fd, operation, read );
    for ( size_t i = 0; reading && i < read.size() && i < 2; ++i ) {
        ( i == 0 ? call.data->byte : call.data->block[1] ) = static_cast<uint8_t>( read[i] );
    }
    return errnoOf( cause );
}

int adapterCall( int fd, Adapter &adapter, unsigned long request, void *argument ) {
    switch ( request ) {
    case I2C_FUNCS:
        *static_cast<unsigned long *>( argument ) =
            I2C_FUNC_SMBUS_BYTE | I2C_FUNC_SMBUS_BYTE_DATA | I2C_FUNC_SMBUS_WORD_DATA;
        return 0;
    case I2C_SLAVE:
        adapter.chip = static_cast<uint8_t>( reinterpret_cast<uintptr_t>( argument ) );
        return 0;
    case I2C_SMBUS:
        return smbus( fd, adapter.chip, *static_cast<i2c_smbus_ioctl_data *>( argument ) );
    default:
        return ENOTTY;
    }
}

} // namespace

extern "C" int open( const char *path, int flags, ... ) {
    if ( isSocket( path ) ) {
        const int fd =
            RemoteBoard::connectTo( path, ( flags & O_CLOEXEC ) != 0 ? SOCK_CLOEXEC : 0 );
        if ( fd >= 0 ) {
            adapters.at( static_cast<size_t>( fd ) ) = { .isOne = true };
        }
        return fd;
    }
    va_list arguments;
    va_start( arguments, flags );
    const bool creates = ( flags & ( O_CREAT | O_TMPFILE ) ) != 0;
    const unsigned mode = creates ? va_arg( arguments, unsigned ) : 0;
    va_end( arguments );
    return static_cast<int>( syscall( SYS_openat, AT_FDCWD, path, flags, mode ) );
}

extern "C" int ioctl( int fd, unsigned long request, ... ) {
    va_list arguments;
    va_start( arguments, request );
    void *argument = va_arg( arguments, void * );
    va_end( arguments );
    Adapter *adapter = adapterOf( fd );
    if ( adapter == nullptr ) {
        return static_cast<int>( syscall( SYS_ioctl, fd, request, argument ) );
    }
    errno = adapterCall( fd, *adapter, request, argument );
    return errno == 0 ? 0 : -1;
}
