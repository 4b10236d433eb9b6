#include "KavraGeneric/Components/Mux.h"

namespace Component::LogicalDevice {

Mux::~Mux() = default;

} // namespace Component::LogicalDevice
