#include "Conformance/Subject.h"

#include "HostTool/Board/EntryArguments.h"

#include <algorithm>
#include <dlfcn.h>
#include <iterator>
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace Conformance {

namespace {

template <class Record>
void *addByText( Subject &subject, const std::string &name, const char *arguments ) {
    return subject.entryPoint<Record *( const char * )>( name )( arguments );
}

void *addSensor( Subject &subject, const std::string &name, const char *arguments, float alert,
                 float critical ) {
    return subject.entryPoint<pl_temp_sensor *( const char *, float, float )>( name )(
        arguments, alert, critical );
}

void *addSmbus( Subject &subject, const std::string &name, const char *argumentsOrBus,
                unsigned address ) {
    return subject.entryPoint<pl_smbus *( const char *, unsigned )>( name )( argumentsOrBus,
                                                                             address );
}

struct ByText {
    DeviceClass deviceClass;
    void *( *add )( Subject &subject, const std::string &name, const char *arguments );
};

// Each entry point gives the record of its own class.
constexpr ByText byText[] = {
    { DeviceClass::fan, addByText<pl_fan> },       { DeviceClass::psu, addByText<pl_psu> },
    { DeviceClass::slot, addByText<pl_slot> },     { DeviceClass::xcvr, addByText<pl_xcvr> },
    { DeviceClass::led, addByText<pl_led> },       { DeviceClass::gpio, addByText<pl_gpio> },
    { DeviceClass::system, addByText<pl_system> },
};

} // namespace

std::string entryPointName( DeviceClass deviceClass, const char *ending ) {
    return std::string( "pl_" ) + HostTool::nameOf( deviceClass ) + ending;
}

std::string loadError( const std::string &path ) {
    return dlopen( path.c_str(), RTLD_NOW ) == nullptr ? dlerror() : "";
}

void *Subject::handle() {
    if ( handle_ == nullptr ) {
        handle_ = dlopen( path_.c_str(), RTLD_NOW );
        require( handle_ != nullptr, handle_ == nullptr ? dlerror() : "" );
    }
    return handle_;
}

void *Subject::symbol( const std::string &name ) {
    return dlsym( handle(), name.c_str() );
}

pl_status Subject::init( DeviceClass deviceClass, const char *topology ) {
    return entryPoint<pl_status( const char * )>( entryPointName( deviceClass, "_init" ) )(
        topology );
}

void Subject::init() {
    const pl_status status = init( DeviceClass::tempSensor, board_.topology.c_str() );
    require( status == PL_STATUS_OK, "pl_temp_sensor_init() with the board's topology: status " +
                                         std::to_string( status ) );
}

void *Subject::add( DeviceClass deviceClass, const char *arguments ) {
    const std::string name = entryPointName( deviceClass, "_add" );
    constexpr float alert = 75;
    constexpr float critical = 80;
    constexpr unsigned address = 0x50;
    if ( deviceClass == DeviceClass::tempSensor ) {
        return addSensor( *this, name, arguments, alert, critical );
    }
    if ( deviceClass == DeviceClass::smbus ) {
        return addSmbus( *this, name, arguments, address );
    }
    const auto *const row =
        std::find_if( std::begin( byText ), std::end( byText ),
                      [&]( const ByText &each ) { return each.deviceClass == deviceClass; } );
    return row->add( *this, name, arguments );
}

void *Subject::add( const Entry &entry ) {
    const std::string name = entryPointName( entry.deviceClass, "_add" );
    if ( entry.thresholds ) {
        return addSensor( *this, name, entry.arguments.c_str(), entry.thresholds->alert,
                          entry.thresholds->critical );
    }
    if ( !entry.bus.empty() ) {
        return addSmbus( *this, name, entry.bus.c_str(), entry.address );
    }
    return add( entry.deviceClass, entry.arguments.c_str() );
}

const char *Subject::keep( std::string text ) {
    return texts_.emplace_back( std::move( text ) ).c_str();
}

const char *Subject::altered( const Entry &entry, const char *key, const std::string &value,
                              bool inner ) {
    rapidjson::Document arguments;
    arguments.Parse( entry.arguments.c_str() );
    if ( inner && !HostTool::driverArgument( entry, key ) ) {
        throw Skipped( entry.name + " has no '" + key + "' among its driver's arguments" );
    }
    rapidjson::Value &object = inner ? arguments["driverArgs"] : arguments;
    object.RemoveMember( key );
    object.AddMember( rapidjson::StringRef( key ),
                      rapidjson::Value( value.c_str(), arguments.GetAllocator() ),
                      arguments.GetAllocator() );
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer( text );
    arguments.Accept( writer );
    return keep( text.GetString() );
}

const std::vector<Device> &Subject::devices() {
    if ( devices_.empty() ) {
        init();
        for ( const Entry &entry : board_.entries ) {
            void *const record = add( entry );
            require( record != nullptr, entry.name + ": the library gives no record" );
            devices_.push_back( { &entry, record } );
        }
    }
    return devices_;
}

std::vector<Device> Subject::devices( DeviceClass deviceClass ) {
    std::vector<Device> found = devices();
    std::erase_if(
        found, [&]( const Device &device ) { return device.entry->deviceClass != deviceClass; } );
    return found;
}

Device Subject::first( DeviceClass deviceClass ) {
    const std::vector<Device> all = devices( deviceClass );
    if ( all.empty() ) {
        throw Skipped( std::string( "the board has no " ) + HostTool::nameOf( deviceClass ) );
    }
    return all.front();
}

const Entry &Subject::firstEntry( DeviceClass deviceClass ) const {
    const auto found =
        std::find_if( board_.entries.begin(), board_.entries.end(), [&]( const Entry &entry ) {
            return entry.deviceClass == deviceClass && !entry.arguments.empty();
        } );
    if ( found == board_.entries.end() ) {
        throw Skipped( std::string( "the board has no " ) + HostTool::nameOf( deviceClass ) );
    }
    return *found;
}

} // namespace Conformance
