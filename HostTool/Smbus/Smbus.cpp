#include "HostTool/Smbus/Smbus.h"

#include "HostTool/Output/Json.h"
#include "HostTool/Output/Nearest.h"
#include "HostTool/Smbus/SmbusAccess.h"
#include "HostTool/Smbus/SmbusTopology.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <iostream>
#include <string_view>

namespace HostTool {

const char *const smbusHelp =
    R"(BUS is the label of a bus in topology.json, CHIP the chip's address on it, 0x03
to 0x77. The muxes on the way are selected and let go. Numbers are decimal, or
hexadecimal behind 0x.

  quick BUS CHIP [0|1]                    the address and a direction bit alone
  receive BUS CHIP                        read a byte without naming a register
  send BUS CHIP BYTE                      write a byte without naming a register
  read BUS CHIP REG                       read a byte
  write BUS CHIP REG BYTE                 write a byte
  word BUS CHIP REG [WORD]                read or write a word, low byte first
  block BUS CHIP REG [BYTE...]            read or write an SMBus block
  i2cblock BUS CHIP REG LENGTH [BYTE...]  read or write so many bytes
  call BUS CHIP REG WORD                  write a word, read the answer
  scan BUS [FIRST LAST]                   who answers when a byte is received?

Before anything is written, and before a scan, it says what will happen and
asks; -y answers yes. A read may change a chip too. --force allows the reserved
addresses from 0x00 to 0x7f.

Exit code 1 when the access failed.

Examples:
  kavractl smbus scan cpu-bus
  kavractl smbus word cpu-bus 0x4a 0x00
  kavractl smbus write cpu-bus 0x4a 0x01 0x60
  kavractl smbus read cpu-bus 0x4a 1 --json
)";

namespace {

constexpr unsigned firstUsual = 0x03;
constexpr unsigned lastUsual = 0x77;
constexpr unsigned lastPossible = 0x7f;
constexpr const char *scanName = "scan";

[[noreturn]] void refuse( const std::string &text ) {
    throw Failure( ExitCode::badInput, text );
}

unsigned parseNumber( const std::string &text, unsigned limit ) {
    const bool isHex = text.starts_with( "0x" ) || text.starts_with( "0X" );
    const char *begin = text.data() + ( isHex ? 2 : 0 );
    const char *end = text.data() + text.size();
    unsigned number = 0;
    const auto [stop, error] = std::from_chars( begin, end, number, isHex ? 16 : 10 );
    if ( error != std::errc() || stop != end ) {
        refuse( "'" + text + "' is no number; 26 and 0x1a are" );
    }
    if ( number > limit ) {
        refuse( text + " is too large: at most " + std::to_string( limit ) );
    }
    return number;
}

unsigned parseAddress( const std::string &text, bool force ) {
    const unsigned address = parseNumber( text, lastPossible );
    if ( !force && ( address < firstUsual || address > lastUsual ) ) {
        refuse( "chip address " + text +
                " is a reserved one, not of 0x03 to 0x77; --force uses it "
                "all the same" );
    }
    return address;
}

const SmbusOperation &findOperation( const std::string &name ) {
    std::vector<std::string> known = { scanName };
    for ( const SmbusOperation &each : smbusOperations() ) {
        if ( name == each.name ) {
            return each;
        }
        known.emplace_back( each.name );
    }
    refuse( "no smbus operation '" + name + "'; the nearest is '" + nearest( name, known ) +
            "', and kavractl smbus --help has all of them" );
}

SmbusCall parseCall( const SmbusOperation &operation, const Options &options ) {
    constexpr size_t firstNumber = 3; // behind operation, bus and chip
    const std::vector<std::string> &words = options.operands;
    const size_t count = words.size() < firstNumber ? 0 : words.size() - firstNumber;
    if ( words.size() < firstNumber || count < operation.leastNumbers ||
         count > operation.mostNumbers ) {
        refuse( "usage: kavractl smbus " + std::string( operation.name ) + " BUS CHIP" +
                ( *operation.operands ? " " : "" ) + operation.operands );
    }
    SmbusCall call = { words[1], parseAddress( words[2], options.force ), {} };
    for ( size_t i = 0; i < count; ++i ) {
        const size_t place = std::min( i, operation.limits.size() - 1 );
        call.numbers.push_back( parseNumber( words[firstNumber + i], operation.limits[place] ) );
    }
    return call;
}

// The length stands before the bytes, where a register's value would: one is checked by the other.
void checkLength( const SmbusOperation &operation, const SmbusCall &call ) {
    constexpr size_t firstByte = 2;
    if ( std::string_view( operation.name ) != "i2cblock" ) {
        return;
    }
    const size_t bytes = call.numbers.size() - firstByte;
    if ( call.numbers[1] == 0 || ( bytes != 0 && bytes != call.numbers[1] ) ) {
        refuse( "a length of " + std::to_string( call.numbers[1] ) + " and " +
                std::to_string( bytes ) + " bytes do not agree" );
    }
}

void confirm( const std::string &what, const Options &options ) {
    if ( options.yes ) {
        return;
    }
    fprintf( stderr, "%s. Go on? [y/N] ", what.c_str() );
    std::string answer;
    std::getline( std::cin, answer );
    if ( answer != "y" && answer != "Y" && answer != "yes" ) {
        refuse( "nothing was done" );
    }
}

void initialiseFor( Task &task, const std::string &bus, const std::vector<unsigned> &addresses ) {
    Board board = task.board;
    board.topology = topologyWithProxies( task.board, bus, addresses );
    makeSureOfServer( task.options, board );
    initialise( *task.library, "pl_smbus_init", board );
}

void writeStart( JsonWriter &writer, const char *operation, const std::string &bus ) {
    writer.StartObject();
    writer.Key( "operation" );
    writer.String( operation );
    writer.Key( "bus" );
    writeText( writer, bus );
}

std::string asJson( const SmbusOperation &operation, const SmbusCall &call,
                    const SmbusResult &result ) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer( buffer );
    writeStart( writer, operation.name, call.bus );
    writer.Key( "address" );
    writer.Uint( call.address );
    writer.Key( "value" );
    if ( result.value ) {
        writer.Uint( *result.value );
    } else {
        writer.Null();
    }
    writer.Key( "block" );
    if ( result.block ) {
        writer.StartArray();
        for ( const unsigned char byte : *result.block ) {
            writer.Uint( byte );
        }
        writer.EndArray();
    } else {
        writer.Null();
    }
    writer.Key( "status" );
    writeText( writer, nameOf( result.status ) );
    writer.Key( "reason" );
    writeTextOrNull( writer, result.reason );
    writer.EndObject();
    return buffer.GetString() + std::string( "\n" );
}

void printText( const SmbusOperation &operation, const SmbusCall &call,
                const SmbusResult &result ) {
    if ( result.status != PL_STATUS_OK ) {
        fprintf( stderr, "kavractl: %s of %s: %s: %s\n", operation.name, describe( call ).c_str(),
                 nameOf( result.status ).c_str(), result.reason.c_str() );
    } else if ( result.value ) {
        printf( "0x%0*x\n", result.digits, *result.value );
    } else if ( result.block ) {
        const char *separator = "";
        for ( const unsigned char byte : *result.block ) {
            printf( "%s0x%02x", separator, unsigned{ byte } );
            separator = " ";
        }
        printf( "\n" );
    }
}

ExitCode access( Task &task ) {
    const SmbusOperation &operation = findOperation( task.options.operands.front() );
    const SmbusCall call = parseCall( operation, task.options );
    checkLength( operation, call );
    const std::string writes = operation.writes( call );
    topologyWithProxies( task.board, call.bus, {} ); // a wrong bus is told before any question
    if ( !writes.empty() ) {
        confirm( "This will write " + writes + " " + describe( call ), task.options );
    }
    initialiseFor( task, call.bus, { call.address } );
    const SmbusResult result = perform( *task.library, operation, call );
    if ( task.options.json ) {
        fputs( asJson( operation, call, result ).c_str(), stdout );
    } else {
        printText( operation, call, result );
    }
    return result.status == PL_STATUS_OK ? ExitCode::fine : ExitCode::boardTrouble;
}

/// Who answered at the addresses of a bus.
struct Scan {
    struct Failed {
        unsigned address;
        std::string reason;
    };
    std::string bus;
    unsigned first;
    unsigned last;
    std::vector<unsigned> found;
    std::vector<Failed> failed; ///< for another reason than that nobody is there
};

Scan parseScan( const Options &options ) {
    const std::vector<std::string> &words = options.operands;
    Scan scan = {
        {}, options.force ? 0 : firstUsual, options.force ? lastPossible : lastUsual, {}, {}
    };
    if ( words.size() != 2 && words.size() != 4 ) {
        refuse( "usage: kavractl smbus scan BUS [FIRST LAST]" );
    }
    scan.bus = words[1];
    if ( words.size() == 4 ) {
        scan.first = parseAddress( words[2], options.force );
        scan.last = parseAddress( words[3], options.force );
    }
    if ( scan.first > scan.last ) {
        refuse( "the first address is above the last" );
    }
    return scan;
}

// A mux on the way that does not answer is named in place of the chip.
bool nobodyThere( const SmbusResult &result, unsigned address ) {
    std::array<char, 16> chip;
    snprintf( chip.data(), chip.size(), "chip 0x%02x ", address );
    return result.reason.find( chip.data() ) != std::string::npos &&
           result.reason.ends_with( ": no acknowledge" );
}

std::string cellOf( const Scan &scan, unsigned address ) {
    const auto is = [=]( const Scan::Failed &each ) { return each.address == address; };
    if ( address < scan.first || address > scan.last ) {
        return "   ";
    }
    if ( std::count( scan.found.begin(), scan.found.end(), address ) > 0 ) {
        std::array<char, 4> cell;
        snprintf( cell.data(), cell.size(), " %02x", address );
        return cell.data();
    }
    return std::any_of( scan.failed.begin(), scan.failed.end(), is ) ? " !!" : " --";
}

void printGrid( const Scan &scan ) {
    constexpr unsigned columns = 16;
    printf( "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f\n" );
    for ( unsigned row = scan.first - scan.first % columns; row <= scan.last; row += columns ) {
        std::string line;
        for ( unsigned address = row; address < row + columns; ++address ) {
            line += cellOf( scan, address );
        }
        line.erase( line.find_last_not_of( ' ' ) + 1 );
        printf( "%02x:%s\n", row, line.c_str() );
    }
    for ( const Scan::Failed &each : scan.failed ) {
        fprintf( stderr, "kavractl: 0x%02x: %s\n", each.address, each.reason.c_str() );
    }
}

void printJson( const Scan &scan ) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer( buffer );
    writeStart( writer, scanName, scan.bus );
    writer.Key( "first" );
    writer.Uint( scan.first );
    writer.Key( "last" );
    writer.Uint( scan.last );
    writer.Key( "found" );
    writer.StartArray();
    for ( const unsigned address : scan.found ) {
        writer.Uint( address );
    }
    writer.EndArray();
    writer.Key( "failed" );
    writer.StartArray();
    for ( const Scan::Failed &each : scan.failed ) {
        writer.StartObject();
        writer.Key( "address" );
        writer.Uint( each.address );
        writer.Key( "reason" );
        writeText( writer, each.reason );
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    printf( "%s\n", buffer.GetString() );
}

ExitCode scanBus( Task &task ) {
    Scan scan = parseScan( task.options );
    std::vector<unsigned> addresses;
    for ( unsigned address = scan.first; address <= scan.last; ++address ) {
        addresses.push_back( address );
    }
    topologyWithProxies( task.board, scan.bus, {} );
    confirm( "This will receive a byte from every chip on bus '" + scan.bus +
                 "', which may disturb some of them",
             task.options );
    initialiseFor( task, scan.bus, addresses );
    const SmbusOperation &receive = findOperation( "receive" );
    for ( const unsigned address : addresses ) {
        const SmbusResult result = perform( *task.library, receive, { scan.bus, address, {} } );
        if ( result.status == PL_STATUS_OK ) {
            scan.found.push_back( address );
        } else if ( !nobodyThere( result, address ) ) {
            scan.failed.push_back( { address, result.reason } );
        }
        // Without a server, nothing that follows can be told either.
        if ( result.status == PL_STATUS_IO_ERROR ) {
            scan.last = address;
            break;
        }
    }
    task.options.json ? printJson( scan ) : printGrid( scan );
    return scan.failed.empty() ? ExitCode::fine : ExitCode::boardTrouble;
}

} // namespace

ExitCode runSmbus( Task &task ) {
    if ( task.options.operands.empty() ) {
        refuse( "smbus needs an operation; kavractl smbus --help lists them" );
    }
    return task.options.operands.front() == scanName ? scanBus( task ) : access( task );
}

} // namespace HostTool
