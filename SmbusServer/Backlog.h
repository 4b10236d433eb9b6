#pragma once

#include <cstddef>
#include <vector>

namespace SmbusServer {

/// Counts what clients make the server keep: frames whose end has not come, answers that are not
/// taken. All of it together has a limit. When it is passed, who has kept something longest has to
/// go: a client that means well is done with its frame in an instant.
class Backlog {
  public:
    static constexpr size_t limit = 24 * 1024 * 1024;

    class Holder {
      public:
        /// Gives everything up; may destroy the holder.
        virtual void evict() = 0;

      protected:
        ~Holder() = default;
    };

    /// Tells how many bytes a holder keeps now. May evict any holder, also this one, before it
    /// returns: the last act of whoever calls.
    void holds( Holder &holder, size_t bytes );
    /// The holder keeps nothing any more. Evicts nobody.
    void forget( Holder &holder );

    size_t bytes() const { return bytes_; }

  private:
    struct Entry {
        Holder *holder;
        size_t bytes;
    };

    std::vector<Entry> entries_; // the one that began longest ago is first
    size_t bytes_ = 0;
};

} // namespace SmbusServer
