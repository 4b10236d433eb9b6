#pragma once

#include "SmbusServer/Backend.h"

#include <cstdint>
#include <string>

namespace SmbusServer {

/// Performs batches on a back end.
///
/// The requests run in order, each tried again when it fails. The first that keeps failing ends the
/// batch, but for the run of send-bytes of 0 at its end: they let go of the muxes on the way, so
/// that a failure leaves no channel open.
class Transaction {
  public:
    static constexpr uint32_t defaultRetries = 3;
    static constexpr uint32_t largestRetries = 100;   ///< more are cut down to this
    static constexpr uint32_t longestTransfer = 8192; ///< bytes of one request
    static constexpr uint32_t longestBlock = 32;

    /// @param backend must outlive the object.
    explicit Transaction( Backend &backend );

    /// @param[out] response one entry a request; after a failure those up to the failed request,
    ///             `failed` and an `error` for a person.
    void perform( const Smbus::TransactionRequest &request, Smbus::TransactionResponse &response );

  private:
    Cause attempt( const Operation &operation, uint32_t retries, std::string &read );
    void performAll( const Smbus::TransactionRequest &request,
                     Smbus::TransactionResponse &response );
    Cause performOne( const Smbus::TransactionRequest &batch, int index, uint32_t retries,
                      Smbus::Response &answer );
    void letGo( const Smbus::TransactionRequest &request, int first, uint32_t retries );

    Backend &backend_;
    std::string unread_; // stands in for the answer of operations that read nothing
};

} // namespace SmbusServer
