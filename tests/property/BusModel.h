#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace Property {

/// One transfer with a chip, as the wire names it.
struct Operation {
    Smbus::RequestType type = Smbus::READ;
    uint32_t reg = 0;
    uint32_t length = 0;
    std::string data{}; ///< of a write or a process call
    bool flag = false;
};

/// A chip of 256 bytes. Its contents are made up from a seed, so that no two chips answer alike.
class Chip {
  public:
    explicit Chip( uint32_t seed );
    /// What it reads, or for a write the bytes that it took.
    std::string perform( const Operation &operation );

  private:
    uint8_t &at( uint32_t reg ) { return memory_[reg % 256]; }

    std::array<uint8_t, 256> memory_;
    uint32_t pointer_ = 0; // what a receive byte reads
};

/// What a request carries besides the operation: where it goes and how.
struct Route {
    uint32_t word = 0; ///< bits 32 to 63 of the address
    uint32_t pci = 0;
    uint32_t master = 0;
};

/// Busses, muxes and chips as they are soldered. It knows nothing of topologies: which chips see an
/// operation is decided by its bus, its address and the channels that are open at that moment. It
/// notes what each chip sees.
class BusModel {
  public:
    using ChipId = std::size_t;
    using SegmentId = std::size_t;

    /// The wire's name of a bus. Without an accelerator the number on the wire does not count.
    struct Root {
        uint32_t master;
        uint32_t pci;
        std::optional<uint32_t> accelerator;
        uint32_t bus;
        bool operator==( const Root & ) const = default;
    };

    SegmentId addRoot( const Root &root );
    bool hasRoot( const Root &root ) const;
    ChipId addChip( SegmentId segment, uint32_t address, uint32_t seed );
    /// @param bits each bit of the control byte opens a channel; otherwise the byte names one
    ChipId addMux( SegmentId segment, uint32_t address, bool bits );
    SegmentId addChannel( ChipId mux, uint8_t control );

    /// Does what a server does with a batch: a request that no chip answers fails the batch, and
    /// the sends of 0 that it ends with are made all the same.
    Smbus::TransactionResponse perform( const Smbus::TransactionRequest &batch );

    /// A chip refuses the request with this number, from 0, of the next batch: it does not do it.
    void refuse( std::size_t request ) { refused_ = request; }

    /// The notes since the last call, a line each.
    std::string takeNotes();

    const Chip &chip( ChipId id ) const { return chips_[id].chip; }

    // The notes, for who says what is expected.
    static std::string begun( const std::optional<uint32_t> &retries );
    static std::string seen( ChipId id, const Route &route, const Operation &operation,
                             const std::string &answer );
    static std::string unseen( const Route &route, const Operation &operation );
    static std::string refused( const Route &route, const Operation &operation );
    static std::string ended( bool closed );

  private:
    struct Fitted {
        Chip chip;
        SegmentId segment;
        uint32_t address;
        bool isMux;
        bool bits;
        uint8_t control; // of a mux, as last written
    };
    struct Segment {
        std::optional<Root> root;
        ChipId mux; // without a root: behind this channel
        uint8_t channel;
    };

    bool reaches( const Route &route, SegmentId segment ) const;
    /// False when it is to be refused or nobody answered.
    bool transfer( const Route &route, const Operation &operation, bool refuses,
                   std::string &answer );

    std::vector<Fitted> chips_;
    std::vector<Segment> segments_;
    std::optional<std::size_t> refused_;
    std::string notes_;
};

std::string hexOf( const std::string &bytes );

} // namespace Property
