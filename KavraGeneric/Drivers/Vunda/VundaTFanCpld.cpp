// Fan CPLD of the VundaT: what VundaTZCommonFanCpld leaves to the board.
#include "KavraGeneric/Drivers/Vunda/VundaTFanCpld.h"

#include "KavraGeneric/HostServices.h"

namespace Drivers {

VundaTFanCpld::~VundaTFanCpld() = default;

float VundaTFanCpld::getFanMaxRpm() const {
    return 19750.0F;
}

bool VundaTFanCpld::isFrontToBackActiveHigh() const {
    return true;
}

std::string VundaTFanCpld::getFanModelName( bool frontToBack ) const {
    return frontToBack ? "FAN-1U-1x1C-F" : "FAN-1U-1x1C-R";
}

Component::DeviceBase *VundaTFanCpld::create( const DriverArgs &, Ham::Ham * ) {
    pl_trace( 0, "Creating VundaTFanCpld Device" );
    return new VundaTFanCpld;
}

} // namespace Drivers
