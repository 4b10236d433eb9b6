#include "SmbusServer/LogLimit.h"

#include <algorithm>
#include <utility>

namespace SmbusServer {

void LogLimit::Bucket::fill( double rate, double most, Time now ) {
    const std::chrono::duration<double> passed = now - filled;
    tokens = std::min( most, tokens + rate * passed.count() );
    filled = now;
}

LogLimit::Client &LogLimit::find( pid_t client, Time now ) {
    const auto known = std::find_if( clients_.begin(), clients_.end(),
                                     [=]( const Client &each ) { return each.pid == client; } );
    if ( known != clients_.end() ) {
        clients_.splice( clients_.begin(), clients_, known );
    } else {
        clients_.push_front( { client, { burst, now } } );
        clients_.resize( std::min( clients_.size(), mostClients ), clients_.front() );
    }
    return clients_.front();
}

std::optional<unsigned> LogLimit::admit( pid_t pid, Time now ) {
    Client &client = find( pid, now );
    client.bucket.fill( perSecond, burst, now );
    all_.fill( perSecondOfAll, burstOfAll, now );
    if ( client.bucket.tokens < 1 || all_.tokens < 1 ) {
        ++client.leftOut;
        return std::nullopt;
    }
    --client.bucket.tokens;
    --all_.tokens;
    return std::exchange( client.leftOut, 0 );
}

} // namespace SmbusServer
