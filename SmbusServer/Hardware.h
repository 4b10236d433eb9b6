#pragma once

#include "EmulatedBoard/Board.h"
#include "SmbusServer/Backend.h"
#include "SmbusServer/EventLoop.h"
#include "SmbusServer/Options.h"
#include "SmbusServer/Performer.h"
#include "SmbusServer/Wiring.h"

#include <functional>
#include <memory>

namespace SmbusServer {

/// What the server serves.
class Hardware {
  public:
    virtual ~Hardware() = default;

    /// The back end below all layers.
    virtual Backend &backend() = 0;
    /// What is known of its wires.
    virtual Wiring &wiring() { return wiring_; }
    /// Makes who performs batches on it; once.
    /// @param top the back end with its layers; it and the hardware must outlive the performer.
    virtual std::unique_ptr<Performer> newPerformer( sd_event *loop, Backend &top ) = 0;
    /// Reads its document again, while the performer lives.
    /// @param done called, perhaps later, when what was read is what is served. Of several reloads
    ///             that wait the last one counts, and only its function is called.
    /// @throw EmulatedBoard::DocumentError or RecordingError; then the old one stays.
    virtual void reload( std::function<void()> done ) = 0;

    /// The world that the control socket drives; there is nothing in it behind real controllers.
    EmulatedBoard::Board &board() { return board_; }

  protected:
    EmulatedBoard::Board board_;

  private:
    PrivateWiring wiring_;
};

/// @throw EmulatedBoard::DocumentError or RecordingError for the file that the options name.
std::unique_ptr<Hardware> newHardware( const Options &options );

} // namespace SmbusServer
