// The fan trays: presence, airflow and the description text.
#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/KavraGeneric/Drivers/FailingAllocation.h"
#include "tests/KavraGeneric/Drivers/Vunda/FanFixture.h"

namespace {

class FanSlotTest : public FanTest {
  protected:
    FanSlotTest() { allocationFails = false; }
    ~FanSlotTest() override { allocationFails = false; }

    /// The CPLD's next answer: presence (0 is present) and direction.
    void trays( int absent, int direction ) { answer( { bytes( absent ), bytes( direction ) } ); }

    std::string textOf( int absent, int direction ) {
        trays( absent, direction );
        return presence( PL_STATUS_OK );
    }

    static std::string line( const std::string &text, int number ) {
        size_t start = 0;
        for ( int i = 1; i < number; ++i ) {
            start = text.find( '\n', start ) + 1;
        }
        return text.substr( start, text.find( '\n', start ) - start );
    }
};

TEST_F( FanSlotTest, PresenceIsOneBatchOfTwoReads ) {
    addSlot();
    textOf( 0x00, 0x00 );
    EXPECT_EQ( Strings{ "60[0f]x1 | 60[10]x1" }, batches() );
}

TEST_F( FanSlotTest, TextHasItsFifteenLines ) {
    const char *devArgs = arguments( "VundaTFanCpld", fanId( 2 ) );
    slot = pl_slot_add( devArgs );
    EXPECT_EQ( std::string( "FruFactoryIds: PLDevice\n"
                            "device.group = 'FanTray'\n"
                            "slotId = 2\n"
                            "device.fanTray = ( 'FanTray%d' % slotId, )\n"
                            "fanTray = device.fanTray\n"
                            "fanTray.modelName = 'FAN-1U-1x1C-F'\n"
                            "fanTray.serialNum = 'N/A'\n"
                            "fanTray.slotId = slotId\n"
                            "fan = fanTray.newFan( 'Fan%d' % ( slotId ) )\n"
                            "fan.airflowDirection = 'frontToBackAirflow'\n"
                            "fan.maxRpm = 19750\n"
                            "fan.p = 0\n"
                            "fan.i = 0\n"
                            "fan.libPath = ''\n"
                            "fan.devArgs = '" ) +
                   devArgs + "'\n",
               textOf( 0x00, 0x02 ) );
}

TEST_F( FanSlotTest, EachTrayHasItsBits ) {
    for ( int id = 1; id <= 6; ++id ) {
        const int bit = 1 << ( id - 1 );
        addSlot( id );
        const std::string front = textOf( 0xFF & ~bit, bit );
        EXPECT_EQ( "slotId = " + std::to_string( id ), line( front, 3 ) );
        EXPECT_EQ( "fanTray.modelName = 'FAN-1U-1x1C-F'", line( front, 6 ) );
        const std::string rear = textOf( 0xFF & ~bit, 0xFF & ~bit );
        EXPECT_EQ( "fanTray.modelName = 'FAN-1U-1x1C-R'", line( rear, 6 ) );
        EXPECT_EQ( "fan.airflowDirection = 'backToFrontAirflow'", line( rear, 10 ) );
        trays( bit, 0xFF );
        EXPECT_EQ( "", presence( PL_STATUS_NOT_PRESENT ) );
    }
}

TEST_F( FanSlotTest, AbsentTrayLeavesTheTextAlone ) {
    addSlot();
    char untouchedText;
    char *fdl = &untouchedText;
    trays( 0xFF, 0x00 );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, slot->ops->getPresence( slot, &fdl ) );
    EXPECT_EQ( &untouchedText, fdl );
}

TEST_F( FanSlotTest, FailedPresenceIsPassedOnAndLeavesTheTextAlone ) {
    addSlot();
    answerFailed( "" );
    EXPECT_EQ( "", presence( PL_STATUS_FAILED ) );
    dropReply();
    EXPECT_EQ( "", presence( PL_STATUS_IO_ERROR ) );
}

TEST_F( FanSlotTest, FailedPresenceKeepsBothOutputsOfTheDevice ) {
    addSlot();
    for ( const bool before : { false, true } ) {
        bool present = before;
        bool frontToBack = before;
        answerFailed( "" );
        EXPECT_EQ( PL_STATUS_FAILED, cpld().getFanPresence( 1, present, frontToBack ) );
        EXPECT_EQ( before, present );
        EXPECT_EQ( before, frontToBack );
    }
}

TEST_F( FanSlotTest, RepeatedTextsAreAlikeAndTheCallersEach ) {
    addSlot();
    char *first = nullptr;
    char *second = nullptr;
    trays( 0, 0 );
    slot->ops->getPresence( slot, &first );
    trays( 0, 0 );
    slot->ops->getPresence( slot, &second );
    EXPECT_STREQ( first, second );
    EXPECT_NE( first, second );
    std::free( first );
    std::free( second );
}

// The text is kept: what the arguments say later does not reach it.
TEST_F( FanSlotTest, TextIsMadeAnewForTheOtherAirflowAlone ) {
    static char devArgs[] = R"({ "driver": "VundaTFanCpld", "did": 7,
                                 "address": { "address": 96 }, "driverArgs": { "fanId": 2 } })";
    slot = pl_slot_add( devArgs );
    const std::string front = textOf( 0, 2 );
    devArgs[0] = '<';
    EXPECT_EQ( front, textOf( 0, 2 ) );
    trays( 2, 2 );
    presence( PL_STATUS_NOT_PRESENT ); // another tray of the same airflow
    EXPECT_EQ( front, textOf( 0, 2 ) );
    EXPECT_EQ( "fan.devArgs = '<", line( textOf( 0, 0 ), 15 ).substr( 0, 16 ) );
    EXPECT_EQ( "fan.devArgs = '<", line( textOf( 0, 2 ), 15 ).substr( 0, 16 ) );
    devArgs[0] = '{';
    EXPECT_EQ( "fan.devArgs = '<", line( textOf( 0, 2 ), 15 ).substr( 0, 16 ) );
}

TEST_F( FanSlotTest, TextThatCannotBeMadeKeepsTheOneBefore ) {
    static char devArgs[] = R"({ "driver": "VundaTFanCpld", "did": 7,
                                 "address": { "address": 96 }, "driverArgs": { "fanId": 2 } })";
    slot = pl_slot_add( devArgs );
    const std::string front = textOf( 0, 2 );
    allocationFails = true;
    trays( 0, 0 );
    EXPECT_EQ( "", presence( PL_STATUS_FAILED ) );
    allocationFails = false;
    devArgs[0] = '<';
    EXPECT_EQ( front, textOf( 0, 2 ) );
}

TEST_F( FanSlotTest, CopyThatCannotBeMadeIsAFailure ) {
    addSlot();
    const std::string text = textOf( 0, 2 );
    allocationFails = true;
    trays( 0, 2 );
    EXPECT_EQ( "", presence( PL_STATUS_FAILED ) );
    allocationFails = false;
    EXPECT_EQ( text, textOf( 0, 2 ) );
}

TEST_F( FanSlotTest, SlotIsTracedWithItsNumber ) {
    newSlot( fanId( 5 ) );
    EXPECT_EQ( Strings{ "Creating new VundaTZFanCpld Slot for Fan id 5" }, host().texts( 5 ) );
}

TEST_F( FanSlotTest, SlotWithoutItsNumberIsRefused ) {
    EXPECT_EQ( nullptr, newSlot( R"("id": 1)" ) );
    const Strings texts = host().texts( 0 );
    EXPECT_EQ( ( Strings{ "Error: expected 'fanId' in driverArgs", "newSlot() failed" } ),
               Strings( texts.end() - 2, texts.end() ) );
}

TEST_F( FanSlotTest, SlotNumberCountsModulo256AlsoInTheText ) {
    slot = newSlot( R"("fanId": "258")" );
    EXPECT_EQ( "slotId = 2", line( textOf( 0, 0 ), 3 ) );
}

TEST_F( FanSlotTest, SlotKeepsItsIndexAndTextBehindTheRecord ) {
    const char *devArgs = arguments( "VundaTFanCpld", fanId( 4 ) );
    slot = pl_slot_add( devArgs );
    EXPECT_EQ( 3, Layout::wordAt<uint8_t>( slot, 24 ) );
    const size_t behindMap = 32 + sizeof( std::map<std::string, std::string> );
    EXPECT_EQ( devArgs, Layout::wordAt<const char *>( slot, behindMap ) );
    EXPECT_EQ( &cpld(), Layout::wordAt<const Drivers::VundaTFanCpld *>(
                            slot, behindMap + 8 + sizeof( std::string ) ) );
    EXPECT_EQ( 4, Layout::wordAt<uint8_t>( slot, behindMap + 16 + sizeof( std::string ) ) );
}

TEST_F( FanSlotTest, BoardsTraysAreNamedAfterTheirAirflow ) {
    addSlot();
    EXPECT_EQ( "FAN-1U-1x1C-F", cpld().getFanModelName( true ) );
    EXPECT_EQ( "FAN-1U-1x1C-R", cpld().getFanModelName( false ) );
    EXPECT_EQ( 19750.0F, cpld().getFanMaxRpm() );
    EXPECT_TRUE( cpld().isFrontToBackActiveHigh() );
}

using FanSlotDeathTest = FanSlotTest;

TEST_F( FanSlotDeathTest, SlotBeyondTheSixStops ) {
    for ( const char *id : { "0", "7", "-1", "256", "\"0x1\"" } ) {
        EXPECT_DEATH(
            {
                tellTracesWhenDying();
                newSlot( R"("fanId": )" + std::string( id ) );
            },
            "Assertion `fanId >= 1 && fanId <= 6' failed(.|\n)*"
            "5 Creating new VundaTZFanCpld Slot for Fan id " );
    }
}

} // namespace
