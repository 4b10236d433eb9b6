// Apart from FakeHost, because a host may lack this one service.
#include "tests/support/FakeHost.h"

extern "C" void pl_fd_watcher_delete( pl_fd_watcher *watcher ) {
    FakeHost::get().deletedWatchers.push_back( watcher );
}
