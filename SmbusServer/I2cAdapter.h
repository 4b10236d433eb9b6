#pragma once

#include <cstdint>
#include <linux/i2c.h>
#include <memory>
#include <span>
#include <string>

namespace SmbusServer {

/// An open adapter of the kernel's i2c-dev: one function, one ioctl. Each returns 0 or an errno.
class I2cAdapter {
  public:
    static constexpr size_t mostMessages = 42;     ///< of one transfer
    static constexpr size_t longestMessage = 8192; ///< bytes

    virtual ~I2cAdapter() = default;

    /// The device number of the file that it was opened by: while it is open no other adapter has
    /// the same.
    virtual uint64_t deviceNumber() = 0;
    /// @param[out] mask I2C_FUNC_… of what the adapter can do.
    virtual int functions( unsigned long &mask ) = 0;
    /// Whom the SMBus calls that follow address.
    /// @return EBUSY when a driver of the kernel holds the chip.
    virtual int chipIs( uint8_t address ) = 0;
    /// Whether the SMBus calls that follow carry a packet error code.
    virtual int pecIs( bool on ) = 0;
    /// @param readWrite I2C_SMBUS_READ or I2C_SMBUS_WRITE.
    /// @param size I2C_SMBUS_BYTE and so on.
    virtual int smbus( uint8_t readWrite, uint8_t command, int size, i2c_smbus_data &data ) = 0;
    /// Messages with a repeated start between them.
    virtual int transfer( std::span<i2c_msg> messages ) = 0;
};

/// Where adapters come from.
class I2cKernel {
  public:
    virtual ~I2cKernel() = default;
    /// @param device for example "/dev/i2c-3".
    /// @param[out] adapter set on success.
    /// @return 0 or an errno.
    virtual int open( const std::string &device, std::unique_ptr<I2cAdapter> &adapter ) = 0;
};

/// The kernel that this program runs on.
I2cKernel &linuxKernel();

} // namespace SmbusServer
