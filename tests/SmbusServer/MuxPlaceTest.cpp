#include "SmbusServer/MuxPlace.h"

#include "tests/support/DescribeBatch.h"
#include "tests/support/Requests.h"

#include <gtest/gtest.h>
#include <string>

using namespace Requests;
using namespace SmbusServer;

namespace {

constexpr BusName bus0 = { .master = Smbus::I2C };
constexpr int never = 1000;

std::string text( const MuxPlace &place ) {
    return describe( place.requestsOn( bus0 ) );
}
std::string text( const std::optional<MuxPlace> &place ) {
    return place ? text( *place ) : "none";
}

class MuxPlaceTest : public testing::Test {
  protected:
    std::string switchedBy( const Smbus::TransactionRequest &request, int index,
                            int stop = never ) {
        return text( MuxBatch( request, bus0, wiring ).switchedBy( index, stop ) );
    }
    std::string muxesOf( const Smbus::TransactionRequest &request, size_t most = 9 ) {
        std::string all;
        for ( const MuxPlace &place : MuxBatch( request, bus0, wiring ).muxes( most ) ) {
            all += ( all.empty() ? "" : ", " ) + text( place );
        }
        return all;
    }

    PrivateWiring wiring;
    Smbus::TransactionRequest cascade =
        batch( { sendByte( 0x70, 2 ), sendByte( 0x71, 1 ), sendByte( 0x48, 3 ),
                 readBytes( 0x48, 0, 1 ), sendByte( 0x71, 0 ), sendByte( 0x70, 0 ) } );
};

} // namespace

TEST_F( MuxPlaceTest, WayLeadsThroughTheMuxesThatAreSelectedThen ) {
    EXPECT_EQ( "70=00", switchedBy( cascade, 0 ) );
    EXPECT_EQ( "70=02 | 71=00", switchedBy( cascade, 1 ) );
    EXPECT_EQ( "70=02 | 71=00", switchedBy( cascade, 4 ) );
    EXPECT_EQ( "70=00", switchedBy( cascade, 5 ) );
    EXPECT_EQ( "70=00, 70=02 | 71=00", muxesOf( cascade ) );
}

TEST_F( MuxPlaceTest, OnlyChipsThatAreSelectedAndLetGoOfAreMuxes ) {
    EXPECT_EQ( "none", switchedBy( cascade, 2 ) );
    EXPECT_EQ( "none", switchedBy( cascade, 3 ) );
    EXPECT_EQ( "", muxesOf( batch( { sendByte( 0x70, 1 ) } ) ) );
    EXPECT_EQ( "", muxesOf( batch( { sendByte( 0x70, 0 ) } ) ) );
    EXPECT_EQ( "", muxesOf( batch(
                       { sendByte( 0x70, 1 ), sendByte( 0x70, 0 ), readBytes( 0x48, 0, 1 ) } ) ) );
}

TEST_F( MuxPlaceTest, OneAddressBehindTwoChannelsIsTwoMuxes ) {
    const auto request =
        batch( { sendByte( 0x70, 1 ), sendByte( 0x71, 1 ), sendByte( 0x71, 0 ), sendByte( 0x70, 2 ),
                 sendByte( 0x71, 4 ), sendByte( 0x71, 0 ), sendByte( 0x70, 0 ) } );
    EXPECT_EQ( "70=00, 70=01 | 71=00, 70=02 | 71=00", muxesOf( request ) );
    EXPECT_EQ( "70=00, 70=01 | 71=00", muxesOf( request, 2 ) );
}

TEST_F( MuxPlaceTest, WhatWasNotPerformedSelectsNothing ) {
    const auto request = batch( { sendByte( 0x70, 1 ), sendByte( 0x71, 1 ), sendByte( 0x71, 0 ),
                                  readBytes( 0x48, 0, 1 ), sendByte( 0x70, 2 ), sendByte( 0x71, 4 ),
                                  sendByte( 0x71, 0 ), sendByte( 0x70, 0 ) } );
    EXPECT_EQ( "70=02 | 71=00", switchedBy( request, 6 ) );
    EXPECT_EQ( "70=01 | 71=00", switchedBy( request, 6, 3 ) );
    const MuxBatch seen( request, bus0, wiring );
    EXPECT_TRUE( seen.isSelected( 0x71, 3 ) );
    EXPECT_FALSE( seen.isSelected( 0x71, 1 ) );
}

TEST_F( MuxPlaceTest, MuxThatIsKnownToBeInFrontHasNoWay ) {
    struct KnownWiring : PrivateWiring {
        std::vector<uint8_t> rootMuxesOf( const BusName & ) const override { return { 0x71 }; }
    };
    const KnownWiring known;
    const std::vector<MuxPlace> places = MuxBatch( cascade, bus0, known ).muxes( 9 );
    ASSERT_EQ( 2u, places.size() );
    EXPECT_EQ( "71=00", text( places[1] ) );
}

TEST_F( MuxPlaceTest, OtherWiresAreLeftOut ) {
    Smbus::TransactionRequest request = cascade;
    Smbus::Request &inner = *request.mutable_request( 1 );
    inner.set_address( inner.address() | uint64_t{ 5 } << 39 );
    EXPECT_EQ( "70=00", muxesOf( request ) );
}

TEST_F( MuxPlaceTest, RequestsKeepWidthAndPacketErrorCode ) {
    const MuxPlace place{ { { .chip = 0x70, .value = 0x102, .width = 2, .pec = true },
                            { .chip = 0x71 } } };
    const BusName bus = { .master = Smbus::SCD, .pci = 768, .accelerator = 3, .bus = 5 };
    const Smbus::TransactionRequest requests = place.requestsOn( bus );
    const Operation select = decode( requests.request( 0 ) );
    EXPECT_EQ( bus, select.bus );
    EXPECT_EQ( 0x102u, select.reg );
    EXPECT_EQ( 2, select.registerWidth );
    EXPECT_TRUE( select.pec && select.isSendByte() );
    EXPECT_TRUE( decode( requests.request( 1 ) ).isDeselect() );
    EXPECT_EQ( "70=00", text( place.onWay( 0 ) ) );
}
