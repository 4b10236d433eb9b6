#pragma once

#include "EmulatedBoard/XcvrModule.h"

namespace EmulatedBoard {

/// An SFP+ module for 10 Gb/s over a pair of fibres. Its laser is off, and cannot fail, while the
/// transmitter is disabled.
class SfpModule : public XcvrModule {
  public:
    explicit SfpModule( uint8_t address );

    std::span<const Line> lines() const override;

  protected:
    std::vector<Knob> lineKnobs() override;

  private:
    static const Line lines_[];

    bool seesNoSignal() const;
    bool reportsFault() const;

    bool rxLos_ = false;
    bool txFault_ = false;
    bool txDisable_ = false; // of the cage: stays when the module goes
};

} // namespace EmulatedBoard
