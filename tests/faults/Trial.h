#pragma once

#include "tests/faults/BoardServer.h"
#include "tests/faults/Faults.h"
#include "tests/faults/Operations.h"

#include <string>

/// What one call came to with one thing failing, and how the process was behind it.
struct Report {
    bool ended;        ///< not by a signal or a sanitizer
    char outcome[256]; ///< "status 4", "record", "null", "throws …", "assert: …", "died: …"
    Result result;     ///< of a call that returned
    Result next;       ///< of the same call behind it, with nothing failing
    bool hasNext;      ///< none behind an assertion
    size_t board;      ///< digest of the board's knobs behind the call
    size_t nextBoard;  ///< and behind the next
    char problem[512]; ///< what was not as it should be; empty: nothing
    long blocks;       ///< in use behind the call, as compared to before it
    long blocksAtEnd;  ///< the same behind the next call
    int descriptors;   ///< open behind the call, but for the server's
    int descriptorsAtEnd;
    Faults::Met met;
};

/// Makes calls in forked processes, so that an assertion ends one of them, and nothing that a fault
/// leaves behind meets another trial.
class Trial {
  public:
    /// @param server null without one: in simulation.
    explicit Trial( BoardServer *server );
    Trial( const Trial & ) = delete;
    Trial &operator=( const Trial & ) = delete;
    ~Trial();

    /// Makes the call with the plan's fault, and again without.
    /// @param then works once the operation has: called behind the last call, may be null.
    /// @return valid until the next run.
    const Report &run( const Operation &operation, const Faults::Plan &plan,
                       const Operation *then = nullptr );

    /// Where the report's process said more than an outcome has room for: the end of its stderr.
    std::string saidLast() const;

  private:
    [[noreturn]] void perform( const Operation &operation, const Faults::Plan &plan,
                               const Operation *then );

    BoardServer *server_;
    int said_;
};
