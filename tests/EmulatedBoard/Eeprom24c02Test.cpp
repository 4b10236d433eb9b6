#include "EmulatedBoard/Eeprom24c02.h"
#include "tests/EmulatedBoard/ChipOnBus.h"

using namespace EmulatedBoard;

class Eeprom24c02Test : public ChipOnBus<Eeprom24c02, 0x50> {
  protected:
    std::string text( uint8_t offset, size_t count ) {
        std::string in( count, ' ' );
        bus.writeRead( 0x50, { &offset, 1 }, { reinterpret_cast<uint8_t *>( in.data() ), count } );
        return in;
    }
};

TEST_F( Eeprom24c02Test, FieldsMakeAFruInventory ) {
    set( "manufacturer", "ACME" );
    set( "model", "PS-1" );
    EXPECT_EQ( "01 00 00 00 01 00 00 fe", read( 0, 8 ) );
    EXPECT_EQ( "c4 41 43 4d 45 c4 50 53 2d 31", read( 11, 10 ) );
}

TEST_F( Eeprom24c02Test, FieldsMakeATlvInfo ) {
    set( "format", "tlv" );
    set( "model", "PS-1" );
    EXPECT_EQ( std::string( "TlvInfo\0\x01", 9 ), text( 0, 9 ) );
    EXPECT_EQ( std::string( "\x21\x04PS-1\x22\x04PS-1" ), text( 11, 12 ) );
}

TEST_F( Eeprom24c02Test, LongestFieldsFitInEitherFormat ) {
    const std::string longest( 40, 'W' );
    for ( const char *format : { "fru", "tlv" } ) {
        set( "format", format );
        for ( const char *field : { "manufacturer", "model", "revision", "serial" } ) {
            EXPECT_TRUE( set( field, longest ) );
            EXPECT_FALSE( set( field, longest + "W" ) );
        }
        EXPECT_EQ( "ff", read( 255, 1 ) );
    }
    EXPECT_FALSE( set( "format", "FRU" ) );
}

TEST_F( Eeprom24c02Test, ReadGoesOnAndWrapsAtTheEnd ) {
    set( "image", "ff:aa" );
    EXPECT_EQ( "aa 01 00", read( 255, 3 ) );
    std::vector<uint8_t> next( 2 );
    bus.read( 0x50, next );
    EXPECT_EQ( "00 00", hexOf( next ) );
}

TEST_F( Eeprom24c02Test, WriteWrapsInItsPage ) {
    write( { 0xee, 1, 2, 3, 4 } );
    EXPECT_EQ( "03 04 ff ff ff ff 01 02 ff", read( 0xe8, 9 ) );
}

TEST_F( Eeprom24c02Test, BytesCanBePutAnywhere ) {
    EXPECT_TRUE( set( "image", "0102" ) );
    EXPECT_TRUE( set( "image", "fe:A0b1" ) );
    EXPECT_EQ( "01 02", read( 0, 2 ) );
    EXPECT_EQ( "a0 b1", read( 0xfe, 2 ) );
    EXPECT_EQ( 512u, get( "image" ).size() );
}

TEST_F( Eeprom24c02Test, BytesThatAreNoneOrDoNotFitChangeNothing ) {
    const std::string before = get( "image" );
    for ( const char *wrong : { "", "1", "0g", "ff:0102", "100:00", ":00", "00:", "-1:00", "0x01",
                                "00 01", "1:2:3" } ) {
        EXPECT_FALSE( set( "image", wrong ) ) << wrong;
    }
    EXPECT_FALSE( set( "image", std::string( 514, '0' ) ) );
    EXPECT_EQ( before, get( "image" ) );
}

TEST_F( Eeprom24c02Test, FieldThatIsSetMakesTheImageAnew ) {
    const std::string before = get( "image" );
    set( "image", "00:55" );
    set( "serial", get( "serial" ) );
    EXPECT_EQ( before, get( "image" ) );
}

TEST_F( Eeprom24c02Test, BytesOutliveThePower ) {
    write( { 0x80, 0x42 } );
    set( "present", "0" );
    EXPECT_EQ( "no acknowledge", read( 0x80, 1 ) );
    set( "present", "1" );
    EXPECT_EQ( "42", read( 0x80, 1 ) );
}
