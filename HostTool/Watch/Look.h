#pragma once

#include "HostTool/Watch/Canvas.h"

namespace HostTool::Watch {

/// What the terminal can show.
struct Look {
    bool colour = true;
    bool utf8 = true;
};

/// The drawing characters, each with the one for terminals that know ASCII alone.
enum class Mark { module, cage, lampLit, lampDark, barFull, barEmpty };

char32_t characterOf( Mark mark, const Look &look );

} // namespace HostTool::Watch
