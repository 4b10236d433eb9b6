#include "SmbusServer/Workspace.h"

namespace SmbusServer {

constexpr size_t passedBetweenLooks = 1 << 20;
constexpr size_t largestKept = 1 << 20;

constexpr size_t longestRemembered = 16 * 1024;

bool Workspace::parse( std::string_view payload ) {
    if ( !payload.empty() && payload == parsed_ ) {
        return true;
    }
    parsed_.clear();
    const bool parsed =
        request.ParseFromArray( payload.data(), static_cast<int>( payload.size() ) );
    if ( parsed && payload.size() <= longestRemembered ) {
        parsed_ = payload;
    }
    return parsed;
}

template <typename Message>
static void replaceIfLarge( Message &message ) {
    if ( message.SpaceUsedLong() > largestKept ) {
        Message().Swap( &message );
    }
}

void Workspace::passed( size_t bytes ) {
    passed_ += bytes;
    if ( passed_ >= passedBetweenLooks ) {
        passed_ = 0;
        requestTaken();
        replaceIfLarge( request );
        replaceIfLarge( response );
    }
}

} // namespace SmbusServer
