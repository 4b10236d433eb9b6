// EEPROM in the ONIE TlvInfo format.
//
//     Header   0 .. 7 "TlvInfo" and a 0, 8 format version, 9 .. 10 total length of what follows
//     Entry    0 type, 1 length; then so many bytes
#include "KavraGeneric/Drivers/PsuSlot.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Ham/Ham.h"

#include <vector>

namespace Drivers {

namespace {

constexpr unsigned headerSize = 11;
constexpr unsigned entryHeaderSize = 2;
constexpr uint8_t typePartNumber = 0x22;
constexpr uint8_t typeSerialNumber = 0x23;

// Both bytes count as signed: from 0x80 on the lower one makes the length 256 smaller than it says.
uint16_t totalLengthOf( const std::string &header ) {
    const auto high = static_cast<int8_t>( header[9] );
    const auto low = static_cast<int8_t>( header[10] );
    return static_cast<uint16_t>( high * 256 + low );
}

// A value that cannot be read is as good as not there. An empty one takes no read: one of 0 bytes
// would be a receive byte.
void readValue( Ham::Ham &ham, uint16_t offset, uint8_t length, std::string &value ) {
    if ( length == 0 ) {
        value.clear();
    } else {
        ham.read( offset, length, &value, false );
    }
}

} // namespace

pl_status PsuSlot::Slot::readSerialAndModelTlv( std::string &serial, std::string &model ) {
    Ham::Ham &ham = device_->access();
    std::string header;
    if ( ham.read( 0, headerSize, &header, false ) != PL_STATUS_OK || header.size() < headerSize ) {
        return PL_STATUS_NOT_PRESENT;
    }
    ASSERT_TEXT( header.substr( 0, 7 ) == "TlvInfo", "header.substr( 0, 7 ) == \"TlvInfo\"" );
    ASSERT_TEXT( header[7] == '\0', "header[ 7 ] == '\\0'" );
    ASSERT_TEXT( header[8] == '\x01', "header[ 8 ] == '\\x01'" );

    const unsigned end = totalLengthOf( header ) + headerSize;
    std::vector<bool> visited( 0x10000 ); // offsets wrap: without it a walk might go in circles
    uint16_t offset = headerSize;
    while ( ( model.empty() || serial.empty() ) && offset < end && !visited[offset] ) {
        visited[offset] = true;
        std::string entry;
        const pl_status res = ham.read( offset, entryHeaderSize, &entry, false );
        assert( res == PL_STATUS_OK );
        if ( entry.size() < entryHeaderSize ) {
            return PL_STATUS_NOT_PRESENT;
        }
        const auto type = static_cast<uint8_t>( entry[0] );
        const auto length = static_cast<uint8_t>( entry[1] );
        const auto value = static_cast<uint16_t>( offset + entryHeaderSize );
        if ( type == typeSerialNumber ) {
            readValue( ham, value, length, serial );
        } else if ( type == typePartNumber ) {
            readValue( ham, value, length, model );
        }
        offset = static_cast<uint16_t>( value + length );
    }
    return model.empty() || serial.empty() ? PL_STATUS_NOT_PRESENT : PL_STATUS_OK;
}

} // namespace Drivers
