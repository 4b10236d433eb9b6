#pragma once

#include "HostTool/Host/Devices.h"

#include <string>
#include <vector>

namespace HostTool {

/// What a device can be told.
enum class Setting {
    fanSpeed,  ///< revolutions per minute
    light,     ///< a pl_led_status
    reset,     ///< 1 holds a QSFP module in reset
    txDisable, ///< 1 switches the transmitter of an SFP module off
    line,      ///< 0 or 1
};

/// One thing to tell a device.
struct Order {
    Setting setting;
    int value;
};

/// What came of it.
struct Outcome {
    pl_status status = PL_STATUS_OK;
    std::string reason; ///< why it failed: the library's own last line; empty when it did not

    bool isFine() const { return status == PL_STATUS_OK; }
};

/// Why the device cannot take orders of this kind ("'Ethernet33' is an SFP cage: it has no
/// reset"); empty when it can.
std::string whyNot( const Device &device, Setting setting );

/// Why an order cannot be given yet; empty when it can. The library writes a signal of a
/// transceiver on top of what its poll read last in the register, and takes a register that it has
/// not polled for 0.
/// @param cages the devices of the transceiver's chip, as they were read last
std::string whyNotYet( Setting setting, const std::vector<const Device *> &cages );

/// Tells the device, which can take orders of this kind.
Outcome tell( const Device &device, const Order &order );

/// The names of the light settings, in the order of pl_led_status.
const std::vector<std::string> &lightNames();

/// What the order says to a person: "9875 rpm", "beacon", "reset on", "1".
std::string textOf( const Order &order );

} // namespace HostTool
