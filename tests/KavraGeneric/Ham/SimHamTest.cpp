#include "KavraGeneric/NotImplementedException.h"
#include "tests/KavraGeneric/Ham/SimHamFixture.h"

#include <functional>
#include <stdexcept>
#include <vector>

namespace {

using Lines = std::vector<FakeHost::Line>;

TEST_F( SimHamTest, EightBitReadGivesTheStoredByte ) {
    device( example );
    EXPECT_EQ( 39, read8( 0 ) );
    EXPECT_EQ( 110, read8( 3 ) );
}

TEST_F( SimHamTest, SixteenBitReadOfOneByteIsWidenedWithFf ) {
    device( example );
    EXPECT_EQ( 0x27FF, read16( 0 ) );
}

TEST_F( SimHamTest, SixteenBitReadOfTwoBytesGivesTheWord ) {
    device( { { 1, number( 0x12AB, 2 ) } } );
    EXPECT_EQ( 0x12AB, read16( 1 ) );
}

TEST_F( SimHamTest, EightBitReadOfTwoBytesGivesTheUpperOne ) {
    device( { { 1, number( 0x12AB, 2 ) } } );
    EXPECT_EQ( 0x12, read8( 1 ) );
}

TEST_F( SimHamTest, BlockReadOfANumberIsFilledWithTheLetterF ) {
    device( example );
    EXPECT_EQ( "27fff", read( 0, 5 ) );
}

TEST_F( SimHamTest, BlockReadOfATextIsFilledWithBytesOfOnes ) {
    device( { { 0, text( "abc" ) }, { 1, text( "def" ) } } );
    EXPECT_EQ( "abc\xFF\xFF", read( 0, 5 ) );
}

TEST_F( SimHamTest, BlockReadShorterThanTheFieldTakesItsStart ) {
    device( { { 0, text( "abc" ) }, { 1, text( "defgh" ) } } );
    EXPECT_EQ( "def", read( 1, 3 ) );
    EXPECT_EQ( "defgh", read( 1, 5 ) );
}

TEST_F( SimHamTest, SmbusBlockReadAsksForNoBytes ) {
    device( { { 0, text( "abc" ) } } );
    std::string value = "before";
    EXPECT_EQ( PL_STATUS_OK, ham().readBlock( 0, &value ) );
    EXPECT_EQ( "", value );
}

TEST_F( SimHamTest, TextOfDigitsReadsAsANumber ) {
    device( { { 0, text( "2a4" ) } } );
    EXPECT_EQ( 0x2A, read8( 0 ) );
    EXPECT_EQ( 0x2A4, read16( 0 ) ) << "the fill behind a text is no digit";
}

TEST_F( SimHamTest, ReceiveByteStaysAtTheRegisterReadLast ) {
    device( example );
    read8( 2 );
    uint8_t value = 0;
    EXPECT_EQ( PL_STATUS_OK, ham().recvByte( &value ) );
    EXPECT_EQ( 110, value );
}

TEST_F( SimHamTest, ReceiveByteOfAFreshDeviceIsRegisterZero ) {
    device( example );
    uint8_t value = 0;
    EXPECT_EQ( PL_STATUS_OK, ham().recvByte( &value ) );
    EXPECT_EQ( 39, value );
}

TEST_F( SimHamTest, ProcessCallReadsItsRegisterAndWritesNothing ) {
    device( { { 0, number( 1 ) }, { 5, number( 0x1234, 2 ) } } );
    uint16_t value = 0;
    EXPECT_EQ( PL_STATUS_OK, ham().processCall( 5, 0xFFFF, &value ) );
    EXPECT_EQ( 0x1234, value );
    EXPECT_EQ( "011234\n", fileText() );
}

TEST_F( SimHamTest, EveryOperationOfABatchHasNumberZero ) {
    device( example );
    ham().prepare();
    EXPECT_EQ( 0U, ham().addRead8( 2 ) );
    EXPECT_EQ( 0U, ham().addRead16( 2 ) );
    EXPECT_EQ( 0U, ham().addRead( 2, 1, false ) );
    EXPECT_EQ( 0U, ham().addReadBlock( 2 ) );
    EXPECT_EQ( 0U, ham().addProcessCall( 2, 7 ) );
    EXPECT_EQ( 0U, ham().addRecvByte() );
}

TEST_F( SimHamTest, FetchLooksAtTheLastRegisterOfTheBatchWhateverTheNumber ) {
    device( example );
    ham().prepare();
    const Ham::ResponseId first = ham().addRead8( 0 );
    ham().addRead8( 2 );
    EXPECT_EQ( 0, ham().execute() );
    EXPECT_EQ( 110, ham().get8( first ) );
    EXPECT_EQ( 110, ham().get8( Ham::INVALID_RESPONSE_ID ) );
}

// Every kind of read picks the register; the value is fetched afterwards.
TEST_F( SimHamTest, EveryKindOfReadPicksTheRegister ) {
    const std::vector<std::function<void( Ham::SimHam & )>> kinds = {
        []( Ham::SimHam &each ) { each.addRead8( 2 ); },
        []( Ham::SimHam &each ) { each.addRead16( 2 ); },
        []( Ham::SimHam &each ) { each.addRead( 2, 1, true ); },
        []( Ham::SimHam &each ) { each.addReadBlock( 2 ); },
        []( Ham::SimHam &each ) { each.addProcessCall( 2, 0 ); },
    };
    for ( size_t kind = 0; kind < kinds.size(); ++kind ) {
        SCOPED_TRACE( kind );
        device( example );
        kinds[kind]( ham() );
        EXPECT_EQ( 110, ham().get8( 0 ) );
    }
}

TEST_F( SimHamTest, WriteGoesToTheRegisterReadLast ) {
    device( example );
    read8( 2 );
    EXPECT_EQ( PL_STATUS_OK, ham().write8( 5, 0x12, false ) );
    EXPECT_EQ( "27126e\n", fileText() );
    EXPECT_EQ( 0x12, read8( 2 ) );
}

TEST_F( SimHamTest, WriteBeforeAnyReadGoesToRegisterZero ) {
    device( example );
    EXPECT_EQ( PL_STATUS_OK, ham().write8( 3, 0x0A, false ) );
    EXPECT_EQ( "0a6e6e\n", fileText() );
}

TEST_F( SimHamTest, SixteenBitWriteStoresFourDigits ) {
    device( { { 0, number( 0xFFFF, 2 ) }, { 1, number( 1 ) } } );
    EXPECT_EQ( PL_STATUS_OK, ham().write16( 0, 0x0ABC, false ) );
    EXPECT_EQ( "0abc01\n", fileText() );
}

TEST_F( SimHamTest, NumberOfAnotherWidthIsSilentlyNotWritten ) {
    device( { { 0, number( 1, 1 ) }, { 1, number( 2, 2 ) }, { 2, number( 3, 4 ) } } );
    const std::string before = fileText();
    ham().addRead8( 0 );
    EXPECT_EQ( PL_STATUS_OK, ham().write16( 0, 0x1234, false ) );
    ham().addRead8( 1 );
    EXPECT_EQ( PL_STATUS_OK, ham().write8( 1, 0x12, false ) );
    ham().addRead8( 2 );
    EXPECT_EQ( PL_STATUS_OK, ham().write8( 2, 0x12, false ) );
    EXPECT_EQ( PL_STATUS_OK, ham().write16( 2, 0x1234, false ) );
    EXPECT_EQ( before, fileText() );
    EXPECT_EQ( Lines(), host().lines );
}

TEST_F( SimHamTest, TextWritesTakeTheAddressOfAString ) {
    device( { { 0, text( "abc" ) }, { 1, text( "def" ) } } );
    ham().addRead8( 1 );
    const std::string plain = "uvw";
    EXPECT_EQ( PL_STATUS_OK, ham().write( 9, &plain, 3, false ) );
    EXPECT_EQ( "abcuvw\n", fileText() );
    const std::string block = "xyz";
    EXPECT_EQ( PL_STATUS_OK, ham().writeBlock( 9, &block, 3, true ) );
    EXPECT_EQ( "abcxyz\n", fileText() );
}

TEST_F( SimHamTest, TextOfAnotherLengthIsSilentlyNotWritten ) {
    device( { { 0, text( "abc" ) } } );
    const std::string value = "xyz";
    EXPECT_EQ( PL_STATUS_OK, ham().write( 0, &value, 2, false ) );
    EXPECT_EQ( PL_STATUS_OK, ham().writeBlock( 0, &value, 4, false ) );
    EXPECT_EQ( "abc\n", fileText() );
    EXPECT_EQ( Lines(), host().lines );
}

TEST_F( SimHamTest, TextShorterThanItsFieldLeavesTheRest ) {
    device( { { 0, text( "abc" ) } } );
    const std::string value = "x";
    EXPECT_EQ( PL_STATUS_OK, ham().write( 0, &value, 3, false ) );
    EXPECT_EQ( "xbc\n", fileText() );
}

TEST_F( SimHamTest, TextLongerThanItsFieldRunsIntoTheNext ) {
    device( { { 0, text( "ab" ) }, { 1, text( "cdef" ) } } );
    const std::string value = "wxyz";
    EXPECT_EQ( PL_STATUS_OK, ham().write( 0, &value, 2, false ) );
    EXPECT_EQ( "wxyzef\n", fileText() );
}

TEST_F( SimHamTest, TextLongerThanTheLastFieldTakesTheNewlineAndEndsThere ) {
    device( { { 0, text( "ab" ) }, { 1, text( "cd" ) } } );
    ham().addRead8( 1 );
    const std::string value = "vwxyz";
    EXPECT_EQ( PL_STATUS_OK, ham().write( 1, &value, 2, false ) );
    EXPECT_EQ( "abvwx", fileText() );
    EXPECT_EQ( "vw", read( 1, 2 ) );
}

// A text that would run on into the page behind the mapping must not bring the process down.
TEST_F( SimHamTest, TextLongerThanAPageEndsWithTheMapping ) {
    device( { { 0, text( std::string( 4096, 'a' ) ) } } );
    const std::string value( 20000, 'b' );
    EXPECT_EQ( PL_STATUS_OK, ham().write( 0, &value, 4096, false ) );
    EXPECT_EQ( std::string( 4096, 'b' ) + '\n', fileText() );
}

// Two digits go into a text field of one byte, too.
TEST_F( SimHamTest, EightBitWriteLooksOnlyAtTheWidth ) {
    device( { { 0, text( "a" ) }, { 1, text( "bc" ) } } );
    EXPECT_EQ( PL_STATUS_OK, ham().write8( 0, 0x12, false ) );
    EXPECT_EQ( "12c\n", fileText() );
}

TEST_F( SimHamTest, AccessesAreTracedWithFileTextAndRegister ) {
    device( { { 0, number( 39 ) }, { 26, text( "ab" ) } } );
    const std::string value = "xy";
    read16( 0 );
    read( 26, 2 );
    ham().write( 26, &value, 2, false );
    EXPECT_EQ( ( Lines{ { 5, path() + " - Read 27ff from register 0x0" },
                        { 5, path() + " - Read ab from register 0x1a" },
                        { 5, path() + " - Wrote xy to register 0x1a" } } ),
               host().lines );
}

TEST_F( SimHamTest, ReadOfAMissingRegisterFailsAndLeavesTheOutput ) {
    device( example );
    uint8_t value = 0x55;
    EXPECT_EQ( PL_STATUS_IO_ERROR, ham().read8( 7, &value ) );
    EXPECT_EQ( 0x55, value );
    EXPECT_EQ( Lines(), host().lines );
}

TEST_F( SimHamTest, FetchOfAMissingRegisterWarnsAndGivesZero ) {
    device( example );
    ham().addRead8( 0x1F );
    EXPECT_EQ( 0, ham().get8( 0 ) );
    EXPECT_EQ( 0, ham().get16( 0 ) );
    EXPECT_EQ( ( Lines{ { 0, warning( "0x1f" ) }, { 0, warning( "0x1f" ) } } ), host().lines );
}

TEST_F( SimHamTest, BlockFetchOfAMissingRegisterWarnsAndThrows ) {
    device( example );
    ham().addRead8( 7 );
    try {
        ham().getBlock( 0, 4 );
        FAIL() << "nothing was thrown";
    } catch ( const std::logic_error &error ) {
        EXPECT_STREQ( "basic_string::_S_construct null not valid", error.what() );
    }
    EXPECT_EQ( ( Lines{ { 0, warning( "0x7" ) } } ), host().lines );
}

TEST_F( SimHamTest, WriteToAMissingRegisterWarnsAndChangesNothing ) {
    device( example );
    const std::string value = "x";
    ham().addRead8( 7 );
    EXPECT_EQ( PL_STATUS_IO_ERROR, ham().write8( 0, 1, false ) );
    EXPECT_EQ( PL_STATUS_IO_ERROR, ham().write16( 0, 1, false ) );
    EXPECT_EQ( PL_STATUS_IO_ERROR, ham().write( 0, &value, 1, false ) );
    EXPECT_EQ( PL_STATUS_IO_ERROR, ham().writeBlock( 0, &value, 1, false ) );
    EXPECT_EQ( Lines( 4, { 0, warning( "0x7" ) } ), host().lines );
    EXPECT_EQ( "276e6e\n", fileText() );
}

TEST_F( SimHamTest, DeviceWithoutATableHasNoFile ) {
    std::filesystem::remove( path() );
    device( {} );
    EXPECT_FALSE( std::filesystem::exists( path() ) );
    EXPECT_EQ( Lines(), host().lines );
}

TEST_F( SimHamTest, DeviceWithoutATableReadsZeroWithAWarning ) {
    device( {} );
    uint8_t byte = 0x55;
    uint16_t word = 0x5555;
    EXPECT_EQ( PL_STATUS_OK, ham().read8( 3, &byte ) );
    EXPECT_EQ( PL_STATUS_OK, ham().read16( 4, &word ) );
    EXPECT_EQ( 0, byte );
    EXPECT_EQ( 0, word );
    EXPECT_EQ( ( Lines{ { 0, warning( "0x3" ) }, { 0, warning( "0x4" ) } } ), host().lines );
}

TEST_F( SimHamTest, DeviceWithoutATableThrowsForBlocks ) {
    device( {} );
    std::string value;
    EXPECT_THROW( ham().read( 3, 4, &value, false ), std::logic_error );
    EXPECT_EQ( ( Lines{ { 0, warning( "0x3" ) } } ), host().lines );
}

TEST_F( SimHamTest, DeviceWithoutATableTakesNoWrites ) {
    device( {} );
    EXPECT_EQ( PL_STATUS_OK, ham().write8( 3, 1, false ) );
    EXPECT_EQ( ( Lines{ { 0, warning( "0x0" ) } } ), host().lines );
}

TEST_F( SimHamTest, DeviceThatWasNeverSetUpReadsZero ) {
    ham_ = newSimHam();
    EXPECT_EQ( 0, read8( 1 ) );
    EXPECT_TRUE( host().traced(
        0, "WARNING: Simulated Driver  doesn't yet have expectedVal set for register 0x1 using "
           "SIMULATION_HAM()\n" ) );
}

TEST_F( SimHamTest, SendByteInitAndPrepareDoNothing ) {
    device( example );
    read8( 2 );
    host().lines.clear();
    ham().init();
    EXPECT_EQ( PL_STATUS_OK, ham().sendByte( 9, true ) );
    EXPECT_EQ( Lines(), host().lines );
    EXPECT_EQ( "276e6e\n", fileText() );
    EXPECT_EQ( 110, ham().get8( 0 ) ) << "the register read last is still the same";
}

TEST_F( SimHamTest, ThirtyTwoBitOperationsAreNotImplemented ) {
    device( example );
    const auto message = []( const std::function<void()> &operation ) -> std::string {
        try {
            operation();
        } catch ( const NotImplementedException &exception ) {
            return exception.what();
        }
        return "nothing was thrown";
    };
    EXPECT_EQ( "Not implemented addRead32", message( [&] { ham().addRead32( 0 ); } ) );
    EXPECT_EQ( "Not implemented addWrite32", message( [&] { ham().write32( 0, 1, false ); } ) );
    EXPECT_EQ( "Not implemented get32", message( [&] { ham().get32( 0 ); } ) );
}

} // namespace
