#pragma once

#include "EmulatedBoard/Chip.h"
#include "EmulatedBoard/Segment.h"

#include <array>

namespace EmulatedBoard {

/// PCA9548: an eight-channel switch. One control register, a bit a channel; several channels may be
/// on at once.
class Pca9548 : public Chip {
  public:
    explicit Pca9548( uint8_t address );

    bool write( std::span<const uint8_t> bytes ) override;
    uint8_t read( size_t position ) override;

    size_t channelCount() const override { return channels_.size(); }
    Segment *channel( size_t channel ) override { return &channels_[channel]; }
    bool channelOn( size_t channel ) const override;

  protected:
    void powerOn() override;
    std::vector<Knob> ownKnobs() override;

  private:
    uint8_t control_ = 0;
    std::array<Segment, 8> channels_;
};

} // namespace EmulatedBoard
