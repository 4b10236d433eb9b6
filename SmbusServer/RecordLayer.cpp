#include "SmbusServer/RecordLayer.h"

namespace SmbusServer {

using std::chrono::duration_cast;
using std::chrono::microseconds;
using std::chrono::steady_clock;
using std::chrono::system_clock;

RecordLayer::RecordLayer( Backend &below, const std::string &path )
    : below_( below ), writer_( path ) {}

std::string RecordLayer::begins( const Smbus::TransactionRequest &request ) {
    {
        const std::lock_guard guard( mutex_ );
        Open &open = open_[&request];
        const auto now = system_clock::now().time_since_epoch();
        open.start = steady_clock::now();
        open.entry.set_time( static_cast<uint64_t>( duration_cast<microseconds>( now ).count() ) );
        *open.entry.mutable_request() = request;
    }
    return below_.begins( request );
}

void RecordLayer::ends( const Smbus::TransactionRequest &request,
                        const Smbus::TransactionResponse &response ) {
    below_.ends( request, response );
    const std::lock_guard guard( mutex_ );
    const auto found = open_.find( &request );
    if ( found == open_.end() ) {
        return;
    }
    const auto taken = steady_clock::now() - found->second.start;
    Recording::Entry &entry = found->second.entry;
    entry.set_duration( static_cast<uint64_t>( duration_cast<microseconds>( taken ).count() ) );
    *entry.mutable_response() = response;
    writer_.write( entry );
    open_.erase( found );
}

Cause RecordLayer::perform( const Operation &operation, std::string &read ) {
    const Cause cause = below_.perform( operation, read );
    if ( cause != Cause::None && operation.batch != nullptr ) {
        note( operation, cause );
    }
    return cause;
}

// A batch of many requests can fail very often: what it says after that adds nothing.
void RecordLayer::note( const Operation &operation, Cause cause ) {
    constexpr int mostFailures = 256;
    const std::lock_guard guard( mutex_ );
    const auto found = open_.find( operation.batch );
    if ( found == open_.end() ) {
        return;
    }
    auto &failures = *found->second.entry.mutable_failure();
    const auto request = static_cast<uint32_t>( operation.index );
    const std::string text( causeText( cause ) );
    Recording::Failure *last = failures.empty() ? nullptr : &failures[failures.size() - 1];
    if ( last != nullptr && last->request() == request && last->cause() == text ) {
        last->set_times( last->times() + 1 );
    } else if ( failures.size() < mostFailures ) {
        Recording::Failure &next = *failures.Add();
        next.set_request( request );
        next.set_cause( text );
        next.set_times( 1 );
    }
}

bool RecordLayer::severalAccelerators( const BusName &bus ) const {
    return below_.severalAccelerators( bus );
}

} // namespace SmbusServer
