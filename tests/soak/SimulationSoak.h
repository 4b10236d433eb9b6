#pragma once

#include "tests/soak/Library.h"
#include "tests/soak/Options.h"
#include "tests/soak/Progress.h"
#include "tests/soak/Report.h"
#include "tests/soak/SimulatedDevices.h"
#include "tests/support/ServerProcess.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace Soak {

/// The board's devices in simulation: a file each, read and written in turn, while somebody else
/// changes what is in the files.
class SimulationSoak {
  public:
    explicit SimulationSoak( const Options &options );

    Report run();

  private:
    struct NamedDevice {
        std::string name;
        std::unique_ptr<Device> device;
        SimulatedPart *part;
    };

    void addDevices();
    void takeTurn();
    void sabotage();
    void sample();
    void compareFiles();
    uint64_t accesses() const;
    double progress() const;

    const Options options_;
    Random random_;
    ServerProcess server_; // the library connects in simulation too
    std::filesystem::path folder_;
    Library library_;
    Judge judge_;
    std::vector<std::unique_ptr<SimulatedPart>> parts_;
    std::vector<NamedDevice> devices_;
    FootprintWatch host_;
    Progress progress_;
    uint64_t turns_ = 0;
    uint64_t changes_ = 0;
    int samples_ = 0;
};

} // namespace Soak
