#include "SmbusServer/FaultList.h"

#include "SmbusServer/FaultScript.h"

#include <utility>

namespace SmbusServer {

// Which requests a kind concerns at all.
static bool concerns( FaultKind kind, const Operation &operation ) {
    switch ( kind ) {
    case FaultKind::EmptyRead:
    case FaultKind::ShortRead:
    case FaultKind::LongRead:
        return operation.type == Smbus::READ || operation.type == Smbus::PROCESS_CALL;
    case FaultKind::EmptyBlock:
    case FaultKind::ShortBlock:
    case FaultKind::LongBlock:
    case FaultKind::BadCount:
        return operation.type == Smbus::BLOCK_READ;
    case FaultKind::Ones:
        return operation.isRead() || operation.type == Smbus::PROCESS_CALL;
    case FaultKind::NoSelect:
        return operation.isSendByte() && operation.reg != 0;
    case FaultKind::NoRelease:
        return operation.isSendByte() && operation.reg == 0;
    default:
        return true;
    }
}

template <class Wanted, class Value>
static bool fits( const std::optional<Wanted> &wanted, Value value ) {
    return !wanted || *wanted == static_cast<Wanted>( value );
}

bool FaultList::Entry::matches( const Operation &operation ) const {
    if ( stuckBus ) {
        return operation.bus == *stuckBus;
    }
    return !isOfTheServer( fault.kind ) && fits( fault.bus, operation.bus.bus ) &&
           fits( fault.accelerator, operation.bus.accelerator ) &&
           fits( fault.pci, operation.bus.pci ) && fits( fault.master, operation.bus.master ) &&
           fits( fault.chip, operation.chip ) && fits( fault.reg, operation.reg ) &&
           concerns( fault.kind, operation );
}

bool FaultList::Entry::count() {
    ++met;
    const bool hit = met >= fault.at && ( fault.count == Fault::forEver || hits < fault.count );
    if ( hit && hits < Fault::forEver ) {
        ++hits;
    }
    return hit;
}

bool FaultList::add( Fault fault ) {
    const std::lock_guard guard( mutex_ );
    if ( entries_.size() == mostFaults ) {
        return false;
    }
    entries_.push_back( { .number = ++lastNumber_, .fault = std::move( fault ) } );
    any_ = true;
    return true;
}

bool FaultList::remove( uint32_t number ) {
    const std::lock_guard guard( mutex_ );
    const bool removed =
        std::erase_if( entries_, [&]( const Entry &each ) { return each.number == number; } ) != 0;
    any_ = !entries_.empty();
    return removed;
}

void FaultList::clear() {
    const std::lock_guard guard( mutex_ );
    entries_.clear();
    any_ = false;
}

std::string FaultList::list() const {
    const std::lock_guard guard( mutex_ );
    std::string text;
    for ( const Entry &each : entries_ ) {
        text += std::to_string( each.number ) + " hits " + std::to_string( each.hits ) + ": " +
                each.fault.line + "\n";
    }
    return text;
}

template <class Matches>
std::optional<FaultList::Hit> FaultList::firstHit( Matches matches ) {
    if ( !any_ ) {
        return std::nullopt;
    }
    const std::lock_guard guard( mutex_ );
    std::optional<Hit> first;
    for ( Entry &each : entries_ ) {
        if ( !matches( each ) || !each.count() || first ) {
            continue;
        }
        first = { each.fault.kind, each.fault.value, each.fault.text };
    }
    return first;
}

std::optional<FaultList::Hit> FaultList::meet( const Operation &operation ) {
    return firstHit( [&]( Entry &each ) {
        const bool matches = each.matches( operation );
        if ( matches && each.fault.kind == FaultKind::Stuck && each.met + 1 >= each.fault.at ) {
            each.stuckBus = operation.bus;
        }
        return matches;
    } );
}

std::optional<FaultList::Hit> FaultList::meetAnswer() {
    return firstHit( []( const Entry &each ) { return isOfTheServer( each.fault.kind ); } );
}

} // namespace SmbusServer
