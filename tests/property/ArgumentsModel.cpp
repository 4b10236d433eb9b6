#include "tests/property/ArgumentsModel.h"

#include "tests/property/Property.h"

#include <bit>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <sstream>

namespace Property {

namespace {

using Texts = std::map<std::string, std::string>;

std::string linesOf( const char *name, const Texts &texts ) {
    std::string lines;
    for ( const auto &[key, value] : texts ) {
        lines += std::string( name ) + " <" + key + "> = <" + value + ">\n";
    }
    return lines;
}

std::string lines( const std::string &driver, uint32_t uid, uint32_t did, uint64_t address,
                   bool multi, bool provideHam, const Texts &settings, const Texts &parts ) {
    char numbers[128];
    std::snprintf( numbers, sizeof numbers, "uid %" PRIu32 "\ndid %" PRIu32 "\naddress %016" PRIx64,
                   uid, did, address );
    return "driver <" + driver + ">\n" + numbers + ( multi ? "\nmulti" : "" ) +
           ( provideHam ? "\nham\n" : "\n" ) + linesOf( "setting", settings ) +
           linesOf( "part", parts );
}

// At most 15 digits and a power of ten up to 22: every correct reader gives the same number.
std::string drawFraction() {
    std::string digits = std::to_string( drawWord() );
    const unsigned decimals = 1 + drawBelow( 14 );
    while ( digits.size() <= decimals ) {
        digits.insert( 0, "0" );
    }
    digits.insert( digits.size() - decimals, "." );
    if ( drawRarely( 3 ) ) {
        digits += drawBool() ? "e" : "E";
        digits += std::to_string( static_cast<int>( drawBelow( 31 ) ) - 8 );
    }
    return ( drawRarely( 3 ) ? "-" : "" ) + digits;
}

std::string streamed( double number ) {
    std::ostringstream stream;
    stream << number;
    return stream.str();
}

int64_t drawBeyond32Bits() {
    const auto number = int64_t{ 0x1'0000'0000 } + drawWord();
    return drawBool() ? number : -number + 0x7FFF'FFFF;
}

std::string drawKey() {
    constexpr const char *keys[] = { "fanId", "register", "pec", "" };
    return drawRarely( 3 ) ? drawText( 6, true ) : drawFrom( keys );
}

} // namespace

std::string textOf( const Drivers::DriverArgs &arguments ) {
    return lines( arguments.driver, arguments.uid, arguments.did,
                  std::bit_cast<uint64_t>( arguments.address ), arguments.isMultiDevice,
                  arguments.provideHam, arguments.driverArgs, arguments.multiDeviceArgs );
}

uint32_t AddressModel::packed() const {
    return address | bus << 7 | accelerator << 14 | writeNoStopReadCurrent << 21 |
           busTimeout << 22 | addrSize << 25 | extraDelay << 27 | writeDelay << 28 |
           readDelay << 30;
}

DrawnAddress drawAddress( uint32_t address ) {
    DrawnAddress drawn{ Json::object(), {} };
    const struct {
        const char *key;
        uint32_t AddressModel::*field;
        uint32_t mask;
    } codes[] = {
        { "writeDelay", &AddressModel::writeDelay, 3 },
        { "readDelay", &AddressModel::readDelay, 3 },
        { "busTimeout", &AddressModel::busTimeout, 7 },
        { "extraDelay", &AddressModel::extraDelay, 1 },
        { "accel", &AddressModel::accelerator, 0x7F },
    };
    drawn.json.add( "address", Json::number( address ) );
    drawn.meaning.address = address & 0x7F;
    for ( const auto &code : codes ) {
        if ( drawRarely( 3 ) ) {
            const uint32_t number = drawWord();
            drawn.json.add( code.key, Json::number( number ) );
            drawn.meaning.*code.field = number & code.mask;
        }
    }
    if ( drawRarely( 3 ) ) {
        const uint32_t size = 1 + drawBelow( 2 );
        drawn.json.add( "addrSize", Json::number( ( drawWord() & ~3U ) | size ) );
        drawn.meaning.addrSize = size;
    }
    if ( drawRarely( 3 ) ) {
        const bool repeatedStart = drawBool();
        drawn.json.add( "writeNoStopReadCurrent", Json::flag( repeatedStart ) );
        drawn.meaning.writeNoStopReadCurrent = repeatedStart;
    }
    return drawn;
}

Setting drawSetting() {
    switch ( drawBelow( 7 ) ) {
    case 0: {
        const auto number = static_cast<int32_t>( drawWord() );
        return { Json::number( number ), std::to_string( number ) };
    }
    case 1: {
        const uint32_t number = drawWord() | 0x8000'0000U;
        return { Json::number( number ), std::to_string( number ) };
    }
    case 2: {
        const std::string text = drawText( 8, true );
        return { Json::text( text ), text };
    }
    case 3: {
        const std::string text = drawFraction();
        return { Json::literal( text ), streamed( std::strtod( text.c_str(), nullptr ) ) };
    }
    case 4: {
        const bool value = drawBool();
        return { Json::flag( value ), value ? "true" : "false" };
    }
    case 5:
        return { Json::number( drawBeyond32Bits() ), "" };
    default: {
        const Json other = drawJson();
        const bool hasNoText = other.kind == Json::Kind::Array ||
                               other.kind == Json::Kind::Object || other.words == "null";
        return { hasNoText ? other : Json::null(), "" };
    }
    }
}

ArgumentsModel drawArguments( uint32_t did ) {
    Json json = Json::object();
    json.add( "did", Json::number( did ) );

    const std::string driver = drawRarely( 4 ) ? "" : drawText( 8, true );
    json.add( "driver", driver.empty() ? Json::null() : Json::text( driver ) );

    const bool multi = drawRarely( 4 );
    Texts parts;
    if ( multi || drawRarely( 4 ) ) {
        json.add( "isMultiDevice", Json::flag( multi ) );
        Json object = Json::object();
        for ( unsigned i = drawCount( 3 ); i > 0; --i ) {
            const std::string key = drawKey();
            const std::string text = drawText( 8, true );
            object.add( key, Json::text( text ) );
            parts[key] = text;
        }
        json.add( "multiDeviceArgs", object );
    }

    uint64_t word = 0;
    if ( !multi || drawRarely( 4 ) ) {
        const DrawnAddress address = drawAddress( drawWord() );
        json.add( "address", address.json );
        word = multi ? 0 : uint64_t{ address.meaning.packed() } << 32;
    }

    uint32_t provideHam = 1;
    if ( drawRarely( 3 ) ) {
        provideHam = drawBool() ? drawWord() : 0;
        json.add( "provideHam", Json::number( provideHam ) );
    }
    uint32_t uid = 0xFFFF'FFFF;
    if ( drawRarely( 3 ) ) {
        uid = drawWord();
        json.add( "uid", Json::number( uid ) );
    }

    Texts settings;
    if ( !drawRarely( 4 ) ) {
        Json object = Json::object();
        for ( unsigned i = drawBelow( 5 ); i > 0; --i ) {
            const std::string key = drawKey();
            const Setting setting = drawSetting();
            object.add( key, setting.json );
            settings[key] = setting.text;
        }
        json.add( "driverArgs", object );
    }
    return { json, lines( driver, uid, did, word, multi, provideHam != 0, settings,
                          multi ? parts : Texts() ) };
}

} // namespace Property
