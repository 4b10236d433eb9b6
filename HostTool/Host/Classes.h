#pragma once

#include "HostTool/Board/Documents.h"
#include "HostTool/Host/Library.h"
#include "HostTool/Host/Reading.h"

#include <vector>

namespace HostTool {

/// What the host does with the devices of one class.
struct ClassRow {
    DeviceClass deviceClass;
    const char *initEntryPoint;
    const char *addEntryPoint;
    /// Calls the add entry point; null when the library refuses. What the library throws passes.
    void *( *add )( const Library &library, const char *entryPoint, const Entry &entry );
    std::vector<Column> columns;
    /// One reading a column, in their order.
    std::vector<Reading> ( *read )( void *record, const Entry &entry );
    /// The library answers from what its last poll saw, and begins to poll a register when it is
    /// first asked for: how long after a first reading the values are real. 0 when they are at
    /// once.
    int settleMilliseconds;
};

const ClassRow &rowOf( DeviceClass deviceClass );

/// The state of a device that was read: its readings and what the class makes of them.
State judge( const Entry &entry, const std::vector<Reading> &readings );

} // namespace HostTool
