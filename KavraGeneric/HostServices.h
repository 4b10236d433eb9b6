#pragma once

#include <PlatformLibrary/pl.h>

// Weak imports: the library loads also into a process that exports none of them.
extern "C" {
extern decltype( pl_trace ) pl_trace __attribute__( ( weak ) );
extern decltype( pl_timer_add ) pl_timer_add __attribute__( ( weak ) );
extern decltype( pl_timer_set ) pl_timer_set __attribute__( ( weak ) );
extern decltype( pl_timer_delete ) pl_timer_delete __attribute__( ( weak ) );
extern decltype( pl_fd_watcher_delete ) pl_fd_watcher_delete __attribute__( ( weak ) );
}
