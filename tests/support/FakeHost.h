#pragma once

#include <PlatformLibrary/pl.h>

#include <memory>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

/// The host's services as tests want them: what the library traces is kept, timers fire when a test
/// says so. A test program that links FakeHost exports pl_trace() and the timer services.
class FakeHost {
  public:
    struct Line {
        int level;
        std::string text;
        bool operator==( const Line & ) const = default;
        friend void PrintTo( const Line &line, std::ostream *out ) {
            *out << line.level << ": " << line.text;
        }
    };

    struct Timer {
        void ( *callback )( void * );
        void *context;
        std::vector<int> periods; ///< one entry for each time it was armed
        bool armed = false;
        bool deleted = false;
    };

    static FakeHost &get();

    /// Forgets traces and timers and undoes the failures below. Timers' handles die with it.
    void reset();

    bool traced( int level, std::string_view text ) const;
    /// The texts of one level, in order.
    std::vector<std::string> texts( int level ) const;

    /// Fires a timer that is armed; it is then unarmed until its callback arms it again.
    void tick( Timer &timer );

    std::vector<Line> lines;
    std::vector<std::unique_ptr<Timer>> timers;
    std::vector<pl_fd_watcher *> deletedWatchers; ///< filled by FakeHostWatcher alone
    bool timerAddFails = false;
    bool timerSetFails = false;
    bool traceDropped = false; ///< true: lines are neither formatted nor kept
};
