#include "KavraGeneric/Components/Gpio.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/HostServices.h"

#include <cstddef>

namespace Component::LogicalDevice {

Gpio::Gpio() : host_( &ops_, this ) {}

Gpio::~Gpio() = default;

pl_status Gpio::bitSetCallback( pl_gpio *gpio ) {
    pl_trace( 4, "%s", "bitSetCallback" );
    return HostRecord<pl_gpio, Gpio>::deviceOf( gpio ).bitSet();
}

pl_status Gpio::bitClearCallback( pl_gpio *gpio ) {
    pl_trace( 4, "%s", "bitClearCallback" );
    return HostRecord<pl_gpio, Gpio>::deviceOf( gpio ).bitClear();
}

pl_status Gpio::bitReadCallback( pl_gpio *gpio, unsigned int *value ) {
    pl_trace( 4, "%s", "bitReadCallback" );
    return HostRecord<pl_gpio, Gpio>::deviceOf( gpio ).bitRead( value );
}

const pl_gpio_ops Gpio::ops_ = {
    .size = sizeof( pl_gpio_ops ),
    .reserved = 0,
    .bitSet = bitSetCallback,
    .bitClear = bitClearCallback,
    .bitRead = bitReadCallback,
};
static_assert( sizeof( pl_gpio_ops ) == 32 );
static_assert( offsetof( pl_gpio_ops, bitSet ) == 8 );
static_assert( offsetof( pl_gpio_ops, bitClear ) == 16 );
static_assert( offsetof( pl_gpio_ops, bitRead ) == 24 );

static int numberArgument( const Drivers::DriverArgs &args, const char *key ) {
    const auto it = args.driverArgs.find( key );
    assert( it != args.driverArgs.end() );
    return std::stoi( it->second );
}

// Positions count modulo 32, so one beyond the register reads as 0 and changes nothing.
static uint8_t bitMask( int bitpos ) {
    return static_cast<uint8_t>( 1U << ( static_cast<unsigned>( bitpos ) % 32 ) );
}

RegGpio::RegGpio( HardwareDevice *device, const Drivers::DriverArgs &args )
    : device_( device ), register_( numberArgument( args, "register" ) ),
      bitpos_( numberArgument( args, "bitpos" ) ) {}

pl_status RegGpio::bitRead( unsigned int *value ) {
    uint8_t content = 0;
    const int status = device_->access().read8( static_cast<unsigned>( register_ ), &content );
    if ( status == PL_STATUS_OK ) {
        *value = ( content & bitMask( bitpos_ ) ) != 0 ? 1 : 0;
    }
    return status;
}

pl_status RegGpio::bitSet() {
    uint8_t content = 0;
    if ( !writeOnly_ ) {
        const int status = device_->access().read8( static_cast<unsigned>( register_ ), &content );
        if ( status != PL_STATUS_OK ) {
            return status;
        }
    }
    content = static_cast<uint8_t>( content | bitMask( bitpos_ ) );
    return device_->access().write8( static_cast<unsigned>( register_ ), content, false );
}

pl_status RegGpio::bitClear() {
    uint8_t content = 0xFF;
    if ( !writeOnly_ ) {
        const int status = device_->access().read8( static_cast<unsigned>( register_ ), &content );
        if ( status != PL_STATUS_OK ) {
            return status;
        }
    }
    content = static_cast<uint8_t>( content & ~bitMask( bitpos_ ) );
    return device_->access().write8( static_cast<unsigned>( register_ ), content, false );
}

} // namespace Component::LogicalDevice

pl_gpio *pl_gpio_add( const char *arguments ) {
    Drivers::DriverArgs args;
    auto *device = Component::DeviceBase::create( arguments, args );
    auto *hardware = dynamic_cast<Component::HardwareDevice *>( device );
    if ( !hardware ) {
        return nullptr;
    }
    Component::LogicalDevice::Gpio *gpio = hardware->newGpio( args );
    return gpio ? gpio->record() : nullptr;
}
