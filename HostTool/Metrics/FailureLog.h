#pragma once

#include "HostTool/Host/Devices.h"

#include <map>
#include <string>
#include <vector>

namespace HostTool::Metrics {

/// What goes wrong with each device, in the library's own words, told once: when it begins, when it
/// becomes something else, and when it is over. A label would make a new series of each wording.
class FailureLog {
  public:
    /// @return the lines that are news since the last pass
    std::vector<std::string> news( const std::vector<Device> &devices );

  private:
    std::map<const Entry *, std::string> told_;
};

} // namespace HostTool::Metrics
