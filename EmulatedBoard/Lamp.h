#pragma once

#include "EmulatedBoard/Clock.h"

#include <string>
#include <string_view>

namespace EmulatedBoard {

/// A lamp as a person sees it, who has no register to look at and must watch it for a while to
/// tell that it blinks: three changes between lit and dark, each within a second and a half of the
/// one before it. It is steady again when it has not changed for as long.
class Lamp {
  public:
    explicit Lamp( Clock clock );

    /// @param colour empty: dark. The text must live as long as the lamp.
    void colourIs( std::string_view colour );
    /// "green", "off", "green blinking", also in a dark moment.
    std::string look() const;
    /// How often its colour has changed, or it went on or off.
    unsigned changes() const { return changes_; }

  private:
    bool blinks() const;

    Clock clock_;
    std::string_view colour_;
    std::string_view litColour_; // the last one
    unsigned changes_ = 0;
    unsigned flashes_ = 0; // on and off, of one colour, without a long pause
    double lastFlash_ = 0;
};

} // namespace EmulatedBoard
