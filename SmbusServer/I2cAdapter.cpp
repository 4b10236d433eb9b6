#include "SmbusServer/I2cAdapter.h"

#include "SmbusServer/Descriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <utility>

extern "C" {
#include <i2c/smbus.h>
}

namespace SmbusServer {

namespace {

int errnoOf( int result ) {
    return result < 0 ? errno : 0;
}

class LinuxAdapter : public I2cAdapter {
  public:
    explicit LinuxAdapter( Descriptor descriptor ) : descriptor_( std::move( descriptor ) ) {}

    uint64_t deviceNumber() override {
        struct stat file = {};
        fstat( descriptor_.get(), &file );
        return file.st_rdev;
    }
    int functions( unsigned long &mask ) override {
        return errnoOf( ioctl( descriptor_.get(), I2C_FUNCS, &mask ) );
    }
    int chipIs( uint8_t address ) override {
        return errnoOf( ioctl( descriptor_.get(), I2C_SLAVE, static_cast<long>( address ) ) );
    }
    int pecIs( bool on ) override {
        return errnoOf( ioctl( descriptor_.get(), I2C_PEC, on ? 1L : 0L ) );
    }
    int smbus( uint8_t readWrite, uint8_t command, int size, i2c_smbus_data &data ) override {
        return -i2c_smbus_access( descriptor_.get(), static_cast<char>( readWrite ), command, size,
                                  &data );
    }
    int transfer( std::span<i2c_msg> messages ) override {
        i2c_rdwr_ioctl_data call = { .msgs = messages.data(),
                                     .nmsgs = static_cast<uint32_t>( messages.size() ) };
        return errnoOf( ioctl( descriptor_.get(), I2C_RDWR, &call ) );
    }

  private:
    Descriptor descriptor_;
};

class LinuxKernel : public I2cKernel {
  public:
    int open( const std::string &device, std::unique_ptr<I2cAdapter> &adapter ) override {
        Descriptor opened( ::open( device.c_str(), O_RDWR | O_CLOEXEC ) );
        if ( !opened.valid() ) {
            return errno;
        }
        adapter = std::make_unique<LinuxAdapter>( std::move( opened ) );
        return 0;
    }
};

} // namespace

I2cKernel &linuxKernel() {
    static LinuxKernel kernel;
    return kernel;
}

} // namespace SmbusServer
