#include "tests/KavraGeneric/Drivers/PsuSlotFixture.h"

namespace {

std::string header( unsigned totalLength ) {
    std::string made( "TlvInfo\0\x01", 9 );
    made += static_cast<char>( totalLength >> 8 );
    made += static_cast<char>( totalLength );
    return made;
}

std::string entry( unsigned type, const std::string &value ) {
    return std::string{ static_cast<char>( type ), static_cast<char>( value.size() ) } + value;
}

using PsuSlotTlvTest = PsuSlotTest;

TEST_F( PsuSlotTlvTest, HeaderAndEntriesAreReadInOrder ) {
    add( "tlv" );
    begin();
    answer( { text( header( 24 ) ) } );
    answer( { bytes( 0x21, 4 ) } );
    answer( { bytes( 0x22, 7 ) } );
    answer( { text( "MODEL-A" ) } );
    answer( { bytes( 0x23, 2 ) } );
    answer( { text( "S1" ) } );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A S1>", fdl );
    EXPECT_EQ(
        ( Strings{ "50[00]x11", "50[0b]x2", "50[11]x2", "50[13]x7", "50[1a]x2", "50[1c]x2" } ),
        batches() );
    EXPECT_FALSE( anyRepeatedStart() );
}

TEST_F( PsuSlotTlvTest, HeaderThatCannotBeReadIsNotPresent ) {
    add( "tlv" );
    begin();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    for ( const size_t length : { 0U, 7U, 10U } ) {
        answer( { text( header( 24 ).substr( 0, length ) ) } );
        EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    }
    EXPECT_EQ( 4U, batches().size() );
}

TEST_F( PsuSlotTlvTest, ShortEntryIsNotPresent ) {
    add( "tlv" );
    for ( const char *given : { "", "\x23" } ) {
        answer( { text( header( 24 ) ) } );
        answer( { text( given ) } );
        EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    }
}

TEST_F( PsuSlotTlvTest, ValueThatCannotBeReadIsPassedOver ) {
    add( "tlv" );
    begin();
    answer( { text( header( 20 ) ) } );
    answer( { bytes( 0x23, 2 ) } );
    answerFailed( "" );
    answer( { bytes( 0x22, 7 ) } );
    answer( { text( "MODEL-A" ) } );
    answer( { bytes( 0x23, 2 ) } );
    answer( { text( "S2" ) } );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A S2>", fdl );
}

TEST_F( PsuSlotTlvTest, EachAttemptReadsTheEepromAnew ) {
    add( "tlv" );
    begin();
    for ( const char *model : { "MODEL-1", "MODEL-2", "MODEL-A" } ) {
        answer( { text( header( 13 ) ) } );
        answer( { bytes( 0x22, 7 ) } );
        answer( { text( model ) } );
        answer( { bytes( 0x23, 2 ) } );
        answer( { text( "S1" ) } );
    }
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A S1>", fdl );
    EXPECT_EQ( 15U, batches().size() );
}

using PsuSlotTlvDeathTest = PsuSlotTlvTest;

TEST_F( PsuSlotTlvDeathTest, HeaderThatIsNoneStops ) {
    const struct {
        size_t place;
        const char *text;
    } rows[] = {
        { 0, "Assertion `header.substr\\( 0, 7 \\) == \"TlvInfo\"' failed" },
        { 6, "Assertion `header.substr\\( 0, 7 \\) == \"TlvInfo\"' failed" },
        { 7, "Assertion `header\\[ 7 \\] == '\\\\0'' failed" },
        { 8, "Assertion `header\\[ 8 \\] == '\\\\x01'' failed" },
    };
    for ( const auto &row : rows ) {
        EXPECT_DEATH(
            {
                add( "tlv" );
                std::string bad = header( 24 );
                bad[row.place] = 2;
                answer( { text( bad ) } );
                presence();
            },
            row.text );
    }
}

TEST_F( PsuSlotTlvDeathTest, EntryThatCannotBeReadStops ) {
    EXPECT_DEATH(
        {
            add( "tlv" );
            answer( { text( header( 24 ) ) } );
            answerFailed( "" );
            presence();
        },
        "Assertion `res == PL_STATUS_OK' failed" );
}

class PsuSlotTlvChipTest : public PsuSlotChipTest {
  protected:
    pl_status read() {
        serial = model = "";
        chip.reads = 0;
        return slot->readSerialAndModelTlv( serial, model );
    }

    Drivers::PsuSlot::Slot *slot = &makeSlot( "tlv", chip );
};

TEST_F( PsuSlotTlvChipTest, OrderOfTheEntriesDoesNotMatter ) {
    for ( const std::string &entries :
          { entry( 0x22, "M" ) + entry( 0x23, "S" ), entry( 0x23, "S" ) + entry( 0x22, "M" ) } ) {
        image = header( 6 ) + entries;
        EXPECT_EQ( PL_STATUS_OK, read() );
        EXPECT_EQ( "M", model );
        EXPECT_EQ( "S", serial );
    }
}

TEST_F( PsuSlotTlvChipTest, TextsAreNotTrimmed ) {
    image = header( 10 ) + entry( 0x22, " M " ) + entry( 0x23, " S " );
    EXPECT_EQ( PL_STATUS_OK, read() );
    EXPECT_EQ( " M ", model );
    EXPECT_EQ( " S ", serial );
}

TEST_F( PsuSlotTlvChipTest, LaterEntryOfTheSameTypeReplacesTheEarlierUntilBothAreThere ) {
    image = header( 12 ) + entry( 0x22, "1" ) + entry( 0x22, "2" ) + entry( 0x23, "S" ) +
            entry( 0x22, "3" );
    EXPECT_EQ( PL_STATUS_OK, read() );
    EXPECT_EQ( "2", model );
    EXPECT_EQ( 7U, chip.reads );
}

TEST_F( PsuSlotTlvChipTest, EmptyValueTakesNoReadAndIsEmpty ) {
    image = header( 8 ) + entry( 0x22, "M" ) + entry( 0x22, "" ) + entry( 0x23, "S" );
    rest = '\0';
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, read() );
    EXPECT_EQ( "", model );
    EXPECT_EQ( 6U, chip.reads );
}

TEST_F( PsuSlotTlvChipTest, WalkEndsWithTheTotalLength ) {
    image = header( 3 ) + entry( 0x22, "M" ) + entry( 0x23, "S" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, read() );
    image = header( 4 ) + entry( 0x22, "M" ) + entry( 0x23, "S" ); // begun is walked
    EXPECT_EQ( PL_STATUS_OK, read() );
    image = header( 0 ) + entry( 0x22, "M" ) + entry( 0x23, "S" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, read() );
    EXPECT_EQ( 1U, chip.reads );
}

TEST_F( PsuSlotTlvChipTest, LengthOf0x0190IsWalkedAs0x0090 ) {
    const std::string filler = entry( 0x21, std::string( 0x90 - 2 - 3, '.' ) ); // 3 are left
    image = header( 0x0190 ) + filler + entry( 0x22, "M" ) + entry( 0x23, "S" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, read() );
    image = header( 0x0170 ) + filler + entry( 0x22, "M" ) + entry( 0x23, "S" );
    EXPECT_EQ( PL_STATUS_OK, read() );
}

// Entries of 257 bytes each: the number of reads tells where the walk ended. The 255th of them
// leads to offset 10, and from there two shorter ones lead to 268, which the walk has seen.
TEST_F( PsuSlotTlvChipTest, EveryTotalLengthHasItsWalk ) {
    const std::string longest( 2, '\xFF' );
    ChipHam filled( [&]( unsigned reg, unsigned ) {
        return reg == 0 ? image : reg == 10 ? "\x01\x80" : reg == 140 ? "\x01\x7E" : longest;
    } );
    slot = &makeSlot( "tlv", filled );
    for ( unsigned given = 0; given < 0x10000; ++given ) {
        image = header( given );
        filled.reads = 0;
        ASSERT_EQ( PL_STATUS_NOT_PRESENT, read() );
        const unsigned length = ( given - ( given & 0x80 ? 256U : 0U ) ) & 0xFFFF;
        const unsigned entries = ( length + 256 ) / 257;
        ASSERT_EQ( entries < 255 ? 1 + entries : 1 + 255 + 2, filled.reads ) << given;
    }
}

TEST_F( PsuSlotTlvChipTest, EveryEntryLengthIsSkipped ) {
    for ( unsigned length = 0; length < 256; ++length ) {
        image = header( 0x0300 ) + entry( 0x21, std::string( length, '.' ) ) +
                entry( 0x22, std::string( length, 'M' ) ) + entry( 0x23, "S" );
        ASSERT_EQ( length == 0 ? PL_STATUS_NOT_PRESENT : PL_STATUS_OK, read() );
        ASSERT_EQ( std::string( length, 'M' ), model );
    }
}

// The largest length keeps every 16-bit offset inside: only the offsets themselves end the walk.
TEST_F( PsuSlotTlvChipTest, WalkThatWrapsEndsWhenAnOffsetComesUpAgain ) {
    for ( const char length : { '\0', '\x01', '\x02', '\x7E', '\xFE', '\xFF' } ) {
        rest = length;
        image = header( 0xFF7F ) + std::string( 2, length );
        EXPECT_EQ( PL_STATUS_NOT_PRESENT, read() );
        EXPECT_GE( 0x10001U, chip.reads );
    }
}

} // namespace
