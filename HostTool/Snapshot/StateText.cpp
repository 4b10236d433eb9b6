#include "HostTool/Snapshot/StateText.h"

#include "HostTool/Snapshot/RecordJson.h"

namespace HostTool::Snapshot {

namespace {

// Board, devices, a device and its sections; what is deeper is one line.
constexpr size_t deepestInLines = 4;

/// The same document with the outer objects in lines.
std::string inLines( const std::string &compact ) {
    std::string text;
    size_t depth = 0;
    bool inText = false;
    const auto newLine = [&] { text.append( "\n" ).append( depth * 2, ' ' ); };
    for ( size_t i = 0; i < compact.size(); ++i ) {
        const char c = compact[i];
        const char before = i == 0 ? '\0' : compact[i - 1];
        if ( !inText && c == '}' && depth-- <= deepestInLines && before != '{' ) {
            newLine();
        }
        text += c;
        if ( inText ) {
            if ( c == '\\' ) {
                text += compact[++i];
            }
            inText = c != '"';
            continue;
        }
        inText = c == '"';
        const bool opens = c == '{' && ++depth <= deepestInLines && compact[i + 1] != '}';
        if ( opens || ( c == ',' && depth <= deepestInLines ) ) {
            newLine();
        } else if ( c == ':' || c == ',' ) {
            text += ' ';
        }
    }
    return text + "\n";
}

class Object {
  public:
    explicit Object( JsonWriter &writer ) : writer_( writer ) { writer_.StartObject(); }
    Object( JsonWriter &writer, const std::string &key ) : writer_( writer ) {
        writeText( writer_, key );
        writer_.StartObject();
    }
    ~Object() { writer_.EndObject(); }
    Object( const Object & ) = delete;
    Object &operator=( const Object & ) = delete;

    void text( const char *key, const std::string &value ) {
        writer_.Key( key );
        writeText( writer_, value );
    }
    void textOrNull( const char *key, const std::string &value ) {
        writer_.Key( key );
        writeTextOrNull( writer_, value );
    }
    void truth( const char *key, bool value ) {
        writer_.Key( key );
        writer_.Bool( value );
    }
    void number( const char *key, double value ) {
        writer_.Key( key );
        writeNumber( writer_, value );
    }
    template <class Number>
    void numberOrNull( const char *key, const std::optional<Number> &value ) {
        if ( value ) {
            number( key, *value );
        } else {
            null( key );
        }
    }
    void null( const char *key ) {
        writer_.Key( key );
        writer_.Null();
    }

  private:
    JsonWriter &writer_;
};

void write( JsonWriter &writer, const char *section, const Records &records ) {
    const Object object( writer, section );
    for ( const auto &[key, record] : records ) {
        Object one( writer, key );
        writer.Key( "value" );
        writeValue( writer, record.value );
        one.textOrNull( "unit", record.unit );
        one.text( "status", record.status );
        one.textOrNull( "reason", record.reason );
        one.text( "freshness", nameOf( record.freshness ) );
        one.numberOrNull( "age_s", record.age );
    }
}

void write( JsonWriter &writer, const DeviceState &device ) {
    Object object( writer, device.name );
    object.text( "class", nameOf( device.deviceClass ) );
    object.textOrNull( "driver", device.driver );
    object.numberOrNull( "did", device.did );
    if ( device.thresholds ) {
        Object thresholds( writer, "thresholds" );
        thresholds.number( "alert", device.thresholds->alert );
        thresholds.number( "critical", device.thresholds->critical );
    } else {
        object.null( "thresholds" );
    }
    object.text( "state", nameOf( device.state ) );
    object.textOrNull( "reason", device.reason );
    write( writer, "identity", device.identity );
    write( writer, "values", device.values );
    write( writer, "settings", device.settings );
}

void write( JsonWriter &writer, const Origin &origin ) {
    {
        Object board( writer, "board" );
        board.text( "name", origin.board );
        board.text( "topology", origin.topology );
        board.text( "devices", origin.devices );
        board.truth( "whole", origin.isWhole );
        board.truth( "simulated", origin.isSimulated );
    }
    {
        Object library( writer, "library" );
        library.text( "file", origin.libraryFile );
        library.textOrNull( "soname", origin.librarySoname );
    }
    Object server( writer, "server" );
    server.truth( "up", origin.serverIsUp );
    server.textOrNull( "reason", origin.serverIsDownFor );
}

} // namespace

std::string textOf( const BoardState &board ) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer( buffer );
    {
        Object root( writer );
        root.number( "snapshot", formatVersion );
        root.text( "tool", board.origin.tool );
        root.text( "taken", board.origin.taken );
        write( writer, board.origin );
        const Object devices( writer, "devices" );
        for ( const DeviceState &device : board.devices ) {
            write( writer, device );
        }
    }
    return inLines( { buffer.GetString(), buffer.GetSize() } );
}

} // namespace HostTool::Snapshot
