#pragma once

#include "HostTool/Host/Library.h"
#include "tests/HostTool/BoardFolder.h"

#include <string>
#include <sys/types.h>

/// The documents of a board, as texts.
struct BoardTexts {
    std::string topology;
    std::string devices;
    std::string emulation;
};

/// What becomes of a board when a host adds all of its devices.
enum class Fate {
    taken,   ///< every device was added
    refused, ///< the server, the host or the library said no to something
    stopped, ///< the library ended the process, or threw
};

struct TrialResult {
    Fate fate;
    std::string why; ///< what was said last
};

/// Adds the devices of boards as the reference host does, each board in a process of its own, on an
/// emulated board in the same process.
class LibraryTrial {
  public:
    explicit LibraryTrial( const std::string &library );

    /// The library goes to work; result() waits for it.
    void start( const BoardTexts &texts );
    TrialResult result();

  private:
    [[noreturn]] void addAll( const std::string &emulation ) const;

    HostTool::Library library_;
    BoardFolder folder_;
    pid_t child_ = -1;
};
