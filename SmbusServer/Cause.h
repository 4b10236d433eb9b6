#pragma once

#include <string_view>

namespace SmbusServer {

/// Why an operation failed.
enum class Cause {
    None,
    NoAcknowledge,
    TimedOut,
    BadBlockCount,
    ArbitrationLost,
    BusBusy,
    BadPacketErrorCode,
    BadProtocol,
    ControllerError,
    NoDevice,
    NoController,
    NotPermitted,
    ChipInUse,
    NotSupported,
    NoSuchBus,
    UnknownRequest,
    WideRegister,
    WrongLength,
    TooLong,
};

/// In the words of an answer's error text.
std::string_view causeText( Cause cause );
/// Whether another attempt could end differently.
bool mayPass( Cause cause );

} // namespace SmbusServer
