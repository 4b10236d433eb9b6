#include "SmbusServer/EntryJson.h"

#include "SmbusServer/Operation.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <string_view>

namespace SmbusServer {

namespace {

using Writer = rapidjson::Writer<rapidjson::StringBuffer>;

// A recording can hold any bytes; a JSON text is UTF-8.
void write( Writer &writer, std::string_view text ) {
    std::string plain( text );
    for ( char &each : plain ) {
        each = static_cast<unsigned char>( each ) < 0x80 ? each : '?';
    }
    writer.String( plain.data(), static_cast<rapidjson::SizeType>( plain.size() ) );
}

void writeHex( Writer &writer, std::string_view bytes ) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for ( const char each : bytes ) {
        const auto byte = static_cast<unsigned char>( each );
        text += digits[byte >> 4];
        text += digits[byte & 0xf];
    }
    write( writer, text );
}

const char *nameOf( const Operation &operation ) {
    switch ( operation.type ) {
    case Smbus::READ:
        return operation.length == 0 ? "receive_byte" : "read";
    case Smbus::WRITE:
        return operation.length == 0 ? "send_byte" : "write";
    case Smbus::PROCESS_CALL:
        return "process_call";
    case Smbus::BLOCK_READ:
        return "block_read";
    case Smbus::BLOCK_WRITE:
        return "block_write";
    }
    return "unknown";
}

void writeBus( Writer &writer, const BusName &bus ) {
    writer.Key( "master" );
    write( writer, Smbus::MasterType_Name( bus.master ) );
    writer.Key( "pci" );
    writer.Uint( bus.pci );
    writer.Key( "accelerator" );
    writer.Uint( bus.accelerator );
    writer.Key( "bus" );
    writer.Uint( bus.bus );
}

// First of the requests that let go of the muxes.
int trailingRun( const Smbus::TransactionRequest &batch ) {
    int first = batch.request_size();
    while ( first > 0 && decode( batch.request( first - 1 ) ).isDeselect() ) {
        --first;
    }
    return first;
}

// A batch that failed has the answers in front of the request that failed. The muxes are let go all
// the same, unless the batch was refused as a whole and nothing was tried.
const char *outcomeOf( const Recording::Entry &entry, int index ) {
    const int answered = entry.response().response_size();
    if ( !entry.response().failed() || index < answered ) {
        return "done";
    }
    if ( index == answered ) {
        return "failed";
    }
    const bool wasTried = answered > 0 || entry.failure_size() > 0;
    return wasTried && index >= trailingRun( entry.request() ) ? "done" : "skipped";
}

void writeFailures( Writer &writer, const Recording::Entry &entry, int index ) {
    writer.Key( "failures" );
    writer.StartArray();
    for ( const Recording::Failure &each : entry.failure() ) {
        if ( each.request() == static_cast<uint32_t>( index ) ) {
            writer.StartObject();
            writer.Key( "cause" );
            write( writer, each.cause() );
            writer.Key( "times" );
            writer.Uint( each.times() );
            writer.EndObject();
        }
    }
    writer.EndArray();
}

void writeRead( Writer &writer, const Recording::Entry &entry, int index,
                const Operation &operation ) {
    writer.Key( "read" );
    const bool reads = operation.isRead() || operation.type == Smbus::PROCESS_CALL;
    if ( reads && index < entry.response().response_size() ) {
        writeHex( writer, entry.response().response( index ).data() );
    } else {
        writer.Null();
    }
}

void writeRequest( Writer &writer, const Recording::Entry &entry, int index ) {
    const Operation operation = decode( entry.request().request( index ) );
    writer.StartObject();
    writeBus( writer, operation.bus );
    writer.Key( "chip" );
    writer.Uint( operation.chip );
    writer.Key( "operation" );
    writer.String( nameOf( operation ) );
    writer.Key( "register" );
    writer.Uint( operation.reg );
    writer.Key( "register_bytes" );
    writer.Uint( operation.registerWidth );
    writer.Key( "length" );
    writer.Uint( operation.length );
    writer.Key( "pec" );
    writer.Bool( operation.pec );
    writer.Key( "written" );
    writeHex( writer, operation.data );
    writeRead( writer, entry, index, operation );
    writer.Key( "outcome" );
    writer.String( outcomeOf( entry, index ) );
    writeFailures( writer, entry, index );
    writer.EndObject();
}

} // namespace

std::string entryJson( const Recording::Entry &entry, size_t offset ) {
    rapidjson::StringBuffer buffer;
    Writer writer( buffer );
    writer.StartObject();
    writer.Key( "offset" );
    writer.Uint64( offset );
    writer.Key( "time_us" );
    writer.Uint64( entry.time() );
    writer.Key( "duration_us" );
    writer.Uint64( entry.duration() );
    writer.Key( "requests" );
    writer.StartArray();
    for ( int i = 0; i < entry.request().request_size(); ++i ) {
        writeRequest( writer, entry, i );
    }
    writer.EndArray();
    writer.Key( "failed" );
    writer.Bool( entry.response().failed() );
    writer.Key( "error" );
    if ( entry.response().has_error() ) {
        write( writer, entry.response().error() );
    } else {
        writer.Null();
    }
    writer.EndObject();
    return buffer.GetString();
}

} // namespace SmbusServer
