#pragma once

#include <PlatformLibrary/pl.h>

#include <chrono>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace HostTool {

using Moment = std::chrono::steady_clock::time_point;

/// How a value came to be known.
enum class Freshness {
    fresh,  ///< its chip was asked just now
    old,    ///< its chip was asked some time ago, by the library's poll
    never,  ///< its chip was never asked
    failed, ///< it was asked just now, in vain; the status says what failed
    none,   ///< there is nothing to be asked: the device has no such value, or is not there
};

/// One value of a device, or the reason why there is none. A reading that failed has no number at
/// all, so that none can be shown for it; nor has one that the library answers with "fine" and
/// without having read anything.
struct Reading {
    using Value = std::variant<std::monostate, bool, int, float, std::string>;

    Value value;
    pl_status status = PL_STATUS_OK;
    std::string reason; ///< why there is no value; empty when there is one
    /// When the value was read, if that was not just now: at the library's last poll.
    std::optional<Moment> polledAt = std::nullopt;

    static Reading of( Value value ) { return { std::move( value ), PL_STATUS_OK, "" }; }
    /// The reason is the library's own last line, or what the status means when it said nothing.
    static Reading failed( pl_status status );
    /// There is a value, and nobody has read it.
    static Reading unread( std::string reason ) {
        return { {}, PL_STATUS_OK, std::move( reason ) };
    }

    bool hasValue() const { return value.index() != 0; }
    Freshness freshness() const;
    /// How old the value is; nothing when there is none.
    std::optional<std::chrono::duration<double>> age( Moment now ) const;
};

/// What a reading is called and measured in.
struct Column {
    const char *key;  ///< in JSON
    const char *unit; ///< "C", "A"; empty when the value has none
    int decimals;     ///< shown to a person
    /// A text of its own language, shown to a person who asks for it.
    bool isDescription = false;
    /// The library answers from what its last poll saw.
    bool isPolled = false;
};

/// What a device is like, judged by its readings.
enum class State {
    ok,
    added,    ///< the library has it, and there is nothing about it that can be read
    absent,   ///< the place is there, the part is not
    alert,    ///< at or above the alert threshold
    critical, ///< at or above the critical threshold
    bad,      ///< the device says of itself that it is not well
    failed,   ///< it could not be added or read
};

const char *nameOf( State state );
/// "fresh", "old", "never", "failed"; "none" for a value that cannot be.
const char *nameOf( Freshness freshness );
/// "PL_STATUS_IO_ERROR"; "status 17" for one that has no name.
std::string nameOf( pl_status status );
/// What the status says to a person: "no server, a failed access, or a time limit".
const char *meaningOf( pl_status status );

/// Why there is no value; for a failure with the status in front: "PL_STATUS_IO_ERROR: no server".
std::string whyNoValue( const Reading &reading );

/// True for the states that make the exit code 1.
bool isTrouble( State state );

/// Every reading of a device that could not be asked at all.
std::vector<Reading> allFailed( size_t count, pl_status status, const std::string &reason );

/// What the readings alone tell: failed, absent, ok or added.
State stateOf( const std::vector<Reading> &readings );

} // namespace HostTool
