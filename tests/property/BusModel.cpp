#include "tests/property/BusModel.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace Property {

Chip::Chip( uint32_t seed ) {
    uint32_t state = seed * 2654435761U + 1;
    for ( uint8_t &byte : memory_ ) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<uint8_t>( state >> 24 );
    }
}

std::string Chip::perform( const Operation &operation ) {
    constexpr uint8_t processMask = 0xA5;
    constexpr uint8_t longestBlock = 7;
    std::string answer;
    const auto read = [&]( uint32_t from, uint32_t count ) {
        for ( uint32_t i = 0; i < count; ++i ) {
            answer += static_cast<char>( at( from + i ) );
        }
    };
    const auto write = [&]( uint32_t from ) {
        for ( const char byte : operation.data ) {
            at( from++ ) = static_cast<uint8_t>( byte );
        }
        answer = operation.data;
    };
    switch ( operation.type ) {
    case Smbus::READ:
        pointer_ = operation.length == 0 ? pointer_ : operation.reg;
        read( pointer_, std::max( operation.length, 1U ) );
        break;
    case Smbus::WRITE:
        pointer_ = operation.reg;
        write( operation.reg );
        break;
    case Smbus::PROCESS_CALL:
        for ( const char byte : operation.data ) {
            answer += static_cast<char>( byte ^ processMask );
        }
        break;
    case Smbus::BLOCK_READ:
        read( operation.reg + 1, at( operation.reg ) & longestBlock );
        break;
    case Smbus::BLOCK_WRITE:
        at( operation.reg ) = static_cast<uint8_t>( operation.data.size() );
        write( operation.reg + 1 );
        break;
    }
    return answer;
}

BusModel::SegmentId BusModel::addRoot( const Root &root ) {
    segments_.push_back( { root, 0, 0 } );
    return segments_.size() - 1;
}

bool BusModel::hasRoot( const Root &root ) const {
    return std::any_of( segments_.begin(), segments_.end(),
                        [&]( const Segment &segment ) { return segment.root == root; } );
}

BusModel::ChipId BusModel::addChip( SegmentId segment, uint32_t address, uint32_t seed ) {
    chips_.push_back( { Chip( seed ), segment, address, false, false, 0 } );
    return chips_.size() - 1;
}

BusModel::ChipId BusModel::addMux( SegmentId segment, uint32_t address, bool bits ) {
    chips_.push_back( { Chip( 0 ), segment, address, true, bits, 0 } );
    return chips_.size() - 1;
}

BusModel::SegmentId BusModel::addChannel( ChipId mux, uint8_t control ) {
    segments_.push_back( { std::nullopt, mux, control } );
    return segments_.size() - 1;
}

bool BusModel::reaches( const Route &route, SegmentId segment ) const {
    const Segment &at = segments_[segment];
    if ( at.root ) {
        return route.master == at.root->master && route.pci == at.root->pci &&
               ( route.word >> 7 & 0x7F ) == at.root->bus &&
               ( !at.root->accelerator || ( route.word >> 14 & 0x7F ) == *at.root->accelerator );
    }
    const Fitted &mux = chips_[at.mux];
    const bool open = mux.bits ? ( mux.control & at.channel ) != 0 : mux.control == at.channel;
    return open && reaches( route, mux.segment );
}

bool BusModel::transfer( const Route &route, const Operation &operation, bool refuses,
                         std::string &answer ) {
    if ( refuses ) {
        notes_ += refused( route, operation );
        return false;
    }
    std::vector<ChipId> there;
    for ( ChipId id = 0; id < chips_.size(); ++id ) {
        if ( chips_[id].address == ( route.word & 0x7F ) && reaches( route, chips_[id].segment ) ) {
            there.push_back( id );
        }
    }
    bool answered = false;
    for ( const ChipId id : there ) {
        Fitted &chip = chips_[id];
        if ( !chip.isMux ) {
            answer = chip.chip.perform( operation );
            answered = true;
        } else if ( operation.type == Smbus::WRITE && operation.length == 0 ) {
            chip.control = static_cast<uint8_t>( operation.reg );
            answered = true;
        }
        notes_ += seen( id, route, operation, answer );
    }
    if ( there.empty() ) {
        notes_ += unseen( route, operation );
    }
    return answered;
}

Smbus::TransactionResponse BusModel::perform( const Smbus::TransactionRequest &batch ) {
    const auto isReset = []( const Smbus::Request &request ) {
        return request.type() == Smbus::WRITE && request.length() == 0 &&
               ( request.address() & 0xFFFFFFFF ) == 0;
    };
    int resets = batch.request_size();
    while ( resets > 0 && isReset( batch.request( resets - 1 ) ) ) {
        --resets;
    }

    const auto refusal = std::exchange( refused_, std::nullopt );
    notes_ += begun( batch.has_retries() ? std::optional( batch.retries() ) : std::nullopt );
    Smbus::TransactionResponse response;
    for ( int i = 0; i < batch.request_size(); ++i ) {
        const Smbus::Request &request = batch.request( i );
        const Route route{ static_cast<uint32_t>( request.address() >> 32 ), request.pci(),
                           static_cast<uint32_t>( request.mastertype() ) };
        const Operation operation{ request.type(), static_cast<uint32_t>( request.address() ),
                                   request.length(), request.data(), request.flag() };
        std::string answer;
        if ( response.failed() && i < resets ) {
            continue;
        }
        if ( !transfer( route, operation, refusal == static_cast<std::size_t>( i ), answer ) ) {
            response.set_failed( true );
        }
        response.add_response()->set_data( answer );
    }
    notes_ += ended( std::all_of( chips_.begin(), chips_.end(),
                                  []( const Fitted &chip ) { return chip.control == 0; } ) );
    return response;
}

std::string BusModel::takeNotes() {
    return std::exchange( notes_, {} );
}

std::string hexOf( const std::string &bytes ) {
    std::string text;
    for ( const char byte : bytes ) {
        char digits[4];
        std::snprintf( digits, sizeof digits, "%02x", static_cast<unsigned char>( byte ) );
        text += digits;
    }
    return text;
}

static std::string wordsOf( const Route &route, const Operation &operation ) {
    char text[128];
    std::snprintf( text, sizeof text, "%s [%x] %u%s, address %08x, pci %x, master %u",
                   Smbus::RequestType_Name( operation.type ).c_str(), operation.reg,
                   operation.length, operation.flag ? " flag" : "", route.word, route.pci,
                   route.master );
    return text + ( ", data " + hexOf( operation.data ) );
}

std::string BusModel::begun( const std::optional<uint32_t> &retries ) {
    return "batch" + ( retries ? ", retries " + std::to_string( *retries ) : "" ) + "\n";
}

std::string BusModel::seen( ChipId id, const Route &route, const Operation &operation,
                            const std::string &answer ) {
    return "  chip " + std::to_string( id ) + ": " + wordsOf( route, operation ) + " -> " +
           hexOf( answer ) + "\n";
}

std::string BusModel::unseen( const Route &route, const Operation &operation ) {
    return "  nobody: " + wordsOf( route, operation ) + "\n";
}

std::string BusModel::refused( const Route &route, const Operation &operation ) {
    return "  refused: " + wordsOf( route, operation ) + "\n";
}

std::string BusModel::ended( bool closed ) {
    return closed ? "" : "  channels left open\n";
}

} // namespace Property
