#include "KavraGeneric/Components/Gpio.h"

#include "tests/KavraGeneric/Components/DeviceClassTest.h"
#include "tests/KavraGeneric/Components/Layout.h"

namespace {

using Component::LogicalDevice::Gpio;
using testing::ElementsAre;
using testing::IsEmpty;

class RecordingGpio final : public Gpio {
  public:
    pl_status bitClear() override { return -71; }
    pl_status bitSet() override { return -72; }
    pl_status bitRead( unsigned int *value ) override {
        *value = 1;
        return -73;
    }
};

class GpioTest : public DeviceClassTest {
  protected:
    RecordingGpio gpio;
    pl_gpio *const record = gpio.record();
};

TEST_F( GpioTest, RecordFollowsTheVirtualTablePointer ) {
    EXPECT_EQ( 8, Layout::offsetIn( &gpio, record ) );
    EXPECT_EQ( &Gpio::ops_, Layout::operationsOf( record ) );
    EXPECT_EQ( &gpio, Layout::deviceBehind( record ) );
    EXPECT_EQ( 32u, sizeof( Gpio ) );
}

TEST_F( GpioTest, ConstructorLeavesTheHostsWordAlone ) {
    const Layout::MadeOverPattern<RecordingGpio> made;
    EXPECT_EQ( made.pattern, made.hostWord() );
}

TEST_F( GpioTest, TableHasItsSizeAndThreeSlots ) {
    EXPECT_EQ( 32u, Layout::tableSize( &Gpio::ops_ ) );
    EXPECT_EQ( 0u, Layout::tableSecondWord( &Gpio::ops_ ) );
    EXPECT_EQ( Layout::addressOf( Gpio::bitSetCallback ), Layout::slot( &Gpio::ops_, 0 ) );
    EXPECT_EQ( Layout::addressOf( Gpio::bitClearCallback ), Layout::slot( &Gpio::ops_, 1 ) );
    EXPECT_EQ( Layout::addressOf( Gpio::bitReadCallback ), Layout::slot( &Gpio::ops_, 2 ) );
}

TEST_F( GpioTest, OperationsFollowTheDestructorWithClearFirst ) {
    EXPECT_EQ( 2u, Layout::virtualSlot( &Gpio::bitClear ) );
    EXPECT_EQ( 3u, Layout::virtualSlot( &Gpio::bitSet ) );
    EXPECT_EQ( 4u, Layout::virtualSlot( &Gpio::bitRead ) );
}

TEST_F( GpioTest, CallbacksAreTracedByNameAloneAndForwarded ) {
    unsigned int value = 0;
    EXPECT_EQ( -72, record->ops->bitSet( record ) );
    EXPECT_EQ( -71, record->ops->bitClear( record ) );
    EXPECT_EQ( -73, record->ops->bitRead( record, &value ) );
    EXPECT_EQ( 1u, value );
    EXPECT_THAT( traces(),
                 ElementsAre( "4 bitSetCallback", "4 bitClearCallback", "4 bitReadCallback" ) );
}

TEST_F( GpioTest, DriverThatRefusesGivesNullWithoutATrace ) {
    EXPECT_EQ( nullptr, pl_gpio_add( testDevice ) );
    EXPECT_THAT( offer.asked, ElementsAre( "newGpio" ) );
    EXPECT_THAT( tracesAfter( "Test device created" ), IsEmpty() );
}

TEST_F( GpioTest, EntryPointGivesTheRecordAndTracesNoMore ) {
    offer.gpio = &gpio;
    EXPECT_EQ( record, pl_gpio_add( testDevice ) );
    EXPECT_THAT( tracesAfter( "Test device created" ), IsEmpty() );
}

} // namespace
