#include "tests/KavraGeneric/Drivers/PsuSlotFixture.h"

namespace {

using PsuSlotPmbusTest = PsuSlotTest;

TEST_F( PsuSlotPmbusTest, CountsAreReadFirstAndThenTheBlocksWithThem ) {
    add( "pmbus" );
    begin();
    answerBlocks( "MODEL-A", "GTVD1615001656" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( ( Strings{ "50[9a]x1 | 50[9e]x1", "50[9a]x8 | 50[9e]x15" } ), batches() );
    EXPECT_EQ( "<A GTVD1615001656>", fdl );
    EXPECT_FALSE( anyRepeatedStart() );
}

TEST_F( PsuSlotPmbusTest, ModelIsTrimmedAndTheSerialNumberIsNot ) {
    add( "pmbus" );
    answerBlocks( "\t MODEL-A  ", "\t S1 " );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A \t S1 >", fdl );
}

TEST_F( PsuSlotPmbusTest, BlocksMayBeShorterThanTheirCounts ) {
    add( "pmbus" );
    answer( { bytes( 30 ), bytes( 30 ) } );
    answer( { text( "\x1eMODEL-A" ), text( "\x1eS1" ) } );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A S1>", fdl );
}

TEST_F( PsuSlotPmbusTest, BlocksMayBeEmpty ) {
    add( "pmbus" );
    answer( { bytes( 7 ), bytes( 2 ) } );
    answer( { text( "" ), text( "" ) } );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
}

class PsuSlotPmbusChipTest : public PsuSlotChipTest {
  protected:
    /// A block of so many characters, and what follows it on the wire.
    static std::string block( unsigned count, char character ) {
        return static_cast<char>( count ) + std::string( 300, character );
    }

    unsigned modelCount = 0;
    unsigned serialCount = 0;
    ChipHam blocks{ [this]( unsigned reg, unsigned length ) {
        const std::string all = reg == 0x9A ? block( modelCount, 'M' ) : block( serialCount, 'S' );
        return length == 0 ? all.substr( 0, 1 ) : all.substr( 0, length );
    } };
};

// A count of 255 makes a length of 0, which is a receive byte: the count alone, which is dropped.
TEST_F( PsuSlotPmbusChipTest, EveryCountHasItsText ) {
    Drivers::PsuSlot::Slot &slot = makeSlot( "pmbus", blocks );
    for ( modelCount = 0; modelCount < 256; ++modelCount ) {
        for ( serialCount = 0; serialCount < 256; serialCount += 3 ) {
            ASSERT_EQ( PL_STATUS_OK, slot.readSerialAndModelPmbus( serial, model ) );
            ASSERT_EQ( std::string( modelCount % 255, 'M' ), model );
            ASSERT_EQ( std::string( serialCount % 255, 'S' ), serial );
        }
    }
}

TEST_F( PsuSlotPmbusChipTest, EitherBatchMayFail ) {
    int failing = 1;
    ChipHam ham( [&]( unsigned, unsigned ) {
        return --failing == 0 ? std::nullopt
                              : std::optional<std::string>( "\x01"
                                                            "a" );
    } );
    Drivers::PsuSlot::Slot &slot = makeSlot( "pmbus", ham );
    EXPECT_EQ( PL_STATUS_FAILED, slot.readSerialAndModelPmbus( serial, model ) );
    EXPECT_EQ( 1U, ham.batches );
    failing = 3;
    EXPECT_EQ( PL_STATUS_FAILED, slot.readSerialAndModelPmbus( serial, model ) );
    EXPECT_EQ( 3U, ham.batches );
}

} // namespace
