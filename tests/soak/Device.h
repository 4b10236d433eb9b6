#pragma once

#include "tests/soak/Judge.h"
#include "tests/soak/Random.h"
#include "tests/soak/World.h"

#include <memory>
#include <string>
#include <string_view>

namespace Soak {

/// One entry of the board's devices.json.
struct Entry {
    std::string deviceClass;
    std::string name;
    std::string arguments; ///< outlives every device: the library keeps a pointer to it
};

/// A device that the library made, and how to ask for all that it reads.
class Device {
  public:
    virtual ~Device() = default;
    /// Calls every reading callback, and compares what comes with the truth.
    virtual void read( Judge &judge ) = 0;
    /// Whether the batches of read() may meet a fault.
    virtual bool meetsFaults() const { return true; }
    /// Whether the device fails with PL_STATUS_NOT_PRESENT when it cannot be identified.
    virtual bool isSlot() const { return false; }
    /// Whether it is a module behind a raw proxy.
    virtual bool isModule() const { return false; }
};

/// A device whose read() is a function.
template <class Read>
class DeviceOf : public Device {
  public:
    explicit DeviceOf( Read read ) : read_( std::move( read ) ) {}
    void read( Judge &judge ) override { read_( judge ); }

  private:
    Read read_;
};

template <class Read>
std::unique_ptr<Device> deviceOf( Read read ) {
    return std::make_unique<DeviceOf<Read>>( std::move( read ) );
}

/// Some of the board's hardware: what the world does to it, and what its devices have to read then.
/// The truth comes from the knobs that were turned and from the pages that describe the chips and
/// the drivers' conversions; nothing of the library is in it.
class Part {
  public:
    virtual ~Part() = default;

    /// @param record as the library returned it.
    /// @return null when the entry is none of this part's.
    virtual std::unique_ptr<Device> device( const Entry &entry, void *record ) = 0;

    /// Turns the knobs to where the run begins.
    virtual void begin( World & ) {}
    /// Something happens in the world.
    /// @param turn the device that is read next; half of what can concern it does.
    virtual void change( Random &random, World &world, std::string_view turn ) = 0;
    /// The host sets something. Nothing goes wrong on the wires meanwhile.
    virtual void setByHost( Random &, Judge & ) {}
};

} // namespace Soak
