#include "KavraGeneric/Components/HardwareDevice.h"
#include "tests/KavraGeneric/Ham/SmbusHamFixture.h"

#include <optional>

namespace {

class KavraSmbusHamTest : public SmbusHamFixture {
  protected:
    KavraSmbusHamTest() { deviceOnBus( 0x48 ); }
};

TEST_F( KavraSmbusHamTest, EachOperationFillsItsRequest ) {
    const std::string words( "\x00\xFFz", 3 );
    const struct {
        const char *text; // of the batch: type, register and data
        std::function<void()> queue;
        Smbus::RequestType type;
        unsigned length;
        std::optional<std::string> data;
        bool flag;
    } rows[] = {
        { "48[]", [&] { ham().addRecvByte(); }, Smbus::READ, 0, {}, false },
        { "48[12345678]x1", [&] { ham().addRead8( 0x12345678 ); }, Smbus::READ, 1, {}, false },
        { "48[10]x2", [&] { ham().addRead16( 0x10 ); }, Smbus::READ, 2, {}, false },
        { "48[11]x5", [&] { ham().addRead( 0x11, 5, false ); }, Smbus::READ, 5, {}, false },
        { "48[11]x5", [&] { ham().addRead( 0x11, 5, true ); }, Smbus::READ, 5, {}, false },
        { "48[12]xB", [&] { ham().addReadBlock( 0x12 ); }, Smbus::BLOCK_READ, 0, {}, false },
        { "48=fe", [&] { ham().addSendByte( 0xFE, false ); }, Smbus::WRITE, 0, {}, false },
        { "48=fe", [&] { ham().addSendByte( 0xFE, true ); }, Smbus::WRITE, 0, {}, true },
        { "48[13]=fd", [&] { ham().addWrite8( 0x13, 0xFD, false ); }, Smbus::WRITE, 1, "\xFD",
          false },
        { "48[13]=fd", [&] { ham().addWrite8( 0x13, 0xFD, true ); }, Smbus::WRITE, 1, "\xFD",
          true },
        { "48[14]=3412", [&] { ham().addWrite16( 0x14, 0x1234, false ); }, Smbus::WRITE, 2,
          "\x34\x12", false },
        { "48[14]=3412", [&] { ham().addWrite16( 0x14, 0x1234, true ); }, Smbus::WRITE, 2,
          "\x34\x12", true },
        { "48[15]=00ff7a", [&] { ham().addWrite( 0x15, words.data(), 3, false ); }, Smbus::WRITE, 3,
          words, false },
        { "48[15]=00ff7a", [&] { ham().addWrite( 0x15, words.data(), 3, true ); }, Smbus::WRITE, 3,
          words, true },
        { "48=18", [&] { ham().addWrite( 0x18, nullptr, 0, false ); }, Smbus::WRITE, 0, "", false },
        { "48[16]=B:00ff7a", [&] { ham().addWriteBlock( 0x16, words.data(), 3, false ); },
          Smbus::BLOCK_WRITE, 3, words, false },
        { "48[16]=B:00ff7a", [&] { ham().addWriteBlock( 0x16, words.data(), 3, true ); },
          Smbus::BLOCK_WRITE, 3, words, true },
        { "48[17]P=3412", [&] { ham().addProcessCall( 0x17, 0x1234 ); }, Smbus::PROCESS_CALL, 2,
          "\x34\x12", false },
    };
    for ( const auto &[text, queue, type, length, data, flag] : rows ) {
        SCOPED_TRACE( text );
        ham().prepare();
        queue();
        ASSERT_EQ( 0, ham().execute() );
        EXPECT_EQ( text, lastBatch() );
        const Smbus::Request request = lastSingle();
        EXPECT_EQ( type, request.type() );
        EXPECT_TRUE( request.has_length() );
        EXPECT_EQ( length, request.length() );
        EXPECT_EQ( data.has_value(), request.has_data() );
        EXPECT_EQ( data.value_or( "" ), request.data() );
        EXPECT_TRUE( request.has_flag() );
        EXPECT_EQ( flag, request.flag() );
    }
}

TEST_F( KavraSmbusHamTest, DeviceOnARealBusTracesTheSimulationCallsOnce ) {
    Drivers::DriverArgs args = arguments( 0x48 );
    args.driver = "Dummy";
    args.provideHam = true;
    ASSERT_NE( nullptr, Component::HardwareDevice::create( args, nullptr ) );
    ASSERT_NE( nullptr, Component::HardwareDevice::create( args, nullptr ) );
    std::vector<std::string> calls;
    for ( const std::string &text : host().texts( 0 ) ) {
        if ( text.starts_with( "virtual" ) ) {
            calls.push_back( text );
        }
    }
    const std::vector<std::string> expected = { "virtual Ham::setDriverName() invoked!!!",
                                                "virtual Ham::setExpected() invoked!!!" };
    EXPECT_EQ( expected, calls );
}

TEST_F( KavraSmbusHamTest, EveryFieldOfARequestIsPresent ) {
    ham().write8( 0x10, 0, false );
    const Smbus::Request request = lastSingle();
    EXPECT_TRUE( request.has_address() && request.has_type() && request.has_length() );
    EXPECT_TRUE( request.has_flag() && request.has_pci() && request.has_mastertype() );
    EXPECT_EQ( 0U, request.pci() );
    EXPECT_EQ( Smbus::I2C, request.mastertype() );
}

TEST_F( KavraSmbusHamTest, AddressWordHoldsRegisterChipBusAndWidth ) {
    ham().read8( 0xABCDEF01, &byte_ );
    const uint64_t chip = 0x48;
    const uint64_t bus = 3;
    const uint64_t width = 1;
    EXPECT_EQ( width << 57 | bus << 39 | chip << 32 | 0xABCDEF01U, lastSingle().address() );
}

TEST_F( KavraSmbusHamTest, BatchKeepsTheOrderOfQueuing ) {
    ham().prepare();
    ham().addWrite8( 1, 0xAA, false );
    ham().addRead8( 2 );
    ham().addSendByte( 3, false );
    ham().addRead16( 4 );
    EXPECT_EQ( 0, ham().execute() );
    EXPECT_EQ( "48[01]=aa | 48[02]x1 | 48=03 | 48[04]x2", lastBatch() );
}

TEST_F( KavraSmbusHamTest, WritesCountInTheNumbering ) {
    for ( int batch = 0; batch < 2; ++batch ) {
        ham().prepare();
        ham().addWrite8( 1, 0, false );
        EXPECT_EQ( 1U, ham().addRead8( 2 ) );
        EXPECT_EQ( 2U, ham().addRead16( 3 ) );
        ham().addSendByte( 4, false );
        EXPECT_EQ( 4U, ham().addRecvByte() );
        EXPECT_EQ( 5U, ham().addRead( 5, 3, false ) );
        EXPECT_EQ( 6U, ham().addReadBlock( 6 ) );
        EXPECT_EQ( 7U, ham().addProcessCall( 7, 0 ) );
    }
}

TEST_F( KavraSmbusHamTest, FetchesTheResponseOfItsRequest ) {
    ham().prepare();
    ham().addWrite8( 1, 0xAA, false );
    const ::Ham::ResponseId byte = ham().addRead8( 2 );
    const ::Ham::ResponseId word = ham().addRead16( 3 );
    const ::Ham::ResponseId block = ham().addReadBlock( 4 );
    answer( { ok, bytes( 0x19 ), bytes( 0x34, 0x92 ), text( "four" ) } );
    ASSERT_EQ( 0, ham().execute() );
    EXPECT_EQ( "four", ham().getBlock( block, 4 ) );
    EXPECT_EQ( 0x9234, ham().get16( word ) );
    EXPECT_EQ( 0x19, ham().get8( byte ) );
    EXPECT_EQ( 0x19, ham().get8( byte ) );
    EXPECT_EQ( 0xAA, ham().get8( 0 ) );
}

TEST_F( KavraSmbusHamTest, BlockIsWhatCameWhateverWasAskedFor ) {
    for ( const std::string data : { "12345", "", "a longer block than anybody asked for" } ) {
        answer( { text( data ) } );
        ASSERT_EQ( 0, ham().read( 0, 16, &block_, false ) );
        EXPECT_EQ( data, block_ );
    }
}

TEST_F( KavraSmbusHamTest, ShortFormsGoOverTheWire ) {
    answer( { bytes( 0x11 ) } );
    EXPECT_EQ( 0, ham().recvByte( &byte_ ) );
    EXPECT_EQ( 0x11, byte_ );
    answer( { bytes( 0xFE, 0xCA ) } );
    EXPECT_EQ( 0, ham().processCall( 7, 0x1234, &word_ ) );
    EXPECT_EQ( 0xCAFE, word_ );
    EXPECT_EQ( 0, ham().writeBlock( 8, "AB", 2, false ) );
    const std::vector<std::string> expected = { "48[]", "48[07]P=3412", "48[08]=B:4142" };
    EXPECT_EQ( expected, batches() );
}

TEST_F( KavraSmbusHamTest, PrepareBeginsAnEmptyBatch ) {
    ham().prepare();
    ham().addRead8( 1 );
    ham().addRead8( 2 );
    ham().prepare();
    ham().addRead8( 3 );
    ASSERT_EQ( 0, ham().execute() );
    EXPECT_EQ( "48[03]x1", lastBatch() );
}

TEST_F( KavraSmbusHamTest, ReusedRequestCarriesNothingOfTheOneBefore ) {
    ham().write8( 1, 0xAA, true );
    ham().read8( 2, &byte_ );
    EXPECT_FALSE( lastSingle().has_data() );
    EXPECT_FALSE( lastSingle().flag() );
    EXPECT_EQ( "48[02]x1", lastBatch() );
}

TEST_F( KavraSmbusHamTest, ExecuteTracesItself ) {
    ham().prepare();
    ham().execute();
    const std::vector<FakeHost::Line> expected = { { 4, "executing KavraSmbusHam request" } };
    EXPECT_EQ( expected, host().lines );
}

TEST_F( KavraSmbusHamTest, SecondExecuteSendsTheBatchAgain ) {
    ham().prepare();
    ham().addRead8( 1 );
    ham().execute();
    ham().execute();
    EXPECT_EQ( ( std::vector<std::string>{ "48[01]x1", "48[01]x1" } ), batches() );
}

TEST_F( KavraSmbusHamTest, RepeatedStartStaysOnceAskedFor ) {
    ham().prepare();
    ham().addRead8( 1 );
    ham().addRead( 2, 4, true );
    ham().addRead8( 3 );
    ham().execute();
    const Smbus::TransactionRequest batch = lastRequest();
    EXPECT_EQ( 0U, addressOf( batch.request( 0 ) ).writeNoStopReadCurrent );
    EXPECT_EQ( 1U, addressOf( batch.request( 1 ) ).writeNoStopReadCurrent );
    EXPECT_EQ( 1U, addressOf( batch.request( 2 ) ).writeNoStopReadCurrent );
    ham().read( 4, 2, &block_, false );
    EXPECT_EQ( 1U, addressOf( lastSingle() ).writeNoStopReadCurrent );
    ham().write8( 5, 0, false );
    EXPECT_EQ( 1U, addressOf( lastSingle() ).writeNoStopReadCurrent );
}

TEST_F( KavraSmbusHamTest, RetriesAreAbsentUntilGiven ) {
    ham().read8( 1, &byte_ );
    EXPECT_FALSE( lastRequest().has_retries() );
    ham().retryCountIs( 0 );
    for ( int i = 0; i < 2; ++i ) {
        ham().read8( 1, &byte_ );
        EXPECT_TRUE( lastRequest().has_retries() );
        EXPECT_EQ( 0U, lastRequest().retries() );
    }
    ham().retryCountIs( 7 );
    ham().read8( 1, &byte_ );
    EXPECT_EQ( 7U, lastRequest().retries() );
}

TEST_F( KavraSmbusHamTest, ChipAndBusCanBeSetAndKeepSevenBits ) {
    ham().setAddress( 0xD1 );
    EXPECT_EQ( 0x51, ham().getAddress() );
    EXPECT_EQ( 3, ham().getBus() );
    ham().setBus( 0x8C );
    EXPECT_EQ( 0x0C, ham().getBus() );
    EXPECT_EQ( 0x51, ham().getAddress() );
    ham().read8( 9, &byte_ );
    EXPECT_EQ( uint64_t{ 1 } << 57 | uint64_t{ 0x0C } << 39 | uint64_t{ 0x51 } << 32 | 9,
               lastSingle().address() );
}

} // namespace
