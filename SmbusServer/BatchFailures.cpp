#include "SmbusServer/BatchFailures.h"

#include <utility>

namespace SmbusServer {

void BatchFailures::attempted( const Operation &operation, Cause cause ) {
    if ( operation.batch == nullptr ) {
        return;
    }
    if ( cause != Cause::None ) {
        failed( operation, cause );
    } else if ( any_ ) {
        succeeded( operation );
    }
}

void BatchFailures::failed( const Operation &operation, Cause cause ) {
    const std::lock_guard lock( mutex_ );
    any_ = true;
    std::vector<Failure> &failures = failures_[operation.batch];
    if ( failures.empty() || failures.back().index != operation.index ) {
        failures.push_back( { operation.index, false } );
    }
    // What no attempt can change has not reached the wires.
    failures.back().reachedWires |= mayPass( cause );
}

void BatchFailures::succeeded( const Operation &operation ) {
    const std::lock_guard lock( mutex_ );
    const auto found = failures_.find( operation.batch );
    if ( found != failures_.end() && !found->second.empty() &&
         found->second.back().index == operation.index ) {
        found->second.pop_back();
    }
}

std::vector<BatchFailures::Failure> BatchFailures::take( const Smbus::TransactionRequest &batch ) {
    if ( !any_ ) {
        return {};
    }
    const std::lock_guard lock( mutex_ );
    std::vector<Failure> failures;
    const auto found = failures_.find( &batch );
    if ( found != failures_.end() ) {
        failures = std::move( found->second );
        failures_.erase( found );
    }
    any_ = !failures_.empty();
    return failures;
}

} // namespace SmbusServer
