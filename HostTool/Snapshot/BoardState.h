#pragma once

#include "HostTool/Board/Documents.h"
#include "HostTool/Host/Reading.h"

#include <algorithm>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace HostTool::Snapshot {

/// The format that is written, and the newest that is read.
constexpr int formatVersion = 1;

/// One value, or why there is none, as a snapshot keeps it.
struct Record {
    using Value = std::variant<std::monostate, bool, double, std::string>;

    Value value;
    std::string unit;   ///< empty: none
    std::string status; ///< "PL_STATUS_OK"
    std::string reason; ///< empty: none
    Freshness freshness = Freshness::none;
    std::optional<double> age = std::nullopt; ///< seconds

    bool isKnown() const { return value.index() != 0; }
    bool operator==( const Record & ) const = default;
};

/// Records by their keys, in the order of the file.
using Records = std::vector<std::pair<std::string, Record>>;

inline const Record *find( const Records &records, const std::string &key ) {
    const auto found = std::find_if( records.begin(), records.end(),
                                     [&]( const auto &each ) { return each.first == key; } );
    return found == records.end() ? nullptr : &found->second;
}

/// Degrees Celsius.
struct Limits {
    double alert;
    double critical;
    bool operator==( const Limits & ) const = default;
};

struct DeviceState {
    std::string name;
    DeviceClass deviceClass = DeviceClass::tempSensor;
    std::string driver;
    std::optional<unsigned> did;
    std::optional<Limits> thresholds;
    State state = State::added;
    std::string reason; ///< why it could not be added; empty when it was

    Records identity; ///< which part it is
    Records values;   ///< what was measured
    Records settings; ///< what was set

    bool operator==( const DeviceState & ) const = default;
};

/// Where a snapshot comes from.
struct Origin {
    std::string tool;  ///< version of the program that took it
    std::string taken; ///< UTC: "2026-11-21T17:10:16Z"

    std::string board;           ///< name of the documents' folder
    std::string topology;        ///< checksum of topology.json
    std::string devices;         ///< checksum of devices.json
    bool isWhole = true;         ///< false: of devices that were named
    bool isSimulated = false;    ///< registers were files
    std::string libraryFile;     ///< name of the file that was loaded
    std::string librarySoname;   ///< empty: it has none
    bool serverIsUp = false;     ///< when everything had been read
    std::string serverIsDownFor; ///< the reason; empty when it is up

    bool operator==( const Origin & ) const = default;
};

/// A whole board, or some of its devices, at one moment.
struct BoardState {
    Origin origin;
    std::vector<DeviceState> devices;

    /// Null for a name that is not there.
    const DeviceState *find( const std::string &name ) const {
        const auto found = std::find_if( devices.begin(), devices.end(),
                                         [&]( const auto &each ) { return each.name == name; } );
        return found == devices.end() ? nullptr : &*found;
    }
    bool operator==( const BoardState & ) const = default;
};

} // namespace HostTool::Snapshot
