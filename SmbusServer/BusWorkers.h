#pragma once

#include "SmbusServer/Backend.h"
#include "SmbusServer/Descriptor.h"
#include "SmbusServer/EventLoop.h"
#include "SmbusServer/Performer.h"

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

namespace SmbusServer {

/// Performs batches with a thread a bus, so that a bus that hangs delays only those who use it. A
/// bus has one batch at a time; batches for it run in the order in which they came. A batch that
/// names several busses has all of them to itself.
class BusWorkers : public Performer {
  public:
    /// More memory than this is not held by batches that wait; further ones fail.
    static constexpr size_t mostWaitingBytes = 16 << 20;

    /// Which wires a bus name stands for: names with the same number share them.
    using LaneOf = std::function<size_t( const BusName & )>;

    /// @param backend is called by several threads, by one for a lane; must outlive the object.
    BusWorkers( sd_event *loop, Backend &backend, LaneOf laneOf );
    /// Waits for the batches that have begun.
    ~BusWorkers() override;

    bool perform( Smbus::TransactionRequest &request, Smbus::TransactionResponse &response,
                  Client &client ) override;
    void forget( Client &client ) override;
    void finish() override;
    /// Calls the function when no batch runs, at once if none does; none begins before. It takes
    /// the place of one that still waits.
    void whenIdle( std::function<void()> function );

  private:
    struct Batch {
        Smbus::TransactionRequest request;
        Smbus::TransactionResponse response;
        Client *client; // null when it is gone
        std::set<size_t> lanes;
        size_t bytes;
    };
    using Batches = std::list<std::unique_ptr<Batch>>;

    struct Worker {
        explicit Worker( Backend &backend ) : transaction( backend ) {}
        Transaction transaction;
        std::condition_variable wake;
        Batch *batch = nullptr; // in hand
        std::thread thread;
    };

    static int ready( sd_event_source *source, int fd, uint32_t events, void *self );
    std::set<size_t> lanesOf( const Smbus::TransactionRequest &request ) const;
    void begin( Batch &batch );
    void beginWhatCan();
    void collect();
    void callIdle();
    void stopWorkers();
    void work( Worker &worker );

    Backend &backend_;
    LaneOf laneOf_;
    Descriptor wake_; // readable when done_ has something
    Batches waiting_;
    Batches begun_;
    std::function<void()> idle_; // to be called before another batch begins
    size_t waitingBytes_ = 0;
    std::set<size_t> busyLanes_;
    std::map<size_t, std::unique_ptr<Worker>> workers_;

    std::mutex mutex_; // guards what follows, and each worker's batch
    std::vector<Batch *> done_;
    bool stopping_ = false;

    EventSource source_;
};

} // namespace SmbusServer
