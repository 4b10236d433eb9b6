#pragma once

#include "EmulatedBoard/Board.h"
#include "SmbusServer/Backend.h"
#include "SmbusServer/EventLoop.h"
#include "SmbusServer/Options.h"
#include "SmbusServer/Performer.h"

#include <memory>

namespace SmbusServer {

/// What the server serves.
class Hardware {
  public:
    virtual ~Hardware() = default;

    /// The back end below all layers.
    virtual Backend &backend() = 0;
    /// Whether no mux has a channel on before the first batch. Nobody knows that of real ones.
    virtual bool startsClosed() const = 0;
    /// Makes who performs batches on it; once.
    /// @param top the back end with its layers; it and the hardware must outlive the performer.
    virtual std::unique_ptr<Performer> newPerformer( sd_event *loop, Backend &top ) = 0;
    /// Reads its document again, while the performer lives.
    /// @throw EmulatedBoard::DocumentError or RecordingError; then the old one stays.
    virtual void reload() = 0;

    /// The world that the control socket drives; there is nothing in it behind real controllers.
    EmulatedBoard::Board &board() { return board_; }

  protected:
    EmulatedBoard::Board board_;
};

/// @throw EmulatedBoard::DocumentError or RecordingError for the file that the options name.
std::unique_ptr<Hardware> newHardware( const Options &options );

} // namespace SmbusServer
