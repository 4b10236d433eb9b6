#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <string_view>

namespace SmbusServer {

/// Makes a batch of a frame's payload, with the result that the message's own parser has. That one
/// takes most of the time of a long batch: here the fields that hosts send are read directly, and
/// a payload with anything else in it is left to it.
/// @param[out] batch replaced; its memory is used again.
/// @return false when the payload is no batch.
bool parseBatch( std::string_view payload, Smbus::TransactionRequest &batch );

} // namespace SmbusServer
