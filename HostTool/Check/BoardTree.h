#pragma once

#include "HostTool/Check/Arguments.h"
#include "HostTool/Check/Finding.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace HostTool::Check {

struct MediumNode {
    const Value *json;
    std::string_view type;
    std::string_view ham;
    uint32_t pci;
    bool isSimulated;
};

struct MuxNode;

struct BusNode {
    const Value *json;
    const MediumNode *medium;
    std::optional<uint32_t> accelerator;
    const MuxNode *mux; ///< null: no channel of one
    int32_t id;
    uint32_t index; ///< among the busses of the board
};

/// The bus of the medium that a channel of muxes hangs on; a bus that is no channel is its own.
const BusNode &rootOf( const BusNode &bus );

struct MuxNode {
    const Value *json;
    const BusNode *bus; ///< that the mux splits
    uint32_t did;
    bool isEmpty; ///< no bus behind it
};

struct DeviceNode {
    const Value *json;
    const MediumNode *medium;
    const BusNode *bus; ///< null for a medium of files
    uint32_t did;
    /// Of a device that names a driver, or null for one. The driver changes when somebody looks the
    /// device up to drive it with another.
    std::optional<Arguments> arguments;
    bool isUsed;
};

/// The board as the topology draws it. Devices are found as the library finds them: by number the
/// first in the order of the walk, by label the last in the order of building.
class BoardTree {
  public:
    /// What has not the right shape is left out.
    BoardTree( const JsonFile &document, Findings &findings );

    const JsonFile &document() const { return document_; }

    DeviceNode *byDid( uint32_t did ) const;
    DeviceNode *byUid( uint32_t uid ) const;
    /// @return null also when the label is of something else than a device.
    DeviceNode *byLabel( std::string_view label ) const;
    bool hasLabel( std::string_view label ) const { return labels_.contains( label ); }
    /// Whether the label is a bus's.
    bool isBusLabel( std::string_view label ) const;
    std::vector<std::string> labels() const;

    const std::deque<DeviceNode> &devices() const { return devices_; }
    const std::deque<MuxNode> &muxes() const { return muxes_; }

  private:
    friend class BoardTreeBuilder;

    struct Labelled {
        const Value *json;
        DeviceNode *device; ///< null for anything else
        bool isBus;
    };

    const JsonFile &document_;
    std::deque<MediumNode> media_;
    std::deque<BusNode> busses_;
    std::deque<MuxNode> muxes_;
    std::deque<DeviceNode> devices_;
    std::unordered_map<uint32_t, DeviceNode *> byDid_;
    std::unordered_map<uint32_t, DeviceNode *> byUid_;
    std::unordered_map<std::string_view, Labelled> labels_;
};

} // namespace HostTool::Check
