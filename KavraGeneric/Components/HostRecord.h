#pragma once

namespace Component::LogicalDevice {

/// What the host holds of a logical device: the record, and right behind it the way back. The host
/// sees the record alone.
template <typename Record, typename Device>
struct HostRecord {
    Record record;
    Device *device;

    /// The record's first word stays as it is: it is the host's own.
    template <typename Operations>
    HostRecord( const Operations *operations, Device *owner ) : device( owner ) {
        record.ops = operations;
    }

    static Device &deviceOf( const Record *record ) {
        return *reinterpret_cast<const HostRecord *>( record )->device;
    }
};

} // namespace Component::LogicalDevice
