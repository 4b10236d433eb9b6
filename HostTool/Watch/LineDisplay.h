#pragma once

#include "HostTool/Watch/Session.h"

namespace HostTool::Watch {

/// Prints a line for each device at first and then a line a change, with the time: for an output
/// that is no terminal.
class LineDisplay : public Display {
  public:
    explicit LineDisplay( bool json ) : json_( json ) {}

    void isRead( const Model &model, size_t item ) override;
    void hasChanged( const Model &model, const std::vector<Change> &changes ) override;
    void serverHasChanged( const Model &model ) override;
    void refresh( const Model & ) override {}

  private:
    void print( const std::string &text ) const;

    bool json_;
};

/// The time of day: "13:05:12".
std::string clockText();

} // namespace HostTool::Watch
