#include "EmulatedBoard/PmbusSupply.h"
#include "EmulatedBoard/PmbusFormat.h"
#include "tests/EmulatedBoard/ChipOnBus.h"

#include <array>

using namespace EmulatedBoard;

class PmbusSupplyTest : public ChipOnBus<PmbusSupply, 0x58> {
  protected:
    unsigned word( uint8_t command ) {
        std::array<uint8_t, 2> in = {};
        EXPECT_EQ( Bus::Result::Done, bus.writeRead( 0x58, { &command, 1 }, in ) );
        return in[0] | unsigned{ in[1] } << 8;
    }

    double linear( uint8_t command ) {
        return fromLinear11( static_cast<uint16_t>( word( command ) ) );
    }

    std::string block( uint8_t command ) {
        std::array<uint8_t, Bus::largestBlock> in = {};
        size_t count = 0;
        EXPECT_EQ( Bus::Result::Done, bus.writeReadBlock( 0x58, { &command, 1 }, in, count ) );
        return std::string( in.begin(), in.begin() + static_cast<std::ptrdiff_t>( count ) );
    }

    std::string status() { return registerText( word( 0x79 ), 4 ); }
};

TEST_F( PmbusSupplyTest, TelemetryIsThatOfTheModel ) {
    set( "input_voltage", "120" );
    set( "load", "440" );
    EXPECT_DOUBLE_EQ( 120, linear( 0x88 ) );
    EXPECT_DOUBLE_EQ( 440, linear( 0x96 ) );
    EXPECT_NEAR( 12.04, word( 0x8b ) / 512.0, 0.001 ); // linear mode, 2^-9 V
    EXPECT_NEAR( 440 / 12.04, linear( 0x8c ), 0.05 );
    EXPECT_NEAR( 468, linear( 0x97 ), 1 );
    EXPECT_NEAR( 468.1 / 120, linear( 0x89 ), 0.005 );
    EXPECT_NEAR( 17200, linear( 0x90 ), 16 ); // a step of the format
    EXPECT_NEAR( 17200, linear( 0x91 ), 16 );
    EXPECT_DOUBLE_EQ( 26.5, linear( 0x8d ) );
    EXPECT_NEAR( 42, linear( 0x8e ), 2 );
    EXPECT_NEAR( 34, linear( 0x8f ), 2 );
}

TEST_F( PmbusSupplyTest, TellsItsFormatsAndAbilities ) {
    EXPECT_EQ( "17", read( 0x20, 1 ) );
    EXPECT_EQ( "a0", read( 0x19, 1 ) );
    EXPECT_EQ( "22", read( 0x98, 1 ) );
    EXPECT_EQ( "99", read( 0x3a, 1 ) );
}

TEST_F( PmbusSupplyTest, ManufacturerBlocksHaveTheirCountFirst ) {
    set( "model", "PS-1" );
    EXPECT_EQ( "PS-1", block( 0x9a ) );
    EXPECT_EQ( "04 50 53 2d 31", read( 0x9a, 5 ) );
    set( "serial", "" );
    EXPECT_EQ( "", block( 0x9e ) );
    set( "manufacturer", "ACME" );
    set( "revision", "R2" );
    EXPECT_EQ( "ACME", block( 0x99 ) );
    EXPECT_EQ( "R2", block( 0x9b ) );
}

TEST_F( PmbusSupplyTest, TextIsPrintableAndFitsABlock ) {
    EXPECT_TRUE( set( "serial", std::string( 32, 'x' ) ) );
    EXPECT_EQ( std::string( 32, 'x' ), block( 0x9e ) );
    EXPECT_FALSE( set( "serial", std::string( 33, 'y' ) ) );
    EXPECT_FALSE( set( "serial", "\t" ) );
    EXPECT_EQ( std::string( 32, 'x' ), get( "serial" ) );
}

TEST_F( PmbusSupplyTest, WellSupplyHasNoStatusBits ) {
    EXPECT_EQ( "0x0000", status() );
    EXPECT_EQ( "00", read( 0x78, 1 ) );
    EXPECT_TRUE( chip->powerGood() );
}

TEST_F( PmbusSupplyTest, OutputThatIsOffIsOffAndNotGood ) {
    set( "output_off", "1" );
    EXPECT_EQ( "0x0840", status() );
    EXPECT_EQ( "40", read( 0x78, 1 ) );
    EXPECT_EQ( "00 00", read( 0x8b, 2 ) );
    EXPECT_FALSE( chip->powerGood() );
    set( "output_off", "0" );
    EXPECT_EQ( "0x0000", status() ); // the state is not latched
}

TEST_F( PmbusSupplyTest, OperationTurnsTheOutputOff ) {
    for ( const int off :
          { 0x00, 0x40, 0x13, 0x7f } ) { // immediately or softly, the rest counts not
        EXPECT_EQ( Bus::Result::Done, write( { 0x01, static_cast<uint8_t>( off ) } ) );
        EXPECT_EQ( "0x0840", status() );
        EXPECT_EQ( Bus::Result::Done, write( { 0x01, 0x80 } ) );
        EXPECT_EQ( "0x0000", status() );
    }
    EXPECT_EQ( "80", read( 0x01, 1 ) );
}

TEST_F( PmbusSupplyTest, OperationWithAMarginIsRefused ) {
    for ( const int margin : { 0x94, 0xa8, 0xc0, 0xff } ) {
        write( { 0x01, static_cast<uint8_t>( margin ) } );
        EXPECT_EQ( "80", read( 0x01, 1 ) );
        EXPECT_EQ( "0x0002", status() );
        write( { 0x03 } );
    }
}

TEST_F( PmbusSupplyTest, OutputToldToGoOffAndOnForgetsFaults ) {
    const auto leaveTraces = [this] {
        set( "fan1_fault", "1" );
        set( "fan1_fault", "0" );
        set( "input_voltage", "60" );
        set( "input_voltage", "230" );
        write( { 0x21 } );
        EXPECT_EQ( "0x240b", status() );
    };
    leaveTraces();
    write( { 0x01, 0x00 } );
    EXPECT_EQ( "0x2c4b", status() );
    write( { 0x01, 0x80 } );
    EXPECT_EQ( "0x0000", status() );
    leaveTraces();
    set( "output_off", "1" );
    set( "fan2_fault", "1" );
    set( "output_off", "0" );
    EXPECT_EQ( "0x0401", status() ) << "what is still there comes back";
    EXPECT_EQ( "40", read( 0x81, 1 ) );
}

TEST_F( PmbusSupplyTest, FaultsAreClearedBitByBit ) {
    set( "load", "550" );
    set( "fan1_fault", "1" );
    set( "fan2_fault", "1" );
    set( "fan1_fault", "0" );
    set( "fan2_fault", "0" );
    write( { 0x81, 0x80 } );
    EXPECT_EQ( "40", read( 0x81, 1 ) );
    write( { 0x7d, 0x40 } );
    EXPECT_EQ( "80", read( 0x7d, 1 ) );
    set( "input_voltage", "60" );
    write( { 0x7c, 0xff } );
    EXPECT_EQ( "38", read( 0x7c, 1 ) ) << "the cause is still there";
    write( { 0x21 } );
    write( { 0x7e, 0x7f } );
    EXPECT_EQ( "80", read( 0x7e, 1 ) );
    write( { 0x7e, 0x80 } );
    EXPECT_EQ( "00", read( 0x7e, 1 ) );
}

TEST_F( PmbusSupplyTest, EveryStatusButTheWordTakesBitsToClear ) {
    for ( const int command : { 0x7a, 0x7b, 0x7c, 0x7d, 0x7e, 0x81 } ) {
        EXPECT_EQ( Bus::Result::Done, write( { static_cast<uint8_t>( command ), 0xff } ) );
    }
    EXPECT_EQ( "0x0000", status() );
    EXPECT_EQ( Bus::Result::NoAcknowledge, write( { 0x78, 0xff } ) );
    EXPECT_EQ( Bus::Result::NoAcknowledge, write( { 0x79, 0xff, 0xff } ) );
}

TEST_F( PmbusSupplyTest, LowInputTurnsTheSupplyOffAndIsRemembered ) {
    set( "input_voltage", "60" );
    EXPECT_EQ( "0x2849", status() );
    EXPECT_EQ( "38", read( 0x7c, 1 ) );
    set( "input_voltage", "230" );
    EXPECT_EQ( "0x2009", status() );
    write( { 0x03 } );
    EXPECT_EQ( "0x0000", status() );
}

TEST_F( PmbusSupplyTest, WeakInputIsAWarning ) {
    set( "input_voltage", "88" );
    EXPECT_EQ( "20", read( 0x7c, 1 ) );
    EXPECT_EQ( "0x2001", status() ); // the low byte has a bit for the fault, not for the warning
}

TEST_F( PmbusSupplyTest, FanThatStandsStillHasItsOwnBit ) {
    set( "fan1_fault", "1" );
    EXPECT_EQ( "80", read( 0x81, 1 ) );
    EXPECT_EQ( "0x0401", status() );
    EXPECT_EQ( 0, linear( 0x90 ) );
    EXPECT_GT( linear( 0x91 ), 0 );
    set( "fan1_fault", "0" );
    set( "fan2_fault", "1" );
    EXPECT_EQ( "c0", read( 0x81, 1 ) );
}

TEST_F( PmbusSupplyTest, ClearedFaultComesBackAsLongAsItsCauseIsThere ) {
    set( "fan2_fault", "1" );
    write( { 0x03 } );
    EXPECT_EQ( "40", read( 0x81, 1 ) );
    set( "fan2_fault", "0" );
    EXPECT_EQ( "40", read( 0x81, 1 ) );
    write( { 0x03 } );
    EXPECT_EQ( "00", read( 0x81, 1 ) );
}

TEST_F( PmbusSupplyTest, HeatWarnsAndIsAFault ) {
    set( "load", "550" );
    set( "fan1_fault", "1" );
    set( "fan2_fault", "1" );
    EXPECT_EQ( "c0", read( 0x7d, 1 ) );
    EXPECT_EQ( "0x0405", status() );
}

TEST_F( PmbusSupplyTest, FanDutyIsLinear11AndCanOnlyAdd ) {
    set( "load", "0" );
    write( { 0x3b, 80, 0 } );
    EXPECT_DOUBLE_EQ( 16000, linear( 0x90 ) );
    EXPECT_EQ( "80", get( "fan1_command" ) );
    EXPECT_EQ( "50 00", read( 0x3b, 2 ) ); // as it was written
    write( { 0x3c, 0xff, 0xfb } );         // 1023 x 2^-1
    EXPECT_EQ( "0", get( "fan2_command" ) );
    EXPECT_EQ( "40", read( 0x7e, 1 ) );
    EXPECT_EQ( "0x0002", status() );
    write( { 0x3b, 0xff, 0x07 } ); // -1
    EXPECT_EQ( "80", get( "fan1_command" ) );
}

TEST_F( PmbusSupplyTest, WriteProtectLeavesOnlyWhatItSays ) {
    write( { 0x10, 0x80 } );
    write( { 0x01, 0x00 } );
    write( { 0x3b, 50, 0 } );
    EXPECT_EQ( "0x0002", status() );
    EXPECT_EQ( "80", read( 0x7e, 1 ) );
    write( { 0x03 } );
    EXPECT_EQ( "80", read( 0x7e, 1 ) ) << "CLEAR_FAULTS is protected too";

    for ( const uint8_t butOperation : { uint8_t{ 0x40 }, uint8_t{ 0x20 } } ) {
        write( { 0x10, butOperation } );
        write( { 0x01, 0x00 } );
        EXPECT_EQ( "00", read( 0x01, 1 ) );
        write( { 0x00, 0xff } );
        EXPECT_EQ( "ff", read( 0x00, 1 ) );
        write( { 0x3b, 50, 0 } );
        EXPECT_EQ( "0", get( "fan1_command" ) );
        write( { 0x01, 0x80 } );
        write( { 0x00, 0x00 } );
    }

    write( { 0x21 } );
    write( { 0x10, 0x00 } );
    write( { 0x03 } );
    EXPECT_EQ( "00", read( 0x7e, 1 ) );
}

TEST_F( PmbusSupplyTest, DataOutsideWhatACommandTakesIsNotStored ) {
    for ( const uint8_t command : { uint8_t{ 0x00 }, uint8_t{ 0x01 }, uint8_t{ 0x10 } } ) {
        const std::string before = read( command, 1 );
        EXPECT_EQ( Bus::Result::Done, write( { command, 0x93 } ) );
        EXPECT_EQ( before, read( command, 1 ) );
        EXPECT_EQ( "40", read( 0x7e, 1 ) );
        write( { 0x03 } );
    }
}

TEST_F( PmbusSupplyTest, CommandThatIsNotThereIsNotAcknowledged ) {
    EXPECT_EQ( "no acknowledge", read( 0x21, 2 ) );
    EXPECT_EQ( Bus::Result::NoAcknowledge, write( { 0x88, 1, 2 } ) ); // read only
    EXPECT_EQ( "80", read( 0x7e, 1 ) );
}

TEST_F( PmbusSupplyTest, WriteWithTooFewOrTooManyBytesIsRefused ) {
    EXPECT_EQ( Bus::Result::NoAcknowledge, write( { 0x3b, 50 } ) );
    EXPECT_EQ( "02", read( 0x7e, 1 ) );
    EXPECT_EQ( Bus::Result::NoAcknowledge, write( { 0x3b, 50, 0, 0, 0 } ) );
    EXPECT_EQ( "42", read( 0x7e, 1 ) );
    EXPECT_EQ( "0", get( "fan1_command" ) );
}

TEST_F( PmbusSupplyTest, ReadBehindThePacketErrorCodeIsAFault ) {
    read( 0x88, 3 );
    EXPECT_EQ( "00", read( 0x7e, 1 ) );
    EXPECT_EQ( "ff", read( 0x88, 4 ).substr( 9 ) );
    EXPECT_EQ( "02", read( 0x7e, 1 ) );
}

TEST_F( PmbusSupplyTest, PacketErrorCodeOfAWriteIsChecked ) {
    const uint8_t right = packetErrorCode( std::array<uint8_t, 4>{ 0xb0, 0x3b, 50, 0 } );
    EXPECT_EQ( Bus::Result::Done, write( { 0x3b, 50, 0, right } ) );
    EXPECT_EQ( "50", get( "fan1_command" ) );
    const auto wrong = static_cast<uint8_t>( right ^ 1 );
    EXPECT_EQ( Bus::Result::NoAcknowledge, write( { 0x3b, 60, 0, wrong } ) );
    EXPECT_EQ( "50", get( "fan1_command" ) );
    EXPECT_EQ( "20", read( 0x7e, 1 ) );
    const uint8_t clear = packetErrorCode( std::array<uint8_t, 2>{ 0xb0, 0x03 } );
    EXPECT_EQ( Bus::Result::Done, write( { 0x03, clear } ) );
    EXPECT_EQ( "00", read( 0x7e, 1 ) );
}

TEST_F( PmbusSupplyTest, ReadOfOneByteMoreEndsInThePacketErrorCode ) {
    const uint8_t crc = packetErrorCode( std::array<uint8_t, 4>{ 0xb0, 0x20, 0xb1, 0x17 } );
    EXPECT_EQ( hexOf( { 0x17, crc, 0xff } ), read( 0x20, 3 ) );
}

TEST_F( PmbusSupplyTest, SupplyThatComesBackHasForgotten ) {
    write( { 0x3b, 80, 0 } );
    write( { 0x10, 0x40 } );
    write( { 0x01, 0x00 } );
    set( "fan1_fault", "1" );
    set( "fan1_fault", "0" );
    set( "present", "0" );
    EXPECT_EQ( "no acknowledge", read( 0x79, 2 ) );
    set( "present", "1" );
    EXPECT_EQ( "0x0000", status() );
    EXPECT_EQ( "0x00", get( "write_protect" ) );
    EXPECT_EQ( "0x0000", get( "status" ) );
    EXPECT_EQ( "00 00", read( 0x3b, 2 ) );
}

TEST_F( PmbusSupplyTest, WorldHasLimits ) {
    EXPECT_FALSE( set( "input_voltage", "265" ) );
    EXPECT_FALSE( set( "load", "551" ) );
    EXPECT_FALSE( set( "load", "-1" ) );
    EXPECT_FALSE( set( "ambient", "71" ) );
}

TEST_F( PmbusSupplyTest, AcknowledgesAQuickWrite ) {
    EXPECT_EQ( Bus::Result::Done, write( {} ) );
}
