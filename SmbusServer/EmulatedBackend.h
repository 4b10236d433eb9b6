#pragma once

#include "EmulatedBoard/Board.h"
#include "SmbusServer/Backend.h"

#include <cstdint>
#include <vector>

namespace SmbusServer {

/// The emulated board as a back end. Its chips do not check packet error codes.
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

    EmulatedBoard::Board &board_;
    BusName lastName_;
    EmulatedBoard::Bus *lastBus_ = nullptr; // a batch stays on one bus
    std::vector<uint8_t> out_;              // what follows the address of a write
};

} // namespace SmbusServer
