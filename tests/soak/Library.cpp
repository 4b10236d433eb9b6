#include "tests/soak/Library.h"

#include "tests/soak/VirtualHost.h"
#include "tests/soak/WholeFile.h"

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <cstdlib>
#include <dlfcn.h>
#include <iterator>
#include <set>
#include <stdexcept>

namespace Soak {

Library::Library( const std::string &path, const std::string &boardFolder )
    : handle_( dlopen( path.c_str(), RTLD_NOW ) ),
      topology_( contentOf( boardFolder + "/topology.json" ) ) {
    if ( handle_ == nullptr ) {
        throw std::runtime_error( dlerror() );
    }
    readDevices( boardFolder + "/devices.json" );
}

void Library::readDevices( const std::string &path ) {
    rapidjson::Document document;
    if ( document.Parse( contentOf( path ).c_str() ).HasParseError() || !document.IsArray() ) {
        throw std::runtime_error( path + " is no list of devices" );
    }
    for ( const auto &each : document.GetArray() ) {
        ReadEntry &entry = entries_.emplace_back();
        entry.deviceClass = each["class"].GetString();
        entry.name = each["name"].GetString();
        if ( each.HasMember( "arguments" ) ) {
            rapidjson::StringBuffer text;
            rapidjson::Writer<rapidjson::StringBuffer> writer( text );
            each["arguments"].Accept( writer );
            entry.arguments = text.GetString();
        }
        if ( each.HasMember( "bus" ) ) {
            entry.bus = each["bus"].GetString();
            entry.address =
                static_cast<unsigned>( strtoul( each["address"].GetString(), nullptr, 16 ) );
        }
        if ( each.HasMember( "thresholds" ) ) {
            entry.alert = each["thresholds"]["alert"].GetFloat();
            entry.critical = each["thresholds"]["critical"].GetFloat();
        }
    }
}

template <class Function>
Function *Library::entryPoint( const std::string &name ) {
    void *found = dlsym( handle_, name.c_str() );
    if ( found == nullptr ) {
        throw std::runtime_error( "the library has no " + name );
    }
    return reinterpret_cast<Function *>( found );
}

template <class Record>
void *Library::addAs( const ReadEntry &entry ) {
    return entryPoint<Record *( const char * )>( "pl_" + entry.deviceClass +
                                                 "_add" )( entry.arguments.c_str() );
}

template <>
void *Library::addAs<pl_temp_sensor>( const ReadEntry &entry ) {
    return entryPoint<pl_temp_sensor *( const char *, float, float )>( "pl_temp_sensor_add" )(
        entry.arguments.c_str(), entry.alert, entry.critical );
}

template <>
void *Library::addAs<pl_smbus>( const ReadEntry &entry ) {
    return entryPoint<pl_smbus *( const char *, unsigned )>( "pl_smbus_add" )( entry.bus.c_str(),
                                                                               entry.address );
}

void *Library::add( const ReadEntry &entry ) {
    struct Row {
        std::string_view deviceClass;
        void *( Library::*add )( const ReadEntry &entry );
    };
    static constexpr Row rows[] = {
        { "temp_sensor", &Library::addAs<pl_temp_sensor> },
        { "fan", &Library::addAs<pl_fan> },
        { "slot", &Library::addAs<pl_slot> },
        { "psu", &Library::addAs<pl_psu> },
        { "xcvr", &Library::addAs<pl_xcvr> },
        { "led", &Library::addAs<pl_led> },
        { "gpio", &Library::addAs<pl_gpio> },
        { "smbus", &Library::addAs<pl_smbus> },
        { "system", &Library::addAs<pl_system> },
    };
    const auto *row = std::ranges::find( rows, entry.deviceClass, &Row::deviceClass );
    if ( row == std::end( rows ) ) {
        throw std::runtime_error( "no class " + entry.deviceClass );
    }
    return ( this->*row->add )( entry );
}

std::vector<Library::Added> Library::addAll() {
    std::set<std::string> initialised;
    std::vector<Added> added;
    for ( const ReadEntry &entry : entries_ ) {
        if ( initialised.insert( entry.deviceClass ).second &&
             entryPoint<pl_status( const char * )>( "pl_" + entry.deviceClass + "_init" )(
                 topology_.c_str() ) != PL_STATUS_OK ) {
            throw std::runtime_error(
                entry.deviceClass + " cannot be initialised: " + VirtualHost::get().lastFailure() );
        }
        void *record = add( entry );
        if ( record == nullptr ) {
            throw std::runtime_error( entry.name +
                                      " is refused: " + VirtualHost::get().lastFailure() );
        }
        added.push_back( { entry, record } );
    }
    return added;
}

} // namespace Soak
