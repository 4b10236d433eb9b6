#pragma once

#include <PlatformLibrary/pl.h>

#include <cstdint>
#include <string>

namespace Component {
class HardwareDevice;
}
namespace Component::LogicalDevice {
class Gpio;
}

namespace Drivers {

/// Runs a command line in the shell, at most so many seconds, and blocks meanwhile. Throws
/// std::bad_alloc when there is no memory for the output; the command has ended then too.
/// @param[out] output what it wrote to its standard output, also on failure: all of it up to
///                    16 MiB, the beginning of what is longer
/// @return PL_STATUS_OK for exit code 0, PL_STATUS_IO_ERROR when the time was up,
///         PL_STATUS_FAILED for everything else.
pl_status runCmd( const char *command, std::string &output, unsigned long seconds );

/// The text without spaces and tabs at its ends. Line ends stay.
std::string trim( const std::string &text );

/// Whether the bytes add up to 0 modulo 256, as those of a checksummed record do.
bool zeroChecksum( std::string &bytes );

/// The hardware device behind a label of the topology, made if there is none yet. Asserts that the
/// label is a device's, that its entry names a driver or null, and that the device can be made.
/// @param defaultDriver for an entry whose driver is null; it keeps this name from then on
Component::HardwareDevice *getHardwareDeviceByLabel( const char *label, std::string defaultDriver );

/// A line that is one bit of an 8-bit register, the caller's to delete. Asserts that the device
/// makes one.
Component::LogicalDevice::Gpio *getRegGpioForDevice( Component::HardwareDevice *device,
                                                     uint32_t reg, uint32_t bit );
/// The same for a device of the topology, driven by "Dummy" unless its entry names a driver.
Component::LogicalDevice::Gpio *getRegGpioForDevice( const char *label, uint32_t reg,
                                                     uint32_t bit );

/// Adds a text to the "driverArgs" of a device-arguments text, for the host. A member of that name
/// may be there already: readers take the later one. Asserts "driverArgs".
/// @param[out] rewritten compact JSON, allocated with malloc(), the caller's to free
/// @return false, after a trace, with nothing written, when the text is no JSON.
bool insertDriverArg( const char *arguments, char **rewritten, const char *name,
                      const char *value );

} // namespace Drivers
