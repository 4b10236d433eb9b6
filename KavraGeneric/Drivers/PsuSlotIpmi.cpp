// FRU EEPROM after the IPMI Platform Management FRU Information Storage Definition. All offsets are
// eight bits wide and wrap.
//
//     Common header       byte 4: offset of the product info area, in units of 8 bytes
//                         byte 7: makes the sum of the 8 bytes 0
//     Product info area   0 format version, 1 area length, 2 language, from 3 on the fields
//     Field               type/length byte: 7 .. 6 type, 5 .. 0 length; then so many bytes
#include "KavraGeneric/Drivers/PsuSlot.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Drivers/Helpers.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/HostServices.h"

namespace Drivers {

namespace {

constexpr unsigned commonHeaderSize = 8;
constexpr unsigned productAreaByte = 4;
constexpr unsigned areaUnit = 8;
constexpr unsigned firstFieldInArea = 3;

constexpr unsigned lengthMask = 0x3F;
constexpr unsigned typeShift = 6;

enum ProductField { manufacturer, productName, partNumber, version, serialNumber, fieldCount };

constexpr uint8_t wrapped( unsigned offset ) {
    return static_cast<uint8_t>( offset );
}

} // namespace

// An empty field takes no read: one of 0 bytes would be a receive byte.
pl_status PsuSlot::Slot::readIpmiField( uint8_t offset, uint8_t typeLength, std::string &field ) {
    const int type = typeLength >> typeShift;
    const unsigned length = typeLength & lengthMask;
    if ( type != 3 ) {
        pl_trace( 0, "Type code %d (val 0x%02x) at offset %d", type, typeLength, offset );
    }
    assert( type == 3 && "Expected type code 3 (8-bit ASCII)" );
    if ( length == 0 ) {
        field.clear();
        return PL_STATUS_OK;
    }
    const pl_status status =
        device_->access().read( wrapped( offset + 1U ), length, &field, false );
    if ( status != PL_STATUS_OK ) {
        pl_trace( 0, "Error reading product info field" );
    }
    return status;
}

pl_status PsuSlot::Slot::readSerialAndModelIpmi( std::string &serial, std::string &model ) {
    Ham::Ham &ham = device_->access();
    std::string header;
    if ( ham.read( 0, commonHeaderSize, &header, false ) != PL_STATUS_OK ||
         header.size() < commonHeaderSize ) {
        pl_trace( 0, "PsuSlot%hhu: Error reading common header", slotIndex_ );
        return PL_STATUS_IO_ERROR;
    }
    if ( !zeroChecksum( header ) ) {
        pl_trace( 0, "PsuSlot%hhu: Common header checksum error", slotIndex_ );
        if ( !allowInvalidCommonHeaderChecksum_ ) {
            return PL_STATUS_IO_ERROR;
        }
    }
    const auto productArea = static_cast<uint8_t>( header[productAreaByte] );
    uint8_t offset = wrapped( productArea * areaUnit + firstFieldInArea );
    for ( int field = manufacturer; field < fieldCount; ++field ) {
        uint8_t typeLength = 0;
        pl_status status = ham.read8( offset, &typeLength );
        if ( status != PL_STATUS_OK ) {
            pl_trace( 0, "Error reading type/length byte" );
            return status;
        }
        if ( field == productName || field == serialNumber ) {
            status = readIpmiField( offset, typeLength, field == productName ? model : serial );
            if ( status != PL_STATUS_OK ) {
                return status;
            }
        }
        offset = wrapped( offset + 1U + ( typeLength & lengthMask ) );
    }
    model = trim( model ); // the serial number keeps its blanks: hosts know it with them
    return PL_STATUS_OK;
}

} // namespace Drivers
