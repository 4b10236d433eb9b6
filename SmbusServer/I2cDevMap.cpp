#include "SmbusServer/I2cDevMap.h"

#include "EmulatedBoard/DocumentReader.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace SmbusServer {

// A link and what it points at are the same wires.
static std::string linksFollowed( const std::string &device ) {
    std::error_code failed;
    const std::filesystem::path path = std::filesystem::weakly_canonical( device, failed );
    return failed ? device : path.string();
}

I2cDevMap::I2cDevMap( const std::map<BusName, std::string> &devices ) {
    std::map<std::string, size_t> lanes;
    wires_.emplace();
    for ( const auto &[bus, device] : devices ) {
        const size_t lane =
            lanes.emplace( linksFollowed( device ), lanes.size() + 1 ).first->second;
        wires_->emplace( bus, Wires{ device, lane } );
    }
}

static std::optional<std::string> numberedDevice( const BusName &bus ) {
    if ( bus.master != Smbus::I2C || bus.pci != 0 || bus.accelerator != 0 ) {
        return std::nullopt;
    }
    return "/dev/i2c-" + std::to_string( bus.bus );
}

std::optional<std::string> I2cDevMap::deviceOf( const BusName &bus ) const {
    if ( !wires_ ) {
        return numberedDevice( bus );
    }
    const auto found = wires_->find( bus );
    return found == wires_->end() ? std::nullopt : std::optional( found->second.device );
}

size_t I2cDevMap::laneOf( const BusName &bus ) const {
    if ( !wires_ ) {
        return numberedDevice( bus ) ? size_t{ 1 } + bus.bus : 0;
    }
    const auto found = wires_->find( bus );
    return found == wires_->end() ? 0 : found->second.lane;
}

bool I2cDevMap::severalAccelerators( const BusName &bus ) const {
    return wires_ && std::ranges::any_of( *wires_, [&]( const auto &entry ) {
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

I2cDevMap parseI2cDevMap( const std::string &text, const std::string &file ) {
    using EmulatedBoard::JsonValue;
    const EmulatedBoard::DocumentReader reader( text, file );
    const JsonValue root = reader.parse();
    reader.need( root, JsonValue::Kind::Object, "the document", "an object" );
    reader.allowKeys( root, { "busses" } );
    std::map<BusName, std::string> devices;
    for ( const JsonValue &bus : reader.array( root, "busses" ) ) {
        reader.allowKeys( bus, { "master", "pci", "accelerator", "bus", "device" } );
        const BusName name = toBusName( reader.busName( bus ) );
        const std::string &device = reader.string( bus, "device" );
        if ( !device.starts_with( '/' ) ) {
            reader.fail( bus.find( "device" )->offset,
                         "'device' must be the path of a device file, from the root" );
        }
        if ( !devices.emplace( name, device ).second ) {
            reader.fail( bus.offset,
                         "this master, pci, accelerator and bus were described before" );
        }
    }
    return I2cDevMap( devices );
}

} // namespace SmbusServer
