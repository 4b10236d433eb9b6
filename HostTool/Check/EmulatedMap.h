#pragma once

#include "HostTool/Check/Finding.h"
#include "HostTool/Check/Values.h"

#include <compare>
#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <span>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace HostTool::Check {

/// Where a request of the library arrives.
struct Wires {
    std::string_view master; ///< as emulation documents name it
    uint32_t pci;
    uint32_t accelerator;
    uint32_t bus;
    auto operator<=>( const Wires & ) const = default;
};

/// A number as emulation documents write it, or a text with a hexadecimal one.
std::optional<uint32_t> emulatedNumber( const Value *value );

/// A mux on the way, and the byte that it is sent.
struct Hop {
    uint8_t address;
    uint8_t control;
};

struct EmulatedChip;

struct EmulatedSegment {
    std::vector<EmulatedChip *> chips;
};

struct EmulatedChip {
    const Value *json;
    std::string_view name;
    std::string_view type;
    uint8_t address;
    bool isThere; ///< fitted when the board starts
    std::map<uint32_t, EmulatedSegment> channels;
    bool isUsed;
};

/// The chips that an emulation document puts on its busses. Tells, while it reads them, what the
/// server would refuse beyond the shape.
class EmulatedMap {
  public:
    EmulatedMap( const JsonFile &document, Findings &findings );

    /// The chip that is reached when the muxes on the way are open; null when there is none.
    EmulatedChip *find( const Wires &wires, std::span<const Hop> hops, uint8_t address );

    const JsonFile &document() const { return document_; }
    const std::deque<EmulatedChip> &chips() const { return chips_; }

  private:
    void addBus( const Value &json );
    void addChips( const Value &json, EmulatedSegment &segment );
    void addChip( const Value &json, EmulatedSegment &segment );
    void addChannels( const Value &json, EmulatedChip &chip );
    void checkReferences( const Value &json, EmulatedChip &chip );
    EmulatedChip *named( const Value &name, const EmulatedChip &below );

    const JsonFile &document_;
    Findings &findings_;
    std::deque<EmulatedChip> chips_;
    std::map<Wires, EmulatedSegment> busses_;
    std::unordered_map<std::string_view, EmulatedChip *> byName_;
};

} // namespace HostTool::Check
