#include "EmulatedBoard/SlotRegister.h"
#include "EmulatedBoard/Eeprom24c02.h"
#include "EmulatedBoard/PmbusSupply.h"
#include "tests/EmulatedBoard/ChipOnBus.h"

using namespace EmulatedBoard;

class SlotRegisterTest : public ChipOnBus<SlotRegister, 0x40> {
  protected:
    static void turn( Chip &other, std::string_view name, std::string_view value ) {
        for ( Knob &each : other.knobs() ) {
            if ( each.name == name ) {
                EXPECT_TRUE( each.set( value ) );
            }
        }
    }

    PmbusSupply first{ 0x58 };
    PmbusSupply second{ 0x59 };
};

TEST_F( SlotRegisterTest, SlotWithoutASupplyIsEmptyAndNotGood ) {
    EXPECT_EQ( "0f", read( 8, 1 ) );
    chip->watch( first );
    EXPECT_EQ( "05", read( 8, 1 ) );
    chip->watch( second );
    EXPECT_EQ( "00", read( 8, 1 ) );
}

TEST_F( SlotRegisterTest, FollowsTheSupplies ) {
    chip->watch( first );
    chip->watch( second );
    turn( first, "present", "0" );
    EXPECT_EQ( "0a", read( 8, 1 ) );
    turn( first, "present", "1" );
    turn( second, "present", "0" );
    EXPECT_EQ( "05", read( 8, 1 ) );
    EXPECT_EQ( "0x05", get( "status" ) );
}

TEST_F( SlotRegisterTest, SupplyWithoutOutputIsThereAndNotGood ) {
    chip->watch( first );
    chip->watch( second );
    turn( first, "output_off", "1" );
    EXPECT_EQ( "08", read( 8, 1 ) );
    turn( second, "input_voltage", "0" );
    EXPECT_EQ( "0c", read( 8, 1 ) );
}

TEST_F( SlotRegisterTest, CannotBeWrittenAndHasNoOtherRegister ) {
    EXPECT_EQ( Bus::Result::Done, write( { 8, 0xff } ) );
    EXPECT_EQ( "ff 0f ff", read( 7, 3 ) );
}

TEST_F( SlotRegisterTest, ReadWithoutACommandStartsAtTheFirstRegisterAfterPowerOn ) {
    std::vector<uint8_t> in( 9 );
    read( 8, 1 );
    EXPECT_EQ( Bus::Result::Done, bus.writeRead( 0x40, {}, in ) );
    EXPECT_EQ( "0f ff ff ff ff ff ff ff ff", hexOf( in ) );
    turn( *chip, "present", "0" );
    turn( *chip, "present", "1" );
    EXPECT_EQ( Bus::Result::Done, bus.writeRead( 0x40, {}, in ) );
    EXPECT_EQ( "ff ff ff ff ff ff ff ff 0f", hexOf( in ) );
}

TEST_F( SlotRegisterTest, WatchesTwoSuppliesAndNothingElse ) {
    Eeprom24c02 eeprom{ 0x50 };
    EXPECT_FALSE( chip->watch( eeprom ) );
    EXPECT_TRUE( chip->watch( first ) );
    EXPECT_TRUE( chip->watch( second ) );
    EXPECT_FALSE( chip->watch( first ) );
}

TEST( MountedChipTest, IsThereAsLongAsItsCarrierIs ) {
    PmbusSupply supply{ 0x58 };
    Eeprom24c02 eeprom{ 0x50 };
    eeprom.mountOn( supply );
    supply.presentIs( false );
    EXPECT_FALSE( eeprom.present() );
    supply.presentIs( true );
    EXPECT_TRUE( eeprom.present() );
    eeprom.presentIs( false );
    EXPECT_FALSE( eeprom.present() );
    EXPECT_TRUE( supply.present() );
}

TEST( MountedChipTest, GetsPowerWithItsCarrier ) {
    PmbusSupply carrier{ 0x58 };
    Bus bus;
    auto made = std::make_unique<Eeprom24c02>( uint8_t{ 0x50 } );
    made->mountOn( carrier );
    bus.segment().add( std::move( made ) );
    const uint8_t offset = 4;
    bus.write( 0x50, { &offset, 1 } );
    carrier.presentIs( false );
    carrier.presentIs( true );
    std::vector<uint8_t> byte( 1 );
    bus.read( 0x50, byte );
    EXPECT_EQ( "01", hexOf( byte ) ) << "the address counter starts anew";
}
