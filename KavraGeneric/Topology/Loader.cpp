// From the topology document to the tree. The order of the steps in each builder decides which
// assertion a broken document meets first and which of two equal labels wins.
#include "KavraGeneric/Topology/Loader.h"

#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/HostServices.h"
#include "KavraGeneric/Topology/Topology.h"

#include <cstring>
#include <string_view>

namespace Topology {

namespace {

// The value under a key, or null. Keys are known here, so that to compare one is a word or two.
template <std::size_t size>
const rapidjson::Value *find( const rapidjson::Value &json, const char ( &key )[size] ) {
    for ( auto member = json.MemberBegin(); member != json.MemberEnd(); ++member ) {
        if ( member->name.GetStringLength() == size - 1 &&
             std::memcmp( member->name.GetString(), key, size - 1 ) == 0 ) {
            return &member->value;
        }
    }
    return nullptr;
}

// Hands every element of an optional array of objects to a function.
template <std::size_t size>
void forEachObject( const rapidjson::Value &json, const char ( &key )[size],
                    const auto &function ) {
    const rapidjson::Value *array = find( json, key );
    if ( !array ) {
        return;
    }
    for ( auto it = array->Begin(); it != array->End(); ++it ) {
        assert( it->IsObject() );
        function( *it );
    }
}

// The devices of a parent lie side by side in one block, which their pointers own together.
void buildDevices( std::vector<std::shared_ptr<Device>> &devices, const rapidjson::Value &json ) {
    const rapidjson::Value *entries = find( json, "devices" );
    if ( !entries ) {
        return;
    }
    const auto first = entries->Begin();
    const auto count = static_cast<std::size_t>( entries->End() - first );
    // By way of a unique pointer: g++ 12 goes astray in cleaning up a new[] whose shared pointer
    // gets no memory.
    const std::shared_ptr<Device[]> block( std::make_unique<Device[]>( count ) );
    Device *place = block.get();
    devices.reserve( count );
    forEachObject( json, "devices", [&]( const rapidjson::Value &entry ) {
        devices.push_back( Device::fromJSON( entry, { block, place++ } ) );
    } );
}

struct MediumType {
    std::string_view name;
    std::shared_ptr<MediumNode> ( *build )( const rapidjson::Value &json );
};

template <typename Medium>
std::shared_ptr<MediumNode> build( const rapidjson::Value &json ) {
    return Medium::fromJSON( json );
}

constexpr MediumType mediumTypes[] = {
    { "SCD", build<SCD> },         { "I2C", build<I2C> },
    { "IOPort", build<IOPort> },   { "Celestica", build<Celestica> },
    { "PLM", build<PLM> },         { "SccSpi", build<SccSpi> },
    { "LinuxFs", build<LinuxFs> }, { "FbDomFpga", build<FbDomFpga> },
};

std::shared_ptr<MediumNode> buildMedium( std::string_view type, const rapidjson::Value &json ) {
    for ( const MediumType &medium : mediumTypes ) {
        if ( medium.name == type ) {
            return medium.build( json );
        }
    }
    assert( false && "Unknown type" );
    return nullptr;
}

} // namespace

void Node::init( std::shared_ptr<Node> node, const rapidjson::Value &json ) {
    if ( const rapidjson::Value *label = find( json, "label" ) ) {
        // Documents tend to list labels in ascending order, which makes the end a good hint.
        _topology_index.insert_or_assign( _topology_index.end(), label->GetString(),
                                          std::move( node ) );
    }
}

std::shared_ptr<Component> Component::fromJSON( const rapidjson::Value &json ) {
    assert( json.IsObject() );
    assert( json.HasMember( "uid" ) );
    auto component = std::make_shared<Component>();
    component->uid = json["uid"].GetUint();
    Node::init( component, json );
    return component;
}

std::shared_ptr<Device> Device::fromJSON( const rapidjson::Value &json ) {
    return fromJSON( json, std::make_shared<Device>() );
}

// Documents are devices for the most part: what is done here is what loading costs.
std::shared_ptr<Device> Device::fromJSON( const rapidjson::Value &json,
                                          std::shared_ptr<Device> device ) {
    assert( json.IsObject() );
    const rapidjson::Value *did = find( json, "did" );
    ASSERT_TEXT( did, "json.HasMember( \"did\" )" );
    device->did = did->GetUint();
    Node::init( device, json );
    if ( find( json, "driver" ) ) {
        device->driverArgs = Drivers::DriverArgs::fromJSON( json );
    }
    forEachObject( json, "components", [&]( const rapidjson::Value &entry ) {
        device->components.push_back( Component::fromJSON( entry ) );
    } );
    return device;
}

std::shared_ptr<Mux> Mux::fromJSON( const rapidjson::Value &json ) {
    assert( json.IsObject() );
    assert( json.HasMember( "did" ) );
    auto mux = std::make_shared<Mux>();
    Node::init( mux, json );
    mux->did = json["did"].GetUint();
    // A later bus takes an earlier one's place without a word, unlike in the maps further up.
    forEachObject( json, "busses", [&]( const rapidjson::Value &entry ) {
        auto bus = Bus::fromJSON( entry );
        mux->busses[bus->id] = bus;
    } );
    return mux;
}

std::shared_ptr<Bus> Bus::fromJSON( const rapidjson::Value &json ) {
    auto bus = std::make_shared<Bus>();
    Bus::init( bus, json );
    return bus;
}

void Bus::init( std::shared_ptr<Bus> bus, const rapidjson::Value &json ) {
    assert( json.IsObject() );
    assert( json.HasMember( "id" ) );
    Node::init( bus, json );
    bus->id = static_cast<uint32_t>( json["id"].GetInt() );
    buildDevices( bus->devices, json );
    forEachObject( json, "muxes", [&]( const rapidjson::Value &entry ) {
        bus->muxes.push_back( Mux::fromJSON( entry ) );
    } );
}

std::shared_ptr<Accelerator> Accelerator::fromJSON( const rapidjson::Value &json ) {
    assert( json.IsObject() );
    assert( json.HasMember( "id" ) );
    auto accel = std::make_shared<Accelerator>();
    Node::init( accel, json );
    accel->id = json["id"].GetUint();
    if ( json.HasMember( "busses" ) ) {
        const rapidjson::Value &busses = json["busses"];
        assert( busses.IsArray() );
        for ( auto it = busses.Begin(); it != busses.End(); ++it ) {
            auto bus = Bus::fromJSON( *it );
            assert( accel->busses.find( bus->id ) == accel->busses.end() );
            accel->busses.emplace( bus->id, bus );
        }
    }
    return accel;
}

std::shared_ptr<SCD> SCD::fromJSON( const rapidjson::Value &json ) {
    auto scd = std::make_shared<SCD>();
    Node::init( scd, json );
    assert( json.IsObject() );
    assert( json.HasMember( "pci" ) );
    scd->pci = json["pci"].GetUint();
    if ( json.HasMember( "accelerators" ) ) {
        const rapidjson::Value &accels = json["accelerators"];
        assert( accels.IsArray() );
        for ( auto it = accels.Begin(); it != accels.End(); ++it ) {
            auto accel = Accelerator::fromJSON( *it );
            assert( scd->accelerators.find( accel->id ) == scd->accelerators.end() );
            scd->accelerators.emplace( accel->id, accel );
        }
    }
    return scd;
}

std::shared_ptr<Celestica> Celestica::fromJSON( const rapidjson::Value &json ) {
    auto cel = std::make_shared<Celestica>();
    Node::init( cel, json );
    if ( json.HasMember( "accelerators" ) ) {
        const rapidjson::Value &accels = json["accelerators"];
        assert( accels.IsArray() );
        for ( auto it = accels.Begin(); it != accels.End(); ++it ) {
            auto accel = Accelerator::fromJSON( *it );
            assert( cel->accelerators.find( accel->id ) == cel->accelerators.end() );
            cel->accelerators.emplace( accel->id, accel );
        }
    }
    return cel;
}

std::shared_ptr<LinuxFs> LinuxFs::fromJSON( const rapidjson::Value &json ) {
    auto medium = std::make_shared<LinuxFs>();
    Node::init( medium, json );
    buildDevices( medium->devices, json );
    return medium;
}

std::shared_ptr<I2C> I2C::fromJSON( const rapidjson::Value &json ) {
    auto medium = std::make_shared<I2C>();
    if ( json.HasMember( "simulated" ) ) {
        medium->simulated = json["simulated"].GetBool();
    }
    Bus::init( medium, json );
    return medium;
}

std::shared_ptr<IOPort> IOPort::fromJSON( const rapidjson::Value &json ) {
    auto medium = std::make_shared<IOPort>();
    Bus::init( medium, json );
    return medium;
}

std::shared_ptr<PLM> PLM::fromJSON( const rapidjson::Value &json ) {
    auto medium = std::make_shared<PLM>();
    Bus::init( medium, json );
    return medium;
}

std::shared_ptr<SccSpi> SccSpi::fromJSON( const rapidjson::Value &json ) {
    auto medium = std::make_shared<SccSpi>();
    Bus::init( medium, json );
    return medium;
}

std::shared_ptr<FbDomFpga> FbDomFpga::fromJSON( const rapidjson::Value &json ) {
    auto medium = std::make_shared<FbDomFpga>();
    Bus::init( medium, json );
    assert( json.IsObject() );
    assert( json.HasMember( "pci" ) );
    medium->pci = json["pci"].GetUint();
    return medium;
}

Topology *Topology::fromJSON( const rapidjson::Document &json ) {
    assert( json.IsArray() );
    auto topology = std::make_unique<Topology>();
    for ( auto it = json.Begin(); it != json.End(); ++it ) {
        assert( it->IsObject() );
        assert( it->HasMember( "type" ) );
        assert( it->HasMember( "ham" ) );
        auto medium = buildMedium( ( *it )["type"].GetString(), *it );
        medium->ham = ( *it )["ham"].GetString();
        topology->roots.push_back( std::move( medium ) );
    }
    return topology.release();
}

int loadTopology( const char *json ) {
    if ( _topology_json == json && _topology ) {
        pl_trace( 2, "topology is the same as the previously loaded one (using it)" );
        return PL_STATUS_OK;
    }
    pl_trace( 2, "loading topology json" );
    rapidjson::Document document;
    document.Parse( json );
    if ( document.HasParseError() ) {
        pl_trace( 2, "failed to load topology from json: %s offset %zd",
                  rapidjson::GetParseError_En( document.GetParseError() ),
                  document.GetErrorOffset() );
        return PL_STATUS_INVALID;
    }
    std::string text( json ); // what can throw comes before the old tree goes
    if ( _topology ) {
        delete _topology;
        _topology = nullptr;
        _topology_index.clear();
    }
    try {
        _topology = Topology::Topology::fromJSON( document );
    } catch ( ... ) { // the labels of half a tree
        _topology_index.clear();
        throw;
    }
    if ( !_topology ) {
        pl_trace( 2, "failed to create topology tree" );
        return PL_STATUS_FAILED;
    }
    _topology_json.swap( text );
    return PL_STATUS_OK;
}

} // namespace Topology
