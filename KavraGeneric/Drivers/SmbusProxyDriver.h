#pragma once

#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/SmbusProxy.h"

namespace Drivers {

/// Raw access to one chip for the host, with a delay after each access for chips that need one.
class SmbusProxyDriver final : public Component::HardwareDevice {
  public:
    class SmbusProxy;

    /// Has every batch of the device sent without retries: the host decides what to repeat.
    static Component::DeviceBase *create( const DriverArgs &args, Ham::Ham *ham );

    /// Reads "localReadDelayMs" and "localWriteDelayMs", milliseconds in decimal, 0 when absent.
    /// Throws std::invalid_argument for a text without a leading number.
    Component::LogicalDevice::SmbusProxy *newSmbusProxy( const DriverArgs &args ) override;
};

class SmbusProxyDriver::SmbusProxy final : public Component::LogicalDevice::SmbusProxy {
  public:
    SmbusProxy( SmbusProxyDriver *device, uint32_t readDelayUs, uint32_t writeDelayUs );

    pl_status receiveByte( unsigned char *value ) override;
    pl_status sendByte( unsigned char value ) override;
    pl_status readByte( unsigned char command, unsigned char *value ) override;
    pl_status writeByte( unsigned char command, unsigned char value ) override;
    pl_status readWord( unsigned char command, unsigned short *value ) override;
    pl_status writeWord( unsigned char command, unsigned short value ) override;
    /// Copies as many bytes as the chip gave; on failure *length is 0.
    pl_status blockRead( unsigned char command, unsigned char *data,
                         unsigned int *length ) override;
    pl_status blockWrite( unsigned char command, const unsigned char *data,
                          unsigned int length ) override;
    /// PL_STATUS_IO_ERROR, at once, unless exactly length bytes came: also in place of another
    /// failure.
    pl_status i2cBlockRead( unsigned char command, unsigned char *data,
                            unsigned int length ) override;
    pl_status i2cBlockWrite( unsigned char command, const unsigned char *data,
                             unsigned int length ) override;
    pl_status processCall( unsigned char command, unsigned short value,
                           unsigned short *result ) override;

  private:
    pl_status afterRead( pl_status status ) const;
    pl_status afterWrite( pl_status status ) const;

    SmbusProxyDriver *device_;
    uint32_t readDelayUs_;
    uint32_t writeDelayUs_; // also after a process call
};

} // namespace Drivers
