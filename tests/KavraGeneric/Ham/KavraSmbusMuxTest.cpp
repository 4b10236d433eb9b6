// The muxes on a device's path: what frames its batches.
#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/Mux.h"
#include "KavraGeneric/NotImplementedException.h"
#include "tests/KavraGeneric/Ham/SmbusHamFixture.h"

#include <memory>

namespace {

using KavraSmbusMuxTest = SmbusHamFixture;

TEST_F( KavraSmbusMuxTest, SelectsOuterMuxFirstAndResetsInnerMuxFirst ) {
    deviceBehind( { mux( 0x70, 0x01 ), mux( 0x71, 0x08 ) }, 0x48 );
    answer( { ok, ok, bytes( 0x19 ), ok, ok } );
    EXPECT_EQ( 0, ham().read8( 0, &byte_ ) );
    EXPECT_EQ( "70=01 | 71=08 | 48[00]x1 | 71=00 | 70=00", lastBatch() );
    EXPECT_EQ( 0x19, byte_ );
}

TEST_F( KavraSmbusMuxTest, EveryBatchIsFramedAnew ) {
    deviceBehind( { mux( 0x70, 0x01 ), mux( 0x71, 0x08 ), mux( 0x72, 0x80 ) }, 0x48 );
    ham().read8( 1, &byte_ );
    ham().write8( 2, 0xAA, false );
    EXPECT_EQ( "70=01 | 71=08 | 72=80 | 48[02]=aa | 72=00 | 71=00 | 70=00", lastBatch() );
}

TEST_F( KavraSmbusMuxTest, NumbersOfABatchDoNotCountTheSelects ) {
    deviceBehind( { mux( 0x70, 0x01 ), mux( 0x71, 0x08 ) }, 0x48 );
    ham().prepare();
    EXPECT_EQ( 0U, ham().addRead8( 1 ) );
    EXPECT_EQ( 1U, ham().addRead16( 2 ) );
    answer( { ok, ok, bytes( 0x11 ), bytes( 0x22, 0x33 ), ok, ok } );
    ASSERT_EQ( 0, ham().execute() );
    EXPECT_EQ( 0x11, ham().get8( 0 ) );
    EXPECT_EQ( 0x3322, ham().get16( 1 ) );
}

TEST_F( KavraSmbusMuxTest, NumberingGoesOnBehindTheSelectsUntilTheFirstPrepare ) {
    deviceBehind( { mux( 0x70, 0x01 ), mux( 0x71, 0x08 ) }, 0x48 );
    EXPECT_EQ( 3U, ham().addRead8( 1 ) ); // a new object counts from 0, a new batch from -1
    ham().prepare();
    EXPECT_EQ( 0U, ham().addRead8( 1 ) );
}

TEST_F( KavraSmbusMuxTest, ResponseCountIncludesTheFrame ) {
    deviceBehind( { mux( 0x70, 0x01 ) }, 0x48 );
    answerCount( 1 );
    EXPECT_EQ( 6, ham().read8( 0, &byte_ ) );
    EXPECT_TRUE(
        host().traced( 3, "execute: invalid number of response entries; expected 3, got 1" ) );
}

TEST_F( KavraSmbusMuxTest, ExecutingTwiceAddsASecondSetOfResets ) {
    deviceBehind( { mux( 0x70, 0x01 ), mux( 0x71, 0x08 ) }, 0x48 );
    ham().prepare();
    ham().addRead8( 0 );
    ham().execute();
    ham().execute();
    EXPECT_EQ( "70=01 | 71=08 | 48[00]x1 | 71=00 | 70=00 | 71=00 | 70=00", lastBatch() );
    ham().prepare();
    ham().execute();
    EXPECT_EQ( "70=01 | 71=08 | 71=00 | 70=00", lastBatch() );
}

TEST_F( KavraSmbusMuxTest, InitMakesTheSelectsAnew ) {
    deviceBehind( { mux( 0x70, 0x01 ), mux( 0x71, 0x08 ) }, 0x48 );
    ham().addRead8( 9 );
    ham().init();
    ham().addRead8( 0 );
    ham().execute();
    EXPECT_EQ( "70=01 | 71=08 | 48[00]x1 | 71=00 | 70=00", lastBatch() );
}

TEST_F( KavraSmbusMuxTest, ChannelsOfOneMuxShareItsDevice ) {
    loadTopology( R"([{"type":"I2C","ham":"KavraSmbus","id":3,"devices":[)" +
                  inlineMux( "100", 0x70 ) + R"(],"muxes":[{"did":100,"busses":[
                  {"id":1,"devices":[{"did":1}]},{"id":4,"devices":[{"did":2}]}]}]}])" );
    Drivers::DriverArgs args = arguments( 0x48 );
    Ham *first = make( args );
    args.did = 2;
    Ham *second = make( args );
    first->read8( 0, &byte_ );
    second->read8( 0, &byte_ );
    const std::vector<std::string> expected = { "70=01 | 48[00]x1 | 70=00",
                                                "70=04 | 48[00]x1 | 70=00" };
    EXPECT_EQ( expected, batches() );
    EXPECT_EQ( 1U, Component::DeviceBase::devices.size() );
}

TEST_F( KavraSmbusMuxTest, InnerMuxIsItselfReachedThroughTheOuterOne ) {
    deviceBehind( { mux( 0x70, 0x01 ), mux( 0x71, 0x08 ) }, 0x48 );
    const std::unique_ptr<Component::LogicalDevice::Mux> channel(
        Component::DeviceBase::devices.at( muxDid + 1 )->newMux( {}, 0x20 ) );
    EXPECT_EQ( 0, channel->executeMuxRequest() );
    EXPECT_EQ( "70=01 | 71=20 | 70=00", lastBatch() );
}

TEST_F( KavraSmbusMuxTest, FrameCarriesTheAddressOfTheMux ) {
    loadTopology( R"([{"type":"I2C","ham":"KavraSmbus","id":3,"devices":[{"did":100,
        "driver":"PCA9548","address":{"address":112,"writeDelay":2,"busTimeout":5}}],
        "muxes":[{"did":100,"busses":[{"id":1,"devices":[{"did":1}]}]}]}])" );
    Drivers::DriverArgs args = arguments( 0x48 );
    args.address.readDelay = 3;
    make( args )->read8( 0, &byte_ );
    const uint64_t muxWord = uint64_t{ 2 } << 60 | uint64_t{ 1 } << 57 | uint64_t{ 5 } << 54 |
                             uint64_t{ 3 } << 39 | uint64_t{ 0x70 } << 32;
    const Smbus::TransactionRequest batch = lastRequest();
    ASSERT_EQ( 3, batch.request_size() );
    EXPECT_EQ( muxWord | 1, batch.request( 0 ).address() );
    EXPECT_EQ( muxWord, batch.request( 2 ).address() );
    EXPECT_EQ( 3U, addressOf( batch.request( 1 ) ).readDelay );
    EXPECT_EQ( 0U, addressOf( batch.request( 1 ) ).writeDelay );
    // The channel's number: the device's bus is the last one on the way up.
    EXPECT_EQ( 3U, addressOf( batch.request( 1 ) ).bus );
}

TEST_F( KavraSmbusMuxTest, FrameHasTheMasterOfTheDevice ) {
    loadTopology( R"([{"type":"SCD","ham":"KavraSmbus","pci":4660,"accelerators":[{"id":9,
        "busses":[{"id":3,"devices":[)" +
                  inlineMux( "100", 0x70 ) +
                  R"(],"muxes":[{"did":100,"busses":[{"id":1,"devices":[{"did":1}]}]}]}]}]}])" );
    make( arguments( 0x48 ) )->read8( 0, &byte_ );
    const Smbus::TransactionRequest batch = lastRequest();
    ASSERT_EQ( 3, batch.request_size() );
    for ( const Smbus::Request &request : batch.request() ) {
        EXPECT_EQ( 4660U, request.pci() );
        EXPECT_EQ( Smbus::SCD, request.mastertype() );
        EXPECT_EQ( 9U, addressOf( request ).accelerator );
        EXPECT_EQ( 3U, addressOf( request ).bus );
    }
}

TEST_F( KavraSmbusMuxTest, RepeatedStartDoesNotReachTheFrame ) {
    deviceBehind( { mux( 0x70, 0x01 ) }, 0x48 );
    for ( const bool flag : { true, false } ) {
        ham().read( 0, 4, &block_, flag );
        const Smbus::TransactionRequest batch = lastRequest();
        ASSERT_EQ( 3, batch.request_size() );
        EXPECT_EQ( 0U, addressOf( batch.request( 0 ) ).writeNoStopReadCurrent );
        EXPECT_EQ( 1U, addressOf( batch.request( 1 ) ).writeNoStopReadCurrent );
        EXPECT_EQ( 0U, addressOf( batch.request( 2 ) ).writeNoStopReadCurrent );
    }
}

TEST_F( KavraSmbusMuxTest, TracesEachMuxOnThePath ) {
    loadTopology( i2cBehind( { mux( 0x70, 0x01 ), mux( 0x71, 0x08 ) } ) );
    ::Ham::createHam( arguments( 0x48 ) );
    std::vector<std::string> muxes;
    for ( const std::string &text : host().texts( 3 ) ) {
        if ( text.starts_with( "Mux" ) ) {
            muxes.push_back( text );
        }
    }
    // The inner mux is made when it is met, and its own path leads through the outer one.
    const std::vector<std::string> expected = { "Mux using device 101 with value 8",
                                                "Mux using device 100 with value 1",
                                                "Mux using device 100 with value 1" };
    EXPECT_EQ( expected, muxes );
}

TEST_F( KavraSmbusMuxTest, DriverWithoutChannelsCannotBeAMux ) {
    loadTopology( R"([{"type":"I2C","ham":"KavraSmbus","id":3,"devices":[{"did":100,
        "driver":"LM75","address":{"address":112}}],
        "muxes":[{"did":100,"busses":[{"id":1,"devices":[{"did":1}]}]}]}])" );
    try {
        make( arguments( 0x48 ) );
        FAIL() << "nothing was thrown";
    } catch ( const NotImplementedException &thrown ) {
        EXPECT_STREQ( "Not implemented newMux", thrown.what() );
    }
}

using KavraSmbusMuxDeathTest = KavraSmbusMuxTest;

TEST_F( KavraSmbusMuxDeathTest, MuxThatIsNotDeclaredInlineEndsTheProcess ) {
    loadTopology( R"([{"type":"I2C","ham":"KavraSmbus","id":3,"devices":[{"did":100}],
        "muxes":[{"did":100,"busses":[{"id":1,"devices":[{"did":1}]}]}]}])" );
    const auto dies = [] {
        tellTracesWhenDying();
        ::Ham::createHam( arguments( 0x48 ) );
    };
    EXPECT_DEATH( dies(), "Assertion `topoDev->args' failed" );
    EXPECT_DEATH( dies(), "\n3 Mux using device 100 with value 1\n.*"
                          "\n3 Device 100 isn't declared inline\n$" );
}

TEST_F( KavraSmbusMuxDeathTest, MuxThatCannotBeMadeEndsTheProcess ) {
    loadTopology( R"([{"type":"I2C","ham":"KavraSmbus","id":3,"devices":[{"did":100,
        "driver":"Unheard","address":{"address":112}}],
        "muxes":[{"did":100,"busses":[{"id":1,"devices":[{"did":1}]}]}]}])" );
    EXPECT_DEATH( ::Ham::createHam( arguments( 0x48 ) ), "Assertion `muxDevice' failed" );
}

TEST_F( KavraSmbusMuxDeathTest, MuxOnTheWayToItsOwnChipEndsTheProcess ) {
    loadTopology( R"([{"type":"I2C","ham":"KavraSmbus","id":3,
        "muxes":[{"did":100,"busses":[{"id":1,"devices":[{"did":1},{"did":100,
        "driver":"PCA9548","address":{"address":112}}]}]}]}])" );
    const auto dies = [] {
        tellTracesWhenDying();
        ::Ham::createHam( arguments( 0x48 ) );
    };
    EXPECT_DEATH( dies(), "Assertion `muxDevice' failed" );
    EXPECT_DEATH( dies(), "\n3 Mux using device 100 is on the way to that device\n$" );
}

} // namespace
