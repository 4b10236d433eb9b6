#include "HostTool/Watch/Watch.h"

#include "HostTool/Watch/LineDisplay.h"
#include "HostTool/Watch/ScreenDisplay.h"

namespace HostTool {

const char *const watchHelp =
    R"(Adds every entry of devices.json, or those named, and shows what they read, every
second or as --every says, with the library's own timers running. A value that
failed says why and how old the last good one is. ? shows what the keys do.

When the output is no terminal, or with --json, it prints a line a device at
first and then a line a change. When the server goes it waits until there is one
again; the library's timers wait with it. The exit code is 0, whatever is read.

Examples:
  kavractl watch
  kavractl watch inlet outlet --every 5
  kavractl watch | tee board.log
  kavractl watch --json --for 60
)";

ExitCode runWatch( Task &task ) {
    if ( task.options.json || !Watch::isTerminal() ) {
        Watch::LineDisplay lines( task.options.json );
        Watch::Session( task, lines ).run();
        return ExitCode::fine;
    }
    Watch::ScreenDisplay screen( task );
    Watch::Session session( task, screen );
    screen.attach( session );
    session.run();
    return ExitCode::fine;
}

} // namespace HostTool
