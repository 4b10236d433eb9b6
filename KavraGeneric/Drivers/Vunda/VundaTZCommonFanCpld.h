#pragma once

#include "KavraGeneric/Components/Fan.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/Slot.h"

#include <string>

namespace Drivers {

/// The fan CPLD: presence, airflow and two tachometers of each of six fan trays, and one PWM
/// register for all of them. What differs between boards is in three hooks, each of which throws
/// NotImplementedException with its own name until a board's class provides it.
class VundaTZCommonFanCpld : public Component::HardwareDevice {
  public:
    class Fan;
    class FanSlot;

    ~VundaTZCommonFanCpld() override;

    /// Traces the CPLD's version. A device that does not answer stays usable.
    void init() override;
    /// Asserts that "fanId" is there and 1 to 6 after reduction modulo 256. Throws
    /// std::invalid_argument for a text without a leading number.
    Component::LogicalDevice::Fan *newFan( const DriverArgs &args ) override;
    /// As newFan(), but @return null, after a trace, without a "fanId".
    Component::LogicalDevice::Slot *newSlot( const DriverArgs &args ) override;

    /// Full speed, revolutions per minute.
    virtual float getFanMaxRpm() const;
    /// Whether a 1 in the direction register means front to back.
    virtual bool isFrontToBackActiveHigh() const;
    virtual std::string getFanModelName( bool frontToBack ) const;

    /// The mean of the two tachometers.
    /// @return PL_STATUS_BAD_READING when either stands still, or the access method's status;
    ///         *rpm is written when it is PL_STATUS_OK
    pl_status getFanRpm( Fan *fan, int *rpm );
    /// Sets the speed of every fan. More than the full speed is the full speed; what is too slow,
    /// 0 and negative speeds included, is not corrected.
    pl_status setFanRpm( Fan *fan, int rpm );
    /// @param fanIndex 0 to 5
    /// @return the access method's status; the outputs are written when it is PL_STATUS_OK
    pl_status getFanPresence( unsigned char fanIndex, bool &present, bool &frontToBack );

  protected:
    static const uint8_t frontFanSpeedRegisters_[6]; // by fan index
    static const uint8_t rearFanSpeedRegisters_[6];
};

class VundaTZCommonFanCpld::Fan final : public Component::LogicalDevice::Fan {
  public:
    /// @param index 0 to 5
    Fan( VundaTZCommonFanCpld *device, uint8_t index );

    pl_status getRpm( int *rpm ) override;
    pl_status setRpm( int rpm ) override;

    uint8_t index() const { return index_; }

  private:
    VundaTZCommonFanCpld *device_;
    uint8_t index_;
};

class VundaTZCommonFanCpld::FanSlot final : public Component::LogicalDevice::Slot {
  public:
    /// @param fanId 1 to 6
    /// @param json  the device-arguments text, the caller's as long as the slot lives; may be null
    FanSlot( VundaTZCommonFanCpld *device, uint8_t fanId, DriverSpecificArgs args,
             const char *json );

    /// The text is made anew when the airflow has turned round, not for another tray of the same
    /// airflow.
    /// @return PL_STATUS_OK with a text for the caller to free, PL_STATUS_NOT_PRESENT without a
    ///         tray, PL_STATUS_FAILED without memory, or the access method's status; *fdl is
    ///         written when it is PL_STATUS_OK
    pl_status getPresence( char **fdl ) override;

  private:
    pl_status describe( bool frontToBack, char **fdl );

    std::string cachedFdl_; // empty: none yet
    VundaTZCommonFanCpld *device_;
    uint8_t slotId_;
    bool cachedFrontToBack_ = false;
};

} // namespace Drivers
