#pragma once

#include "KavraGeneric/Components/HostRecord.h"

#include <PlatformLibrary/pl.h>

namespace Component::LogicalDevice {

/// Raw SMBus access to one chip: the command (register) byte first, then the data.
class SmbusProxy {
  public:
    SmbusProxy();
    SmbusProxy( const SmbusProxy & ) = delete;
    SmbusProxy &operator=( const SmbusProxy & ) = delete;

    /// PL_STATUS_NOT_SUPPORTED here: the server has no such request.
    virtual pl_status quickCommand( int readWrite );
    virtual pl_status receiveByte( unsigned char *value ) = 0;
    virtual pl_status sendByte( unsigned char value ) = 0;
    virtual pl_status readByte( unsigned char command, unsigned char *value ) = 0;
    virtual pl_status writeByte( unsigned char command, unsigned char value ) = 0;
    virtual pl_status readWord( unsigned char command, unsigned short *value ) = 0;
    virtual pl_status writeWord( unsigned char command, unsigned short value ) = 0;
    virtual pl_status blockRead( unsigned char command, unsigned char *data,
                                 unsigned int *length ) = 0;
    virtual pl_status blockWrite( unsigned char command, const unsigned char *data,
                                  unsigned int length ) = 0;
    virtual pl_status i2cBlockRead( unsigned char command, unsigned char *data,
                                    unsigned int length ) = 0;
    virtual pl_status i2cBlockWrite( unsigned char command, const unsigned char *data,
                                     unsigned int length ) = 0;
    virtual pl_status processCall( unsigned char command, unsigned short value,
                                   unsigned short *result ) = 0;
    /// PL_STATUS_NOT_SUPPORTED here: the server has no such request.
    virtual pl_status blockProcessCall( unsigned char command, const unsigned char *data,
                                        unsigned char length, unsigned char *result,
                                        unsigned char *resultLength );
    virtual ~SmbusProxy();

    pl_smbus *record() { return &host_.record; }

    static pl_status quickCommandCallback( pl_smbus *smbus, int readWrite );
    static pl_status receiveByteCallback( pl_smbus *smbus, unsigned char *value );
    static pl_status sendByteCallback( pl_smbus *smbus, unsigned char value );
    static pl_status readByteCallback( pl_smbus *smbus, unsigned char command,
                                       unsigned char *value );
    static pl_status writeByteCallback( pl_smbus *smbus, unsigned char command,
                                        unsigned char value );
    static pl_status readWordCallback( pl_smbus *smbus, unsigned char command,
                                       unsigned short *value );
    static pl_status writeWordCallback( pl_smbus *smbus, unsigned char command,
                                        unsigned short value );
    static pl_status blockReadCallback( pl_smbus *smbus, unsigned char command, unsigned char *data,
                                        unsigned int *length );
    static pl_status blockWriteCallback( pl_smbus *smbus, unsigned char command,
                                         const unsigned char *data, unsigned int length );
    static pl_status i2cBlockReadCallback( pl_smbus *smbus, unsigned char command,
                                           unsigned char *data, unsigned int length );
    static pl_status i2cBlockWriteCallback( pl_smbus *smbus, unsigned char command,
                                            const unsigned char *data, unsigned int length );
    static pl_status processCallCallback( pl_smbus *smbus, unsigned char command,
                                          unsigned short value, unsigned short *result );
    static pl_status blockProcessCallCallback( pl_smbus *smbus, unsigned char command,
                                               const unsigned char *data, unsigned char length,
                                               unsigned char *result, unsigned char *resultLength );
    static const pl_smbus_ops ops_;

  private:
    HostRecord<pl_smbus, SmbusProxy> host_;
};

} // namespace Component::LogicalDevice
