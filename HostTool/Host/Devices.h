#pragma once

#include "HostTool/Board/Documents.h"
#include "HostTool/Host/Classes.h"
#include "HostTool/Host/Library.h"
#include "HostTool/Options.h"

#include <optional>
#include <string>
#include <vector>

namespace HostTool {

/// A device that the library was asked for.
struct Device {
    const Entry *entry;
    const ClassRow *row;
    void *record;        ///< null when the library refused
    std::string refusal; ///< the library's own lines about it; empty when it did not refuse

    std::optional<Moment> askedAt = std::nullopt; ///< first
    std::vector<Reading> readings = {}; ///< one a column of the class; filled by readDevices()
    State state = State::added;
};

/// @throw Failure (unreachable) without a server, unless the options say to wait for one.
void makeSureOfServer( const Options &options, const Board &board );

/// Initialises a class with the board's topology.
/// @throw Failure (unreachable) without a server; (badInput) when the library refuses the topology.
void initialise( const Library &library, const char *entryPoint, const Board &board );

/// Adds one entry of a class that is initialised.
/// @throw Failure (badInput) when the library throws over it.
Device addDevice( const Library &library, const Entry &entry );

/// Makes sure of the server, initialises the classes that are needed and adds the entries in order.
/// @throw Failure (unreachable) without a server; (badInput) when the library refuses the
///        topology or throws over an entry. An assertion of the library ends the process, and
///        stderr says over which entry.
std::vector<Device> addDevices( const Library &library, const Options &options, const Board &board,
                                const std::vector<const Entry *> &entries );

/// Reads one device that the library did not refuse.
void readDevice( Device &device );

/// Reads every device. Values that the library caches are given the time of one poll.
void readDevices( std::vector<Device> &devices );

} // namespace HostTool
