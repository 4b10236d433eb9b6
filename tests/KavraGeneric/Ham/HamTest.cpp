#include "KavraGeneric/Ham/Ham.h"

#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/KavraSmbusHam.h"
#include "KavraGeneric/Ham/SimHam.h"
#include "KavraGeneric/NotImplementedException.h"
#include "KavraGeneric/Topology/Topology.h"
#include "tests/KavraGeneric/Ham/RecordingHam.h"
#include "tests/support/LibraryFixture.h"

#include <cstring>
#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::Key;
using Lines = std::vector<FakeHost::Line>;

class HamTest : public LibraryFixture {
  protected:
    RecordingHam ham_;
    uint8_t byte_ = 1;
    uint16_t word_ = 1;
    uint32_t long_ = 1;
    std::string block_ = "before";
};

/// What the base class does where a method provides nothing of its own.
class BareHam final : public Ham::Ham {
    void prepare() override {}
    int execute() override { return 0; }
};

std::string messageOf( const std::function<void()> &call ) {
    try {
        call();
    } catch ( const NotImplementedException &thrown ) {
        return thrown.what();
    }
    return "nothing was thrown";
}

/// The place of a virtual operation in the class's table, counted from 1.
template <typename Method>
std::size_t slotOf( Method method ) {
    std::size_t word = 0;
    static_assert( sizeof method >= sizeof word );
    std::memcpy( &word, &method, sizeof word );
    return ( word - 1 ) / sizeof( void * ) + 1;
}

TEST_F( HamTest, InvalidResponseIdIsAllOnes ) {
    EXPECT_EQ( 0xFFFF'FFFFU, Ham::INVALID_RESPONSE_ID );
    EXPECT_EQ( 4U, sizeof( Ham::ResponseId ) );
}

TEST_F( HamTest, VirtualOperationsKeepTheirSlots ) {
    using Ham::Ham;
    const std::size_t slots[] = {
        slotOf( &Ham::init ),           slotOf( &Ham::prepare ),   slotOf( &Ham::execute ),
        slotOf( &Ham::addRecvByte ),    slotOf( &Ham::addRead8 ),  slotOf( &Ham::addRead16 ),
        slotOf( &Ham::addRead32 ),      slotOf( &Ham::addRead ),   slotOf( &Ham::addReadBlock ),
        slotOf( &Ham::addSendByte ),    slotOf( &Ham::addWrite8 ), slotOf( &Ham::addWrite16 ),
        slotOf( &Ham::addWrite32 ),     slotOf( &Ham::addWrite ),  slotOf( &Ham::addWriteBlock ),
        slotOf( &Ham::addProcessCall ), slotOf( &Ham::get8 ),      slotOf( &Ham::get16 ),
        slotOf( &Ham::get32 ),          slotOf( &Ham::getBlock ),  slotOf( &Ham::setExpected ),
        slotOf( &Ham::setDriverName ),
    };
    for ( std::size_t i = 0; i < std::size( slots ); ++i ) {
        EXPECT_EQ( i + 1, slots[i] );
    }
    using ::Ham::KavraSmbusHam;
    EXPECT_EQ( 23U, slotOf( &KavraSmbusHam::setAddress ) );
    EXPECT_EQ( 24U, slotOf( &KavraSmbusHam::getAddress ) );
    EXPECT_EQ( 25U, slotOf( &KavraSmbusHam::setBus ) );
    EXPECT_EQ( 26U, slotOf( &KavraSmbusHam::getBus ) );
}

TEST_F( HamTest, BaseThrowsTheNameOfEveryOperationThatIsNotProvided ) {
    BareHam bare;
    Ham::Ham &ham = bare;
    const struct {
        const char *name;
        std::function<void()> call;
    } operations[] = {
        { "addRecvByte", [&] { ham.addRecvByte(); } },
        { "addRead8", [&] { ham.addRead8( 0 ); } },
        { "addRead16", [&] { ham.addRead16( 0 ); } },
        { "addRead32", [&] { ham.addRead32( 0 ); } },
        { "addRead", [&] { ham.addRead( 0, 1, false ); } },
        { "addReadBlock", [&] { ham.addReadBlock( 0 ); } },
        { "addSendByte", [&] { ham.addSendByte( 0, false ); } },
        { "addWrite8", [&] { ham.addWrite8( 0, 0, false ); } },
        { "addWrite16", [&] { ham.addWrite16( 0, 0, false ); } },
        { "addWrite32", [&] { ham.addWrite32( 0, 0, false ); } },
        { "addWrite", [&] { ham.addWrite( 0, "", 1, false ); } },
        { "addWriteBlock", [&] { ham.addWriteBlock( 0, "", 1, false ); } },
        { "addProcessCall", [&] { ham.addProcessCall( 0, 0 ); } },
        { "get8", [&] { ham.get8( 0 ); } },
        { "get16", [&] { ham.get16( 0 ); } },
        { "get32", [&] { ham.get32( 0 ); } },
        { "getBlock", [&] { ham.getBlock( 0, 1 ); } },
    };
    for ( const auto &[name, call] : operations ) {
        EXPECT_EQ( std::string( "Not implemented " ) + name, messageOf( call ) );
    }
}

TEST_F( HamTest, BaseInitDoesNothing ) {
    BareHam bare;
    static_cast<Ham::Ham &>( bare ).init();
    EXPECT_TRUE( host().lines.empty() );
}

TEST_F( HamTest, BaseTracesWhatSimulationWouldTake ) {
    BareHam bare;
    Ham::Ham &ham = bare;
    ham.setDriverName( "driver", "name" );
    ham.setExpected( nullptr );
    const Lines expected = { { 0, "virtual Ham::setDriverName() invoked!!!" },
                             { 0, "virtual Ham::setExpected() invoked!!!" } };
    EXPECT_EQ( expected, host().lines );
}

TEST_F( HamTest, NeitherMethodProvidesDoubleWords ) {
    auto *smbus = Ham::KavraSmbusHam::createFromAddress( {}, 0 );
    auto *simulated = Ham::SimHam::create( Topology::Topology(), {} );
    for ( Ham::Ham *ham :
          { static_cast<Ham::Ham *>( smbus ), static_cast<Ham::Ham *>( simulated ) } ) {
        EXPECT_EQ( "Not implemented addWrite32",
                   messageOf( [&] { ham->write32( 0, 0, false ); } ) );
        EXPECT_EQ( "Not implemented addRead32", messageOf( [&] { ham->read32( 0, &long_ ); } ) );
        EXPECT_EQ( "Not implemented get32", messageOf( [&] { ham->get32( 0 ); } ) );
    }
}

TEST_F( HamTest, ReadsAreABatchOfOneThatIsFetched ) {
    const struct {
        const char *log;
        std::function<int()> call;
    } operations[] = {
        { "prepare addRecvByte execute get8(5)", [&] { return ham_.recvByte( &byte_ ); } },
        { "prepare addRead8(10) execute get8(5)", [&] { return ham_.read8( 0x10, &byte_ ); } },
        { "prepare addRead16(11) execute get16(5)", [&] { return ham_.read16( 0x11, &word_ ); } },
        { "prepare addRead32(12) execute get32(5)", [&] { return ham_.read32( 0x12, &long_ ); } },
        { "prepare addRead(13,5,0) execute getBlock(5,5)",
          [&] { return ham_.read( 0x13, 5, &block_, false ); } },
        { "prepare addRead(13,6,1) execute getBlock(5,6)",
          [&] { return ham_.read( 0x13, 6, &block_, true ); } },
        { "prepare addReadBlock(14) execute getBlock(5,0)",
          [&] { return ham_.readBlock( 0x14, &block_ ); } },
        { "prepare addProcessCall(15,1234) execute get16(5)",
          [&] { return ham_.processCall( 0x15, 0x1234, &word_ ); } },
    };
    for ( const auto &[log, call] : operations ) {
        ham_.log.clear();
        EXPECT_EQ( 0, call() );
        EXPECT_EQ( log, ham_.log );
    }
}

TEST_F( HamTest, WritesAreABatchOfOne ) {
    // A length is narrowed to 32 bits.
    const size_t length = 0x1'0000'0003;
    const struct {
        const char *log;
        std::function<int()> call;
    } operations[] = {
        { "prepare addSendByte(7f,0) execute", [&] { return ham_.sendByte( 0x7F, false ); } },
        { "prepare addSendByte(7f,1) execute", [&] { return ham_.sendByte( 0x7F, true ); } },
        { "prepare addWrite8(10,fe,0) execute", [&] { return ham_.write8( 0x10, 0xFE, false ); } },
        { "prepare addWrite8(10,fe,1) execute", [&] { return ham_.write8( 0x10, 0xFE, true ); } },
        { "prepare addWrite16(11,1234,0) execute",
          [&] { return ham_.write16( 0x11, 0x1234, false ); } },
        { "prepare addWrite16(11,1234,1) execute",
          [&] { return ham_.write16( 0x11, 0x1234, true ); } },
        { "prepare addWrite32(12,12345678,0) execute",
          [&] { return ham_.write32( 0x12, 0x1234'5678, false ); } },
        { "prepare addWrite32(12,12345678,1) execute",
          [&] { return ham_.write32( 0x12, 0x1234'5678, true ); } },
        { "prepare addWrite(13,abc,3,0) execute",
          [&] { return ham_.write( 0x13, "abc", length, false ); } },
        { "prepare addWrite(13,abc,3,1) execute",
          [&] { return ham_.write( 0x13, "abc", 3, true ); } },
        { "prepare addWriteBlock(14,abc,3,0) execute",
          [&] { return ham_.writeBlock( 0x14, "abc", length, false ); } },
        { "prepare addWriteBlock(14,abc,3,1) execute",
          [&] { return ham_.writeBlock( 0x14, "abc", 3, true ); } },
    };
    for ( const auto &[log, call] : operations ) {
        for ( const int status : { 0, 6 } ) {
            ham_.log.clear();
            ham_.status = status;
            EXPECT_EQ( status, call() );
            EXPECT_EQ( log, ham_.log );
        }
    }
}

TEST_F( HamTest, ReadsStoreWhatWasFetched ) {
    ham_.recvByte( &byte_ );
    EXPECT_EQ( 0x18, byte_ );
    byte_ = 1;
    ham_.read8( 0, &byte_ );
    EXPECT_EQ( 0x18, byte_ );
    ham_.read16( 0, &word_ );
    EXPECT_EQ( 0x1616, word_ );
    word_ = 1;
    ham_.processCall( 0, 0, &word_ );
    EXPECT_EQ( 0x1616, word_ );
    ham_.read32( 0, &long_ );
    EXPECT_EQ( 0x3232'3232U, long_ );
    ham_.read( 0, 5, &block_, false );
    EXPECT_EQ( "block", block_ );
    block_.clear();
    ham_.readBlock( 0, &block_ );
    EXPECT_EQ( "block", block_ );
}

TEST_F( HamTest, FailedReadsReturnTheStatusAndLeaveTheOutput ) {
    ham_.status = 6;
    EXPECT_EQ( 6, ham_.recvByte( &byte_ ) );
    EXPECT_EQ( 6, ham_.read8( 0, &byte_ ) );
    EXPECT_EQ( 6, ham_.read16( 0, &word_ ) );
    EXPECT_EQ( 6, ham_.read32( 0, &long_ ) );
    EXPECT_EQ( 6, ham_.read( 0, 5, &block_, false ) );
    EXPECT_EQ( 6, ham_.readBlock( 0, &block_ ) );
    EXPECT_EQ( 6, ham_.processCall( 0, 0, &word_ ) );
    EXPECT_EQ( 1, byte_ );
    EXPECT_EQ( 1, word_ );
    EXPECT_EQ( 1U, long_ );
    EXPECT_EQ( "before", block_ );
    EXPECT_EQ( std::string::npos, ham_.log.find( "get" ) );
}

TEST_F( HamTest, RetryCountIsUnsetUntilItIsGiven ) {
    EXPECT_FALSE( ham_.retriesAreSet() );
    EXPECT_EQ( 0U, ham_.retries() );
    ham_.retryCountIs( 3 );
    EXPECT_TRUE( ham_.retriesAreSet() );
    EXPECT_EQ( 3U, ham_.retries() );
}

TEST_F( HamTest, RegistryHasTheTwoMethods ) {
    EXPECT_THAT( Ham::hams, ElementsAre( Key( "KavraSmbus" ), Key( "SimHam" ) ) );
    EXPECT_TRUE( Ham::ipmiHams.empty() );
}

/// Making an access method by name.
class HamCreateTest : public HamTest {
  protected:
    std::string lookedUp( const std::string &name ) const {
        std::ostringstream out;
        out << "looking up for " << name << " in " << &topology_ << " with " << &args_;
        return out.str();
    }

    const Topology::Topology topology_{};
    const Drivers::DriverArgs args_{};
};

TEST_F( HamCreateTest, CallsTheFactoryThenInit ) {
    Ham::hams["Recording"] = [this]( const auto &topology, const auto &args ) {
        EXPECT_EQ( &topology_, &topology );
        EXPECT_EQ( &args_, &args );
        host().lines.push_back( { -1, "factory" } );
        return &ham_;
    };
    EXPECT_EQ( &ham_, Ham::Ham::create( "Recording", topology_, args_ ) );
    EXPECT_EQ( "init", ham_.log );
    const Lines expected = { { 3, lookedUp( "Recording" ) },
                             { 3, "calling Recording factory function" },
                             { -1, "factory" },
                             { 3, "ham initialisation" } };
    EXPECT_EQ( expected, host().lines );
}

TEST_F( HamCreateTest, UnknownNameGivesNull ) {
    for ( const std::string name : { "", "kavrasmbus", "IpmiHam" } ) {
        host().reset();
        EXPECT_EQ( nullptr, Ham::Ham::create( name, topology_, args_ ) );
        const Lines expected = { { 3, lookedUp( name ) }, { 0, "Couldn't find HAM " + name } };
        EXPECT_EQ( expected, host().lines );
    }
}

TEST_F( HamCreateTest, FactoryThatGivesNothingGivesNull ) {
    Ham::hams["Empty"] = []( const auto &, const auto & ) { return nullptr; };
    EXPECT_EQ( nullptr, Ham::Ham::create( "Empty", topology_, args_ ) );
    const Lines expected = { { 3, lookedUp( "Empty" ) },
                             { 3, "calling Empty factory function" },
                             { 0, "Factory function returned, couldn't create HAM Empty" } };
    EXPECT_EQ( expected, host().lines );
}

} // namespace
