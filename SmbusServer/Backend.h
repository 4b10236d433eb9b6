#pragma once

#include "SmbusServer/Cause.h"
#include "SmbusServer/Operation.h"

#include <string>

namespace SmbusServer {

/// Whatever performs operations: controllers, an emulated board, or a layer over another back end.
class Backend {
  public:
    virtual ~Backend() = default;

    /// Performs one operation, once; whoever calls tries again. The operation has been checked:
    /// length and data agree, the register fits its width.
    /// @param[out] read the bytes read, also of a process call; untouched by writes. What it holds
    ///             after a failure means nothing.
    virtual Cause perform( const Operation &operation, std::string &read ) = 0;

    /// Whether the controller of this bus has more than one accelerator, so that a bus number alone
    /// does not tell a person which bus is meant.
    virtual bool severalAccelerators( const BusName &bus ) const = 0;
};

} // namespace SmbusServer
