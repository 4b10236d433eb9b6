#pragma once

#include "EmulatedBoard/Board.h"
#include "SmbusServer/Backend.h"

#include <array>
#include <cstdint>
#include <span>
#include <vector>

namespace SmbusServer {

/// The emulated board as a back end. A packet error code travels as on real wires: a chip that
/// knows none takes it for a byte of data, and drives none behind what is read.
class EmulatedBackend : public Backend {
  public:
    /// @param board must outlive the back end and keep its busses.
    explicit EmulatedBackend( EmulatedBoard::Board &board );

    Cause perform( const Operation &operation, std::string &read ) override;
    bool severalAccelerators( const BusName &bus ) const override;

    /// The board has got other busses.
    void boardChanged() { lastBus_ = nullptr; }

  private:
    EmulatedBoard::Bus *find( const BusName &name );
    std::span<const uint8_t> outgoing( const Operation &operation );

    EmulatedBoard::Board &board_;
    BusName lastName_;
    EmulatedBoard::Bus *lastBus_ = nullptr; // a batch stays on one bus
    std::array<uint8_t, 4> register_;       // high byte first; as many as its width count
    std::vector<uint8_t> out_;              // the register and more, kept for its memory
};

} // namespace SmbusServer
