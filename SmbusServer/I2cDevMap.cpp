#include "SmbusServer/I2cDevMap.h"

#include "EmulatedBoard/DocumentReader.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace SmbusServer {

// The addresses that the bus leaves to chips.
constexpr uint32_t firstChipAddress = 0x03;
constexpr uint32_t lastChipAddress = 0x77;

// A link and what it points at are the same wires.
static std::string linksFollowed( const std::string &device ) {
    std::error_code failed;
    const std::filesystem::path path = std::filesystem::weakly_canonical( device, failed );
    return failed ? device : path.string();
}

I2cDevMap::I2cDevMap( const std::map<BusName, Bus> &busses ) {
    std::map<std::string, size_t> lanes;
    entries_.emplace();
    for ( const auto &[name, bus] : busses ) {
        const std::string wires = linksFollowed( bus.device );
        const size_t lane = lanes.emplace( wires, lanes.size() + 1 ).first->second;
        entries_->emplace( name, Entry{ bus, wires, lane } );
    }
}

static std::optional<std::string> numberedDevice( const BusName &bus ) {
    if ( bus.master != Smbus::I2C || bus.pci != 0 || bus.accelerator != 0 ) {
        return std::nullopt;
    }
    return "/dev/i2c-" + std::to_string( bus.bus );
}

std::optional<std::string> I2cDevMap::deviceOf( const BusName &bus ) const {
    if ( !entries_ ) {
        return numberedDevice( bus );
    }
    const auto found = entries_->find( bus );
    return found == entries_->end() ? std::nullopt : std::optional( found->second.bus.device );
}

size_t I2cDevMap::laneOf( const BusName &bus ) const {
    if ( !entries_ ) {
        return numberedDevice( bus ) ? size_t{ 1 } + bus.bus : 0;
    }
    const auto found = entries_->find( bus );
    return found == entries_->end() ? 0 : found->second.lane;
}

std::string I2cDevMap::wiresOf( const BusName &bus ) const {
    if ( !entries_ ) {
        return numberedDevice( bus ).value_or( "" );
    }
    const auto found = entries_->find( bus );
    return found == entries_->end() ? "" : found->second.wires;
}

std::vector<uint8_t> I2cDevMap::rootMuxesOf( const BusName &bus ) const {
    std::vector<uint8_t> muxes;
    const size_t lane = laneOf( bus );
    if ( !entries_ || lane == 0 ) {
        return muxes;
    }
    for ( const auto &[name, entry] : *entries_ ) {
        if ( entry.lane == lane ) {
            muxes.insert( muxes.end(), entry.bus.rootMuxes.begin(), entry.bus.rootMuxes.end() );
        }
    }
    return muxes;
}

bool I2cDevMap::severalAccelerators( const BusName &bus ) const {
    return entries_ && std::ranges::any_of( *entries_, [&]( const auto &entry ) {
               const BusName &other = entry.first;
               return other.master == bus.master && other.pci == bus.pci &&
                      other.accelerator != bus.accelerator;
           } );
}

I2cDevMap loadI2cDevMap( const std::string &file ) {
    return parseI2cDevMap( EmulatedBoard::readDocument( file ), file );
}

static BusName toBusName( const EmulatedBoard::BusName &name ) {
    return { .master = static_cast<Smbus::MasterType>( name.master ),
             .pci = name.pci,
             .accelerator = static_cast<uint8_t>( name.accelerator ),
             .bus = static_cast<uint8_t>( name.bus ) };
}

static std::vector<uint8_t> rootMuxes( const EmulatedBoard::DocumentReader &reader,
                                       const EmulatedBoard::JsonValue &bus ) {
    using EmulatedBoard::JsonValue;
    std::vector<uint8_t> muxes;
    const JsonValue *list = bus.find( "muxes" );
    if ( list == nullptr ) {
        return muxes;
    }
    reader.need( *list, JsonValue::Kind::Array, "'muxes'", "an array of addresses" );
    for ( const JsonValue &item : list->items ) {
        const auto chip = static_cast<uint8_t>(
            reader.toNumber( item, "each entry of 'muxes'", firstChipAddress, lastChipAddress ) );
        if ( std::ranges::find( muxes, chip ) != muxes.end() ) {
            reader.fail( item.offset,
                         "'muxes' names " + EmulatedBoard::hexText( chip ) + " twice" );
        }
        muxes.push_back( chip );
    }
    return muxes;
}

I2cDevMap parseI2cDevMap( const std::string &text, const std::string &file ) {
    using EmulatedBoard::JsonValue;
    const EmulatedBoard::DocumentReader reader( text, file );
    const JsonValue root = reader.parse();
    reader.need( root, JsonValue::Kind::Object, "the document", "an object" );
    reader.allowKeys( root, { "busses" } );
    std::map<BusName, I2cDevMap::Bus> busses;
    for ( const JsonValue &bus : reader.array( root, "busses" ) ) {
        reader.allowKeys( bus, { "master", "pci", "accelerator", "bus", "device", "muxes" } );
        const BusName name = toBusName( reader.busName( bus ) );
        const std::string &device = reader.string( bus, "device" );
        if ( !device.starts_with( '/' ) ) {
            reader.fail( bus.find( "device" )->offset,
                         "'device' must be the path of a device file, from the root" );
        }
        if ( !busses.emplace( name, I2cDevMap::Bus{ device, rootMuxes( reader, bus ) } ).second ) {
            reader.fail( bus.offset,
                         "this master, pci, accelerator and bus were described before" );
        }
    }
    return I2cDevMap( busses );
}

} // namespace SmbusServer
