#include "KavraGeneric/Drivers/Dummy.h"

namespace Drivers {

Component::DeviceBase *Dummy::create( const DriverArgs &, Ham::Ham * ) {
    return new Dummy;
}

} // namespace Drivers
