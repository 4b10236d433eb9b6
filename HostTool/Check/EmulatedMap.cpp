#include "HostTool/Check/EmulatedMap.h"

#include "HostTool/Check/CageRules.h"
#include "HostTool/Check/KnobRules.h"

#include <cstdlib>
#include <optional>

namespace HostTool::Check {

namespace {

constexpr uint32_t channelCount = 8;

uint32_t numberOr( uint32_t absent, const Value &object, const char *key ) {
    return emulatedNumber( lastMember( object, key ) ).value_or( absent );
}

std::string_view textOrNothing( const Value &object, const char *key ) {
    const Value *value = lastMember( object, key );
    return value && value->IsString() ? textOf( *value ) : std::string_view();
}

bool isFitted( const Value &chip ) {
    const Value *knobs = lastMember( chip, "set" );
    const Value *present = knobs ? lastMember( *knobs, "present" ) : nullptr;
    const bool isTakenOut = present && ( ( present->IsInt() && present->GetInt() == 0 ) ||
                                         ( present->IsString() && textOf( *present ) == "0" ) );
    return !isTakenOut;
}

void collect( const EmulatedSegment &segment, uint8_t address,
              std::vector<EmulatedChip *> &found ) {
    for ( EmulatedChip *chip : segment.chips ) {
        if ( chip->address == address ) {
            found.push_back( chip );
        }
    }
}

} // namespace

std::optional<uint32_t> emulatedNumber( const Value *value ) {
    constexpr int hexadecimal = 16;
    if ( value && value->IsUint() ) {
        return value->GetUint();
    }
    if ( value && value->IsString() && textOf( *value ).starts_with( "0x" ) ) {
        return static_cast<uint32_t>( strtoul( value->GetString(), nullptr, hexadecimal ) );
    }
    return std::nullopt;
}

EmulatedMap::EmulatedMap( const JsonFile &document, Findings &findings )
    : document_( document ), findings_( findings ) {
    for ( const Value &json : elements( lastMember( document.root(), "busses" ) ) ) {
        addBus( json );
    }
}

void EmulatedMap::addBus( const Value &json ) {
    const Wires wires = { textOrNothing( json, "master" ), numberOr( 0, json, "pci" ),
                          numberOr( 0, json, "accelerator" ), numberOr( 0, json, "bus" ) };
    if ( busses_.contains( wires ) ) {
        findings_.add( RuleId::emulatedBusTwice, document_, at( json ),
                       "this master, pci, accelerator and bus are described above" );
    }
    addChips( json, busses_[wires] );
}

void EmulatedMap::addChips( const Value &json, EmulatedSegment &segment ) {
    for ( const Value &chip : elements( lastMember( json, "chips" ) ) ) {
        addChip( chip, segment );
    }
}

void EmulatedMap::addChip( const Value &json, EmulatedSegment &segment ) {
    const auto address = emulatedNumber( lastMember( json, "address" ) );
    const std::string_view name = textOrNothing( json, "name" );
    const std::string_view type = textOrNothing( json, "type" );
    if ( !address || name.empty() || type.empty() ) {
        return;
    }
    for ( const EmulatedChip *other : segment.chips ) {
        if ( other->address == *address ) {
            findings_.add( RuleId::emulatedAddress, document_, at( *lastMember( json, "address" ) ),
                           quoted( other->name ) + " has address " + hexText( *address ) +
                               " on these wires" );
        }
    }
    chips_.push_back(
        { &json, name, type, static_cast<uint8_t>( *address ), isFitted( json ), {}, false } );
    EmulatedChip &chip = chips_.back();
    segment.chips.push_back( &chip );
    if ( !byName_.emplace( name, &chip ).second ) {
        findings_.add( RuleId::emulatedName, document_, at( *lastMember( json, "name" ) ),
                       "another chip is called " + quoted( name ) );
    }
    checkKnobs( document_, json, findings_ );
    checkReferences( json, chip );
    addChannels( json, chip );
}

EmulatedChip *EmulatedMap::named( const Value &name, const EmulatedChip &below ) {
    const auto found = name.IsString() ? byName_.find( textOf( name ) ) : byName_.end();
    if ( found == byName_.end() || found->second == &below ) {
        findings_.add( RuleId::emulatedReference, document_, at( name ),
                       "no chip " + shown( name ) + " stands above this one" );
        return nullptr;
    }
    return found->second;
}

void EmulatedMap::checkReferences( const Value &json, EmulatedChip &chip ) {
    if ( const Value *carrier = lastMember( json, "on" ) ) {
        const EmulatedChip *found = named( *carrier, chip );
        chip.isThere = chip.isThere && ( !found || found->isThere );
    }
    for ( const Value &name : elements( lastMember( json, "watches" ) ) ) {
        if ( const EmulatedChip *found = named( name, chip );
             found && found->type != "PmbusSupply" ) {
            findings_.add( RuleId::emulatedReference, document_, at( name ),
                           quoted( found->name ) + " is no supply" );
        }
    }
    if ( const Value *cages = lastMember( json, "cages" ); cages && chip.type == "XcvrCpld" ) {
        CageRules( document_, findings_, [&]( const Value &name ) {
            return named( name, chip );
        } ).check( *cages );
    }
}

void EmulatedMap::addChannels( const Value &json, EmulatedChip &chip ) {
    for ( const Value &channel : elements( lastMember( json, "channels" ) ) ) {
        const uint32_t number = numberOr( channelCount, channel, "channel" );
        if ( number < channelCount && chip.channels.contains( number ) ) {
            findings_.add( RuleId::emulatedChannel, document_, at( channel ),
                           "channel " + std::to_string( number ) + " is described above" );
        }
        addChips( channel, chip.channels[number] );
    }
}

EmulatedChip *EmulatedMap::find( const Wires &wires, std::span<const Hop> hops, uint8_t address ) {
    const auto bus = busses_.find( wires );
    if ( bus == busses_.end() ) {
        return nullptr;
    }
    std::vector<const EmulatedSegment *> open = { &bus->second };
    for ( const Hop &hop : hops ) {
        std::vector<EmulatedChip *> muxes;
        for ( const EmulatedSegment *segment : open ) {
            collect( *segment, hop.address, muxes );
        }
        if ( muxes.empty() ) {
            return nullptr;
        }
        for ( EmulatedChip *mux : muxes ) {
            for ( const auto &[number, segment] : mux->channels ) {
                if ( number < channelCount && ( hop.control >> number & 1 ) != 0 ) {
                    open.push_back( &segment );
                }
            }
        }
    }
    std::vector<EmulatedChip *> found;
    for ( const EmulatedSegment *segment : open ) {
        collect( *segment, address, found );
    }
    return found.empty() ? nullptr : found.front();
}

} // namespace HostTool::Check
