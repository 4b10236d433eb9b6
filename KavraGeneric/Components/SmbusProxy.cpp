#include "KavraGeneric/Components/SmbusProxy.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/HostServices.h"
#include "KavraGeneric/Topology/Lookup.h"
#include "KavraGeneric/Topology/Topology.h"

#include <cstddef>
#include <cstdio>
#include <string>

namespace Component::LogicalDevice {

SmbusProxy::SmbusProxy() : host_( &ops_, this ) {}

SmbusProxy::~SmbusProxy() = default;

pl_status SmbusProxy::quickCommand( int ) {
    return PL_STATUS_NOT_SUPPORTED;
}

pl_status SmbusProxy::blockProcessCall( unsigned char, const unsigned char *, unsigned char,
                                        unsigned char *, unsigned char * ) {
    return PL_STATUS_NOT_SUPPORTED;
}

static SmbusProxy &proxyOf( const pl_smbus *smbus ) {
    return HostRecord<pl_smbus, SmbusProxy>::deviceOf( smbus );
}

pl_status SmbusProxy::quickCommandCallback( pl_smbus *smbus, int readWrite ) {
    pl_trace( 1, "quickCommandCallback" );
    return proxyOf( smbus ).quickCommand( readWrite );
}

pl_status SmbusProxy::receiveByteCallback( pl_smbus *smbus, unsigned char *value ) {
    pl_trace( 1, "receiveByteCallback" );
    return proxyOf( smbus ).receiveByte( value );
}

pl_status SmbusProxy::sendByteCallback( pl_smbus *smbus, unsigned char value ) {
    pl_trace( 1, "sendByteCallback" );
    return proxyOf( smbus ).sendByte( value );
}

pl_status SmbusProxy::readByteCallback( pl_smbus *smbus, unsigned char command,
                                        unsigned char *value ) {
    pl_trace( 1, "readByteCallback" );
    return proxyOf( smbus ).readByte( command, value );
}

pl_status SmbusProxy::writeByteCallback( pl_smbus *smbus, unsigned char command,
                                         unsigned char value ) {
    pl_trace( 1, "writeByteCallback" );
    return proxyOf( smbus ).writeByte( command, value );
}

pl_status SmbusProxy::readWordCallback( pl_smbus *smbus, unsigned char command,
                                        unsigned short *value ) {
    pl_trace( 1, "readWordCallback" );
    return proxyOf( smbus ).readWord( command, value );
}

pl_status SmbusProxy::writeWordCallback( pl_smbus *smbus, unsigned char command,
                                         unsigned short value ) {
    pl_trace( 1, "writeWordCallback" );
    return proxyOf( smbus ).writeWord( command, value );
}

pl_status SmbusProxy::blockReadCallback( pl_smbus *smbus, unsigned char command,
                                         unsigned char *data, unsigned int *length ) {
    pl_trace( 1, "blockReadCallback" );
    return proxyOf( smbus ).blockRead( command, data, length );
}

pl_status SmbusProxy::blockWriteCallback( pl_smbus *smbus, unsigned char command,
                                          const unsigned char *data, unsigned int length ) {
    pl_trace( 1, "blockWriteCallback" );
    return proxyOf( smbus ).blockWrite( command, data, length );
}

pl_status SmbusProxy::i2cBlockReadCallback( pl_smbus *smbus, unsigned char command,
                                            unsigned char *data, unsigned int length ) {
    pl_trace( 1, "i2cBlockReadCallback" );
    return proxyOf( smbus ).i2cBlockRead( command, data, length );
}

pl_status SmbusProxy::i2cBlockWriteCallback( pl_smbus *smbus, unsigned char command,
                                             const unsigned char *data, unsigned int length ) {
    pl_trace( 1, "i2cBlockWriteCallback" );
    return proxyOf( smbus ).i2cBlockWrite( command, data, length );
}

pl_status SmbusProxy::processCallCallback( pl_smbus *smbus, unsigned char command,
                                           unsigned short value, unsigned short *result ) {
    pl_trace( 1, "processCallCallback" );
    return proxyOf( smbus ).processCall( command, value, result );
}

pl_status SmbusProxy::blockProcessCallCallback( pl_smbus *smbus, unsigned char command,
                                                const unsigned char *data, unsigned char length,
                                                unsigned char *result,
                                                unsigned char *resultLength ) {
    pl_trace( 1, "blockProcessCallCallback" );
    return proxyOf( smbus ).blockProcessCall( command, data, length, result, resultLength );
}

const pl_smbus_ops SmbusProxy::ops_ = {
    .size = sizeof( pl_smbus_ops ),
    .reserved = 0,
    .quickCommand = quickCommandCallback,
    .receiveByte = receiveByteCallback,
    .sendByte = sendByteCallback,
    .readByte = readByteCallback,
    .writeByte = writeByteCallback,
    .readWord = readWordCallback,
    .writeWord = writeWordCallback,
    .blockRead = blockReadCallback,
    .blockWrite = blockWriteCallback,
    .i2cBlockRead = i2cBlockReadCallback,
    .i2cBlockWrite = i2cBlockWriteCallback,
    .processCall = processCallCallback,
    .blockProcessCall = blockProcessCallCallback,
};
static_assert( sizeof( pl_smbus_ops ) == 112 );
static_assert( offsetof( pl_smbus_ops, quickCommand ) == 8 );
static_assert( offsetof( pl_smbus_ops, receiveByte ) == 16 );
static_assert( offsetof( pl_smbus_ops, sendByte ) == 24 );
static_assert( offsetof( pl_smbus_ops, readByte ) == 32 );
static_assert( offsetof( pl_smbus_ops, writeByte ) == 40 );
static_assert( offsetof( pl_smbus_ops, readWord ) == 48 );
static_assert( offsetof( pl_smbus_ops, writeWord ) == 56 );
static_assert( offsetof( pl_smbus_ops, blockRead ) == 64 );
static_assert( offsetof( pl_smbus_ops, blockWrite ) == 72 );
static_assert( offsetof( pl_smbus_ops, i2cBlockRead ) == 80 );
static_assert( offsetof( pl_smbus_ops, i2cBlockWrite ) == 88 );
static_assert( offsetof( pl_smbus_ops, processCall ) == 96 );
static_assert( offsetof( pl_smbus_ops, blockProcessCall ) == 104 );

} // namespace Component::LogicalDevice

// The label of a chip that the topology names by its place: bus<0x50>.
static std::string labelOnBus( const char *bus, unsigned int address ) {
    char suffix[16];
    snprintf( suffix, sizeof suffix, "<0x%02x>", address );
    return std::string( bus ) + suffix;
}

static Component::DeviceBase *deviceOnBus( const char *bus, unsigned int address,
                                           Drivers::DriverArgs &args ) {
    Topology::Device *device = Topology::getDeviceByLabel( labelOnBus( bus, address ).c_str() );
    if ( !device ) {
        pl_trace( 0, "smbus_add failed: device does not exist in topology" );
        return nullptr;
    }
    assert( device->driverArgs );
    device->driverArgs->driver = "SmbusProxyDriver"; // and so it stays, in the topology too
    args = *device->driverArgs;
    return Component::HardwareDevice::create( args, nullptr );
}

pl_smbus *pl_smbus_add( const char *argumentsOrBus, unsigned int address ) {
    pl_trace( 7, "pl_smbus_add( '%s', %u )", argumentsOrBus, address );
    Drivers::DriverArgs args;
    Component::DeviceBase *device = nullptr;
    if ( Topology::isDeviceObject( argumentsOrBus ) ) {
        device = Component::DeviceBase::create( argumentsOrBus, args );
        if ( !device ) {
            pl_trace( 0, "DeviceBase::create() failed" );
        }
    } else {
        device = deviceOnBus( argumentsOrBus, address, args );
    }
    if ( !device ) {
        return nullptr;
    }
    Component::LogicalDevice::SmbusProxy *proxy = device->newSmbusProxy( args );
    if ( !proxy ) {
        pl_trace( 0, "newSmbusProxy() failed" );
        return nullptr;
    }
    return proxy->record();
}
