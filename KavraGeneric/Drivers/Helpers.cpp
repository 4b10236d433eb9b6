#include "KavraGeneric/Drivers/Helpers.h"

#include "KavraGeneric/Components/Gpio.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/HostServices.h"
#include "KavraGeneric/Json.h"
#include "KavraGeneric/Topology/Lookup.h"
#include "KavraGeneric/Topology/Topology.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <memory>
#include <numeric>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <sys/wait.h>

namespace Drivers {

namespace {

// A command that writes without end for its whole time would otherwise fill the host's memory.
constexpr size_t largestOutput = 16 << 20;

constexpr int timeoutExitCode = 124; // of timeout(1), when it ended the command

pl_status statusOf( int waitStatus ) {
    if ( WIFSIGNALED( waitStatus ) ) {
        return PL_STATUS_FAILED;
    }
    switch ( WEXITSTATUS( waitStatus ) ) {
    case 0:
        return PL_STATUS_OK;
    case timeoutExitCode:
        return PL_STATUS_IO_ERROR;
    default:
        return PL_STATUS_FAILED;
    }
}

} // namespace

pl_status runCmd( const char *command, std::string &output, unsigned long seconds ) {
    output.clear();
    const std::string line =
        "timeout " + std::to_string( seconds ) + "s " + ( command ? command : "" );
    std::unique_ptr<FILE, int ( * )( FILE * )> pipe( popen( line.c_str(), "re" ), pclose );
    if ( !pipe ) {
        return PL_STATUS_FAILED;
    }
    char piece[128];
    while ( fgets( piece, sizeof piece, pipe.get() ) ) {
        output.append( piece, std::min( strlen( piece ), largestOutput - output.size() ) );
    }
    return statusOf( pclose( pipe.release() ) );
}

std::string trim( const std::string &text ) {
    constexpr const char *blanks = " \t";
    const size_t first = text.find_first_not_of( blanks );
    if ( first == std::string::npos ) {
        return {};
    }
    return text.substr( first, text.find_last_not_of( blanks ) - first + 1 );
}

bool zeroChecksum( std::string &bytes ) {
    return std::accumulate( bytes.begin(), bytes.end(), uint8_t{ 0 }, []( uint8_t sum, char byte ) {
               return static_cast<uint8_t>( sum + static_cast<uint8_t>( byte ) );
           } ) == 0;
}

Component::HardwareDevice *getHardwareDeviceByLabel( const char *label,
                                                     std::string defaultDriver ) {
    const Topology::Device *device = Topology::getDeviceByLabel( label );
    if ( !device ) {
        pl_trace( 0, "Unable to locate device %s", label );
        assert( device );
    }
    const std::shared_ptr<DriverArgs> &driverArgs = device->driverArgs;
    assert( driverArgs );
    if ( driverArgs->driver.empty() ) {
        driverArgs->driver = std::move( defaultDriver );
    }
    Component::HardwareDevice *dev = Component::HardwareDevice::create( *driverArgs, nullptr );
    assert( dev );
    return dev;
}

Component::LogicalDevice::Gpio *getRegGpioForDevice( Component::HardwareDevice *device,
                                                     uint32_t reg, uint32_t bit ) {
    DriverArgs args;
    args.driverArgs["register"] = std::to_string( reg );
    args.driverArgs["bitpos"] = std::to_string( bit );
    Component::LogicalDevice::Gpio *gpio = device->newGpio( args );
    assert( gpio );
    return gpio;
}

Component::LogicalDevice::Gpio *getRegGpioForDevice( const char *label, uint32_t reg,
                                                     uint32_t bit ) {
    return getRegGpioForDevice( getHardwareDeviceByLabel( label, "Dummy" ), reg, bit );
}

bool insertDriverArg( const char *arguments, char **rewritten, const char *name,
                      const char *value ) {
    rapidjson::Document document;
    document.Parse( arguments );
    if ( document.HasParseError() ) {
        pl_trace( 0, "failed to parse psu devArgs: %s offset %zd",
                  rapidjson::GetParseError_En( document.GetParseError() ),
                  static_cast<ssize_t>( document.GetErrorOffset() ) );
        return false;
    }
    assert( document.HasMember( "driverArgs" ) );
    auto &allocator = document.GetAllocator();
    document["driverArgs"].AddMember( rapidjson::Value( name, allocator ),
                                      rapidjson::Value( value, allocator ), allocator );
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer( buffer );
    if ( !document.Accept( writer ) ) { // the parser lets a few numbers pass as infinite
        pl_trace( 0, "a number of psu devArgs is too large" );
        return false;
    }
    char *text = strdup( buffer.GetString() );
    if ( !text ) {
        pl_trace( 0, "no memory for psu devArgs" );
        return false;
    }
    *rewritten = text;
    return true;
}

} // namespace Drivers
