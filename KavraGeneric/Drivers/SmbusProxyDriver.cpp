#include "KavraGeneric/Drivers/SmbusProxyDriver.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/HostServices.h"

#include <cstring>
#include <string>
#include <unistd.h>

namespace Drivers {

namespace {

// What the count byte of a block can say, and hosts have room for. A chip gives no more; an answer
// that does comes from a server that is wrong.
constexpr size_t longestBlock = 255;

// Unsigned, so that a number out of range wraps instead of being undefined.
uint32_t delayUs( const DriverArgs &args, const char *key ) {
    constexpr uint32_t usPerMs = 1000;
    const auto delay = args.driverArgs.find( key );
    return delay == args.driverArgs.end()
               ? 0
               : static_cast<uint32_t>( std::stoi( delay->second ) ) * usPerMs;
}

} // namespace

Component::DeviceBase *SmbusProxyDriver::create( const DriverArgs &, Ham::Ham *ham ) {
    assert( ham );
    ham->retryCountIs( 0 );
    return new SmbusProxyDriver;
}

Component::LogicalDevice::SmbusProxy *SmbusProxyDriver::newSmbusProxy( const DriverArgs &args ) {
    const uint32_t readDelay = delayUs( args, "localReadDelayMs" );
    const uint32_t writeDelay = delayUs( args, "localWriteDelayMs" );
    pl_trace( 0, "setting read delay of %d useconds\n", static_cast<int>( readDelay ) );
    pl_trace( 0, "setting write delay of %d useconds\n", static_cast<int>( writeDelay ) );
    return new SmbusProxy( this, readDelay, writeDelay );
}

SmbusProxyDriver::SmbusProxy::SmbusProxy( SmbusProxyDriver *device, uint32_t readDelayUs,
                                          uint32_t writeDelayUs )
    : device_( device ), readDelayUs_( readDelayUs ), writeDelayUs_( writeDelayUs ) {}

pl_status SmbusProxyDriver::SmbusProxy::afterRead( pl_status status ) const {
    usleep( readDelayUs_ );
    return status;
}

pl_status SmbusProxyDriver::SmbusProxy::afterWrite( pl_status status ) const {
    usleep( writeDelayUs_ );
    return status;
}

pl_status SmbusProxyDriver::SmbusProxy::receiveByte( unsigned char *value ) {
    return afterRead( device_->ham()->recvByte( value ) );
}

pl_status SmbusProxyDriver::SmbusProxy::sendByte( unsigned char value ) {
    return afterWrite( device_->ham()->sendByte( value, false ) );
}

pl_status SmbusProxyDriver::SmbusProxy::readByte( unsigned char command, unsigned char *value ) {
    return afterRead( device_->ham()->read8( command, value ) );
}

pl_status SmbusProxyDriver::SmbusProxy::writeByte( unsigned char command, unsigned char value ) {
    return afterWrite( device_->ham()->write8( command, value, false ) );
}

pl_status SmbusProxyDriver::SmbusProxy::readWord( unsigned char command, unsigned short *value ) {
    return afterRead( device_->ham()->read16( command, value ) );
}

pl_status SmbusProxyDriver::SmbusProxy::writeWord( unsigned char command, unsigned short value ) {
    return afterWrite( device_->ham()->write16( command, value, false ) );
}

pl_status SmbusProxyDriver::SmbusProxy::blockRead( unsigned char command, unsigned char *data,
                                                   unsigned int *length ) {
    std::string text;
    const pl_status status = device_->ham()->readBlock( command, &text );
    if ( text.size() > longestBlock ) {
        pl_trace( 0, "block read of 0x%02x: %zu bytes are no block", command, text.size() );
        *length = 0;
        return PL_STATUS_IO_ERROR;
    }
    *length = static_cast<unsigned>( text.size() );
    memcpy( data, text.data(), text.size() );
    return afterRead( status );
}

pl_status SmbusProxyDriver::SmbusProxy::blockWrite( unsigned char command,
                                                    const unsigned char *data,
                                                    unsigned int length ) {
    return afterWrite( device_->ham()->writeBlock( command, data, length, false ) );
}

pl_status SmbusProxyDriver::SmbusProxy::i2cBlockRead( unsigned char command, unsigned char *data,
                                                      unsigned int length ) {
    std::string text;
    const pl_status status = device_->ham()->read( command, length, &text, false );
    if ( text.size() != length ) {
        return PL_STATUS_IO_ERROR;
    }
    memcpy( data, text.data(), length );
    return afterRead( status );
}

pl_status SmbusProxyDriver::SmbusProxy::i2cBlockWrite( unsigned char command,
                                                       const unsigned char *data,
                                                       unsigned int length ) {
    return afterWrite( device_->ham()->write( command, data, length, false ) );
}

pl_status SmbusProxyDriver::SmbusProxy::processCall( unsigned char command, unsigned short value,
                                                     unsigned short *result ) {
    return afterWrite( device_->ham()->processCall( command, value, result ) );
}

} // namespace Drivers
