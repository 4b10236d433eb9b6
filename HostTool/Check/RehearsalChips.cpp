// Which chip of the emulated board a device reaches.
#include "HostTool/Check/Rehearsal.h"

#include <algorithm>

namespace HostTool::Check {

namespace {

struct MasterName {
    std::string_view medium;
    std::string_view master;
};
// What stands for a medium in a request. An FPGA's busses go out as simulated ones.
constexpr MasterName masters[] = {
    { "SCD", "SCD" },
    { "I2C", "I2C" },
    { "IOPort", "IOPort" },
    { "Celestica", "Celestica" },
    { "PLM", "PLM" },
    { "SccSpi", "SccSpi" },
    { "FbDomFpga", "simulated" },
};

constexpr uint32_t sevenBits = 0x7f;

uint32_t kept( int64_t number ) {
    return static_cast<uint32_t>( number ) & sevenBits;
}

std::string_view masterOf( const MediumNode &medium ) {
    if ( medium.isSimulated && medium.type == "I2C" ) {
        return "simulated";
    }
    for ( const MasterName &row : masters ) {
        if ( row.medium == medium.type ) {
            return row.master;
        }
    }
    return {};
}

bool isOneOf( std::string_view word, std::string_view words ) {
    while ( !words.empty() ) {
        const size_t blank = std::min( words.find( ' ' ), words.size() );
        if ( words.substr( 0, blank ) == word ) {
            return true;
        }
        words.remove_prefix( std::min( blank + 1, words.size() ) );
    }
    return false;
}

std::string wayTo( const Wires &wires ) {
    return std::string( wires.master ) + " bus " + std::to_string( wires.bus );
}

Wires wiresOf( const Made &device ) {
    const BusNode &root = rootOf( *device.node->bus );
    const MediumNode &medium = *device.node->medium;
    return { masterOf( medium ), medium.type == "SCD" ? medium.pci : 0,
             root.accelerator ? kept( *root.accelerator ) : device.arguments.accelerator,
             kept( root.id ) };
}

} // namespace

// A control byte goes out by the device's controller, to the bus and the address of the mux's chip.
EmulatedChip *Rehearsal::chipOf( const Made &device, bool &muxIsMissing ) {
    const Wires wires = wiresOf( device );
    std::vector<Hop> hops;
    for ( const BusNode *bus = device.node->bus; bus->mux; bus = bus->mux->bus ) {
        const auto mux = made_.find( bus->mux->did );
        if ( mux == made_.end() || !mux->second.node || !mux->second.arguments.saysAddress() ) {
            muxIsMissing = true; // and told of
            return nullptr;
        }
        if ( &rootOf( *mux->second.node->bus ) != &rootOf( *bus ) ) {
            muxIsMissing = true; // from these wires; told of as well
            return nullptr;
        }
        const Wires ofMux = wiresOf( mux->second );
        if ( ofMux.accelerator != wires.accelerator || ofMux.bus != wires.bus ) {
            return nullptr;
        }
        hops.push_back( { mux->second.arguments.address, static_cast<uint8_t>( bus->id ) } );
    }
    std::reverse( hops.begin(), hops.end() );
    return board_->find( wires, hops, device.arguments.address );
}

void Rehearsal::checkChip( const Made &device, const std::string &owner ) {
    if ( !board_ || !device.node || device.access != Made::Access::smbus ||
         !device.arguments.saysAddress() ) {
        return;
    }
    bool muxIsMissing = false;
    EmulatedChip *chip = chipOf( device, muxIsMissing );
    const Value *address = member( *device.arguments.json, "address" );
    const Spot spot = at( address ? *address : *device.arguments.json );
    if ( !chip && !muxIsMissing ) {
        tell( RuleId::chipAbsent, device.arguments, spot,
              owner + "no chip answers at " + hexText( device.arguments.address ) + " on " +
                  wayTo( wiresOf( device ) ) + " of the emulated board" );
    }
    if ( !chip ) {
        return;
    }
    chip->isUsed = true;
    if ( !chip->isThere && device.driver->needsChip ) {
        tell( RuleId::chipNotFitted, device.arguments, spot,
              owner + quoted( chip->name ) + " is not fitted when the board starts" );
    }
    if ( !device.driver->chips.empty() && !isOneOf( chip->type, device.driver->chips ) ) {
        tell( RuleId::otherChip, device.arguments, spot,
              owner + "driver " + device.driver->name + " meets " + quoted( chip->name ) +
                  ", a chip of type " + std::string( chip->type ) );
    }
}

} // namespace HostTool::Check
