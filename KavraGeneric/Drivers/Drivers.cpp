#include "KavraGeneric/Drivers/Drivers.h"

#include "KavraGeneric/HostServices.h"

#include <charconv>

namespace Drivers {

namespace {

// Six significant digits, the shorter of fixed and scientific form.
std::string shortForm( double number ) {
    char text[32];
    const auto end =
        std::to_chars( text, text + sizeof text, number, std::chars_format::general, 6 ).ptr;
    return { text, end };
}

std::string wholeText( const rapidjson::Value &value ) {
    return { value.GetString(), value.GetStringLength() };
}

// An integer beyond both 32-bit ranges has no text, like null, arrays and objects: drivers see an
// empty setting and not a number that they would cut short.
std::string settingText( const rapidjson::Value &value ) {
    if ( value.IsInt() ) {
        return std::to_string( value.GetInt() );
    }
    if ( value.IsUint() ) {
        return std::to_string( value.GetUint() );
    }
    if ( value.IsString() ) {
        return wholeText( value );
    }
    if ( value.IsDouble() ) {
        return shortForm( value.GetDouble() );
    }
    if ( value.IsBool() ) {
        return value.GetBool() ? "true" : "false";
    }
    return "";
}

// The order of the steps decides which assertion a broken object meets first.
void fill( DriverArgs &args, const rapidjson::Value &json ) {
    assert( json.IsObject() );
    assert( json.HasMember( "did" ) );
    assert( json.HasMember( "driver" ) );

    args.isMultiDevice = false;
    if ( json.HasMember( "isMultiDevice" ) ) {
        args.isMultiDevice = json["isMultiDevice"].GetBool();
        if ( args.isMultiDevice ) {
            assert( json.HasMember( "multiDeviceArgs" ) );
        }
    }
    if ( !args.isMultiDevice ) {
        assert( json.HasMember( "address" ) );
        Topology::fillAddressFromJSON( json["address"], args.address );
    }
    // A number on purpose: true and false are a type error here.
    args.provideHam = !json.HasMember( "provideHam" ) || json["provideHam"].GetUint() != 0;
    args.uid = json.HasMember( "uid" ) ? json["uid"].GetUint() : DriverArgs::noComponent;
    args.did = json["did"].GetUint();
    if ( !json["driver"].IsNull() ) {
        args.driver = wholeText( json["driver"] );
    }
    if ( json.HasMember( "driverArgs" ) ) {
        for ( const auto &member : json["driverArgs"].GetObject() ) {
            args.driverArgs[wholeText( member.name )] = settingText( member.value );
        }
    }
    if ( args.isMultiDevice ) {
        for ( const auto &member : json["multiDeviceArgs"].GetObject() ) {
            args.multiDeviceArgs[wholeText( member.name )] = wholeText( member.value );
        }
    }
}

} // namespace

bool DriverArgs::parseJSON( const char *text ) {
    rapidjson::Document document;
    document.Parse( text );
    if ( document.HasParseError() ) {
        pl_trace( 0, "failed to load device from json: %s offset %zd",
                  rapidjson::GetParseError_En( document.GetParseError() ),
                  document.GetErrorOffset() );
        return false;
    }
    json = text;
    parseJSON( static_cast<const rapidjson::Value &>( document ) );
    return true;
}

void DriverArgs::parseJSON( const rapidjson::Value &value ) {
    fill( *this, value );
}

std::shared_ptr<DriverArgs> DriverArgs::fromJSON( const rapidjson::Value &value ) {
    auto args = std::make_shared<DriverArgs>();
    args->parseJSON( value );
    return args;
}

} // namespace Drivers
