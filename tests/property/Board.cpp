#include "tests/property/Board.h"

#include "tests/property/ArgumentsModel.h"
#include "tests/property/Property.h"

#include <algorithm>
#include <set>

namespace Property {

namespace {

struct MediumKind {
    const char *type;
    uint32_t master;
    bool hasPci; // in the document
    bool pciOnWire;
    bool hasAccelerators;
};
// An FPGA's location is in the document alone: its requests have no master.
constexpr MediumKind mediumKinds[] = {
    { "I2C", Smbus::I2C, false, false, false },
    { "SCD", Smbus::SCD, true, true, true },
    { "Celestica", Smbus::CELESTICA, false, false, true },
    { "IOPort", Smbus::IO_PORT, false, false, false },
    { "PLM", Smbus::PLM, false, false, false },
    { "SccSpi", Smbus::SCC_SPI, false, false, false },
    { "FbDomFpga", Smbus::SIMULATED, true, false, false },
};

constexpr const char *drivers[] = { "SmbusProxyDriver",   "Dummy", "LM75",
                                    "GpioDriver",         "Pmbus", "VundaTFanCpld",
                                    "VundaTSystemLedCPLD" };

constexpr std::size_t mostDevices = 14;
constexpr unsigned deepestMux = 3;
constexpr uint32_t mainBusMask = 0x7F;

Json settings() {
    Json json = Json::object();
    json.add( "register", Json::number( gpioRegister ) );
    json.add( "bitpos", Json::number( gpioBit ) );
    json.add( "fanId", Json::number( fanOfDevice ) );
    json.add( "sensorId", Json::number( sensorOfDevice ) );
    json.add( "maxFanRpm", Json::number( supplyMaxRpm ) );
    json.add( "pec", Json::flag( true ) );
    json.add( "reg", Json::number( lampRegister ) );
    json.add( "id", Json::number( 1 ) );
    return json;
}

class Drawing {
  public:
    Board draw() {
        Json document = Json::array();
        for ( unsigned i = 1 + drawCount( 3 ); i > 0; --i ) {
            document.add( drawMedium() );
        }
        board_.topology = compact( document );
        return std::move( board_ );
    }

  private:
    /// Where on the board: what is the same for all that hangs on one bus or behind its muxes.
    struct Place {
        BusModel::Root root;
        std::vector<PathMux> path;
        std::set<uint32_t> taken; ///< addresses up to the root
    };

    struct DrawnMux {
        uint32_t did;
        bool bits; ///< one a channel
        PathMux onPath;
    };

    Json drawMedium() {
        const MediumKind &kind = drawFrom( mediumKinds );
        Json entry = Json::object();
        entry.add( "type", Json::text( kind.type ) );
        entry.add( "ham", Json::text( "KavraSmbus" ) );
        BusModel::Root root{ kind.master, 0, std::nullopt, 0 };
        if ( kind.hasPci ) {
            const uint32_t pci = drawWord();
            entry.add( "pci", Json::number( pci ) );
            root.pci = kind.pciOnWire ? pci : 0;
        }
        if ( kind.master == Smbus::I2C && drawRarely( 3 ) ) {
            entry.add( "simulated", Json::flag( true ) );
            root.master = Smbus::SIMULATED;
        }
        if ( !kind.hasAccelerators ) {
            std::set<int32_t> none;
            drawRootBus( entry, root, none );
            return entry;
        }
        Json accelerators = Json::array();
        std::set<uint32_t> ids;
        for ( unsigned i = 1 + drawBelow( 2 ); i > 0; --i ) {
            uint32_t id = drawBelow( 300 );
            while ( !ids.insert( id ).second ) {
                ++id;
            }
            root.accelerator = id & 0x7F;
            accelerators.add( drawAccelerator( id, root ) );
        }
        entry.add( "accelerators", accelerators );
        return entry;
    }

    Json drawAccelerator( uint32_t id, const BusModel::Root &root ) {
        Json entry = Json::object();
        entry.add( "id", Json::number( id ) );
        Json busses = Json::array();
        std::set<int32_t> ids;
        for ( unsigned i = 1 + drawBelow( 2 ); i > 0; --i ) {
            Json bus = Json::object();
            drawRootBus( bus, root, ids );
            busses.add( bus );
        }
        entry.add( "busses", busses );
        return entry;
    }

    /// A bus whose number is free, on the wire and among its sisters.
    void drawRootBus( Json &entry, BusModel::Root root, std::set<int32_t> &sisters ) {
        auto id = static_cast<int32_t>( drawBelow( 300 ) );
        for ( ;; ++id ) {
            root.bus = static_cast<uint32_t>( id ) & mainBusMask;
            if ( !board_.bus.hasRoot( root ) && sisters.insert( id ).second ) {
                break;
            }
        }
        entry.add( "id", Json::number( id ) );
        drawSegment( entry, board_.bus.addRoot( root ), { root, {}, {} } );
    }

    void drawSegment( Json &entry, BusModel::SegmentId segment, Place place ) {
        Json devices = Json::array();
        for ( unsigned i = drawBelow( 4 ); i > 0 && board_.devices.size() < mostDevices; --i ) {
            devices.add( drawDevice( segment, place ) );
        }
        std::vector<DrawnMux> muxes;
        const unsigned most = place.path.size() < deepestMux ? 3 : 1;
        for ( unsigned i = drawBelow( most ); i > 0; --i ) {
            DrawnMux mux{ ++did_, drawBool(), {} };
            const Json device = drawMuxDevice( segment, place, mux );
            const auto at = static_cast<std::ptrdiff_t>(
                drawBelow( static_cast<unsigned>( devices.items.size() + 1 ) ) );
            devices.items.insert( devices.items.begin() + at, device );
            muxes.push_back( mux );
        }
        entry.add( "devices", devices );
        Json list = Json::array();
        for ( const DrawnMux &mux : muxes ) {
            list.add( drawMux( mux, place ) );
        }
        entry.add( "muxes", list );
    }

    static uint32_t drawAddress( std::set<uint32_t> &taken ) {
        constexpr uint32_t frequent[] = { 0x48, 0x49, 0x50, 0x58, 0x70, 0x71 };
        uint32_t address = drawRarely( 4 ) ? drawBelow( 128 ) : drawFrom( frequent );
        while ( !taken.insert( address ).second ) {
            address = ( address + 1 ) % 128;
        }
        return address;
    }

    /// What the wire has for a chip with these arguments at this place.
    static Route routeOf( AddressModel meaning, const Place &place ) {
        meaning.bus = place.root.bus;
        meaning.accelerator = place.root.accelerator.value_or( meaning.accelerator );
        meaning.addrSize = 1;
        return { meaning.packed(), place.root.pci, place.root.master };
    }

    Json drawDevice( BusModel::SegmentId segment, Place &place ) {
        const uint32_t did = ++did_;
        const uint32_t number = drawAddress( place.taken );
        const DrawnAddress address = Property::drawAddress( number );
        BoardDevice device;
        device.driver = drawFrom( drivers );
        device.chip = board_.bus.addChip( segment, number, did );
        device.route = routeOf( address.meaning, place );
        device.path = place.path;

        Json entry = Json::object();
        Json arguments = Json::object();
        entry.add( "did", Json::number( did ) );
        arguments.add( "did", Json::number( did ) );
        arguments.add( "driver", Json::text( device.driver ) );
        arguments.add( "address", address.json );
        arguments.add( "driverArgs", settings() );
        if ( drawRarely( 4 ) ) {
            Json component = Json::object();
            component.add( "uid", Json::number( did ) );
            Json components = Json::array();
            components.add( component );
            entry.add( "components", components );
            arguments.add( "uid", Json::number( did ) );
        }
        device.arguments = compact( arguments );
        board_.devices.push_back( device );
        return entry;
    }

    Json drawMuxDevice( BusModel::SegmentId segment, Place &place, DrawnMux &mux ) {
        const uint32_t number = drawAddress( place.taken );
        const DrawnAddress address = Property::drawAddress( number );
        Json entry = Json::object();
        entry.add( "did", Json::number( mux.did ) );
        entry.add( "driver", Json::text( "PCA9548" ) );
        entry.add( "address", address.json );
        mux.onPath.chip = board_.bus.addMux( segment, number, mux.bits );
        mux.onPath.route = routeOf( address.meaning, place );
        return entry;
    }

    Json drawMux( const DrawnMux &mux, const Place &place ) {
        Json entry = Json::object();
        entry.add( "did", Json::number( mux.did ) );
        Json busses = Json::array();
        std::set<uint8_t> controls;
        for ( unsigned i = 1 + drawBelow( 3 ); i > 0; --i ) {
            PathMux channel = mux.onPath;
            channel.control =
                static_cast<uint8_t>( mux.bits ? 1U << drawBelow( 8 ) : 1 + drawBelow( 255 ) );
            if ( !controls.insert( channel.control ).second ) {
                continue;
            }
            // The byte that is sent is the low one of the channel's number.
            const int32_t above = drawRarely( 4 ) ? static_cast<int32_t>( drawBelow( 8 ) ) - 4 : 0;
            Json bus = Json::object();
            bus.add( "id", Json::number( channel.control + 256 * above ) );
            Place behind = place;
            behind.path.push_back( channel );
            drawSegment( bus, board_.bus.addChannel( channel.chip, channel.control ), behind );
            busses.add( bus );
        }
        entry.add( "busses", busses );
        return entry;
    }

    Board board_;
    uint32_t did_ = 0;
};

} // namespace

Board drawBoard() {
    return Drawing().draw();
}

} // namespace Property
