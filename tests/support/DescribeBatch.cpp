#include "tests/support/DescribeBatch.h"

#include <iomanip>
#include <sstream>

namespace {

struct Hex {
    uint64_t value;
    friend std::ostream &operator<<( std::ostream &out, Hex hex ) {
        return out << std::hex << std::setw( 2 ) << std::setfill( '0' ) << hex.value << std::dec;
    }
};

std::string hexBytes( const std::string &data ) {
    std::ostringstream out;
    for ( const char byte : data ) {
        out << Hex{ static_cast<unsigned char>( byte ) };
    }
    return out.str();
}

std::string describe( const Smbus::Request &request ) {
    const Hex chip{ request.address() >> 32 & 0x7f };
    const Hex reg{ request.address() & 0xffffffff };
    std::ostringstream out;
    out << chip;
    switch ( request.type() ) {
    case Smbus::READ:
        if ( request.length() == 0 ) {
            out << "[]";
        } else {
            out << '[' << reg << "]x" << request.length();
        }
        break;
    case Smbus::WRITE:
        if ( request.length() == 0 ) {
            out << '=' << reg;
        } else {
            out << '[' << reg << "]=" << hexBytes( request.data() );
        }
        break;
    case Smbus::PROCESS_CALL:
        out << '[' << reg << "]P=" << hexBytes( request.data() );
        break;
    case Smbus::BLOCK_READ:
        out << '[' << reg << "]xB";
        break;
    case Smbus::BLOCK_WRITE:
        out << '[' << reg << "]=B:" << hexBytes( request.data() );
        break;
    }
    return out.str();
}

} // namespace

std::string describe( const Smbus::TransactionRequest &batch ) {
    std::string line;
    for ( const Smbus::Request &request : batch.request() ) {
        line += ( line.empty() ? "" : " | " ) + describe( request );
    }
    return line;
}
