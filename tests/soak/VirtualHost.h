#pragma once

#include <cstdarg>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct pl_timer;

namespace Soak {

/// The host's services in virtual time: the timers that the library asks for are a queue, and the
/// clock jumps. Traces are counted, not written.
class VirtualHost {
  public:
    static VirtualHost &get();

    /// Called behind a timer's callback. The library's one blink timer has no context.
    std::function<void( bool isBlink )> fired;

    /// Lets every timer that is due by then fire, in order.
    /// @param milliseconds since the start.
    void advanceTo( uint64_t milliseconds );

    /// Batches that the library has sent to the server.
    uint64_t transactions() const { return transactions_; }
    /// The last line of level 0, for a message about a device that was refused.
    const std::string &lastFailure() const { return lastFailure_; }
    /// Level 0 lines are kept from now on, or not.
    void keepsFailures( bool keeps ) { keepsFailures_ = keeps; }

    // What the library calls.
    __attribute__( ( format( printf, 3, 0 ) ) ) void trace( int level, const char *format,
                                                            va_list arguments );
    pl_timer *newTimer( void ( *callback )( void * ), void *context );
    void arm( pl_timer &timer, int period );
    void remove( pl_timer *timer );

  private:
    pl_timer *nextDue( uint64_t limit ) const;

    uint64_t now_ = 0;
    uint64_t transactions_ = 0;
    std::vector<pl_timer *> timers_;
    std::string lastFailure_;
    bool keepsFailures_ = true;
};

} // namespace Soak
