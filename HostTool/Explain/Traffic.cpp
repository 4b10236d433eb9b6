#include "HostTool/Explain/Traffic.h"

#include "HostTool/Failure.h"

#include <rapidjson/document.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <iterator>
#include <sstream>

namespace HostTool::Explain {

namespace {

using rapidjson::Value;

struct OperationName {
    Operation operation;
    const char *name;
};
constexpr OperationName operationNames[] = {
    { Operation::receiveByte, "receive_byte" },
    { Operation::sendByte, "send_byte" },
    { Operation::read, "read" },
    { Operation::write, "write" },
    { Operation::processCall, "process_call" },
    { Operation::blockRead, "block_read" },
    { Operation::blockWrite, "block_write" },
};

struct OutcomeName {
    Outcome outcome;
    const char *name;
};
constexpr OutcomeName outcomeNames[] = {
    { Outcome::done, "done" },
    { Outcome::failed, "failed" },
    { Outcome::skipped, "skipped" },
};

[[noreturn]] void refuse( const std::string &what ) {
    throw Failure( ExitCode::unreachable, "kavra-smbusd prints a recording in a form that is not "
                                          "understood (" +
                                              what + "): is it of another version?" );
}

const Value &member( const Value &object, const char *key ) {
    if ( !object.IsObject() || !object.HasMember( key ) ) {
        refuse( std::string( "no \"" ) + key + "\"" );
    }
    return object[key];
}

unsigned number( const Value &object, const char *key ) {
    const Value &value = member( object, key );
    if ( !value.IsUint() ) {
        refuse( std::string( "\"" ) + key + "\"" );
    }
    return value.GetUint();
}

/// Null is an empty text.
std::string text( const Value &object, const char *key ) {
    const Value &value = member( object, key );
    if ( !value.IsString() && !value.IsNull() ) {
        refuse( std::string( "\"" ) + key + "\"" );
    }
    return value.IsNull() ? std::string() : std::string( value.GetString() );
}

const Value &list( const Value &object, const char *key ) {
    const Value &value = member( object, key );
    if ( !value.IsArray() ) {
        refuse( std::string( "\"" ) + key + "\"" );
    }
    return value;
}

std::string bytes( const std::string &digits ) {
    std::string all;
    for ( size_t i = 0; i + 1 < digits.size(); i += 2 ) {
        unsigned byte = 0;
        std::from_chars( digits.data() + i, digits.data() + i + 2, byte, 16 );
        all += static_cast<char>( byte );
    }
    return all;
}

template <class Row, size_t count>
const Row &rowNamed( const Row ( &rows )[count], const std::string &name ) {
    const auto row = std::find_if( std::begin( rows ), std::end( rows ),
                                   [&]( const Row &each ) { return name == each.name; } );
    if ( row == std::end( rows ) ) {
        refuse( "'" + name + "'" );
    }
    return *row;
}

void addFailures( Request &request, const Value &failures ) {
    for ( const Value &each : failures.GetArray() ) {
        const unsigned times = number( each, "times" );
        request.failedAttempts += times;
        request.causes += ( request.causes.empty() ? "" : "; " ) + text( each, "cause" );
        if ( times > 1 ) {
            request.causes += ", " + std::to_string( times ) + " times";
        }
    }
}

Request requestFrom( const Value &value ) {
    Request request = {
        .bus = { text( value, "master" ), number( value, "pci" ), number( value, "accelerator" ),
                 number( value, "bus" ) },
        .chip = number( value, "chip" ),
        .operation = rowNamed( operationNames, text( value, "operation" ) ).operation,
        .reg = number( value, "register" ),
        .registerBytes = number( value, "register_bytes" ),
        .length = number( value, "length" ),
        .pec = member( value, "pec" ).IsTrue(),
        .written = bytes( text( value, "written" ) ),
        .read = bytes( text( value, "read" ) ),
        .outcome = rowNamed( outcomeNames, text( value, "outcome" ) ).outcome,
    };
    addFailures( request, list( value, "failures" ) );
    return request;
}

Transaction transactionFrom( const std::string &line ) {
    rapidjson::Document document;
    document.Parse( line.c_str() );
    if ( document.HasParseError() ) {
        refuse( "no JSON" );
    }
    Transaction transaction;
    if ( !member( document, "offset" ).IsUint64() ) {
        refuse( "\"offset\"" );
    }
    transaction.offset = document["offset"].GetUint64();
    for ( const Value &each : list( document, "requests" ).GetArray() ) {
        transaction.requests.push_back( requestFrom( each ) );
    }
    if ( member( document, "failed" ).IsTrue() ) {
        const std::string error = text( document, "error" );
        transaction.error = error.empty() ? "no reason given" : error;
    }
    return transaction;
}

} // namespace

std::string textOf( const BusName &bus ) {
    std::array<char, 96> line;
    snprintf( line.data(), line.size(), "%.20s pci 0x%08x accelerator %u bus %u",
              bus.master.c_str(), bus.pci, bus.accelerator, bus.bus );
    return line.data();
}

const char *nameOf( Operation operation ) {
    return std::find_if( std::begin( operationNames ), std::end( operationNames ),
                         [=]( const OperationName &each ) { return each.operation == operation; } )
        ->name;
}

const char *nameOf( Outcome outcome ) {
    return std::find_if( std::begin( outcomeNames ), std::end( outcomeNames ),
                         [=]( const OutcomeName &each ) { return each.outcome == outcome; } )
        ->name;
}

bool Request::asksTheSame( const Request &other ) const {
    return bus == other.bus && chip == other.chip && operation == other.operation &&
           reg == other.reg && length == other.length && pec == other.pec;
}

std::vector<Transaction> parseRecording( const std::string &lines ) {
    std::vector<Transaction> transactions;
    std::istringstream stream( lines );
    for ( std::string line; std::getline( stream, line ); ) {
        transactions.push_back( transactionFrom( line ) );
    }
    return transactions;
}

} // namespace HostTool::Explain
