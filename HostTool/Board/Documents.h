#pragma once

#include "HostTool/Board/JsonFile.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace HostTool {

/// The classes of devices that a host adds, in the order in which they are listed and shown.
enum class DeviceClass { tempSensor, fan, psu, slot, xcvr, led, gpio, smbus, system };

/// The classes as devices.json and every output name them.
struct ClassName {
    DeviceClass deviceClass;
    const char *name;
};
inline constexpr ClassName classNames[] = {
    { DeviceClass::tempSensor, "temp_sensor" },
    { DeviceClass::fan, "fan" },
    { DeviceClass::psu, "psu" },
    { DeviceClass::slot, "slot" },
    { DeviceClass::xcvr, "xcvr" },
    { DeviceClass::led, "led" },
    { DeviceClass::gpio, "gpio" },
    { DeviceClass::smbus, "smbus" },
    { DeviceClass::system, "system" },
};

const char *nameOf( DeviceClass deviceClass );

/// Degrees Celsius.
struct Thresholds {
    float alert;
    float critical;
};

/// A driver's own arguments by name; a whole number is here as a text, values of other types are
/// left out.
using Settings = std::map<std::string, std::string>;

/// One entry of devices.json.
struct Entry {
    DeviceClass deviceClass;
    std::string name;
    std::string place; ///< "boards/VundaT/devices.json:7"

    /// The device-arguments text for the library, compact. The library keeps a pointer to it: an
    /// entry outlives every device. Empty where bus and address are given in its place.
    std::string arguments;
    std::string bus; ///< label of the bus; empty unless the entry names one
    unsigned address = 0;

    std::optional<Thresholds> thresholds; ///< of every temp_sensor and of nothing else

    Settings settings;           ///< "driverArgs" of the arguments
    std::string driver;          ///< as the arguments name it; empty when they do not
    std::optional<unsigned> did; ///< as the arguments name it
};

/// The documents of one board.
struct Board {
    std::string folder;
    std::string topologyPath;
    std::string topology; ///< the text, byte for byte as the file has it
    std::vector<Entry> entries;
};

/// The folder to read: the one that was asked for, else $KAVRA_BOARD, else ./boards/VundaT, else
/// the installed one.
/// @throw Failure (badInput) when there is none of them.
std::string findBoardFolder( const std::string &askedFor );

/// Reads topology.json and devices.json of a folder. The topology is checked for syntax alone, the
/// rest of it is the library's business.
/// @throw Failure (badInput) naming file, line, entry and key.
Board readBoard( const std::string &folder );

/// The entries with these names in the order of the document; all of them when names is empty.
/// @throw Failure (badInput) for a name that no entry has.
std::vector<const Entry *> selectEntries( const Board &board,
                                          const std::vector<std::string> &names );

} // namespace HostTool
