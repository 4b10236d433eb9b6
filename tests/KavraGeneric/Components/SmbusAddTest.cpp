#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Topology/Lookup.h"
#include "KavraGeneric/Topology/Topology.h"
#include "tests/KavraGeneric/Components/DeviceClassTest.h"
#include "tests/support/FakeSmbusServer.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char *topology = R"([ { "type": "I2C", "ham": "KavraSmbus", "id": 2, "devices": [
    { "did": 5, "label": "bus<0x05>", "driver": "LM75", "address": { "address": 5 } },
    { "did": 26, "label": "bus<0x1a>", "driver": "", "address": { "address": 26 },
      "driverArgs": { "localReadDelayMs": 0 } },
    { "did": 27, "label": "wide<0x123>", "driver": "x", "address": { "address": 27 } },
    { "did": 28, "label": "bare<0x1c>" },
    { "did": 29, "label": "refusing<0x1d>", "driver": "x", "address": { "address": 29 },
      "provideHam": 0 } ] } ])";

/// The second entry form of pl_smbus_add(): a bus label and an address.
class SmbusAddTest : protected FakeSmbusServer, public DeviceClassTest {
  protected:
    SmbusAddTest() {
        DeviceClassTest::loadTopology( topology );
        connect();
    }
};

using SmbusAddDeathTest = SmbusAddTest;

TEST_F( SmbusAddTest, ReachesTheChipThatTheLabelAndAddressName ) {
    pl_smbus *const chip = pl_smbus_add( "bus", 0x1a );
    ASSERT_NE( nullptr, chip );
    EXPECT_EQ( PL_STATUS_OK, chip->ops->writeByte( chip, 3, 0x7F ) );
    EXPECT_EQ( "1a[03]=7f", lastBatch() );
}

TEST_F( SmbusAddTest, AddressHasAtLeastTwoDigitsInTheLabel ) {
    pl_smbus *const chip = pl_smbus_add( "bus", 5 );
    ASSERT_NE( nullptr, chip );
    chip->ops->sendByte( chip, 1 );
    EXPECT_EQ( "05=01", lastBatch() );
    EXPECT_NE( nullptr, pl_smbus_add( "wide", 0x123 ) );
}

TEST_F( SmbusAddTest, TracesBothArgumentsThenTheStepsOfTheDevice ) {
    pl_smbus_add( "bus", 26 );
    EXPECT_EQ( "7 pl_smbus_add( 'bus', 26 )", traces().at( 0 ) );
    EXPECT_EQ( "0 looking for already existing device 26", traces().at( 1 ) );
    EXPECT_THAT( tracesAfter( "SmbusProxyDriver device created" ),
                 ElementsAre( "0 setting read delay of 0 useconds\n",
                              "0 setting write delay of 0 useconds\n" ) );
}

TEST_F( SmbusAddTest, LabelThatTheTopologyLacksIsTracedAndAnsweredWithNull ) {
    EXPECT_EQ( nullptr, pl_smbus_add( "bus", 0x1b ) );
    EXPECT_THAT( traces(), ElementsAre( "7 pl_smbus_add( 'bus', 27 )",
                                        "0 smbus_add failed: device does not exist in topology" ) );
}

TEST_F( SmbusAddTest, TopologyKeepsTheProxysDriverName ) {
    pl_smbus_add( "bus", 5 );
    EXPECT_EQ( "SmbusProxyDriver", Topology::getDeviceByLabel( "bus<0x05>" )->driverArgs->driver );
}

TEST_F( SmbusAddTest, HardwareDeviceIsMadeOnceAndTheRecordEachTime ) {
    pl_smbus *const first = pl_smbus_add( "bus", 5 );
    pl_smbus *const second = pl_smbus_add( "bus", 5 );
    EXPECT_NE( first, second );
    EXPECT_EQ( 1u, Component::DeviceBase::devices.size() );
    EXPECT_EQ( 1u, Component::DeviceBase::devices.count( 5 ) );
}

TEST_F( SmbusAddTest, ArgumentsTextGoesThroughDeviceCreationWhateverTheAddress ) {
    offer.smbusProxy = nullptr;
    EXPECT_EQ( nullptr, pl_smbus_add( testDevice, 0x1a ) );
    EXPECT_THAT( traces().at( 0 ), HasSubstr( "7 pl_smbus_add( '{ \"did\": 7" ) );
    EXPECT_THAT( traces().at( 1 ), HasSubstr( "0 parsing devArgs = {" ) );
    EXPECT_THAT( offer.asked, ElementsAre( "newSmbusProxy" ) );
    EXPECT_EQ( "0 newSmbusProxy() failed", traces().back() );
}

TEST_F( SmbusAddTest, TextWithABlankBeforeTheBraceIsALabel ) {
    EXPECT_EQ( nullptr, pl_smbus_add( " {}", 5 ) );
    EXPECT_EQ( "0 smbus_add failed: device does not exist in topology", traces().back() );
}

TEST_F( SmbusAddTest, DeviceThatTheLabelNamesNeedsNoTextInSimulation ) {
    simulate();
    EXPECT_NE( nullptr, pl_smbus_add( "bus", 5 ) );
}

TEST_F( SmbusAddTest, RefusalOfALabelledDeviceIsTraced ) {
    Drivers::DriverArgs args;
    ASSERT_NE( nullptr, Component::DeviceBase::create( testDevice, args ) );
    Component::DeviceBase::devices[5] = Component::DeviceBase::devices.at( 7 );
    EXPECT_EQ( nullptr, pl_smbus_add( "bus", 5 ) );
    EXPECT_EQ( "0 newSmbusProxy() failed", traces().back() );
}

TEST_F( SmbusAddDeathTest, LabelledDeviceWithoutArgumentsEndsTheProcess ) {
    EXPECT_DEATH( pl_smbus_add( "bare", 0x1c ), "Assertion `device->driverArgs' failed" );
}

TEST_F( SmbusAddDeathTest, ProxyWithoutAnAccessMethodEndsTheProcess ) {
    EXPECT_DEATH( pl_smbus_add( "refusing", 0x1d ), "Assertion `ham' failed" );
}

} // namespace
