#pragma once

#include "SmbusServer/Backend.h"
#include "SmbusServer/BatchFailures.h"
#include "SmbusServer/MuxClearing.h"
#include "SmbusServer/MuxStates.h"

#include <atomic>
#include <cstddef>
#include <map>
#include <mutex>
#include <string>

namespace SmbusServer {

/// Sees to it that no batch meets a channel that something before it left on.
///
/// A mux is in doubt when its select or deselect failed, and on real wires also when nothing is
/// known of it: before the first batch that selects it, and after its controller has been away.
/// Before a batch that uses the wires the muxes in doubt on them are told to let go, from the
/// outside inwards. What then happens to the batch depends on the answer:
///
///  - a mux that refuses may let a chip behind it answer in the place of another: the batch is not
///    performed, whatever it wants to do there; unless the mux is behind another one, which is off:
///    then only batches that go through that one are held back;
///  - a mux that says nothing has no power and no channel on: nobody is held up;
///  - a mux that cannot be reached reaches nobody either: batches that go the same way fail with
///    what failed on the way, and others are performed.
///
/// A mux stays in doubt until it has let go, or has said nothing often enough to be taken for
/// pulled, so each is tried again before further batches.
class MuxGuard : public Backend {
  public:
    /// Both must outlive the guard.
    MuxGuard( Backend &below, Wiring &wiring );

    /// Tells every mux in doubt to let go. To be called when no batch is in hand.
    void letGo();

    std::string begins( const Smbus::TransactionRequest &request ) override;
    void ends( const Smbus::TransactionRequest &request,
               const Smbus::TransactionResponse &response ) override;
    Cause perform( const Operation &operation, std::string &read ) override;
    bool severalAccelerators( const BusName &bus ) const override;

  private:
    // The muxes of some wires. As the wires, they are used by one thread at a time.
    struct Wires {
        BusName name; // by which they were used last
        MuxStates muxes;
    };
    class Count;

    Wires *wiresOf( const BusName &bus );
    Wires &newWiresOf( const BusName &bus );
    std::string makeReady( const Smbus::TransactionRequest &request );
    std::string clearFor( const MuxBatch &batch, Wires &wires );
    std::string clearAll( Wires &wires, const MuxBatch *batch );
    std::string refusal( const MuxPlace &place, const MuxClearing &clearing,
                         const BusName &bus ) const;
    void isInDoubt( const MuxPlace &place, const BusName &bus );

    Backend &below_;
    Wiring &wiring_;
    std::atomic<size_t> inDoubt_ = 0; // muxes, on all wires
    BatchFailures failures_;
    std::mutex mutex_; // guards wires_, but not what an entry holds
    std::map<std::string, Wires> wires_;
};

} // namespace SmbusServer
