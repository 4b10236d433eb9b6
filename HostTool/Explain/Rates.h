#pragma once

#include "HostTool/Explain/BusTime.h"
#include "HostTool/Explain/Steps.h"

#include <array>
#include <string>
#include <vector>

namespace HostTool::Explain {

/// How often a host calls what reads, by class of devices.
class Rates {
  public:
    /// @param everySeconds of all classes
    /// @param changes of single classes, such as "psu=10"; 0 is never
    /// @throw Failure (badInput) for a change that makes no sense.
    Rates( double everySeconds, const std::vector<std::string> &changes );

    /// Seconds between two readings of a device; 0 when there are none.
    double secondsOf( DeviceClass deviceClass ) const;
    /// "every 1 s; psu every 10 s; slot never".
    std::string text() const;

  private:
    void change( const std::string &text );

    double every_;
    std::array<double, std::size( classNames )> seconds_; // in the order of classNames
};

/// What goes over the wires of a bus in a second.
struct Load {
    double transactions = 0;
    double requests = 0;
    double bytes = 0;
    double bits = 0;

    void add( const WireCost &cost, double timesASecond );
    double milliseconds( unsigned kilohertz ) const { return bits / kilohertz; }
    /// Above 100 it is more than the bus can carry.
    double busyPercent( unsigned kilohertz ) const { return milliseconds( kilohertz ) / 10; }
};

/// What a device puts on a bus with what reads it, or with its poll.
struct DeviceLoad {
    const Entry *entry;
    bool isPoll;
    double seconds; ///< between two of them
    Load load = {};
};

struct BusLoad {
    BusName bus;
    Load load = {};
    std::vector<DeviceLoad> devices = {}; ///< the busiest first
};

/// The busses that anything goes over, the busiest first.
std::vector<BusLoad> loadsOf( const std::vector<DeviceSteps> &devices, const Rates &rates );

} // namespace HostTool::Explain
