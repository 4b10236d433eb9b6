#include "HostTool/Host/Reading.h"

#include "HostTool/Host/HostServices.h"

#include <algorithm>

namespace HostTool {

namespace {

struct StatusRow {
    pl_status status;
    const char *name;
    const char *meaning;
};

constexpr StatusRow statusRows[] = {
    { PL_STATUS_OK, "PL_STATUS_OK", "fine" },
    { PL_STATUS_NOT_PRESENT, "PL_STATUS_NOT_PRESENT", "not present" },
    { PL_STATUS_BAD_READING, "PL_STATUS_BAD_READING", "the value makes no sense" },
    { PL_STATUS_INVALID, "PL_STATUS_INVALID", "bad argument" },
    { PL_STATUS_IO_ERROR, "PL_STATUS_IO_ERROR", "no server, a failed access, or a time limit" },
    { PL_STATUS_NOT_SUPPORTED, "PL_STATUS_NOT_SUPPORTED", "not supported" },
    { PL_STATUS_FAILED, "PL_STATUS_FAILED", "the server reported a failure" },
};

struct StateRow {
    State state;
    const char *name;
    bool isTrouble;
};

constexpr StateRow stateRows[] = {
    { State::ok, "ok", false },
    { State::added, "added", false },
    { State::absent, "absent", false },
    { State::alert, "alert", true },
    { State::critical, "critical", true },
    { State::bad, "bad", true },
    { State::failed, "failed", true },
};

const StatusRow *find( pl_status status ) {
    const auto row = std::find_if( std::begin( statusRows ), std::end( statusRows ),
                                   [=]( const StatusRow &each ) { return each.status == status; } );
    return row == std::end( statusRows ) ? nullptr : row;
}

const StateRow &find( State state ) {
    return *std::find_if( std::begin( stateRows ), std::end( stateRows ),
                          [=]( const StateRow &each ) { return each.state == state; } );
}

} // namespace

const char *nameOf( State state ) {
    return find( state ).name;
}

bool isTrouble( State state ) {
    return find( state ).isTrouble;
}

const char *nameOf( Freshness freshness ) {
    switch ( freshness ) {
    case Freshness::fresh:
        return "fresh";
    case Freshness::old:
        return "old";
    case Freshness::never:
        return "never";
    case Freshness::failed:
        return "failed";
    case Freshness::none:
        break;
    }
    return "none";
}

std::string nameOf( pl_status status ) {
    const StatusRow *row = find( status );
    return row ? row->name : "status " + std::to_string( status );
}

const char *meaningOf( pl_status status ) {
    const StatusRow *row = find( status );
    return row ? row->meaning : "a status without a name";
}

Reading Reading::failed( pl_status status ) {
    const std::string lastLine = HostServices::get().lastLine();
    return { {}, status, lastLine.empty() ? meaningOf( status ) : lastLine };
}

Freshness Reading::freshness() const {
    if ( hasValue() ) {
        return polledAt ? Freshness::old : Freshness::fresh;
    }
    switch ( status ) {
    case PL_STATUS_OK:
        return Freshness::never;
    case PL_STATUS_NOT_SUPPORTED:
    case PL_STATUS_NOT_PRESENT:
        return Freshness::none;
    default:
        return Freshness::failed;
    }
}

std::optional<std::chrono::duration<double>> Reading::age( Moment now ) const {
    if ( !hasValue() ) {
        return std::nullopt;
    }
    return polledAt ? now - *polledAt : std::chrono::duration<double>::zero();
}

std::string whyNoValue( const Reading &reading ) {
    return reading.freshness() == Freshness::failed
               ? nameOf( reading.status ) + ": " + reading.reason
               : reading.reason;
}

std::vector<Reading> allFailed( size_t count, pl_status status, const std::string &reason ) {
    return std::vector<Reading>( count, Reading{ {}, status, reason } );
}

State stateOf( const std::vector<Reading> &readings ) {
    State state = State::added;
    for ( const Reading &reading : readings ) {
        if ( reading.hasValue() && state == State::added ) {
            state = State::ok;
        } else if ( reading.status == PL_STATUS_NOT_PRESENT ) {
            state = State::absent;
        } else if ( reading.status != PL_STATUS_OK && reading.status != PL_STATUS_NOT_SUPPORTED ) {
            return State::failed;
        }
    }
    return state;
}

} // namespace HostTool
