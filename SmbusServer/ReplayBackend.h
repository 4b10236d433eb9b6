#pragma once

#include "SmbusServer/Backend.h"
#include "SmbusServer/Recording.h"

#include <cstddef>
#include <map>
#include <string>
#include <vector>

namespace SmbusServer {

/// Answers batches from a recording.
///
/// Batches of equal content are answered in the order of the recording, whatever comes between
/// them; when there are no more, the last one's answer stays. How often a batch asks to be tried
/// again is no part of its content. For one thread.
class ReplayBackend : public Backend {
  public:
    /// @throw RecordingError
    explicit ReplayBackend( const std::string &path );

    /// @return what a failed batch failed with; or, for a batch that was not recorded, which one
    ///         is nearest.
    std::string begins( const Smbus::TransactionRequest &request ) override;
    void ends( const Smbus::TransactionRequest &request,
               const Smbus::TransactionResponse &response ) override;
    Cause perform( const Operation &operation, std::string &read ) override;
    bool severalAccelerators( const BusName & ) const override { return false; }

    size_t count() const { return entries_.size(); }
    /// Whether the last entry of the file was not whole. It is left out.
    bool cutOff() const { return cutOff_; }

  private:
    struct Answers {
        std::vector<size_t> entries;
        size_t next = 0;
    };

    std::string unknown( const Smbus::TransactionRequest &request ) const;

    std::vector<Recording::Entry> entries_;
    std::map<std::string, Answers> answers_; // by the batch's content
    const Recording::Entry *current_ = nullptr;
    bool cutOff_ = false;
};

} // namespace SmbusServer
