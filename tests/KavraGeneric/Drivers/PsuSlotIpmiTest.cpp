#include "tests/KavraGeneric/Drivers/PsuSlotFixture.h"
#include "tests/support/TestDocuments.h"

namespace {

/// A FRU: common header with the product area at 8, and so many fields. Checksums fit.
std::string fru( const Strings &fields ) {
    std::string area( "\x01\x00\x19", 3 );
    for ( const std::string &field : fields ) {
        area += static_cast<char>( 0xC0 | field.size() ) + field;
    }
    return std::string( "\x01\x00\x00\x00\x01\x00\x00\xFE", 8 ) + area + "\xC1";
}

const Strings fields = { "MAKER", "MODEL-A", "PART", "V1", "S1" };

class PsuSlotIpmiTest : public PsuSlotTest {
  protected:
    /// The reads of a walk over the fields, in order.
    void answerFru( const std::string &image, const Strings &content ) {
        answer( { text( image.substr( 0, 8 ) ) } );
        answerFields( content );
    }

    void answerFields( const Strings &content ) {
        for ( size_t field = 0; field < content.size(); ++field ) {
            answer( { bytes( 0xC0 | content[field].size() ) } );
            if ( field == 1 || field == 4 ) {
                answer( { text( content[field] ) } );
            }
        }
    }
};

TEST_F( PsuSlotIpmiTest, HeaderAndFiveFieldsAreReadInOrder ) {
    add( "ipmi" );
    begin();
    answerFru( fru( fields ), fields );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A S1>", fdl );
    EXPECT_EQ( ( Strings{ "50[00]x8", "50[0b]x1", "50[11]x1", "50[12]x7", "50[19]x1", "50[1e]x1",
                          "50[21]x1", "50[22]x2" } ),
               batches() );
    EXPECT_FALSE( anyRepeatedStart() );
}

TEST_F( PsuSlotIpmiTest, HeaderThatCannotBeReadIsTraced ) {
    for ( const auto &[id, trace] :
          { std::pair( "1", "0 PsuSlot0: Error reading common header" ),
            std::pair( "2", "0 PsuSlot1: Error reading common header" ) } ) {
        addBare( R"("identificationType": "ipmi", "psuId": )" + std::string( id ) );
        begin();
        answerFailed( "" );
        EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
        EXPECT_EQ( Strings{ trace }, newTraces() );
    }
}

TEST_F( PsuSlotIpmiTest, ShortHeaderIsOneThatCannotBeRead ) {
    add( "ipmi" );
    for ( const size_t length : { 0U, 1U, 4U, 7U } ) {
        begin();
        answer( { text( std::string( length, '\0' ) ) } );
        EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
        EXPECT_EQ( Strings{ "0 PsuSlot0: Error reading common header" }, newTraces() );
        EXPECT_EQ( 1U, batches().size() );
    }
}

TEST_F( PsuSlotIpmiTest, BadChecksumIsTracedAndAccepted ) {
    add( "ipmi" );
    begin();
    std::string image = fru( fields );
    image[7] = 'x';
    answerFru( image, fields );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "0 PsuSlot0: Common header checksum error", newTraces().front() );
}

TEST_F( PsuSlotIpmiTest, BadChecksumIsRefusedWhenTheArgumentsSaySo ) {
    add( "ipmi", R"(, "allowInvalidCommonHeaderChecksum": false)" );
    begin();
    std::string image = fru( fields );
    image[7] = 'x';
    answerFru( image, fields );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    EXPECT_EQ( Strings{ "0 PsuSlot0: Common header checksum error" }, newTraces() );
    EXPECT_EQ( 1U, batches().size() );
}

TEST_F( PsuSlotIpmiTest, BadChecksumIsAcceptedByTheWordTrueAlone ) {
    std::string image = fru( fields );
    image[7] = 'x';
    for ( const auto &[value, status] :
          { std::pair( "true", PL_STATUS_OK ), std::pair( "\"true\"", PL_STATUS_OK ),
            std::pair( "1", PL_STATUS_NOT_PRESENT ),
            std::pair( "\"True\"", PL_STATUS_NOT_PRESENT ) } ) {
        add( "ipmi", std::string( R"(, "allowInvalidCommonHeaderChecksum": )" ) + value );
        answer( { text( image.substr( 0, 8 ) ) } );
        if ( status == PL_STATUS_OK ) {
            answerFields( fields );
        }
        EXPECT_EQ( status, presence() ) << value;
    }
}

TEST_F( PsuSlotIpmiTest, SecondSlotsChecksumIsTracedWithItsIndex ) {
    addBare( R"("identificationType": "ipmi", "psuId": 2,
                "allowInvalidCommonHeaderChecksum": false)" );
    begin();
    answer( { text( "12345678" ) } );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    EXPECT_EQ( Strings{ "0 PsuSlot1: Common header checksum error" }, newTraces() );
}

TEST_F( PsuSlotIpmiTest, GoodChecksumIsNotTraced ) {
    add( "ipmi", R"(, "allowInvalidCommonHeaderChecksum": false)" );
    begin();
    answerFru( fru( fields ), fields );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( ( Strings{ "0 PSU serialNum = 'S1'", "0 PSU modelName = 'MODEL-A'" } ),
               newTraces() );
}

TEST_F( PsuSlotIpmiTest, TypeLengthByteThatCannotBeReadIsTraced ) {
    add( "ipmi" );
    begin();
    answer( { text( fru( fields ).substr( 0, 8 ) ) } );
    answer( { bytes( 0xC5 ) } );
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    EXPECT_EQ( Strings{ "0 Error reading type/length byte" }, newTraces() );
}

TEST_F( PsuSlotIpmiTest, FieldThatCannotBeReadIsTraced ) {
    add( "ipmi" );
    begin();
    answer( { text( fru( fields ).substr( 0, 8 ) ) } );
    answer( { bytes( 0xC5 ) } );
    answer( { bytes( 0xC7 ) } );
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    EXPECT_EQ( Strings{ "0 Error reading product info field" }, newTraces() );
}

TEST_F( PsuSlotIpmiTest, FieldsThatAreSkippedMayHaveAnyType ) {
    add( "ipmi" );
    answer( { text( fru( fields ).substr( 0, 8 ) ) } );
    answer( { bytes( 0x05 ) } );
    answer( { bytes( 0xC7 ) } );
    answer( { text( "MODEL-A" ) } );
    answer( { bytes( 0x44 ) } );
    answer( { bytes( 0x82 ) } );
    answer( { bytes( 0xC2 ) } );
    answer( { text( "S1" ) } );
    EXPECT_EQ( PL_STATUS_OK, presence() );
}

using PsuSlotIpmiDeathTest = PsuSlotIpmiTest;

TEST_F( PsuSlotIpmiDeathTest, ModelOfAnotherTypeStops ) {
    EXPECT_DEATH(
        {
            tellTracesWhenDying();
            add( "ipmi" );
            answer( { text( fru( fields ).substr( 0, 8 ) ) } );
            answer( { bytes( 0xC5 ) } );
            answer( { bytes( 0x87 ) } );
            presence();
        },
        "Assertion `type == 3 && \"Expected type code 3 \\(8-bit ASCII\\)\"' failed(.|\n)*"
        "0 Type code 2 \\(val 0x87\\) at offset 17" );
}

TEST_F( PsuSlotIpmiDeathTest, SerialNumberOfAnotherTypeStops ) {
    EXPECT_DEATH(
        {
            tellTracesWhenDying();
            add( "ipmi" );
            answerFru( fru( fields ), { "MAKER", "MODEL-A", "PART", "V1" } );
            answer( { bytes( 0x02 ) } );
            presence();
        },
        "Assertion `type == 3(.|\n)*0 Type code 0 \\(val 0x02\\) at offset 33" );
}

/// A FRU EEPROM of 256 bytes, which wraps.
class PsuSlotIpmiChipTest : public PsuSlotChipTest {
  protected:
    pl_status read() {
        image.resize( 256, '\0' );
        serial = model = "";
        return slot->readSerialAndModelIpmi( serial, model );
    }

    ChipHam fruChip{ [this]( unsigned reg, unsigned length ) {
        EXPECT_GT( 256U, reg );
        std::string content;
        for ( ; length > 0; --length, ++reg ) {
            content += image[reg & 0xFF];
        }
        return content;
    } };
    Drivers::PsuSlot::Slot *slot = &makeSlot( "ipmi", fruChip );
};

TEST_F( PsuSlotIpmiChipTest, RefusedChecksumIsAnIoError ) {
    slot = &makeSlot( "ipmi", fruChip, { { "allowInvalidCommonHeaderChecksum", "false" } } );
    image = fru( fields );
    EXPECT_EQ( PL_STATUS_OK, read() );
    image = fru( fields );
    image[7] = 'x';
    EXPECT_EQ( PL_STATUS_IO_ERROR, read() );
}

TEST_F( PsuSlotIpmiChipTest, ImageOfAnIndependentToolIsReadRight ) {
    image = testFile( "fru/psu.bin" );
    ASSERT_EQ( 256U, image.size() );
    EXPECT_EQ( PL_STATUS_OK, read() );
    EXPECT_EQ( "DPS550AB6A", model );
    EXPECT_EQ( "GTVD1615001656", serial );
}

TEST_F( PsuSlotIpmiChipTest, ModelIsTrimmedAndTheSerialNumberIsNot ) {
    image = fru( { "", "\tMODEL ", "", "", " S1\t" } );
    EXPECT_EQ( PL_STATUS_OK, read() );
    EXPECT_EQ( "MODEL", model );
    EXPECT_EQ( " S1\t", serial );
}

TEST_F( PsuSlotIpmiChipTest, EmptyFieldTakesNoRead ) {
    image = fru( { "", "", "", "", "" } );
    EXPECT_EQ( PL_STATUS_OK, read() );
    EXPECT_EQ( "", model );
    EXPECT_EQ( "", serial );
    EXPECT_EQ( 6U, fruChip.reads );
}

TEST_F( PsuSlotIpmiChipTest, EveryTypeLengthByteOfASkippedFieldMovesTheNext ) {
    for ( const size_t place : { 0U, 2U, 3U } ) {
        for ( unsigned typeLength = 0; typeLength < 256; ++typeLength ) {
            SCOPED_TRACE( typeLength );
            Strings content = { "", "MODEL", "", "", "SERIAL" };
            content[place] = std::string( typeLength & 0x3F, '.' );
            image = fru( content );
            size_t at = 11;
            for ( size_t field = 0; field < place; ++field ) {
                at += 1 + content[field].size();
            }
            image[at] = static_cast<char>( typeLength );
            ASSERT_EQ( PL_STATUS_OK, read() );
            ASSERT_EQ( "MODEL", model );
            ASSERT_EQ( "SERIAL", serial );
        }
    }
}

TEST_F( PsuSlotIpmiChipTest, EveryLengthOfModelAndSerialNumberIsRead ) {
    for ( size_t length = 0; length < 64; ++length ) {
        const std::string content( length, 'x' );
        image = fru( { "A", content, "B", "C", "S" } );
        ASSERT_EQ( PL_STATUS_OK, read() );
        ASSERT_EQ( content, model );
        image = fru( { "A", "M", "B", "C", content } );
        ASSERT_EQ( PL_STATUS_OK, read() );
        ASSERT_EQ( content, serial );
    }
}

// Filler of type 3 keeps the assertion out of the way. The common header is part of the 256 bytes:
// walks that lead through it are left out, because its own bytes have other types.
TEST_F( PsuSlotIpmiChipTest, OffsetsWrapAt256WhereverTheProductAreaIs ) {
    for ( unsigned start = 0; start < 256; ++start ) {
        const unsigned first = start * 8 % 256 + 3;
        image = std::string( 256, '\xC2' );
        image[4] = static_cast<char>( start );
        if ( first == 3 ) {
            continue; // the area lies on the header
        }
        ASSERT_EQ( PL_STATUS_OK, read() ) << start;
        ASSERT_EQ( "\xC2\xC2", model );
        ASSERT_EQ( "\xC2\xC2", serial );
    }
}

TEST_F( PsuSlotIpmiChipTest, WalkBehindTheEndGoesOnAtTheBeginning ) {
    image = std::string( 256, '\xFF' ); // 63 characters a field
    image[4] = '\x18';                  // first field at 0xC3, the second at 0x03, ...
    image[0x03] = '\xC4';               // the model, the area's own offset first
    EXPECT_EQ( PL_STATUS_OK, read() );
    EXPECT_EQ( "\x18\xFF\xFF\xFF", model );
    EXPECT_EQ( std::string( 63, '\xFF' ), serial );
}

TEST_F( PsuSlotIpmiChipTest, FruThatShrinksBetweenReadsIsAFailedReading ) {
    image = testFile( "fru/psu.bin" );
    size_t left = 0;
    ChipHam shrinking( [&]( unsigned reg, unsigned length ) -> std::optional<std::string> {
        if ( left-- == 0 ) {
            return std::nullopt;
        }
        return image.substr( reg, length );
    } );
    Drivers::PsuSlot::Slot &pulled = makeSlot( "ipmi", shrinking );
    for ( size_t good = 0; good < 8; ++good ) {
        left = good;
        serial = model = "";
        EXPECT_EQ( good == 0 ? PL_STATUS_IO_ERROR : PL_STATUS_FAILED,
                   pulled.readSerialAndModelIpmi( serial, model ) );
    }
    left = 8;
    EXPECT_EQ( PL_STATUS_OK, pulled.readSerialAndModelIpmi( serial, model ) );
}

} // namespace
