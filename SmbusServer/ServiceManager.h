#pragma once

#include "SmbusServer/Descriptor.h"

#include <systemd/sd-event.h>

namespace SmbusServer {

/// Sockets that systemd listened on before this program was started; invalid ones when there are
/// none.
struct HandedSockets {
    Descriptor clients; ///< the one that is not the other
    Descriptor control; ///< FileDescriptorName=control, or a path that ends in .ctl
};

/// Takes them over: close-on-exec and non-blocking. The environment no longer names them.
/// @throw SocketError for anything but listening Unix stream sockets, at most one of each.
HandedSockets takeHandedSockets();

/// Without systemd, nothing of this does anything.
void tellReady();
void tellReloading();
void tellStopping();
/// Answers systemd's watchdog from the loop, if the unit wants it: a loop that hangs is restarted.
void answerWatchdog( sd_event *loop );

} // namespace SmbusServer
