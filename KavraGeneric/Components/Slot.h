#pragma once

#include "KavraGeneric/Components/HostRecord.h"

#include <PlatformLibrary/pl.h>

namespace Component::LogicalDevice {

class Slot {
  public:
    Slot();
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
};

} // namespace Component::LogicalDevice
