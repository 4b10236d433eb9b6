#pragma once

#include "HostTool/Watch/Session.h"

namespace HostTool::Watch {

/// Prints a line for each device at first and then a line a change, with the time: for an output
/// that is no terminal. An output that takes no text ends the watching.
class LineDisplay : public Display {
  public:
    explicit LineDisplay( bool json ) : json_( json ) {}

    void isRead( const Model &model, size_t item ) override;
    void hasChanged( const Model &model, const std::vector<Change> &changes ) override;
    void serverHasChanged( const Model &model ) override;
    /// @throw Failure (badInput) when a line could not be written. It is not thrown where the line
    ///        is printed: an exception may not travel through the event loop, which is C.
    void refresh( const Model &model ) override;

  private:
    void print( const std::string &text );

    bool json_;
    int writeError_ = 0; ///< an errno value
};

/// The time of day: "13:05:12".
std::string clockText();

} // namespace HostTool::Watch
