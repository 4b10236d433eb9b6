#include "HostTool/Explain/Wiring.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

namespace HostTool::Explain {

namespace {

using rapidjson::Value;

struct MasterOfType {
    std::string_view type; ///< of a medium
    const char *master;
};
constexpr MasterOfType masters[] = {
    { "SCD", "SCD" },        { "I2C", "I2C" },
    { "IOPort", "IO_PORT" }, { "Celestica", "CELESTICA" },
    { "PLM", "PLM" },        { "SccSpi", "SCC_SPI" },
};
constexpr const char *simulatedMaster = "SIMULATED";

const Value *member( const Value &object, const char *key ) {
    if ( !object.IsObject() ) {
        return nullptr;
    }
    const auto found = object.FindMember( key );
    return found == object.MemberEnd() ? nullptr : &found->value;
}

std::vector<const Value *> elements( const Value *list ) {
    std::vector<const Value *> all;
    if ( list && list->IsArray() ) {
        for ( const Value &each : list->GetArray() ) {
            all.push_back( &each );
        }
    }
    return all;
}

std::string textIn( const Value &object, const char *key ) {
    const Value *value = member( object, key );
    return value && value->IsString() ? value->GetString() : "";
}

std::optional<unsigned> numberIn( const Value &object, const char *key ) {
    const Value *value = member( object, key );
    return value && value->IsUint() ? std::optional( value->GetUint() ) : std::nullopt;
}

std::string masterOf( const Value &medium ) {
    const Value *simulated = member( medium, "simulated" );
    const std::string type = textIn( medium, "type" );
    const auto row = std::find_if( std::begin( masters ), std::end( masters ),
                                   [&]( const MasterOfType &each ) { return each.type == type; } );
    const bool isReal = row != std::end( masters ) && !( simulated && simulated->IsTrue() );
    return isReal ? row->master : simulatedMaster;
}

} // namespace

class WiringBuilder {
  public:
    explicit WiringBuilder( Wiring &wiring ) : wiring_( wiring ) {}

    void addMedium( const Value &medium ) {
        const std::string master = masterOf( medium );
        const unsigned pci = numberIn( medium, "pci" ).value_or( 0 );
        if ( !member( medium, "accelerators" ) ) {
            addBus( medium, { master, pci, 0, numberIn( medium, "id" ).value_or( 0 ) } );
            return;
        }
        for ( const Value *accelerator : elements( member( medium, "accelerators" ) ) ) {
            for ( const Value *bus : elements( member( *accelerator, "busses" ) ) ) {
                addBus( *bus, { master, pci, numberIn( *accelerator, "id" ).value_or( 0 ),
                                numberIn( *bus, "id" ).value_or( 0 ) } );
            }
        }
    }

  private:
    void addBus( const Value &json, const BusName &name ) {
        wiring_.busses_.emplace( name, &segmentFrom( json ) );
    }

    Segment &segmentFrom( const Value &json ) {
        Segment &segment = wiring_.segments_.emplace_back( Segment{ textIn( json, "label" ), {} } );
        for ( const Value *each : elements( member( json, "muxes" ) ) ) {
            addMux( *each, json, segment );
        }
        return segment;
    }

    void addMux( const Value &json, const Value &bus, Segment &segment ) {
        const std::optional<unsigned> did = numberIn( json, "did" );
        const std::optional<unsigned> chip = did ? chipOf( *did, bus ) : std::nullopt;
        if ( !chip ) {
            return;
        }
        Mux &mux = wiring_.muxes_.emplace_back( Mux{ *did, textIn( json, "label" ), *chip, {} } );
        segment.muxes.push_back( &mux );
        for ( const Value *channel : elements( member( json, "busses" ) ) ) {
            mux.channels.emplace( numberIn( *channel, "id" ).value_or( 0 ),
                                  &segmentFrom( *channel ) );
        }
    }

    // The mux says what it splits; its chip is a device of the bus, under the same did.
    static std::optional<unsigned> chipOf( unsigned did, const Value &bus ) {
        for ( const Value *device : elements( member( bus, "devices" ) ) ) {
            const Value *address = member( *device, "address" );
            if ( numberIn( *device, "did" ) == did && address ) {
                return numberIn( *address, "address" );
            }
        }
        return std::nullopt;
    }

    Wiring &wiring_;
};

Wiring::Wiring( const std::string &topology ) {
    rapidjson::Document document;
    document.Parse( topology.c_str() );
    WiringBuilder builder( *this );
    for ( const Value *medium : elements( document.HasParseError() ? nullptr : &document ) ) {
        builder.addMedium( *medium );
    }
}

std::string Wiring::labelOf( const BusName &bus ) const {
    const auto found = busses_.find( bus );
    return found == busses_.end() ? "" : found->second->label;
}

std::string Wiring::describe( const BusName &bus ) const {
    const std::string label = labelOf( bus );
    return textOf( bus ) + ( label.empty() ? "" : " (" + label + ")" );
}

static const Mux *muxOf( const Segment &segment, unsigned chip ) {
    const auto found = std::find_if( segment.muxes.begin(), segment.muxes.end(),
                                     [=]( const Mux *each ) { return each->chip == chip; } );
    return found == segment.muxes.end() ? nullptr : *found;
}

std::vector<Role> Wiring::rolesIn( const Transaction &transaction ) const {
    std::vector<Role> roles;
    std::vector<const Mux *> open;
    const Segment *here = nullptr;
    const BusName *bus = nullptr;
    for ( const Request &request : transaction.requests ) {
        if ( !bus || *bus != request.bus ) {
            bus = &request.bus;
            open.clear();
            const auto found = busses_.find( *bus );
            here = found == busses_.end() ? nullptr : found->second;
        }
        Role &role = roles.emplace_back();
        if ( request.operation != Operation::sendByte ) {
            continue;
        }
        if ( request.reg == 0 && !open.empty() && open.back()->chip == request.chip ) {
            role = { Role::What::deselect, open.back(), nullptr };
            open.pop_back();
            continue;
        }
        const Mux *mux = here && request.reg != 0 ? muxOf( *here, request.chip ) : nullptr;
        if ( mux ) {
            const auto channel = mux->channels.find( request.reg );
            here = channel == mux->channels.end() ? nullptr : channel->second;
            role = { Role::What::select, mux, here };
            open.push_back( mux );
        }
    }
    return roles;
}

} // namespace HostTool::Explain
