#include "KavraGeneric/Components/Slot.h"

#include "tests/KavraGeneric/Components/DeviceClassTest.h"
#include "tests/KavraGeneric/Components/Layout.h"

namespace {

using Component::LogicalDevice::Slot;
using testing::ElementsAre;
using testing::IsEmpty;

class RecordingSlot final : public Slot {
  public:
    pl_status getPresence( char **fdl ) override {
        *fdl = content;
        return -77;
    }

    char content[4] = "fdl";
};

class SlotTest : public DeviceClassTest {
  protected:
    RecordingSlot slot;
    pl_slot *const record = slot.record();
};

TEST_F( SlotTest, RecordFollowsTheVirtualTablePointer ) {
    EXPECT_EQ( 8, Layout::offsetIn( &slot, record ) );
    EXPECT_EQ( &Slot::ops_, Layout::operationsOf( record ) );
    EXPECT_EQ( &slot, Layout::deviceBehind( record ) );
    EXPECT_EQ( 32u, sizeof( Slot ) );
}

TEST_F( SlotTest, ConstructorLeavesTheHostsWordAlone ) {
    const Layout::MadeOverPattern<RecordingSlot> made;
    EXPECT_EQ( made.pattern, made.hostWord() );
}

TEST_F( SlotTest, TableHasItsSizeAndOneSlot ) {
    EXPECT_EQ( 16u, Layout::tableSize( &Slot::ops_ ) );
    EXPECT_EQ( 0u, Layout::tableSecondWord( &Slot::ops_ ) );
    EXPECT_EQ( Layout::addressOf( Slot::getPresenceCallback ), Layout::slot( &Slot::ops_, 0 ) );
}

TEST_F( SlotTest, OperationFollowsTheDestructor ) {
    EXPECT_EQ( 2u, Layout::virtualSlot( &Slot::getPresence ) );
}

TEST_F( SlotTest, GetPresenceIsTracedAndForwarded ) {
    char *fdl = nullptr;
    EXPECT_EQ( itsOwnStatus, record->ops->getPresence( record, &fdl ) );
    EXPECT_STREQ( "fdl", fdl );
    EXPECT_THAT( traces(), ElementsAre( "4 getPresenceCallback(" + printed( record ) + ")" ) );
}

TEST_F( SlotTest, EntryPointGivesTheRecordAndTracesNoMore ) {
    offer.slot = &slot;
    EXPECT_EQ( record, pl_slot_add( testDevice ) );
    EXPECT_THAT( tracesAfter( "Test device created" ), IsEmpty() );
}

} // namespace
