#include "SmbusServer/Hardware.h"

#include "EmulatedBoard/Document.h"
#include "SmbusServer/BusWorkers.h"
#include "SmbusServer/EmulatedBackend.h"
#include "SmbusServer/I2cDevBackend.h"
#include "SmbusServer/Log.h"
#include "SmbusServer/ReplayBackend.h"

#include <optional>
#include <string>
#include <utility>

namespace SmbusServer {

namespace {

class EmulatedHardware : public Hardware {
  public:
    explicit EmulatedHardware( std::string file ) : file_( std::move( file ) ) {
        board_ = EmulatedBoard::loadBoard( file_ );
    }
    Backend &backend() override { return backend_; }
    std::unique_ptr<Performer> newPerformer( sd_event *, Backend &top ) override {
        return std::make_unique<DirectPerformer>( top );
    }
    void reload( std::function<void()> done ) override {
        board_ = EmulatedBoard::loadBoard( file_ );
        backend_.boardChanged();
        done();
    }

  private:
    std::string file_;
    EmulatedBackend backend_{ board_ };
};

class I2cDevHardware : public Hardware {
  public:
    explicit I2cDevHardware( std::string file ) : file_( std::move( file ) ) {}
    Backend &backend() override { return backend_; }
    std::unique_ptr<Performer> newPerformer( sd_event *loop, Backend &top ) override {
        auto workers = std::make_unique<BusWorkers>(
            loop, top, [this]( const BusName &bus ) { return backend_.map().laneOf( bus ); } );
        workers_ = workers.get();
        return workers;
    }
    Wiring &wiring() override { return backend_; }
    // A batch in hand ends on the wires on which it began.
    void reload( std::function<void()> done ) override {
        workers_->whenIdle( [this, map = load(), done = std::move( done )] {
            backend_.mapIs( map );
            done();
        } );
    }

  private:
    I2cDevMap load() const { return file_.empty() ? I2cDevMap() : loadI2cDevMap( file_ ); }

    std::string file_;
    I2cDevBackend backend_{ linuxKernel(), load() };
    BusWorkers *workers_ = nullptr;
};

class RecordedHardware : public Hardware {
  public:
    explicit RecordedHardware( std::string file ) : file_( std::move( file ) ) { load(); }
    Backend &backend() override { return *backend_; }
    std::unique_ptr<Performer> newPerformer( sd_event *, Backend &top ) override {
        return std::make_unique<DirectPerformer>( top );
    }
    void reload( std::function<void()> done ) override {
        load();
        done();
    }

  private:
    // The layers keep the back end: what it holds changes.
    void load() {
        ReplayBackend read( file_ );
        if ( read.cutOff() ) {
            logEvent( "%s: cut off in entry %zu", file_.c_str(), read.count() + 1 );
        }
        backend_ ? void( *backend_ = std::move( read ) )
                 : void( backend_.emplace( std::move( read ) ) );
    }

    std::string file_;
    std::optional<ReplayBackend> backend_;
};

} // namespace

std::unique_ptr<Hardware> newHardware( const Options &options ) {
    if ( options.i2cDev ) {
        return std::make_unique<I2cDevHardware>( *options.i2cDev );
    }
    if ( !options.replay.empty() ) {
        return std::make_unique<RecordedHardware>( options.replay );
    }
    return std::make_unique<EmulatedHardware>( options.board );
}

} // namespace SmbusServer
