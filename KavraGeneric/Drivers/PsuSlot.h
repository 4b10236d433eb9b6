#pragma once

#include "KavraGeneric/Components/Gpio.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/Slot.h"
#include "KavraGeneric/Drivers/FormatFdl.h"

#include <cstdlib>
#include <map>
#include <memory>
#include <string>

namespace Drivers {

/// The slot of a power supply: whether there is one, and which. Its access method reaches what the
/// supply is identified by: its PMBus controller, its FRU EEPROM or the slot's status register.
class PsuSlot final : public Component::HardwareDevice {
  public:
    class Slot;

    static Component::DeviceBase *create( const DriverArgs &args, Ham::Ham *ham );
    ~PsuSlot() override;

    /// Asserts "psuId" 1 or 2, and throws std::invalid_argument for a text without a leading
    /// number.
    /// @return null, after a trace, without a "psuId".
    Component::LogicalDevice::Slot *newSlot( const DriverArgs &args ) override;
    Utils::ExpectedValues &expectedValues() override;

    static Utils::ExpectedValues values; ///< what expectedValues() gives
};

class PsuSlot::Slot : public Component::LogicalDevice::Slot {
  public:
    enum class IdentificationType { pmbus, ipmi, ipmitool, ipmitool_raw, wedge, tlv };

    /// Reads every setting from the arguments. Asserts what the identification type needs and a
    /// description for each model; throws std::out_of_range for a missing register or bit of
    /// "gpioDevice", std::invalid_argument for a text without a leading number.
    /// @param index 0 for supply 1, 1 for supply 2
    /// @param json  the device-arguments text, the caller's as long as the slot lives; may be null
    Slot( PsuSlot *device, uint8_t index, DriverSpecificArgs args, const char *json );
    ~Slot() override;

    /// @return PL_STATUS_OK with a text for the caller to free; PL_STATUS_NOT_PRESENT for an empty
    ///         slot and for a supply that cannot be identified, has no good power or is of an
    ///         unknown model; the status of a presence or power-good bit that cannot be read.
    pl_status getPresence( char **fdl ) override;

    /// @name Identification
    /// Each reads the supply's serial number and model from one kind of source. Asserts what a
    /// supply may not get wrong. The texts count when the status is PL_STATUS_OK.
    /// @{
    pl_status readSerialAndModelPmbus( std::string &serial, std::string &model );
    pl_status readSerialAndModelIpmi( std::string &serial, std::string &model );
    pl_status readSerialAndModelIpmitool( std::string &serial, std::string &model );
    pl_status readSerialAndModelWedge( std::string &serial, std::string &model );
    pl_status readSerialAndModelTlv( std::string &serial, std::string &model );
    /// @}
    /// The reader of this slot's type. @return PL_STATUS_OK or, after a trace,
    /// PL_STATUS_NOT_PRESENT: also when one of the two texts is empty.
    pl_status readSerialAndModel_( std::string &serial, std::string &model );

  private:
    struct Free {
        void operator()( char *text ) const { std::free( text ); }
    };

    void readIdentificationType();
    void readToolCommand();
    const std::string &requiredArg( const char *key, const char *missing ) const;
    void readModels();
    void readGpios();
    bool flag( const char *key, bool absent ) const;

    pl_status readIpmiField( uint8_t offset, uint8_t typeLength, std::string &field );
    pl_status describe( const std::string &serial, const std::string &model,
                        const std::string &text, char **fdl );
    pl_status unmanaged();
    pl_status forget();

    PsuSlot *device_;
    FormatFdl formatter_;
    std::unique_ptr<char, Free> cachedFdl_; // null: none
    std::string cachedSerial_;
    std::string cachedModel_;
    std::map<std::string, std::string> modelFdls_; // model to template

  protected:
    IdentificationType identificationType_ = IdentificationType::pmbus;

  private:
    std::string command_;                                          // of the IPMI tool
    std::unique_ptr<Component::LogicalDevice::Gpio> presenceGpio_; // null: always present
    std::unique_ptr<Component::LogicalDevice::Gpio> powerOkGpio_;
    bool presenceActiveLow_ = true;
    bool powerOkActiveLow_ = true;
    bool assertOnUnknownModelName_;
    bool allowInvalidCommonHeaderChecksum_;
};

} // namespace Drivers
