#include "HostTool/Board/EntryParser.h"

#include "HostTool/Failure.h"
#include "HostTool/Output/Nearest.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <charconv>
#include <cmath>

namespace HostTool {

namespace {

using rapidjson::Value;

constexpr unsigned highestChipAddress = 0x7f;

const char *typeOf( const Value &value ) {
    constexpr const char *names[] = { "null",     "false",  "true",    "an object",
                                      "an array", "a text", "a number" };
    return names[value.GetType()];
}

std::string compact( const Value &value ) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer( buffer );
    value.Accept( writer );
    return buffer.GetString();
}

/// One entry while it is read: every complaint says where it is and which entry it is about.
class EntryParser {
  public:
    EntryParser( const JsonFile &file, const Value &value, size_t index )
        : file_( file ), value_( value ), called_( "entry " + std::to_string( index + 1 ) ) {}

    Entry parse();

  private:
    [[noreturn]] void refuse( const Value &at, const std::string &text ) const {
        throw Failure( ExitCode::badInput, place( at ) + ": " + called_ + ": " + text );
    }
    std::string place( const Value &at ) const {
        return file_.path() + ":" + std::to_string( file_.lineOf( at ) );
    }
    const Value *find( const char *key ) const {
        const auto member = value_.FindMember( key );
        return member == value_.MemberEnd() ? nullptr : &member->value;
    }
    const Value &need( const char *key ) const;
    std::string needText( const char *key ) const;
    void parseName();
    void parseClass();
    void refuseUnknownKeys( const Value &object, const std::vector<std::string> &known ) const;
    void parseBus();
    unsigned chipAddress() const;
    void parseArguments();
    void parseThresholds();
    float degrees( const Value &thresholds, const char *key ) const;

    const JsonFile &file_;
    const Value &value_;
    std::string called_;
    Entry entry_ = {};
};

const Value &EntryParser::need( const char *key ) const {
    const Value *value = find( key );
    if ( !value ) {
        refuse( value_, "\"" + std::string( key ) + "\" is missing" );
    }
    return *value;
}

std::string EntryParser::needText( const char *key ) const {
    const Value &value = need( key );
    if ( !value.IsString() ) {
        refuse( value, "\"" + std::string( key ) + "\" must be a text, not " + typeOf( value ) );
    }
    return std::string( value.GetString(), value.GetStringLength() );
}

void EntryParser::parseName() {
    entry_.name = needText( "name" );
    const bool isOneWord = std::all_of( entry_.name.begin(), entry_.name.end(),
                                        []( char c ) { return c > ' ' && c <= '~'; } );
    if ( entry_.name.empty() || entry_.name.front() == '-' || !isOneWord ) {
        refuse( need( "name" ), "\"name\" must be one word of printable ASCII that does not start "
                                "with '-'" );
    }
    called_ = "'" + entry_.name + "'";
}

void EntryParser::parseClass() {
    const std::string given = needText( "class" );
    std::vector<std::string> known;
    for ( const ClassName &row : classNames ) {
        known.emplace_back( row.name );
        if ( given == row.name ) {
            entry_.deviceClass = row.deviceClass;
            return;
        }
    }
    refuse( need( "class" ),
            "\"class\" '" + given + "' is none of the nine classes" + didYouMean( given, known ) );
}

void EntryParser::refuseUnknownKeys( const Value &object,
                                     const std::vector<std::string> &known ) const {
    std::vector<std::string> met;
    for ( const auto &member : object.GetObject() ) {
        const std::string key( member.name.GetString(), member.name.GetStringLength() );
        if ( std::find( known.begin(), known.end(), key ) == known.end() ) {
            refuse( member.value, "unknown key \"" + key + "\"" + didYouMean( key, known ) );
        }
        if ( std::find( met.begin(), met.end(), key ) != met.end() ) {
            refuse( member.value, "\"" + key + "\" is given twice" );
        }
        met.push_back( key );
    }
}

unsigned EntryParser::chipAddress() const {
    const Value &value = need( "address" );
    unsigned address = highestChipAddress + 1;
    if ( value.IsUint() ) {
        address = value.GetUint();
    } else if ( value.IsString() ) {
        const std::string_view text( value.GetString(), value.GetStringLength() );
        if ( text.size() > 2 && text.starts_with( "0x" ) ) {
            unsigned digits = 0;
            const auto end = text.data() + text.size();
            const auto result = std::from_chars( text.data() + 2, end, digits, 16 );
            address = result.ptr == end && result.ec == std::errc() ? digits : address;
        }
    }
    if ( address > highestChipAddress ) {
        refuse( value, "\"address\" must be a 7-bit chip address: 0 to 127, or \"0x00\" to "
                       "\"0x7f\"" );
    }
    return address;
}

void EntryParser::parseBus() {
    entry_.bus = needText( "bus" );
    // A text that opens with a brace would be taken for device arguments.
    if ( entry_.bus.empty() || entry_.bus.front() == '{' ||
         entry_.bus.find( '\0' ) != std::string::npos ) {
        refuse( need( "bus" ), "\"bus\" must be the label of a bus" );
    }
    entry_.address = chipAddress();
    entry_.driver = "SmbusProxyDriver";
    refuseUnknownKeys( value_, { "class", "name", "bus", "address" } );
}

void EntryParser::parseArguments() {
    const Value *arguments = find( "arguments" );
    if ( !arguments && entry_.deviceClass == DeviceClass::system ) {
        entry_.arguments = "{}";
        return;
    }
    if ( !arguments && entry_.deviceClass == DeviceClass::smbus ) {
        refuse( value_, "\"arguments\", or \"bus\" and \"address\", are missing" );
    }
    if ( !need( "arguments" ).IsObject() ) {
        refuse( *arguments,
                std::string( "\"arguments\" must be an object, not " ) + typeOf( *arguments ) );
    }
    entry_.arguments = compact( *arguments );
    entry_.settings = settingsIn( *arguments );
    if ( const auto driver = arguments->FindMember( "driver" );
         driver != arguments->MemberEnd() && driver->value.IsString() ) {
        entry_.driver = driver->value.GetString();
    }
    if ( const auto did = arguments->FindMember( "did" );
         did != arguments->MemberEnd() && did->value.IsUint() ) {
        entry_.did = did->value.GetUint();
    }
}

float EntryParser::degrees( const Value &thresholds, const char *key ) const {
    const auto member = thresholds.FindMember( key );
    if ( member == thresholds.MemberEnd() ) {
        refuse( thresholds, "\"thresholds\" lacks \"" + std::string( key ) + "\"" );
    }
    if ( !member->value.IsNumber() ) {
        refuse( member->value, "\"thresholds\": \"" + std::string( key ) +
                                   "\" must be a number of degrees Celsius, not " +
                                   typeOf( member->value ) );
    }
    const double value = member->value.GetDouble();
    if ( !( std::fabs( value ) <= 1000 ) ) {
        refuse( member->value, "\"thresholds\": \"" + std::string( key ) + "\" is no temperature" );
    }
    return static_cast<float>( value );
}

void EntryParser::parseThresholds() {
    const Value &thresholds = need( "thresholds" );
    if ( !thresholds.IsObject() ) {
        refuse( thresholds,
                std::string( "\"thresholds\" must be an object with \"alert\" and \"critical\", "
                             "not " ) +
                    typeOf( thresholds ) );
    }
    refuseUnknownKeys( thresholds, { "alert", "critical" } );
    entry_.thresholds =
        Thresholds{ degrees( thresholds, "alert" ), degrees( thresholds, "critical" ) };
}

Entry EntryParser::parse() {
    if ( !value_.IsObject() ) {
        refuse( value_, std::string( "must be an object, not " ) + typeOf( value_ ) );
    }
    entry_.place = place( value_ );
    parseName();
    parseClass();
    if ( entry_.deviceClass == DeviceClass::smbus && find( "bus" ) ) {
        parseBus();
        return entry_;
    }
    parseArguments();
    std::vector<std::string> known = { "class", "name", "arguments" };
    if ( entry_.deviceClass == DeviceClass::tempSensor ) {
        parseThresholds();
        known.emplace_back( "thresholds" );
    }
    refuseUnknownKeys( value_, known );
    return entry_;
}

const Value &entriesOf( const JsonFile &file ) {
    const Value *entries = &file.root();
    if ( entries->IsObject() ) {
        const auto member = entries->FindMember( "devices" );
        if ( member == entries->MemberEnd() ) {
            throw Failure( ExitCode::badInput, file.path() + ":" +
                                                   std::to_string( file.lineOf( file.root() ) ) +
                                                   ": \"devices\" is missing" );
        }
        entries = &member->value;
    }
    if ( !entries->IsArray() ) {
        throw Failure( ExitCode::badInput,
                       file.path() + ":" + std::to_string( file.lineOf( *entries ) ) +
                           ": the devices must be an array, not " + typeOf( *entries ) );
    }
    return *entries;
}

} // namespace

Settings settingsIn( const Value &arguments ) {
    Settings settings;
    const auto driverArgs = arguments.FindMember( "driverArgs" );
    if ( driverArgs == arguments.MemberEnd() || !driverArgs->value.IsObject() ) {
        return settings;
    }
    for ( const auto &member : driverArgs->value.GetObject() ) {
        if ( member.value.IsInt() ) {
            settings.emplace( member.name.GetString(), std::to_string( member.value.GetInt() ) );
        } else if ( member.value.IsString() ) {
            settings.emplace( member.name.GetString(), member.value.GetString() );
        }
    }
    return settings;
}

std::vector<Entry> parseEntries( const JsonFile &file ) {
    std::vector<Entry> entries;
    for ( const Value &value : entriesOf( file ).GetArray() ) {
        entries.push_back( EntryParser( file, value, entries.size() ).parse() );
    }
    return entries;
}

} // namespace HostTool
