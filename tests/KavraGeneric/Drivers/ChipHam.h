#pragma once

#include "KavraGeneric/Ham/Ham.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// An access method with the chip right behind it, for tests that read it too often to go over a
/// socket. What the chip gives is the test's to say.
class ChipHam final : public Ham::Ham {
  public:
    using ResponseId = ::Ham::ResponseId;
    /// What a read of so many bytes from a register gives; nothing when it fails.
    using Chip = std::function<std::optional<std::string>( unsigned reg, unsigned length )>;

    explicit ChipHam( Chip chip ) : chip_( std::move( chip ) ) {}

    void prepare() override {
        queued_.clear();
        results_.clear();
    }
    int execute() override {
        ++batches;
        for ( const auto &[reg, length] : queued_ ) {
            ++reads;
            std::optional<std::string> result = chip_( reg, length );
            if ( !result ) {
                return 6;
            }
            results_.push_back( std::move( *result ) );
        }
        return 0;
    }

    ResponseId addRead8( unsigned reg ) override { return addRead( reg, 1, false ); }
    ResponseId addRead16( unsigned reg ) override { return addRead( reg, 2, false ); }
    ResponseId addRead( unsigned reg, unsigned length, bool ) override {
        queued_.emplace_back( reg, length );
        return static_cast<ResponseId>( queued_.size() - 1 );
    }
    void addSendByte( uint8_t, bool ) override {}
    void addWrite8( unsigned, uint8_t, bool ) override {}
    void addWrite16( unsigned, uint16_t, bool ) override {}

    uint8_t get8( ResponseId id ) override {
        return static_cast<uint8_t>( results_.at( id ).at( 0 ) );
    }
    uint16_t get16( ResponseId id ) override {
        const auto high = static_cast<uint8_t>( results_.at( id ).at( 1 ) );
        return static_cast<uint16_t>( high << 8 | get8( id ) );
    }
    std::string getBlock( ResponseId id, size_t ) override { return results_.at( id ); }

    size_t batches = 0;
    size_t reads = 0;

  private:
    Chip chip_;
    std::vector<std::pair<unsigned, unsigned>> queued_;
    std::vector<std::string> results_;
};
