#pragma once

#include "SmbusServer/I2cAdapter.h"

#include <array>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

/// A chip on the wires: the first byte written is a pointer into its memory, further ones go there;
/// reads come from there.
struct FakeI2cChip {
    std::array<uint8_t, 256> memory = {};
    uint8_t pointer = 0;
    bool checksCodes = false;     ///< expects a packet error code behind a write
    size_t codeBehind = SIZE_MAX; ///< bytes read before it gives a packet error code
    bool codeIsWrong = false;
    bool takesNoZero = false; ///< a mux that does not let go
};

/// The kernel as a program sees it through i2c-dev: one adapter with chips, and its rules. What
/// goes over the wires is kept as text, so that it can be seen to be the same whatever call brought
/// it there: "S 48w 02 5a P" is a write of 02 5a to chip 0x48 from start to stop.
class FakeI2cKernel : public SmbusServer::I2cKernel {
  public:
    int open( const std::string &device,
              std::unique_ptr<SmbusServer::I2cAdapter> &adapter ) override;

    /// The adapter leaves, and comes back as another one that has the same chips behind it.
    void unplug() { plugged = false; }
    void plug() {
        plugged = true;
        ++deviceNumber;
    }

    unsigned long functions = 0;
    std::map<uint8_t, FakeI2cChip> chips;
    std::set<uint8_t> held; ///< addresses that a driver of the kernel has
    int absentError = 0;    ///< of a transfer to nobody; 0: ENXIO
    int openError = 0;
    bool blocksAreShort = false; ///< an I2C block read gives a byte less than was asked for
    std::deque<int> errors;      ///< of the next transfers; they reach nobody
    std::string chipsAt;         ///< the device that the chips are on; empty: on each
    std::string wires;
    bool plugged = true;
    int unplugAfter = -1; ///< so many transfers; negative: never
    uint64_t deviceNumber = 1;
    int adapters = 0;                ///< that are open now
    std::vector<std::string> opened; ///< device files, in order
    int transfers = 0;               ///< I2C_RDWR calls
    int smbusCalls = 0;
};
