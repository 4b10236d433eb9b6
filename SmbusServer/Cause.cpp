#include "SmbusServer/Cause.h"

#include <cstddef>
#include <iterator>

namespace SmbusServer {

struct Row {
    Cause cause;
    std::string_view text;
    bool mayPass;
};

static constexpr Row rows[] = {
    { Cause::None, "no error", false },
    { Cause::NoAcknowledge, "no acknowledge", true },
    { Cause::BadBlockCount, "the block's count is above 32", true },
    { Cause::NoSuchBus, "no such bus", false },
    { Cause::UnknownRequest, "unknown request type or master type", false },
    { Cause::WideRegister, "the register is too large for its width on the wires", false },
    { Cause::WrongLength, "length and data of the request do not agree", false },
    { Cause::TooLong, "too many bytes for one request", false },
};

static constexpr bool inOrder() {
    for ( size_t i = 0; i < std::size( rows ); ++i ) {
        if ( static_cast<size_t>( rows[i].cause ) != i ) {
            return false;
        }
    }
    return true;
}
static_assert( inOrder() );

std::string_view causeText( Cause cause ) {
    return rows[static_cast<size_t>( cause )].text;
}

bool mayPass( Cause cause ) {
    return rows[static_cast<size_t>( cause )].mayPass;
}

} // namespace SmbusServer
