#pragma once

#include "SmbusServer/I2cAdapter.h"
#include "SmbusServer/Operation.h"

#include <string>

namespace SmbusServer {

/// Performs an operation on an adapter, in the calls that the adapter has: an SMBus call where
/// there is one for it, else a combined transfer. What ends up on the wires is the same.
///
/// The chip must have been chosen with chipIs().
/// @param functions the adapter's mask.
/// @param[out] read what a read or a process call reads.
/// @return 0 or an errno; EOPNOTSUPP when the adapter has no call for the operation, EPROTO for a
///         block whose count is wrong, EBADMSG for a wrong packet error code.
int i2cTransfer( I2cAdapter &adapter, unsigned long functions, const Operation &operation,
                 std::string &read );

} // namespace SmbusServer
