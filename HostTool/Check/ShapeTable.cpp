#include "HostTool/Check/ShapeTable.h"

#include <algorithm>
#include <array>

namespace HostTool::Check {

namespace {

/// The name that the object has under a key, when it is one of those; else the other one.
template <size_t count>
const char *named( const Value &value, std::string_view key,
                   const std::array<const char *, count> &names, const char *otherwise ) {
    const std::string_view name = textIn( value, key ).value_or( "" );
    const auto found = std::find( names.begin(), names.end(), name );
    return found == names.end() ? otherwise : *found;
}

const char *mediumDefinition( const Value &value ) {
    static constexpr std::array types = { "SCD", "I2C",    "IOPort",  "Celestica",
                                          "PLM", "SccSpi", "LinuxFs", "FbDomFpga" };
    return named( value, "type", types, "medium" );
}

bool isMultiple( const Value &value ) {
    const Value *flag = member( value, "isMultiDevice" );
    return flag && flag->IsTrue();
}

bool isSingle( const Value &value ) {
    return !isMultiple( value );
}

const char *argumentsDefinition( const Value &value ) {
    return isMultiple( value ) ? "multiple" : "single";
}

// What a system entry brings along is nobody's business.
bool isNoSystem( const Value &value ) {
    return textIn( value, "class" ) != "system";
}

const char *entryDefinition( const Value &value ) {
    static constexpr std::array plain = { "fan", "psu", "slot", "xcvr", "led", "gpio" };
    static constexpr std::array special = { "temp_sensor", "system" };
    if ( textIn( value, "class" ) == "smbus" ) {
        return member( value, "bus" ) ? "smbusOnBus" : "smbus";
    }
    const bool isPlain = *named( value, "class", plain, "" ) != '\0';
    return isPlain ? "plain" : named( value, "class", special, "entry" );
}

const char *devicesDefinition( const Value &value ) {
    return value.IsObject() ? "wrapped" : "entries";
}

const char *chipDefinition( const Value &value ) {
    static constexpr std::array types = { "LM75",        "PCA9548",      "24C02",
                                          "PmbusSupply", "SlotRegister", "FanCpld",
                                          "XcvrCpld",    "QsfpModule",   "SfpModule",
                                          "PortLedCpld", "SystemLedCpld" };
    return named( value, "type", types, "chip" );
}

constexpr ChildRow mediaRows[] = { { "", Node::medium, true, nullptr } };
constexpr ChildRow mediumRows[] = { { "accelerators", Node::accelerator, true, nullptr },
                                    { "devices", Node::device, true, nullptr },
                                    { "muxes", Node::mux, true, nullptr } };
constexpr ChildRow acceleratorRows[] = { { "busses", Node::bus, true, nullptr } };
constexpr ChildRow busRows[] = { { "devices", Node::device, true, nullptr },
                                 { "muxes", Node::mux, true, nullptr } };
constexpr ChildRow deviceRows[] = { { "components", Node::component, true, nullptr } };
constexpr ChildRow argumentsRows[] = { { "address", Node::address, false, isSingle },
                                       { "driverArgs", Node::driverArgs, false, nullptr },
                                       { "multiDeviceArgs", Node::multiDeviceArgs, false,
                                         isMultiple } };
constexpr ChildRow devicesRows[] = { { "", Node::entry, true, nullptr },
                                     { "devices", Node::entry, true, nullptr } };
constexpr ChildRow entryRows[] = { { "arguments", Node::arguments, false, isNoSystem },
                                   { "thresholds", Node::thresholds, false, nullptr } };
constexpr ChildRow emulationRows[] = { { "busses", Node::emulatedBus, true, nullptr } };
constexpr ChildRow emulatedBusRows[] = { { "chips", Node::chip, true, nullptr } };
constexpr ChildRow chipRows[] = { { "channels", Node::channel, true, nullptr },
                                  { "cages", Node::cage, true, nullptr } };

// clang-format off
constexpr NodeRow rows[] = {
    { Node::topology,        "topology",         "",              nullptr,             mediaRows,       false, false },
    { Node::medium,          "topology",         "",              mediumDefinition,    mediumRows,      false, false },
    { Node::accelerator,     "topology",         "accelerator",   nullptr,             acceleratorRows, false, false },
    { Node::bus,             "topology",         "bus",           nullptr,             busRows,         false, false },
    { Node::mux,             "topology",         "mux",           nullptr,             acceleratorRows, false, false },
    { Node::device,          "topology",         "device",        nullptr,             deviceRows,      false, false },
    { Node::component,       "topology",         "component",     nullptr,             {},              false, false },
    { Node::arguments,       "device-arguments", "",              argumentsDefinition, argumentsRows,   false, false },
    { Node::address,         "device-arguments", "address",       nullptr,             {},              false, false },
    { Node::multiDeviceArgs, "device-arguments", "multiDeviceArgs", nullptr,           {},              true,  false },
    { Node::driverArgs,      "device-arguments", "driverArgs",    nullptr,             {},              true,  false },
    { Node::devices,         "devices",          "",              devicesDefinition,   devicesRows,     false, false },
    { Node::entry,           "devices",          "",              entryDefinition,     entryRows,       false, true },
    { Node::thresholds,      "devices",          "thresholds",    nullptr,             {},              false, true },
    { Node::emulation,       "emulation",        "",              nullptr,             emulationRows,   true,  false },
    { Node::emulatedBus,     "emulation",        "bus",           nullptr,             emulatedBusRows, true,  false },
    { Node::chip,            "emulation",        "",              chipDefinition,      chipRows,        true,  false },
    { Node::channel,         "emulation",        "channel",       nullptr,             emulatedBusRows, true,  false },
    { Node::cage,            "emulation",        "cage",          nullptr,             {},              true,  false },
};
// clang-format on

constexpr Node roots[] = { Node::topology, Node::devices, Node::arguments, Node::emulation };

} // namespace

const NodeRow &rowOf( Node node ) {
    return rows[static_cast<size_t>( node )];
}

Node rootOf( Kind kind ) {
    return roots[static_cast<size_t>( kind )];
}

bool hasDriver( const Value &device ) {
    return member( device, "driver" ) != nullptr;
}

} // namespace HostTool::Check
