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
    { Cause::TimedOut, "time-out", true },
    { Cause::BadBlockCount, "the block's count is wrong", true },
    { Cause::ArbitrationLost, "arbitration lost", true },
    { Cause::BusBusy, "the bus is busy", true },
    { Cause::BadPacketErrorCode, "the packet error code is wrong", true },
    { Cause::BadProtocol, "the chip broke the protocol", true },
    { Cause::ControllerError, "the controller reports an error", true },
    { Cause::NoDevice, "no such device", true },
    { Cause::NoController, "the controller is not there", false },
    { Cause::NotPermitted, "no permission to use the controller", false },
    { Cause::ChipInUse, "a driver of the kernel holds the chip", false },
    { Cause::NotSupported, "the controller cannot do this", false },
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
