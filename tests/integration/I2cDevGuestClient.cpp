// Sends one batch to the server and prints what it answers, for scripts without a host:
//
//     I2cDevGuestClient MASTER:PCI:ACCELERATOR:BUS REQUEST...
//
// REQUEST: r:CHIP:REGISTER:LENGTH read, w:CHIP:REGISTER:BYTES write, s:CHIP:VALUE send byte,
// b:CHIP:REGISTER block read, B:CHIP:REGISTER:BYTES block write, p:CHIP:REGISTER:BYTES process
// call; a ! at the end asks for a packet error code. Numbers of requests are hexadecimal, but
// LENGTH.
#include "KavraUtil/PLSocket.h"
#include "KavraUtil/Smbus.pb.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

static std::vector<std::string> split( const std::string &text ) {
    std::vector<std::string> parts( 1 );
    for ( const char each : text ) {
        if ( each == ':' ) {
            parts.emplace_back();
        } else if ( each != '!' ) {
            parts.back() += each;
        }
    }
    parts.resize( 4 );
    return parts;
}

static uint64_t number( const std::string &text, int base ) {
    return strtoull( text.c_str(), nullptr, base );
}

static std::string unhex( const std::string &text ) {
    std::string bytes;
    for ( size_t i = 0; i + 1 < text.size(); i += 2 ) {
        bytes += static_cast<char>( number( text.substr( i, 2 ), 16 ) );
    }
    return bytes;
}

static void add( Smbus::TransactionRequest &batch, const std::string &bus,
                 const std::string &text ) {
    const std::vector<std::string> where = split( bus );
    const std::vector<std::string> what = split( text );
    Smbus::MasterType master = Smbus::I2C;
    Smbus::MasterType_Parse( where[0], &master );
    Smbus::Request &request = *batch.add_request();
    request.set_mastertype( master );
    request.set_pci( static_cast<uint32_t>( number( where[1], 10 ) ) );
    request.set_address( number( where[2], 10 ) << 46 | number( where[3], 10 ) << 39 |
                         number( what[1], 16 ) << 32 | number( what[2], 16 ) );
    request.set_flag( text.back() == '!' );
    const std::string data = unhex( what[3] );
    switch ( what[0][0] ) {
    case 'r':
        request.set_type( Smbus::READ );
        request.set_length( static_cast<uint32_t>( number( what[3], 10 ) ) );
        return;
    case 'b':
        request.set_type( Smbus::BLOCK_READ );
        return;
    case 'B':
        request.set_type( Smbus::BLOCK_WRITE );
        break;
    case 'p':
        request.set_type( Smbus::PROCESS_CALL );
        break;
    default:
        request.set_type( Smbus::WRITE );
    }
    request.set_data( data );
    request.set_length( static_cast<uint32_t>( data.size() ) );
}

int main( int argc, char **argv ) {
    Smbus::TransactionRequest batch;
    for ( int i = 2; i < argc; ++i ) {
        add( batch, argv[1], argv[i] );
    }
    PlatformLibrary::PLSocket socket;
    Smbus::TransactionResponse *received = nullptr;
    if ( socket.setup() < 0 || socket.sendRequestWait( &batch, &received ) < 0 ) {
        perror( "no answer" );
        return 1;
    }
    const std::unique_ptr<Smbus::TransactionResponse> response( received );
    if ( response->failed() ) {
        printf( "%s\n", response->error().c_str() );
        return 1;
    }
    std::string line;
    for ( const Smbus::Response &each : response->response() ) {
        line += line.empty() ? "" : " ";
        for ( const char byte : each.data() ) {
            char digits[3];
            snprintf( digits, sizeof digits, "%02x", static_cast<unsigned char>( byte ) );
            line += digits;
        }
    }
    puts( line.c_str() );
    return 0;
}
