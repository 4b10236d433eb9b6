#pragma once

#include "fuzz/Bytes.h"

#include <string>
#include <string_view>
#include <vector>

namespace Fuzz {

/// A class of devices, as the host's table of entry points has them.
struct DeviceClass {
    std::string_view name;
    /// Adds a device and makes the calls that the bytes name until they are used up, but one of
    /// each kind at least. The arguments may be a bus's label where the class takes one.
    void ( *addAndUse )( const std::string &arguments, Bytes &calls );
};

/// Any number stands for a class.
const DeviceClass &classAt( size_t number );

/// A small board with a device of every driver and class, behind none, one and two muxes.
struct BoardDocuments {
    struct Entry {
        const DeviceClass *deviceClass;
        std::string arguments;
    };
    std::string topology;
    std::vector<Entry> entries;
};
const BoardDocuments &board();

} // namespace Fuzz
