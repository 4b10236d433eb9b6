#include "SmbusServer/Workspace.h"

namespace SmbusServer {

constexpr size_t passedBetweenLooks = 1 << 20;
constexpr size_t largestKept = 1 << 20;

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
        replaceIfLarge( request );
        replaceIfLarge( response );
    }
}

} // namespace SmbusServer
