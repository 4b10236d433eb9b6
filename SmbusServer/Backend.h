#pragma once

#include "SmbusServer/Cause.h"
#include "SmbusServer/Operation.h"

#include <string>

namespace SmbusServer {

/// Whatever performs operations: controllers, an emulated board, or a layer over another back end.
///
/// On real controllers several threads call, each with a batch of its own; never two at a time with
/// operations on the same wires. All calls from begins() to ends() come from one thread.
class Backend {
  public:
    virtual ~Backend() = default;

    /// What this thread performs from here to ends() belongs to one batch.
    /// @return why it cannot be performed at all, for its error text; empty: it can.
    virtual std::string begins( const Smbus::TransactionRequest & ) { return {}; }
    /// The answer is complete. Called for each batch that began, also when it was refused.
    virtual void ends( const Smbus::TransactionRequest &, const Smbus::TransactionResponse & ) {}

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
