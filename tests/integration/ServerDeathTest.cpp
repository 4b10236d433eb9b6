// The server dies at every place of a batch: what the host sees, and what the board has seen.
#include "tests/integration/DyingServer.h"

#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/KavraSmbusHam.h"
#include "tests/support/LibraryFixture.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <string>

namespace {

using Moment = DyingServer::Moment;

constexpr unsigned configuration = 1;
constexpr unsigned limit = 3;

constexpr const char *topology = R"([{"type":"I2C","ham":"KavraSmbus","id":3,
    "devices":[{"did":100,"driver":"PCA9548","address":{"address":112}},
               {"did":102,"driver":"PCA9548","address":{"address":114}}],
    "muxes":[{"did":100,"busses":[{"id":1,
        "devices":[{"did":101,"driver":"PCA9548","address":{"address":113}}],
        "muxes":[{"did":101,"busses":[{"id":8,"devices":[{"did":1}]}]}]}]},
        {"did":102,"busses":[{"id":1,"devices":[{"did":2}]}]}]}])";

class ServerDeathTest : public LibraryFixture {
  protected:
    ServerDeathTest() {
        server_.start();
        connect();
        loadTopology( topology );
        ham_ = newSensor( 1 );
        other_ = newSensor( 2 );
    }

    static Ham::KavraSmbusHam *newSensor( unsigned did ) {
        Drivers::DriverArgs args;
        args.did = did;
        args.uid = Drivers::DriverArgs::noComponent;
        args.address.address = 0x48;
        args.address.addrSize = 1;
        return dynamic_cast<Ham::KavraSmbusHam *>( ::Ham::createHam( args ) );
    }

    /// Eight requests: two selects, two writes, two reads, two deselects.
    int batch() {
        ham_->prepare();
        ham_->addWrite8( configuration, 0x10, false );
        configuration_ = ham_->addRead8( configuration );
        ham_->addWrite16( limit, 0x0050, false );
        temperature_ = ham_->addRead16( 0 );
        return ham_->execute();
    }

    /// The batch works, and its writes are done once.
    void expectRight() {
        server_.forgetWrites();
        ASSERT_EQ( 0, batch() );
        EXPECT_EQ( 0x10, ham_->get8( configuration_ ) );
        EXPECT_EQ( 0x8018, ham_->get16( temperature_ ) ); // 24.5 °C, high byte first
        EXPECT_EQ( 1u, server_.writes( configuration ) );
        EXPECT_EQ( 1u, server_.writes( limit ) );
    }

    /// The chip of the same address behind another mux answers, and nobody beside it.
    void expectOtherRight() {
        uint16_t temperature = 0;
        ASSERT_EQ( 0, other_->read16( 0, &temperature ) );
        EXPECT_EQ( 0x0061, temperature ); // 97 °C, high byte first
    }

    /// One death, and the life after it.
    void dieAt( Moment moment, size_t at ) {
        SCOPED_TRACE( "at " + std::to_string( at ) );
        server_.stop();
        server_.forgetWrites();
        server_.start( moment, at );
        EXPECT_EQ( 4, batch() );
        EXPECT_TRUE( server_.hasDied() );
        EXPECT_LE( server_.writes( configuration ), 1u );
        EXPECT_LE( server_.writes( limit ), 1u );
        server_.start();
        expectRight();
    }

    /// The sizes of the frames of one batch.
    void measure() {
        server_.stop();
        server_.start();
        expectRight();
        requestSize_ = server_.received();
        responseSize_ = server_.sent();
    }

    DyingServer server_;
    size_t requestSize_ = 0;
    size_t responseSize_ = 0;

  private:
    Ham::KavraSmbusHam *ham_ = nullptr;
    Ham::KavraSmbusHam *other_ = nullptr;
    ::Ham::ResponseId configuration_ = 0;
    ::Ham::ResponseId temperature_ = 0;
};

TEST_F( ServerDeathTest, AtEveryByteOfARequest ) {
    measure();
    ASSERT_GT( requestSize_, 100u );
    for ( size_t at = 0; at <= requestSize_ && !HasFailure(); ++at ) {
        dieAt( Moment::Received, at );
    }
}

TEST_F( ServerDeathTest, AtEveryByteOfAResponse ) {
    measure();
    ASSERT_GT( responseSize_, 20u );
    for ( size_t at = 0; at < responseSize_ && !HasFailure(); ++at ) {
        dieAt( Moment::Sent, at );
    }
}

TEST_F( ServerDeathTest, BehindAWholeResponse ) {
    measure();
    server_.stop();
    server_.start( Moment::Sent, responseSize_ );
    expectRight();
    EXPECT_TRUE( server_.hasDied() );
    server_.start();
    expectRight();
}

// Those with which the server clears the muxes before the batch too.
TEST_F( ServerDeathTest, BeforeAndAfterEachBusRequest ) {
    measure();
    const size_t requests = server_.operations();
    ASSERT_GT( requests, 8u );
    for ( size_t number = 1; number <= requests && !HasFailure(); ++number ) {
        dieAt( Moment::BeforeOperation, number );
        dieAt( Moment::AfterOperation, number );
    }
}

TEST_F( ServerDeathTest, NextBatchReadsItsOwnChipWhereverTheServerDied ) {
    measure();
    const size_t requests = server_.operations();
    size_t leftOn = 0;
    for ( size_t number = 1; number <= requests && !HasFailure(); ++number ) {
        SCOPED_TRACE( "at " + std::to_string( number ) );
        server_.stop();
        server_.start( Moment::AfterOperation, number );
        EXPECT_EQ( 4, batch() );
        EXPECT_TRUE( server_.hasDied() );
        leftOn += server_.channels( "outer" ) == "0x01" ? 1U : 0U;
        server_.start();
        expectOtherRight();
        EXPECT_EQ( "0x00", server_.channels( "outer" ) );
        expectRight();
        EXPECT_EQ( "0x00", server_.channels( "inner" ) );
    }
    EXPECT_GE( leftOn, 6u ); // behind each request but the last of the batch
}

} // namespace
