// Reads two bytes of the chip 0x48 on bus 0 of the board's first controller and prints them.
#include <KavraUtil/PLSocket.h>
#include <KavraUtil/Smbus.pb.h>

#include <cstdint>
#include <cstdio>
#include <memory>

int main() {
    constexpr std::uint64_t chip = std::uint64_t{ 0x48 } << 32;
    constexpr std::uint64_t oneByteRegister = std::uint64_t{ 1 } << 57;
    Smbus::TransactionRequest batch;
    Smbus::Request &read = *batch.add_request();
    read.set_type( Smbus::READ );
    read.set_address( oneByteRegister | chip );
    read.set_length( 2 );
    read.set_pci( 768 );
    read.set_mastertype( Smbus::SCD );

    PlatformLibrary::PLSocket server;
    Smbus::TransactionResponse *answer = nullptr;
    if ( server.setup() != 0 || server.sendRequestWait( &batch, &answer ) != 0 ) {
        std::perror( "read_register" );
        return 3;
    }
    const std::unique_ptr<Smbus::TransactionResponse> owner( answer );
    if ( answer->failed() ) {
        std::fprintf( stderr, "read_register: %s\n", answer->error().c_str() );
        return 1;
    }
    for ( const unsigned char byte : answer->response( 0 ).data() ) {
        std::printf( "%02x ", static_cast<unsigned>( byte ) );
    }
    std::putchar( '\n' );
    return 0;
}
