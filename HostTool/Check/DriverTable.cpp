// What the drivers of this board's library read, and what they make of it. A driver's page in
// docs/drivers tells the same to people.
#include "HostTool/Check/DriverTable.h"

#include <algorithm>
#include <limits>

namespace HostTool::Check {

namespace {

using Kind = Setting::Kind;
using Need = Setting::Need;
using Beyond = Setting::Beyond;

constexpr int64_t lastBit = 7;
constexpr int64_t lastRegister = 255;
constexpr int64_t anyNumber = std::numeric_limits<int32_t>::max();

bool hasGpio( const Arguments &arguments ) {
    return arguments.setting( "gpioDevice" ) != nullptr;
}

bool txFaultIsSupported( const Arguments &arguments ) {
    const Value *setting = arguments.setting( "txFaultSupported" );
    return !setting || settingText( *setting ) == "true";
}

bool hasType( const Arguments &arguments, std::string_view first, std::string_view second ) {
    const Value *type = arguments.setting( "type" );
    return type && ( settingText( *type ) == first || settingText( *type ) == second );
}

bool isQsfp( const Arguments &arguments ) {
    return hasType( arguments, "qsfp", "qsfp+" );
}

bool isSfp( const Arguments &arguments ) {
    return hasType( arguments, "sfp", "sfp+" );
}

bool isSfpWithFault( const Arguments &arguments ) {
    return isSfp( arguments ) && txFaultIsSupported( arguments );
}

constexpr Setting number( const char *key, Need need, int64_t low, int64_t high, Beyond beyond,
                          bool isByte, bool ( *applies )( const Arguments & ) = nullptr ) {
    return { key, Kind::number, need, low, high, beyond, isByte, applies };
}

constexpr Setting flag( const char *key, Need need,
                        bool ( *applies )( const Arguments & ) = nullptr ) {
    return { key, Kind::boolean, need, 0, 0, Beyond::isWrapped, false, applies };
}

constexpr Setting text( const char *key, Need need,
                        bool ( *applies )( const Arguments & ) = nullptr ) {
    return { key, Kind::text, need, 0, 0, Beyond::isWrapped, false, applies };
}

constexpr Setting reg( const char *key, Need need, bool ( *applies )( const Arguments & ) ) {
    return number( key, need, 0, lastRegister, Beyond::isWrapped, false, applies );
}

constexpr Setting bit( const char *key, Need need, bool ( *applies )( const Arguments & ) ) {
    return number( key, need, 0, lastBit, Beyond::isNoBit, false, applies );
}

constexpr Setting gpioSettings[] = {
    reg( "register", Need::asserted, nullptr ),
    bit( "bitpos", Need::asserted, nullptr ),
};
constexpr ClassRow gpioRow = { DeviceClass::gpio, gpioSettings };

constexpr Setting pmbusCreation[] = {
    number( "voutExponent", Need::optional, -16, 255, Beyond::isWrapped, true ),
    text( "gpioDevice", Need::optional ),
    reg( "powerOkReg", Need::asserted, hasGpio ),
    bit( "powerOkBit", Need::asserted, hasGpio ),
    flag( "powerOkActiveLow", Need::optional ),
};
constexpr Setting pmbusFan[] = {
    number( "fanId", Need::asserted, 1, 2, Beyond::isAsserted, false ),
    number( "maxFanRpm", Need::asserted, 1, anyNumber, Beyond::isUseless, false ),
    flag( "pec", Need::optional ),
};
bool namesSensor( const Arguments &arguments ) {
    return arguments.setting( "tempSensor" ) != nullptr;
}
bool namesNoSensor( const Arguments &arguments ) {
    return !namesSensor( arguments );
}
constexpr Setting pmbusSensor[] = {
    number( "sensorId", Need::asserted, 1, 3, Beyond::isAsserted, false, namesNoSensor ),
    number( "sensorId", Need::asserted, 0, 255, Beyond::isWrapped, true, namesSensor ),
    number( "tempSensor", Need::optional, 1, 3, Beyond::isAsserted, false ),
};
constexpr ClassRow pmbusClasses[] = {
    { DeviceClass::psu, {} },
    { DeviceClass::fan, pmbusFan },
    { DeviceClass::tempSensor, pmbusSensor },
};

// What depends on the identification type has rules of its own.
constexpr Setting psuSlot[] = {
    number( "psuId", Need::asked, 1, 2, Beyond::isAsserted, true ),
    text( "identificationType", Need::optional ),
    text( "gpioDevice", Need::optional ),
    reg( "presenceReg", Need::asserted, hasGpio ),
    bit( "presenceBit", Need::asserted, hasGpio ),
    reg( "powerOkReg", Need::asserted, hasGpio ),
    bit( "powerOkBit", Need::asserted, hasGpio ),
    flag( "presenceActiveLow", Need::optional, hasGpio ),
    flag( "powerOkActiveLow", Need::optional, hasGpio ),
    flag( "assertOnUnknownModelName", Need::optional ),
    flag( "allowInvalidCommonHeaderChecksum", Need::optional ),
    text( "useApi", Need::optional ),
    text( "ipmiId", Need::optional ),
    text( "ipmiRawModel", Need::optional ),
    text( "ipmiRawSerialNumber", Need::optional ),
};
constexpr ClassRow psuSlotClasses[] = { { DeviceClass::slot, psuSlot } };

constexpr ClassRow lm75Classes[] = { { DeviceClass::tempSensor, {} } };

// The time is kept in microseconds of 32 bits.
constexpr int64_t longestDelay = 4'294'967;
constexpr Setting proxy[] = {
    number( "localReadDelayMs", Need::optional, 0, longestDelay, Beyond::isWrapped, false ),
    number( "localWriteDelayMs", Need::optional, 0, longestDelay, Beyond::isWrapped, false ),
};
constexpr ClassRow proxyClasses[] = { { DeviceClass::smbus, proxy } };

constexpr int64_t fanTrays = 6;
constexpr Setting trayFan[] = { number( "fanId", Need::asserted, 1, fanTrays, Beyond::isAsserted,
                                        true ) };
constexpr Setting traySlot[] = { number( "fanId", Need::asked, 1, fanTrays, Beyond::isAsserted,
                                         true ) };
constexpr ClassRow fanCpldClasses[] = { { DeviceClass::fan, trayFan },
                                        { DeviceClass::slot, traySlot } };

constexpr Setting systemLed[] = {
    number( "reg", Need::asserted, 0, lastRegister, Beyond::isWrapped, true ),
    number( "id", Need::asserted, 0, 255, Beyond::isWrapped, true ),
};
constexpr ClassRow systemLedClasses[] = { { DeviceClass::led, systemLed } };

constexpr Setting portLed[] = { text( "ledName", Need::asserted ) };
constexpr ClassRow portLedClasses[] = { { DeviceClass::led, portLed } };

constexpr Setting lineReg( const char *key, bool ( *applies )( const Arguments & ) ) {
    return number( key, Need::asserted, 0, lastRegister, Beyond::isWrapped, true, applies );
}
constexpr Setting lineBit( const char *key, bool ( *applies )( const Arguments & ) ) {
    return number( key, Need::asserted, 0, lastBit, Beyond::isNoBit, true, applies );
}
bool isXcvr( const Arguments &arguments ) {
    return isQsfp( arguments ) || isSfp( arguments );
}
constexpr Setting xcvr[] = {
    number( "id", Need::asserted, 0, anyNumber, Beyond::isWrapped, false ),
    text( "type", Need::asserted ),
    lineReg( "getPresenceReg", isXcvr ),
    lineBit( "getPresenceBit", isXcvr ),
    flag( "getPresenceActiveHigh", Need::asserted, isXcvr ),
    lineReg( "getResetReg", isQsfp ),
    lineBit( "getResetBit", isQsfp ),
    flag( "getResetActiveHigh", Need::asserted, isQsfp ),
    lineReg( "setResetReg", isQsfp ),
    lineBit( "setResetBit", isQsfp ),
    flag( "setResetActiveHigh", Need::asserted, isQsfp ),
    lineReg( "getInterruptReg", isQsfp ),
    lineBit( "getInterruptBit", isQsfp ),
    flag( "getInterruptActiveHigh", Need::asserted, isQsfp ),
    lineReg( "getRxLosReg", isSfp ),
    lineBit( "getRxLosBit", isSfp ),
    flag( "getRxLosActiveHigh", Need::asserted, isSfp ),
    flag( "txFaultSupported", Need::optional, isSfp ),
    lineReg( "getTxFaultReg", isSfpWithFault ),
    lineBit( "getTxFaultBit", isSfpWithFault ),
    flag( "getTxFaultActiveHigh", Need::asserted, isSfpWithFault ),
    lineReg( "getTxDisableReg", isSfp ),
    lineBit( "getTxDisableBit", isSfp ),
    flag( "getTxDisableActiveHigh", Need::asserted, isSfp ),
    lineReg( "setTxDisableReg", isSfp ),
    lineBit( "setTxDisableBit", isSfp ),
    flag( "setTxDisableActiveHigh", Need::asserted, isSfp ),
};
constexpr ClassRow xcvrClasses[] = { { DeviceClass::xcvr, xcvr } };

// clang-format off
constexpr DriverRow rows[] = {
    { "Dummy",                {},            {},               "",              false, false, false },
    { "GpioDriver",           {},            {},               "",              false, false, false },
    { "SmbusProxyDriver",     {},            proxyClasses,     "",              false, true,  false },
    { "PCA9548",              {},            {},               "PCA9548",       true,  false, true },
    { "LM75",                 {},            lm75Classes,      "LM75",          true,  true,  true },
    { "VundaTFanCpld",        {},            fanCpldClasses,   "FanCpld",       true,  true,  false },
    { "VundaTSystemLedCPLD",  {},            systemLedClasses, "SystemLedCpld", true,  false, false },
    { "VundaTXcvrLedCPLD",    {},            portLedClasses,   "PortLedCpld",   true,  false, false },
    { "VundaGenericXcvrCPLD", {},            xcvrClasses,      "XcvrCpld",      true,  true,  true },
    { "Pmbus",                pmbusCreation, pmbusClasses,     "PmbusSupply",   true,  false, false },
    { "PsuSlot",              {},            psuSlotClasses,   "",              false, false, false },
};
// clang-format on

void addKeys( std::vector<std::string> &keys, std::span<const Setting> settings ) {
    for ( const Setting &each : settings ) {
        keys.emplace_back( each.key );
    }
}

} // namespace

const DriverRow *findDriver( std::string_view name ) {
    const auto *found = std::find_if( std::begin( rows ), std::end( rows ),
                                      [name]( const DriverRow &row ) { return name == row.name; } );
    return found == std::end( rows ) ? nullptr : found;
}

bool usesOnlyTool( const Arguments &arguments ) {
    const Value *type = arguments.setting( "identificationType" );
    const std::string text = type ? settingText( *type ) : "";
    return text == "ipmitool" || text == "ipmitool_raw";
}

std::vector<std::string> driverNames() {
    std::vector<std::string> names;
    for ( const DriverRow &row : rows ) {
        names.emplace_back( row.name );
    }
    return names;
}

const ClassRow *findClass( const DriverRow &driver, DeviceClass deviceClass ) {
    if ( deviceClass == DeviceClass::gpio ) {
        return &gpioRow;
    }
    for ( const ClassRow &row : driver.classes ) {
        if ( row.deviceClass == deviceClass ) {
            return &row;
        }
    }
    return nullptr;
}

std::string classesOf( const DriverRow &driver ) {
    std::string text;
    for ( const ClassRow &row : driver.classes ) {
        text += std::string( nameOf( row.deviceClass ) ) + ", ";
    }
    return text + nameOf( DeviceClass::gpio );
}

std::vector<std::string> knownSettings( const DriverRow &driver ) {
    std::vector<std::string> keys;
    addKeys( keys, driver.creation );
    addKeys( keys, gpioSettings );
    for ( const ClassRow &row : driver.classes ) {
        addKeys( keys, row.settings );
    }
    std::sort( keys.begin(), keys.end() );
    keys.erase( std::unique( keys.begin(), keys.end() ), keys.end() );
    return keys;
}

} // namespace HostTool::Check
