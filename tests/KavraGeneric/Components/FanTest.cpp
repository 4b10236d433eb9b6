#include "KavraGeneric/Components/Fan.h"

#include "tests/KavraGeneric/Components/DeviceClassTest.h"
#include "tests/KavraGeneric/Components/Layout.h"

namespace {

using Component::LogicalDevice::Fan;
using testing::ElementsAre;
using testing::IsEmpty;

class RecordingFan final : public Fan {
  public:
    pl_status getRpm( int *rpm ) override {
        *rpm = 4200;
        return status;
    }
    pl_status setRpm( int rpm ) override {
        asked = rpm;
        return status;
    }

    int asked = 0;
    pl_status status = 0;
};

class DescribedFan final : public Fan {
  public:
    pl_status debugInfo( char **text ) const override {
        *text = content;
        return -77;
    }
    pl_status getRpm( int * ) override { return 0; }
    pl_status setRpm( int ) override { return 0; }

    static inline char content[] = "fan";
};

class FanTest : public DeviceClassTest {
  protected:
    FanTest() { fan.status = itsOwnStatus; }

    RecordingFan fan;
    pl_fan *const record = fan.record();
};

TEST_F( FanTest, RecordFollowsTheVirtualTablePointer ) {
    EXPECT_EQ( 8, Layout::offsetIn( &fan, record ) );
    EXPECT_EQ( &Fan::ops_, Layout::operationsOf( record ) );
    EXPECT_EQ( &fan, Layout::deviceBehind( record ) );
    EXPECT_EQ( 32u, sizeof( Fan ) );
}

TEST_F( FanTest, ConstructorLeavesTheHostsWordAlone ) {
    const Layout::MadeOverPattern<RecordingFan> made;
    EXPECT_EQ( made.pattern, made.hostWord() );
}

TEST_F( FanTest, TableHasItsSizeAndThreeSlots ) {
    EXPECT_EQ( 32u, Layout::tableSize( &Fan::ops_ ) );
    EXPECT_EQ( 0u, Layout::tableSecondWord( &Fan::ops_ ) );
    EXPECT_EQ( Layout::addressOf( Fan::debugInfoCallback ), Layout::slot( &Fan::ops_, 0 ) );
    EXPECT_EQ( Layout::addressOf( Fan::getRpmCallback ), Layout::slot( &Fan::ops_, 1 ) );
    EXPECT_EQ( Layout::addressOf( Fan::setRpmCallback ), Layout::slot( &Fan::ops_, 2 ) );
}

TEST_F( FanTest, OperationsFollowTheDestructor ) {
    EXPECT_EQ( 2u, Layout::virtualSlot( &Fan::debugInfo ) );
    EXPECT_EQ( 3u, Layout::virtualSlot( &Fan::getRpm ) );
    EXPECT_EQ( 4u, Layout::virtualSlot( &Fan::setRpm ) );
}

TEST_F( FanTest, GetRpmIsTracedAndForwarded ) {
    int rpm = 0;
    EXPECT_EQ( itsOwnStatus, record->ops->getRpm( record, &rpm ) );
    EXPECT_EQ( 4200, rpm );
    EXPECT_THAT( traces(), ElementsAre( "4 getRpmCallback(" + printed( record ) + ")" ) );
}

TEST_F( FanTest, SetRpmIsTracedWithTheSpeedAndForwarded ) {
    EXPECT_EQ( itsOwnStatus, record->ops->setRpm( record, -5 ) );
    EXPECT_EQ( -5, fan.asked );
    EXPECT_THAT( traces(), ElementsAre( "4 setRpmCallback(" + printed( record ) + ", -5)" ) );
}

TEST_F( FanTest, DebugInfoOfAPlainFanIsOkAndLeavesTheTextAlone ) {
    char text[] = "untouched";
    char *pointer = text;
    EXPECT_EQ( PL_STATUS_OK, record->ops->debugInfo( record, &pointer ) );
    EXPECT_EQ( text, pointer );
    EXPECT_THAT( traces(), ElementsAre( "4 debugInfoCallback(" + printed( record ) + ")" ) );
}

TEST_F( FanTest, DebugInfoOfAFanThatHasOneIsForwarded ) {
    DescribedFan described;
    char *text = nullptr;
    EXPECT_EQ( itsOwnStatus, Fan::ops_.debugInfo( described.record(), &text ) );
    EXPECT_STREQ( "fan", text );
}

TEST_F( FanTest, EntryPointGivesTheRecordAndTracesNoMore ) {
    offer.fan = &fan;
    EXPECT_EQ( record, pl_fan_add( testDevice ) );
    EXPECT_THAT( tracesAfter( "Test device created" ), IsEmpty() );
}

TEST_F( FanTest, HostsWordIsTheHostsAlone ) {
    offer.fan = &fan;
    record->host = 0x1234'5678'9ABC'DEF0;
    EXPECT_EQ( record, pl_fan_add( testDevice ) );
    record->ops->setRpm( record, 1 );
    EXPECT_EQ( 0x1234'5678'9ABC'DEF0U, record->host );
}

} // namespace
