#pragma once

#include "tests/property/Twin.h"

#include <PlatformLibrary/pl.h>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace Component {
class HardwareDevice;
}

namespace Property {

/// One operation of a batch that is made with the access method itself.
struct RawOperation {
    std::size_t kind;
    uint32_t reg;
    uint32_t value; ///< a byte, a word or a length
    std::string bytes;
    bool flag;
};

/// Something that the host does with a device.
struct Step {
    std::size_t device;
    std::size_t action; ///< of the table of actions
    uint32_t a;
    uint32_t b;
    std::string bytes;
    std::vector<RawOperation> batch;
    std::optional<std::size_t> refused{}; ///< request of the batch, from the first mux's select on
};

/// The board has devices.
Step drawStep( const Board &board );
std::string describe( const Step &step );

/// What the library hands out for a device: those that its driver has.
struct Records {
    pl_smbus *smbus = nullptr;
    pl_temp_sensor *sensor = nullptr;
    pl_psu *psu = nullptr;
    pl_fan *fan = nullptr;
    pl_gpio *gpio = nullptr;
    pl_led *led = nullptr;
    Component::HardwareDevice *raw = nullptr;
};

/// Does steps with the library and with a twin of the board.
class Host {
  public:
    explicit Host( const Board &board ) : board_( board ) {}

    /// The device of the step is added when it is first used.
    /// @return the status and, when it is 0, what was read
    std::string perform( const Step &step );
    /// What perform() is to return, and to the twin what it is to do on the bus.
    std::string expect( const Step &step, Twin &twin );

  private:
    const Board &board_;
    std::map<std::size_t, Records> records_;
    std::set<std::size_t> expected_;
};

} // namespace Property
