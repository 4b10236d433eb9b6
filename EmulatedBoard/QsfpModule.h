#pragma once

#include "EmulatedBoard/XcvrModule.h"

namespace EmulatedBoard {

/// A QSFP+ module for 40 Gb/s over four pairs of fibres. While its reset line is asserted it does
/// not answer on the bus and asks for nothing.
class QsfpModule : public XcvrModule {
  public:
    explicit QsfpModule( uint8_t address );

    std::span<const Line> lines() const override;
    bool answers() const override;

  protected:
    uint8_t byteAt( uint8_t offset ) const override;
    std::vector<Knob> lineKnobs() override;

  private:
    static const Line lines_[];

    bool interrupts() const;
    void resetIs( bool asserted );

    bool reset_ = false; // of the cage: stays when the module goes
    bool interrupt_ = false;
};

} // namespace EmulatedBoard
