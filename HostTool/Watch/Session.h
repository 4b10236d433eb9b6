#pragma once

#include "HostTool/Commands.h"
#include "HostTool/Host/ServerLink.h"
#include "HostTool/Set/Setting.h"
#include "HostTool/Watch/Model.h"

#include <memory>
#include <string>
#include <vector>

struct sd_event_source;

namespace HostTool::Watch {

/// Where a session shows what it sees.
class Display {
  public:
    virtual ~Display() = default;
    /// A device was read for the first time.
    virtual void isRead( const Model &model, size_t item ) = 0;
    virtual void hasChanged( const Model &model, const std::vector<Change> &changes ) = 0;
    /// The server is gone, or is back.
    virtual void serverHasChanged( const Model &model ) = 0;
    /// Called after every event; may be called more often than there is something new.
    virtual void refresh( const Model &model ) = 0;
};

/// Reads the devices of a task over and over from the host's event loop, one at each turn, so that
/// keys, the library's timers and the loss of the server come in between. While there is no server
/// nothing is read and the library's timers wait.
class Session {
  public:
    Session( Task &task, Display &display );
    ~Session();
    Session( const Session & ) = delete;
    Session &operator=( const Session & ) = delete;

    /// Runs until it is told to stop, or until the time of the options is over. Lamps that were
    /// told to blink are switched off behind it.
    /// @throw Failure (boardTrouble) when the event loop fails; what the display throws passes.
    void run();
    void stop() { isOver_ = true; }

    Model &model() { return model_; }
    /// Tells a device, unless a register would suffer from it.
    Outcome tellDevice( size_t item, const Order &order );

  private:
    void addSources();
    void startPass();
    void readNext();
    void endBeacons();
    void serverChanged( const std::string &reason );
    /// Ends the session with an error of the event loop. It is thrown by run() alone: an exception
    /// may not travel through the loop, which is C.
    void check( int result );
    std::vector<const Device *> cagesBeside( const Device &device ) const;

    const Task &task_;
    Board watched_; ///< its entries alone: the library polls for no others
    Display &display_;
    Model model_;
    size_t next_ = 0;
    bool isOver_ = false;
    int error_ = 0; ///< an errno value
    sd_event_source *passTimer_ = nullptr;
    sd_event_source *reader_ = nullptr;
    sd_event_source *end_ = nullptr;
    std::unique_ptr<ServerLink> link_;
};

} // namespace HostTool::Watch
