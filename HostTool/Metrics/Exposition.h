#pragma once

#include "HostTool/Host/Devices.h"

#include <chrono>
#include <string>
#include <vector>

namespace HostTool::Metrics {

/// Where what is exposed comes from.
struct Origin {
    std::string version;
    std::string library;
    std::string board;
};

/// One pass over a board.
struct Scrape {
    bool hasServer;
    std::chrono::duration<double> took;
    Moment endedAt;
};

/// What passes over a board found, in the text format of Prometheus, version 0.0.4.
///
/// A value is exposed when there is one and the part is there: nothing stands for a value that
/// failed, is absent, was never read or that the device does not have. Of an absent part only its
/// absence is. Labels are valid UTF-8.
class Exposition {
  public:
    explicit Exposition( const Origin &origin );
    ~Exposition();
    Exposition( const Exposition & ) = delete;
    Exposition &operator=( const Exposition & ) = delete;

    /// @param devices read; not looked at without a server, because nothing is known then. The same
    ///                ones each time are exposed fastest: what does not change is kept.
    std::string text( const Scrape &scrape, const std::vector<Device> &devices );

  private:
    /// What is kept of a device.
    struct Kept;

    void add( const Device &device, Kept &kept, Moment now );

    std::vector<std::string> heads_;   ///< of each family
    std::vector<std::string> samples_; ///< of each family, in this pass
    std::vector<Kept> kept_;
    // The board's own lines, without their values.
    std::string buildLine_;
    std::string serverLine_;
    std::string durationLine_;
};

} // namespace HostTool::Metrics
