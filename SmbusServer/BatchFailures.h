#pragma once

#include "SmbusServer/Cause.h"
#include "SmbusServer/Operation.h"

#include <atomic>
#include <map>
#include <mutex>
#include <vector>

namespace SmbusServer {

/// Which requests of the batches in hand have failed for good. Any thread may call.
class BatchFailures {
  public:
    /// A request whose last attempt failed.
    struct Failure {
        int index;
        bool reachedWires; ///< perhaps, with one of its attempts
    };

    /// To be called with each attempt; an operation that belongs to no batch does not count.
    void attempted( const Operation &operation, Cause cause );
    /// The failures of a batch that ends, in the order of its requests: the first one has ended it,
    /// further ones are of its trailing run.
    std::vector<Failure> take( const Smbus::TransactionRequest &batch );

  private:
    void failed( const Operation &operation, Cause cause );
    void succeeded( const Operation &operation );

    std::atomic<bool> any_ = false; // next to nothing is to be done as long as all goes well
    std::mutex mutex_;              // guards failures_
    std::map<const Smbus::TransactionRequest *, std::vector<Failure>> failures_;
};

} // namespace SmbusServer
