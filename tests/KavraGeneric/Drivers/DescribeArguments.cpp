#include "tests/KavraGeneric/Drivers/DescribeArguments.h"

namespace {

std::string describe( const std::map<std::string, std::string> &settings ) {
    std::string line = "{";
    for ( const auto &[name, value] : settings ) {
        line += ( line.size() > 1 ? " " : "" ) + name + "=\"" + value + "\"";
    }
    return line + "}";
}

} // namespace

std::string describe( const AhamAddress &address ) {
    const struct {
        const char *name;
        uint32_t value;
    } fields[] = {
        { "reg", address.reg },
        { "address", address.address },
        { "bus", address.bus },
        { "accelerator", address.accelerator },
        { "writeNoStopReadCurrent", address.writeNoStopReadCurrent },
        { "busTimeout", address.busTimeout },
        { "addrSize", address.addrSize },
        { "extraDelay", address.extraDelay },
        { "writeDelay", address.writeDelay },
        { "readDelay", address.readDelay },
    };
    std::string line;
    for ( const auto &field : fields ) {
        if ( field.value != 0 ) {
            line += line.empty() ? "" : " ";
            line += field.name + std::string( "=" ) + std::to_string( field.value );
        }
    }
    return line;
}

std::string describe( const Drivers::DriverArgs &arguments ) {
    const bool wholeDevice = arguments.uid == Drivers::DriverArgs::noComponent;
    std::string line = "driver=\"" + arguments.driver + "\" did=" + std::to_string( arguments.did );
    line += " uid=" + ( wholeDevice ? "none" : std::to_string( arguments.uid ) );
    line += " address={" + describe( arguments.address ) + "}";
    line += " driverArgs=" + describe( arguments.driverArgs );
    if ( arguments.isMultiDevice || !arguments.multiDeviceArgs.empty() ) {
        line += arguments.isMultiDevice ? " isMultiDevice" : "";
        line += " multiDeviceArgs=" + describe( arguments.multiDeviceArgs );
    }
    return line + ( arguments.provideHam ? " provideHam" : " noHam" );
}
