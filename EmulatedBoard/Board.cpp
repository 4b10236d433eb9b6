#include "EmulatedBoard/Board.h"

#include <algorithm>
#include <utility>

namespace EmulatedBoard {

Bus *Board::newBus( const BusName &name ) {
    const auto [entry, isNew] = busses_.try_emplace( name );
    if ( !isNew ) {
        return nullptr;
    }
    entry->second = std::make_unique<Bus>();
    return entry->second.get();
}

Bus *Board::findBus( const BusName &name ) {
    const auto found = busses_.find( name );
    return found == busses_.end() ? nullptr : found->second.get();
}

Chip *Board::add( Segment &segment, std::string name, std::unique_ptr<Chip> chip ) {
    if ( findChip( name ) != nullptr ) {
        return nullptr;
    }
    Chip &added = segment.add( std::move( chip ) );
    for ( Knob &knob : added.knobs() ) {
        std::string full = name + "." + knob.name;
        knobs_.push_back( { std::move( full ), std::move( knob ) } );
    }
    chips_.push_back( { std::move( name ), &added } );
    return &added;
}

Chip *Board::findChip( std::string_view name ) const {
    const auto found = std::ranges::find( chips_, name, &NamedChip::name );
    return found == chips_.end() ? nullptr : found->chip;
}

const Board::NamedKnob *Board::findKnob( std::string_view name, std::string &error ) const {
    const auto found = std::ranges::find( knobs_, name, &NamedKnob::name );
    if ( found != knobs_.end() ) {
        return &*found;
    }
    const std::string_view chip = name.substr( 0, name.find( '.' ) );
    const bool chipKnown = findChip( chip ) != nullptr;
    std::string choices;
    if ( chipKnown ) {
        for ( const NamedKnob &each : knobs_ ) {
            if ( each.name.substr( 0, each.name.find( '.' ) ) == chip ) {
                choices += " " + each.name;
            }
        }
    } else {
        for ( const NamedChip &each : chips_ ) {
            choices += " " + each.name;
        }
    }
    error = chipKnown ? "no knob '" + std::string( name ) + "'; there are:" + choices
                      : "no chip '" + std::string( chip ) + "'; there are:" + choices;
    return nullptr;
}

bool Board::get( std::string_view name, std::string &value, std::string &error ) const {
    const NamedKnob *found = findKnob( name, error );
    if ( found == nullptr ) {
        return false;
    }
    value = found->knob.get();
    return true;
}

bool Board::set( std::string_view name, std::string_view value, std::string &error ) {
    const NamedKnob *found = findKnob( name, error );
    if ( found == nullptr ) {
        return false;
    }
    if ( !found->knob.set ) {
        error = found->name + " is read only";
        return false;
    }
    if ( !found->knob.set( value ) ) {
        error = found->name + " cannot be '" + std::string( value ) +
                "': " + allowedText( found->knob );
        return false;
    }
    return true;
}

std::string allowedText( const Knob &knob ) {
    return knob.allowed.empty()
               ? "it is read only"
               : "it takes " + knob.allowed + ( knob.unit.empty() ? "" : " " + knob.unit );
}

} // namespace EmulatedBoard
