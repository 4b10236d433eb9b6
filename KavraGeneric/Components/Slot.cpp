#include "KavraGeneric/Components/Slot.h"

#include "KavraGeneric/Components/AddDevice.h"
#include "KavraGeneric/HostServices.h"

#include <cstddef>
#include <utility>

namespace Component::LogicalDevice {

Slot::Slot( uint8_t index, DriverSpecificArgs args, const char *json )
    : host_( &ops_, this ), slotIndex_( index ), slotArgs_( std::move( args ) ), json_( json ) {}

Slot::~Slot() = default;

pl_status Slot::getPresenceCallback( pl_slot *slot, char **fdl ) {
    pl_trace( 4, "%s(%p)", "getPresenceCallback", static_cast<const void *>( slot ) );
    return HostRecord<pl_slot, Slot>::deviceOf( slot ).getPresence( fdl );
}

const pl_slot_ops Slot::ops_ = {
    .size = sizeof( pl_slot_ops ),
    .reserved = 0,
    .getPresence = getPresenceCallback,
};
static_assert( sizeof( pl_slot_ops ) == 16 );
static_assert( offsetof( pl_slot_ops, getPresence ) == 8 );

} // namespace Component::LogicalDevice

pl_slot *pl_slot_add( const char *arguments ) {
    auto *slot = Component::addDevice( arguments, 0, "newSlot", &Component::DeviceBase::newSlot );
    return slot ? slot->record() : nullptr;
}
