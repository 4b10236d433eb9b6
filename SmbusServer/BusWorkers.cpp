#include "SmbusServer/BusWorkers.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <string>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <utility>

namespace SmbusServer {

BusWorkers::BusWorkers( sd_event *loop, Backend &backend, LaneOf laneOf )
    : backend_( backend ), laneOf_( std::move( laneOf ) ),
      wake_( eventfd( 0, EFD_CLOEXEC | EFD_NONBLOCK ) ) {
    sd_event_source *source = nullptr;
    const int result = wake_.get() < 0
                           ? -errno
                           : sd_event_add_io( loop, &source, wake_.get(), EPOLLIN, ready, this );
    if ( result < 0 ) {
        throw std::runtime_error( std::string( "the bus workers cannot be watched: " ) +
                                  strerror( -result ) );
    }
    source_.reset( source );
}

BusWorkers::~BusWorkers() {
    stopWorkers();
}

bool BusWorkers::perform( Smbus::TransactionRequest &request, Smbus::TransactionResponse &response,
                          Client &client ) {
    response.Clear();
    if ( request.request_size() == 0 ) {
        return true;
    }
    auto batch = std::make_unique<Batch>();
    batch->bytes = request.SpaceUsedLong();
    if ( waitingBytes_ + batch->bytes > mostWaitingBytes ) {
        response.set_failed( true );
        response.set_error( "too many batches wait for their busses" );
        return true;
    }
    batch->lanes = lanesOf( request );
    batch->request.Swap( &request );
    batch->client = &client;
    waitingBytes_ += batch->bytes;
    waiting_.push_back( std::move( batch ) );
    beginWhatCan();
    return false;
}

std::set<size_t> BusWorkers::lanesOf( const Smbus::TransactionRequest &request ) const {
    std::set<size_t> lanes;
    for ( const Smbus::Request &each : request.request() ) {
        lanes.insert( laneOf_( decode( each ).bus ) );
    }
    return lanes;
}

// A batch that cannot begin keeps later ones off its lanes: nobody is overtaken for ever.
void BusWorkers::beginWhatCan() {
    if ( idle_ ) {
        return;
    }
    std::set<size_t> taken = busyLanes_;
    for ( auto each = waiting_.begin(); each != waiting_.end(); ) {
        const auto current = each++;
        Batch &batch = **current;
        const bool free = std::ranges::none_of(
            batch.lanes, [&]( size_t lane ) { return taken.contains( lane ); } );
        taken.insert( batch.lanes.begin(), batch.lanes.end() );
        if ( free ) {
            begun_.splice( begun_.end(), waiting_, current );
            begin( batch );
        }
    }
}

void BusWorkers::begin( Batch &batch ) {
    waitingBytes_ -= batch.bytes;
    busyLanes_.insert( batch.lanes.begin(), batch.lanes.end() );
    std::unique_ptr<Worker> &worker = workers_[*batch.lanes.begin()];
    if ( !worker ) {
        worker = std::make_unique<Worker>( backend_ );
        worker->thread = std::thread( &BusWorkers::work, this, std::ref( *worker ) );
    }
    const std::lock_guard lock( mutex_ );
    worker->batch = &batch;
    worker->wake.notify_one();
}

void BusWorkers::work( Worker &worker ) {
    std::unique_lock lock( mutex_ );
    while ( true ) {
        worker.wake.wait( lock, [&] { return worker.batch != nullptr || stopping_; } );
        if ( worker.batch == nullptr ) {
            return;
        }
        lock.unlock();
        worker.transaction.perform( worker.batch->request, worker.batch->response );
        lock.lock();
        done_.push_back( std::exchange( worker.batch, nullptr ) );
        eventfd_write( wake_.get(), 1 );
    }
}

int BusWorkers::ready( sd_event_source *, int, uint32_t, void *userdata ) {
    auto *self = static_cast<BusWorkers *>( userdata );
    eventfd_t count = 0;
    eventfd_read( self->wake_.get(), &count );
    self->collect();
    self->callIdle();
    self->beginWhatCan();
    return 0;
}

void BusWorkers::whenIdle( std::function<void()> function ) {
    idle_ = std::move( function );
    callIdle();
    beginWhatCan();
}

void BusWorkers::callIdle() {
    if ( !idle_ || !begun_.empty() ) {
        return;
    }
    std::exchange( idle_, nullptr )();
    for ( const auto &batch : waiting_ ) {
        batch->lanes = lanesOf( batch->request );
    }
}

void BusWorkers::collect() {
    std::vector<Batch *> done;
    {
        const std::lock_guard lock( mutex_ );
        done.swap( done_ );
    }
    for ( Batch *each : done ) {
        const auto place = std::ranges::find( begun_, each, &std::unique_ptr<Batch>::get );
        const std::unique_ptr<Batch> batch = std::move( *place );
        begun_.erase( place );
        for ( const size_t lane : batch->lanes ) {
            busyLanes_.erase( lane );
        }
        if ( batch->client != nullptr ) {
            batch->client->performed( batch->response );
        }
    }
}

void BusWorkers::forget( Client &client ) {
    const auto isOfClient = [&]( const std::unique_ptr<Batch> &each ) {
        return each->client == &client;
    };
    const auto waits = std::ranges::find_if( waiting_, isOfClient );
    if ( waits != waiting_.end() ) {
        waitingBytes_ -= ( *waits )->bytes;
        waiting_.erase( waits );
        beginWhatCan(); // what it kept off its lanes
    }
    const auto runs = std::ranges::find_if( begun_, isOfClient );
    if ( runs != begun_.end() ) {
        ( *runs )->client = nullptr;
    }
}

void BusWorkers::finish() {
    waiting_.clear();
    waitingBytes_ = 0;
    stopWorkers();
    collect();
}

void BusWorkers::stopWorkers() {
    {
        const std::lock_guard lock( mutex_ );
        stopping_ = true;
        for ( const auto &[lane, worker] : workers_ ) {
            worker->wake.notify_one();
        }
    }
    for ( const auto &[lane, worker] : workers_ ) {
        worker->thread.join();
    }
    workers_.clear();
}

} // namespace SmbusServer
