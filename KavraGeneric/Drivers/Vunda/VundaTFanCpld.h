#pragma once

#include "KavraGeneric/Drivers/Vunda/VundaTZCommonFanCpld.h"

namespace Drivers {

/// The fan CPLD of the VundaT, and the trays that fit it.
class VundaTFanCpld final : public VundaTZCommonFanCpld {
  public:
    static Component::DeviceBase *create( const DriverArgs &args, Ham::Ham *ham );
    ~VundaTFanCpld() override;

    float getFanMaxRpm() const override;
    bool isFrontToBackActiveHigh() const override;
    std::string getFanModelName( bool frontToBack ) const override;
};

} // namespace Drivers
