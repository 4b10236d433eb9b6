#pragma once

#include "HostTool/Watch/Layout.h"
#include "HostTool/Watch/Painter.h"
#include "HostTool/Watch/Session.h"
#include "HostTool/Watch/Terminal.h"

struct sd_event_source;

namespace HostTool::Watch {

/// The whole terminal: draws the board and takes keys.
class ScreenDisplay : public Display {
  public:
    explicit ScreenDisplay( const Task &task );
    ~ScreenDisplay() override;

    /// From now on keys act on the session.
    void attach( Session &session );

    void isRead( const Model &model, size_t item ) override;
    void hasChanged( const Model &model, const std::vector<Change> &changes ) override;
    void serverHasChanged( const Model &model ) override;
    void refresh( const Model &model ) override;

  private:
    void takeKeys();
    void tick();

    Terminal terminal_;
    Painter painter_;
    Surroundings around_;
    View view_;
    Session *session_ = nullptr;
    bool isStale_ = true;
    unsigned blinksDrawn_ = 0;
    sd_event_source *keys_ = nullptr;
    sd_event_source *resize_ = nullptr;
    sd_event_source *clock_ = nullptr;
};

} // namespace HostTool::Watch
