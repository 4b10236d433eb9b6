#pragma once

#include <cstddef>
#include <cstdint>

/// Makes the n-th thing of a kind that a call asks for fail, while a plan is armed. The program
/// that links this stands in for the C library's allocation and system calls, for every library in
/// the process; what the board's server does on the same thread is left alone. Nothing here
/// allocates.
namespace Faults {

enum class Kind { allocation, systemCall, busRequest, hostService };
inline constexpr int kinds = 4;

struct Plan {
    Kind kind = Kind::allocation;
    bool forEver = false; ///< from the n-th on, not the n-th alone
    unsigned n = 0;       ///< from 1; 0: nothing fails, everything is counted
    unsigned variant = 0; ///< which of the ways in which that call can fail
};

inline constexpr unsigned mostPlaces = 8192;

/// What was met since the plan was armed.
struct Met {
    bool failed;                  ///< the n-th was there
    const void *caller;           ///< of the allocation that failed: the code behind the call
    const char *call;             ///< the system call that failed first
    int error;                    ///< its errno
    unsigned counts[kinds];       ///< things met, by kind
    uint8_t variants[mostPlaces]; ///< ways to fail of each system call, in order
};

/// @param met filled from here on; memory that is shared outlives the process.
void arm( const Plan &plan, Met &met );
void disarm();

/// For what the program itself provides: the host's services, and the wires.
/// @return the next thing of that kind fails.
bool fails( Kind kind );
/// The failing kind's variant.
unsigned variant();
/// A thing that was not counted, and fails when everything fails from here on.
bool everythingFails( Kind kind );

/// Blocks of memory in use, those of the server apart.
long blocksInUse();

/// While one lives on the thread, nothing is counted and nothing fails.
class Unwatched {
  public:
    Unwatched();
    ~Unwatched();
    Unwatched( const Unwatched & ) = delete;
    Unwatched &operator=( const Unwatched & ) = delete;
};

/// From now on time goes on only when somebody sleeps or waits, and nobody does in truth.
void stopTheClock();
void startTheClock();
/// Real seconds, for reports.
double realSeconds();

/// Called with an assertion's text in place of the end of the process; must not return.
void assertionsEndIn( void ( *function )( const char *text ) );
/// Called before each receipt: who is at the other end of the socket answers there.
void answersComeFrom( void ( *function )() );

} // namespace Faults
