#pragma once

#include <PlatformLibrary/pl.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

struct sd_event;

namespace HostTool {

/// What the library imports from its host: the trace function and the timers, on one event loop.
/// There is one, because the library finds the services by symbol name.
class HostServices {
  public:
    static HostServices &get();

    /// Prints the library's lines of this level and below to stderr; -1, the start value, prints
    /// none.
    void traceLevelIs( int level ) { traceLevel_ = level; }

    /// Forgets the lines kept so far: what comes now belongs to the next call into the library.
    void forgetLines() { lines_.clear(); }
    /// The important lines (levels 0 to 3) since then, the latest last; the oldest of many are
    /// gone.
    const std::vector<std::string> &lines() const { return lines_; }
    /// The latest of them; empty when the library said nothing.
    std::string lastLine() const { return lines_.empty() ? std::string() : lines_.back(); }

    bool wants( int level ) const;
    void keep( int level, const std::string &text );

    sd_event *loop() { return loop_; }
    /// Runs the event loop, and with it the library's timers, for a while.
    void runFor( int milliseconds );
    /// The same until one of the interruptions comes, or for so many seconds.
    void runUntilInterrupted( std::optional<int> seconds );

    /// A host may let a timer wait: while timers are held none of them fires, and what came due
    /// fires when they are let go. A library that ends the process when it cannot poll is thus kept
    /// from polling without a server.
    void timersAreHeld( bool held );
    bool holdsTimers() const { return holdsTimers_; }
    /// Keeps a timer that came due while timers are held.
    void defer( pl_timer *timer ) { deferred_.push_back( timer ); }
    void forget( const pl_timer *timer );

    /// True when the library polls from a timer.
    bool polls() const { return !pollers_.empty(); }
    /// What is answered from a poll is as old as this: the latest poll of the timer that has waited
    /// longest. Nothing until each of them has polled.
    std::optional<std::chrono::steady_clock::time_point> lastPoll() const;
    /// Milliseconds between two polls, of each timer that the library polls from, in the order in
    /// which it armed them first.
    std::vector<int> pollPeriods() const;
    void isArmed( pl_timer *timer, int period );
    void hasFired( const pl_timer *timer );

    /// Notes a trace that a host can learn from.
    void hear( int level, const char *format );
    /// How often the lamps that blink have changed over. All of them share one phase: the first
    /// change is to the dark half, the second to the lit one, and so on in turn.
    unsigned blinks() const { return blinks_; }

  private:
    HostServices();

    int traceLevel_ = -1;
    std::vector<std::string> lines_;
    sd_event *loop_ = nullptr;
    bool holdsTimers_ = false;
    std::vector<pl_timer *> deferred_;
    struct Poller {
        pl_timer *timer;
        int period; ///< in milliseconds
        std::optional<std::chrono::steady_clock::time_point> polledAt;
    };
    bool armsPoller_ = false; ///< the timer that is armed next is one to poll from
    std::vector<Poller> pollers_;
    unsigned blinks_ = 0;
};

/// @throw Failure when a call of the event loop failed.
void checkLoop( int result );

/// True for a signal that the process was started to ignore, as nohup does it.
bool isIgnored( int number );
/// The signals that end a command that goes on: SIGINT, SIGTERM and SIGHUP, but for those that are
/// ignored.
std::vector<int> interruptions();

/// Text from outside with everything but printable ASCII replaced, so that it can neither disturb a
/// terminal nor break JSON. Line ends stay only when asked for.
std::string printable( std::string text, bool keepLineEnds = false );

} // namespace HostTool
