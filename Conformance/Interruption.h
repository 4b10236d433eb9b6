#pragma once

#include <stdexcept>

/// SIGINT, SIGTERM and SIGHUP end a run at once, and leave neither server nor folder behind.
namespace Conformance::Interruption {

/// What ends the run.
class Interrupted : public std::runtime_error {
  public:
    explicit Interrupted( int number ) : std::runtime_error( "interrupted" ), signal_( number ) {}
    int signal() const { return signal_; }

  private:
    int signal_;
};

/// From now on those signals are noted. One that the caller has had ignored stays so.
/// @throw HostTool::Failure (unreachable) when that cannot be done
void watch();
/// As before watch(), for a process that is started from this one.
void forget();

/// Readable as soon as a signal has come; -1 before watch().
int descriptor();

/// Waits for a signal for so long. @throw Interrupted when one has come
void wait( int milliseconds );

} // namespace Conformance::Interruption
