#include "SmbusServer/Operation.h"

namespace SmbusServer {

struct Field {
    unsigned lowestBit;
    unsigned width;
};
constexpr Field registerField = { 0, 32 };
constexpr Field chipField = { 32, 7 };
constexpr Field busField = { 39, 7 };
constexpr Field acceleratorField = { 46, 7 };
constexpr Field registerWidthField = { 57, 2 };

static uint32_t extract( uint64_t word, Field field ) {
    return static_cast<uint32_t>( word >> field.lowestBit & ( ( 1ULL << field.width ) - 1 ) );
}

Operation decode( const Smbus::Request &request ) {
    const uint64_t word = request.address();
    const uint32_t width = extract( word, registerWidthField );
    return {
        .bus = { .master = request.mastertype(),
                 .pci = request.pci(),
                 .accelerator = static_cast<uint8_t>( extract( word, acceleratorField ) ),
                 .bus = static_cast<uint8_t>( extract( word, busField ) ) },
        .chip = static_cast<uint8_t>( extract( word, chipField ) ),
        .reg = extract( word, registerField ),
        .registerWidth = static_cast<uint8_t>( width == 0 ? 1 : width ),
        .type = request.type(),
        .length = request.length(),
        .data = request.data(),
        .pec = request.flag(),
    };
}

static uint64_t placed( uint64_t value, Field field ) {
    return value << field.lowestBit;
}

Smbus::Request encode( const Operation &operation ) {
    Smbus::Request request;
    request.set_address( placed( operation.reg, registerField ) |
                         placed( operation.chip, chipField ) |
                         placed( operation.bus.bus, busField ) |
                         placed( operation.bus.accelerator, acceleratorField ) |
                         placed( operation.registerWidth, registerWidthField ) );
    request.set_type( operation.type );
    request.set_length( operation.length );
    request.set_flag( operation.pec );
    request.set_pci( operation.bus.pci );
    request.set_mastertype( operation.bus.master );
    if ( !operation.data.empty() ) {
        request.set_data( std::string( operation.data ) );
    }
    return request;
}

} // namespace SmbusServer
