#include "KavraGeneric/Drivers/GenericSmbusMux.h"

#include "KavraGeneric/Ham/Ham.h"

namespace Drivers {

Component::DeviceBase *GenericSmbusMux::create( const DriverArgs &, Ham::Ham * ) {
    return new GenericSmbusMux;
}

Component::LogicalDevice::Mux *GenericSmbusMux::newMux( const DriverArgs &, unsigned int value ) {
    return new Mux( this, value );
}

GenericSmbusMux::Mux::Mux( GenericSmbusMux *device, uint32_t value )
    : device_( device ), value_( value ) {}

unsigned GenericSmbusMux::Mux::selectRequest( Ham::Ham *ham ) {
    ham->addSendByte( static_cast<uint8_t>( value_ ), false );
    return 1;
}

unsigned GenericSmbusMux::Mux::resetRequest( Ham::Ham *ham ) {
    ham->addSendByte( 0, false );
    return 1;
}

int GenericSmbusMux::Mux::executeMuxRequest() {
    Ham::Ham *ham = device_->ham();
    ham->prepare();
    selectRequest( ham );
    return ham->execute();
}

Component::HardwareDevice *GenericSmbusMux::Mux::device() const {
    return device_;
}

} // namespace Drivers
