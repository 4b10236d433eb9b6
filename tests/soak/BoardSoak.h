#pragma once

#include "tests/soak/Cages.h"
#include "tests/soak/Faults.h"
#include "tests/soak/Lamps.h"
#include "tests/soak/Library.h"
#include "tests/soak/Options.h"
#include "tests/soak/Progress.h"
#include "tests/soak/Report.h"
#include "tests/soak/Sensors.h"
#include "tests/soak/Supplies.h"
#include "tests/soak/Trays.h"
#include "tests/support/ServerProcess.h"

#include <array>
#include <memory>
#include <vector>

namespace Soak {

/// The whole emulated board behind a real server, polled second by second.
class BoardSoak {
  public:
    explicit BoardSoak( const Options &options );

    Report run();

  private:
    struct NamedDevice {
        std::string name;
        std::unique_ptr<Device> device;
    };

    void addDevices();
    void begin();
    void second();
    void pollsAreDue();
    void somethingChanges();
    NamedDevice &turn() { return devices_[seconds_ % devices_.size()]; }
    void takeTurn( NamedDevice &device );
    void sabotage();
    void sample();
    void compareWorlds();
    double progress() const;
    uint64_t transactions() const;

    const Options options_;
    Random random_;
    ServerProcess server_;
    World world_;
    Library library_;
    Judge judge_;
    Faults faults_;
    Sensors sensors_;
    Trays trays_;
    Supplies supplies_;
    Cages cages_;
    Lamps lamps_;
    std::array<Part *, 5> parts_;
    std::vector<NamedDevice> devices_;
    FootprintWatch host_;
    FootprintWatch serverWatch_;
    Progress progress_;
    uint64_t seconds_ = 0;
    uint64_t changes_ = 0;
    uint64_t transactionsBefore_ = 0;
    int samples_ = 0;
    int worldsCompared_ = 0;
};

} // namespace Soak
