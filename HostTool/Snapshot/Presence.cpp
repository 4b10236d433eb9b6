#include "HostTool/Snapshot/Presence.h"

#include <string_view>

namespace HostTool::Snapshot {

/// An empty slot has nothing to say but that; for a part that it does not know the library has a
/// line of its own.
static bool isRefused( const DeviceState &slot ) {
    const Record *description = find( slot.identity, "description" );
    return description && description->status == nameOf( PL_STATUS_NOT_PRESENT ) &&
           !description->reason.empty() &&
           description->reason != meaningOf( PL_STATUS_NOT_PRESENT );
}

Presence presenceOf( const DeviceState &device ) {
    const Record *record = find( device.values, "present" );
    const bool *isPresent = record ? std::get_if<bool>( &record->value ) : nullptr;
    if ( !isPresent ) {
        return Presence::unknown;
    }
    if ( *isPresent ) {
        return Presence::present;
    }
    return isRefused( device ) ? Presence::unrecognised : Presence::absent;
}

std::string partOf( const DeviceState &holder ) {
    constexpr std::string_view suffix = "-slot";
    const bool isSlot = holder.deviceClass == DeviceClass::slot &&
                        holder.name.ends_with( suffix ) && holder.name.size() > suffix.size();
    return isSlot ? holder.name.substr( 0, holder.name.size() - suffix.size() ) : holder.name;
}

} // namespace HostTool::Snapshot
