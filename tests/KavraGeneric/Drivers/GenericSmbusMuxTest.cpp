#include "KavraGeneric/Drivers/GenericSmbusMux.h"

#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/NotImplementedException.h"
#include "tests/support/FakeSmbusServer.h"
#include "tests/support/LibraryFixture.h"

#include <gmock/gmock.h>

#include <memory>

namespace {

using testing::ElementsAre;

// A mux at 0x70 with a second one behind its channel 0, and a chip behind either.
constexpr const char *topology = R"([ { "type": "I2C", "ham": "KavraSmbus", "id": 2,
    "devices": [ { "did": 1, "driver": "PCA9548", "address": { "address": 112 } } ],
    "muxes": [ { "did": 1, "busses": [
        { "id": 1, "devices": [ { "did": 2, "driver": "PCA9548", "address": { "address": 113 } } ],
          "muxes": [ { "did": 2, "busses": [ { "id": 128, "devices": [ { "did": 9 } ] } ] } ] },
        { "id": 4, "devices": [ { "did": 8 } ] } ] } ] } ])";

class GenericSmbusMuxTest : protected FakeSmbusServer, public LibraryFixture {
  protected:
    GenericSmbusMuxTest() {
        loadTopology( topology );
        connect();
    }

    static pl_smbus *chipOnChannel4() {
        return pl_smbus_add( R"({ "did": 8, "driver": "SmbusProxyDriver",
                                  "address": { "address": 72 } })",
                             0 );
    }

    static pl_smbus *chipBehindBothMuxes() {
        return pl_smbus_add( R"({ "did": 9, "driver": "SmbusProxyDriver",
                                  "address": { "address": 72 } })",
                             0 );
    }

    /// The mux device itself, as any device is made.
    static Component::DeviceBase *muxDevice( const char *did, const char *address ) {
        static std::string text;
        text = std::string( R"({ "driver": "PCA9548", "did": )" ) + did +
               R"(, "address": { "address": )" + address + " } }";
        Drivers::DriverArgs args;
        return Component::DeviceBase::create( text.c_str(), args );
    }

    using Channel = std::unique_ptr<Component::LogicalDevice::Mux>;
    static Channel channel( Component::DeviceBase *device, unsigned value ) {
        return Channel( device->newMux( Drivers::DriverArgs(), value ) );
    }
};

TEST_F( GenericSmbusMuxTest, SelectSendsTheChannelsBusIdAndResetSendsZero ) {
    pl_smbus *const chip = chipOnChannel4();
    chip->ops->writeByte( chip, 1, 0x7F );
    EXPECT_EQ( "70=04 | 48[01]=7f | 70=00", lastBatch() );
}

TEST_F( GenericSmbusMuxTest, OuterMuxIsSelectedFirstAndInnerMuxResetFirst ) {
    pl_smbus *const chip = chipBehindBothMuxes();
    chip->ops->writeByte( chip, 1, 0x7F );
    EXPECT_EQ( "70=01 | 71=80 | 48[01]=7f | 71=00 | 70=00", lastBatch() );
}

TEST_F( GenericSmbusMuxTest, MuxRequestsCarryNoPacketErrorCode ) {
    pl_smbus *const chip = chipOnChannel4();
    chip->ops->sendByte( chip, 1 );
    const Smbus::TransactionRequest batch = lastRequest();
    EXPECT_EQ( 3, batch.request_size() );
    for ( const Smbus::Request &request : batch.request() ) {
        EXPECT_FALSE( request.flag() );
    }
}

TEST_F( GenericSmbusMuxTest, ChannelSwitchesItselfThroughTheMuxDevicesOwnAccessMethod ) {
    const Channel four = channel( muxDevice( "1", "112" ), 4 );
    EXPECT_EQ( PL_STATUS_OK, four->executeMuxRequest() );
    EXPECT_EQ( PL_STATUS_OK, four->executeMuxRequest() );
    EXPECT_THAT( batches(), ElementsAre( "70=04", "70=04" ) );
}

TEST_F( GenericSmbusMuxTest, ChannelOfAnInnerMuxIsReachedThroughTheOuterOne ) {
    const Channel channel7 = channel( muxDevice( "2", "113" ), 0x80 );
    EXPECT_EQ( PL_STATUS_OK, channel7->executeMuxRequest() );
    EXPECT_THAT( batches(), ElementsAre( "70=01 | 71=80 | 70=00" ) );
}

TEST_F( GenericSmbusMuxTest, FailureToSwitchIsReturned ) {
    const Channel four = channel( muxDevice( "1", "112" ), 4 );
    answerFailed( "no acknowledge" );
    EXPECT_EQ( PL_STATUS_FAILED, four->executeMuxRequest() );
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, four->executeMuxRequest() );
}

TEST_F( GenericSmbusMuxTest, OnlyTheLowByteOfTheValueIsSent ) {
    channel( muxDevice( "1", "112" ), 0xABCDEF02 )->executeMuxRequest();
    EXPECT_EQ( "70=02", lastBatch() );
}

TEST_F( GenericSmbusMuxTest, SelectAndResetQueueOneRequestEach ) {
    auto *const device = dynamic_cast<Component::HardwareDevice *>( muxDevice( "1", "112" ) );
    const Channel four = channel( device, 4 );
    device->ham()->prepare();
    EXPECT_EQ( 1u, four->selectRequest( device->ham() ) );
    EXPECT_EQ( 1u, four->resetRequest( device->ham() ) );
    device->ham()->execute();
    EXPECT_EQ( "70=04 | 70=00", lastBatch() );
}

TEST_F( GenericSmbusMuxTest, ChannelKnowsItsDevice ) {
    Component::DeviceBase *const device = muxDevice( "1", "112" );
    EXPECT_EQ( device, channel( device, 4 )->device() );
}

TEST_F( GenericSmbusMuxTest, OffersNothingToTheHost ) {
    EXPECT_THROW( muxDevice( "1", "112" )->newSmbusProxy( Drivers::DriverArgs() ),
                  NotImplementedException );
}

} // namespace
