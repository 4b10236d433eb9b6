#pragma once

#include "KavraGeneric/Components/HostRecord.h"

#include <PlatformLibrary/pl.h>

#include <map>
#include <string>

namespace Component::LogicalDevice {

/// A place for a part that comes and goes. It keeps what every driver's slot needs of its
/// arguments.
class Slot {
  public:
    using DriverSpecificArgs = std::map<std::string, std::string>;

    /// @param index 0 for the first slot of its kind
    /// @param json  the device-arguments text, the caller's as long as the slot lives; may be null
    explicit Slot( uint8_t index = 0, DriverSpecificArgs args = {}, const char *json = nullptr );
    Slot( const Slot & ) = delete;
    Slot &operator=( const Slot & ) = delete;
    virtual ~Slot();

    /// @param[out] fdl description text of the part, malloc()ed, the host's to free
    virtual pl_status getPresence( char **fdl ) = 0;

    pl_slot *record() { return &host_.record; }

    static pl_status getPresenceCallback( pl_slot *slot, char **fdl );
    static const pl_slot_ops ops_;

  private:
    HostRecord<pl_slot, Slot> host_;

  protected:
    uint8_t slotIndex_;
    DriverSpecificArgs slotArgs_;
    const char *json_;
};

} // namespace Component::LogicalDevice
