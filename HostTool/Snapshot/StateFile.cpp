#include "HostTool/Snapshot/StateFile.h"

#include "HostTool/Board/JsonFile.h"
#include "HostTool/Failure.h"
#include "HostTool/Host/HostServices.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <set>

namespace HostTool::Snapshot {

namespace {

constexpr const char *formatKey = "snapshot";

[[noreturn]] void refuseAt( const JsonFile &file, Spot spot, const std::string &text ) {
    const Place place = file.placeOf( spot );
    throw Failure( ExitCode::badInput, file.path() + ":" + std::to_string( place.line ) + ":" +
                                           std::to_string( place.column ) + ": " +
                                           printable( text ) );
}

/// A value of the file, and the keys that lead to it.
class Node {
  public:
    Node( const JsonFile &file, const rapidjson::Value &value, std::string path )
        : file_( file ), value_( value ), path_( std::move( path ) ) {}

    [[noreturn]] void refuse( const std::string &text ) const {
        refuseAt( file_, at( value_ ), path_.empty() ? text : path_ + ": " + text );
    }

    Node operator[]( const char *key ) const {
        requireObject();
        const auto member = value_.FindMember( key );
        if ( member == value_.MemberEnd() ) {
            refuse( std::string( "\"" ) + key + "\" is missing" );
        }
        return below( key, member->value );
    }

    /// Calls back with key and node of each member.
    template <class Callback>
    void forEach( const Callback &callback ) const {
        requireObject();
        std::set<std::string> seen;
        for ( const auto &member : value_.GetObject() ) {
            const std::string key( member.name.GetString(), member.name.GetStringLength() );
            if ( !seen.insert( key ).second ) {
                refuseAt( file_, atKeyOf( member.value ),
                          path_ + ": \"" + key +
                              "\" is given "
                              "twice" );
            }
            callback( key, below( key, member.value ) );
        }
    }

    bool isObject() const { return value_.IsObject(); }
    bool isNull() const { return value_.IsNull(); }
    std::string text() const {
        require( value_.IsString(), "a text" );
        return { value_.GetString(), value_.GetStringLength() };
    }
    std::string textOrNull() const {
        require( value_.IsString() || value_.IsNull(), "a text or null" );
        return value_.IsNull() ? "" : text();
    }
    bool truth() const {
        require( value_.IsBool(), "true or false" );
        return value_.GetBool();
    }
    double number() const {
        require( value_.IsNumber(), "a number" );
        return value_.GetDouble();
    }
    std::optional<unsigned> unsignedOrNull() const {
        require( value_.IsUint() || value_.IsNull(), "a whole number or null" );
        return value_.IsNull() ? std::nullopt : std::optional( value_.GetUint() );
    }
    std::optional<double> ageOrNull() const {
        require( value_.IsNull() || ( value_.IsNumber() && value_.GetDouble() >= 0 ),
                 "a number that is not negative, or null" );
        return value_.IsNull() ? std::nullopt : std::optional( value_.GetDouble() );
    }
    Record::Value value() const {
        require( !value_.IsObject() && !value_.IsArray(), "a number, a text, true, false or null" );
        if ( value_.IsNull() ) {
            return {};
        }
        if ( value_.IsBool() ) {
            return value_.GetBool();
        }
        return value_.IsString() ? Record::Value( text() ) : Record::Value( value_.GetDouble() );
    }
    /// One of the things that have names.
    template <class Thing, size_t count>
    Thing oneOf( const std::array<Thing, count> &things ) const {
        const std::string name = text();
        std::string names;
        for ( const Thing &each : things ) {
            if ( name == nameOf( each ) ) {
                return each;
            }
            names.append( names.empty() ? "" : ", " ).append( nameOf( each ) );
        }
        refuse( "'" + name + "' is none of " + names );
    }

  private:
    Node below( const std::string &key, const rapidjson::Value &value ) const {
        return { file_, value, path_.empty() ? key : path_ + "." + key };
    }
    void require( bool isRight, const char *what ) const {
        if ( !isRight ) {
            refuse( std::string( "must be " ) + what );
        }
    }
    void requireObject() const { require( value_.IsObject(), "an object" ); }

    const JsonFile &file_;
    const rapidjson::Value &value_;
    std::string path_;
};

constexpr std::array freshnesses = { Freshness::fresh, Freshness::old, Freshness::never,
                                     Freshness::failed, Freshness::none };
constexpr std::array states = { State::ok,       State::added, State::absent, State::alert,
                                State::critical, State::bad,   State::failed };

DeviceClass classIn( const Node &node ) {
    std::array<DeviceClass, std::size( classNames )> classes;
    std::transform( std::begin( classNames ), std::end( classNames ), classes.begin(),
                    []( const ClassName &row ) { return row.deviceClass; } );
    return node.oneOf( classes );
}

Records recordsIn( const Node &section ) {
    Records records;
    section.forEach( [&]( const std::string &key, const Node &node ) {
        records.emplace_back( key, Record{ node["value"].value(), node["unit"].textOrNull(),
                                           node["status"].text(), node["reason"].textOrNull(),
                                           node["freshness"].oneOf( freshnesses ),
                                           node["age_s"].ageOrNull() } );
    } );
    return records;
}

DeviceState deviceIn( const std::string &name, const Node &node ) {
    DeviceState device;
    device.name = name;
    device.deviceClass = classIn( node["class"] );
    device.driver = node["driver"].textOrNull();
    device.did = node["did"].unsignedOrNull();
    if ( const Node limits = node["thresholds"]; !limits.isNull() ) {
        device.thresholds = { limits["alert"].number(), limits["critical"].number() };
    }
    device.state = node["state"].oneOf( states );
    device.reason = node["reason"].textOrNull();
    device.identity = recordsIn( node["identity"] );
    device.values = recordsIn( node["values"] );
    device.settings = recordsIn( node["settings"] );
    return device;
}

Origin originIn( const Node &root ) {
    Origin origin;
    origin.tool = root["tool"].text();
    origin.taken = root["taken"].text();
    const Node board = root["board"];
    origin.board = board["name"].text();
    origin.topology = board["topology"].text();
    origin.devices = board["devices"].text();
    origin.isWhole = board["whole"].truth();
    origin.isSimulated = board["simulated"].truth();
    const Node library = root["library"];
    origin.libraryFile = library["file"].text();
    origin.librarySoname = library["soname"].textOrNull();
    const Node server = root["server"];
    origin.serverIsUp = server["up"].truth();
    origin.serverIsDownFor = server["reason"].textOrNull();
    return origin;
}

/// Also where nothing is looked for: of two equal keys one would be taken in silence.
void refuseTwins( const Node &object ) {
    object.forEach( []( const std::string &, const Node &each ) {
        if ( each.isObject() ) {
            refuseTwins( each );
        }
    } );
}

/// What it is comes before everything else: a newer format may have other keys.
void refuseOtherFormats( const JsonFile &file ) {
    const rapidjson::Value &root = file.root();
    if ( !root.IsObject() || !root.HasMember( formatKey ) ) {
        refuseAt( file, at( root ),
                  "this is no snapshot: it has no \"snapshot\"; 'kavractl snapshot' makes one" );
    }
    const rapidjson::Value &format = root[formatKey];
    if ( !format.IsUint() || format.GetUint() == 0 ) {
        refuseAt( file, at( format ), "snapshot: must be the number of the format, 1 or more" );
    }
    if ( format.GetUint() > formatVersion ) {
        const bool saysTool = root.HasMember( "tool" ) && root["tool"].IsString();
        refuseAt( file, at( format ),
                  "snapshot: the format is " + std::to_string( format.GetUint() ) +
                      ( saysTool ? std::string( ", of kavractl " ) + root["tool"].GetString()
                                 : std::string() ) +
                      "; this kavractl " KAVRA_VERSION " reads formats up to " +
                      std::to_string( formatVersion ) );
    }
}

std::string textOfStandardInput() {
    constexpr size_t most = size_t{ 64 } << 20;
    std::string text;
    std::array<char, 16384> piece;
    size_t length = 0;
    while ( text.size() <= most &&
            ( length = fread( piece.data(), 1, piece.size(), stdin ) ) > 0 ) {
        text.append( piece.data(), length );
    }
    if ( ferror( stdin ) ) {
        throw Failure( ExitCode::badInput,
                       std::string( "cannot read standard input: " ) + strerror( errno ) );
    }
    return text;
}

} // namespace

BoardState readState( const std::string &name, const std::string &text ) {
    const JsonFile file( name, text );
    if ( file.flaw() ) {
        refuseAt( file, { nullptr, false, file.flaw()->offset }, file.flaw()->message );
    }
    refuseOtherFormats( file );
    const Node root( file, file.root(), "" );
    refuseTwins( root );
    BoardState board = { originIn( root ), {} };
    root["devices"].forEach( [&]( const std::string &deviceName, const Node &node ) {
        board.devices.push_back( deviceIn( deviceName, node ) );
    } );
    return board;
}

BoardState readStateFile( const std::string &path ) {
    return path == "-" ? readState( "standard input", textOfStandardInput() )
                       : readState( path, JsonFile::textOfFile( path ) );
}

} // namespace HostTool::Snapshot
