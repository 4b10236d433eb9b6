#pragma once

#include "SmbusServer/Backend.h"
#include "SmbusServer/Recording.h"

#include <chrono>
#include <map>
#include <mutex>

namespace SmbusServer {

/// Writes down every batch, its answer, and each attempt that failed.
class RecordLayer : public Backend {
  public:
    /// @param below must outlive the layer.
    /// @throw RecordingError when the file cannot be written.
    RecordLayer( Backend &below, const std::string &path );

    std::string begins( const Smbus::TransactionRequest &request ) override;
    void ends( const Smbus::TransactionRequest &request,
               const Smbus::TransactionResponse &response ) override;
    Cause perform( const Operation &operation, std::string &read ) override;
    bool severalAccelerators( const BusName &bus ) const override;

  private:
    struct Open {
        std::chrono::steady_clock::time_point start;
        Recording::Entry entry;
    };

    void note( const Operation &operation, Cause cause );

    Backend &below_;
    std::mutex mutex_; // guards what follows
    RecordingWriter writer_;
    std::map<const Smbus::TransactionRequest *, Open> open_; // batches in hand
};

} // namespace SmbusServer
