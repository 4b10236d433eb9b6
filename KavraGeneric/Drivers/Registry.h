#pragma once

#include <functional>
#include <map>
#include <string>

namespace Component {
class DeviceBase;
}
namespace Ham {
class Ham;
}

namespace Drivers {

struct DriverArgs;

/// Makes a driver's hardware device; the framework stores the access method in it afterwards.
using Factory = std::function<Component::DeviceBase *( const DriverArgs &, Ham::Ham * )>;

/// The drivers by the name that documents give them. Filled while the library is loaded.
extern std::map<std::string, Factory> drivers;

} // namespace Drivers
