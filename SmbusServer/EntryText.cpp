#include "SmbusServer/EntryText.h"

#include "SmbusServer/Operation.h"

#include <array>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <optional>

namespace SmbusServer {

__attribute__( ( format( printf, 1, 2 ) ) ) static std::string text( const char *format, ... ) {
    std::array<char, 128> line;
    va_list arguments;
    va_start( arguments, format );
    vsnprintf( line.data(), line.size(), format, arguments );
    va_end( arguments );
    return line.data();
}

static std::string hex( std::string_view bytes ) {
    std::string digits;
    for ( const char byte : bytes ) {
        digits += text( "%02x", unsigned{ static_cast<uint8_t>( byte ) } );
    }
    return digits;
}

static std::string busText( const BusName &bus ) {
    return text(
        "%s pci 0x%08x accelerator %u bus %u: ", Smbus::MasterType_Name( bus.master ).c_str(),
        bus.pci, unsigned{ bus.accelerator }, unsigned{ bus.bus } );
}

static std::string operationText( const Operation &operation ) {
    const unsigned chip = operation.chip;
    if ( operation.isSendByte() ) {
        return text( "%02x=%02x", chip, operation.reg );
    }
    std::string place = text( "%02x[%02x]", chip, operation.reg );
    switch ( operation.type ) {
    case Smbus::READ:
        return operation.length == 0 ? text( "%02x[]", chip )
                                     : place + text( "x%u", operation.length );
    case Smbus::WRITE:
        return place + "=" + hex( operation.data );
    case Smbus::PROCESS_CALL:
        return place + "P=" + hex( operation.data );
    case Smbus::BLOCK_READ:
        return place + "xB";
    case Smbus::BLOCK_WRITE:
        return place + "=B:" + hex( operation.data );
    }
    return place;
}

// The bus is named where it changes.
static std::string requestText( const Smbus::Request &request, std::optional<BusName> &bus ) {
    const Operation operation = decode( request );
    const std::string name = bus == operation.bus ? std::string() : busText( operation.bus );
    bus = operation.bus;
    return name + operationText( operation );
}

std::string batchText( const Smbus::TransactionRequest &batch ) {
    std::string line;
    std::optional<BusName> bus;
    for ( const Smbus::Request &each : batch.request() ) {
        line += ( line.empty() ? "" : " | " ) + requestText( each, bus );
    }
    return line;
}

static std::string timeText( uint64_t microseconds ) {
    constexpr uint64_t second = 1'000'000;
    const auto seconds = static_cast<time_t>( microseconds / second );
    tm parts = {};
    std::array<char, 64> date;
    gmtime_r( &seconds, &parts ); // cannot fail: 64 bits of microseconds end in the year 586524
    strftime( date.data(), date.size(), "%Y-%m-%d %H:%M:%S", &parts );
    return date.data() + text( ".%06" PRIu64 "Z", microseconds % second );
}

static std::string failuresText( const Recording::Entry &entry, int request ) {
    std::string line;
    for ( const Recording::Failure &each : entry.failure() ) {
        if ( each.request() == static_cast<uint32_t>( request ) ) {
            line += " (" + each.cause() +
                    ( each.times() > 1 ? text( ", %u times", each.times() ) : "" ) + ")";
        }
    }
    return line;
}

static std::string resultText( const Recording::Entry &entry, int index ) {
    const Operation operation = decode( entry.request().request( index ) );
    const bool reads = operation.isRead() || operation.type == Smbus::PROCESS_CALL;
    const bool answered = index < entry.response().response_size();
    return failuresText( entry, index ) +
           ( reads && answered ? " -> " + hex( entry.response().response( index ).data() ) : "" );
}

// A file's text must not make two lines of one, nor reach the terminal as an escape sequence.
static std::string printable( std::string line ) {
    for ( char &each : line ) {
        const auto byte = static_cast<unsigned char>( each );
        each = byte < ' ' || byte == 0x7f ? '?' : each;
    }
    return line;
}

std::string entryText( const Recording::Entry &entry ) {
    std::string line = timeText( entry.time() ) + text( " +%" PRIu64 "us ", entry.duration() );
    std::optional<BusName> bus;
    for ( int i = 0; i < entry.request().request_size(); ++i ) {
        line += ( i == 0 ? "" : " | " ) + requestText( entry.request().request( i ), bus ) +
                resultText( entry, i );
    }
    if ( entry.response().failed() ) {
        line += "; failed: " + ( entry.response().has_error() ? entry.response().error()
                                                              : std::string( "no reason given" ) );
    }
    return printable( line );
}

} // namespace SmbusServer
