#pragma once

#include "HostTool/Watch/Canvas.h"
#include "HostTool/Watch/View.h"

#include <optional>

namespace HostTool::Watch {

/// The open terminal's screen and keyboard.
class Painter {
  public:
    explicit Painter( bool colour );

    /// The size that the terminal has now; the screen follows it.
    static Size size();
    void paint( const Canvas &canvas ) const;
    /// The next key that was pressed; nothing when there is none. Keys without a meaning are
    /// left out; Ctrl-L has the next painting draw everything anew.
    static std::optional<Key> nextKey();

  private:
    bool colour_;
};

} // namespace HostTool::Watch
