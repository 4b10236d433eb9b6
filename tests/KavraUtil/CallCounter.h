#pragma once

#include <cstddef>
#include <functional>
#include <string>

/// What the calling thread asked of the system and of the heap. A program that links this file has
/// its own send, recv and operator new, which count and then do the usual thing; being exported,
/// they serve the shared libraries too.
struct CallCounter {
    int sends = 0;
    int receives = 0;
    int connects = 0;
    int otherSocketCalls = 0;  ///< poll, setsockopt, getsockopt, ioctl
    std::string connectedPath; ///< where the last connect() went

    // Told to the calls of this thread.
    int sendsToInterrupt = 0;    ///< so many sends fail with EINTR first
    int receivesToInterrupt = 0; ///< the same for receives; negative: all
    int nextSendFailsWith = 0;   ///< an errno value for one send
    std::function<void()> beforeConnect;
    std::function<void()> beforeReceive;

    static CallCounter &ofThisThread();

    /// By operator new, since the thread began.
    static int allocationsOfThisThread();

    /// While one lives, operator new has no memory for anything larger on this thread.
    class ScarceMemory {
      public:
        explicit ScarceMemory( std::size_t largest );
        ~ScarceMemory();
        ScarceMemory( const ScarceMemory & ) = delete;
        ScarceMemory &operator=( const ScarceMemory & ) = delete;
    };

    /// Forgets the counts of calls.
    void restart();
};
