#include "KavraGeneric/Components/Slot.h"

#include "tests/KavraGeneric/Components/DeviceClassTest.h"
#include "tests/KavraGeneric/Components/Layout.h"

namespace {

using Component::LogicalDevice::Slot;
using testing::ElementsAre;
using testing::IsEmpty;

class RecordingSlot final : public Slot {
  public:
    using Slot::Slot;

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
}

TEST_F( SlotTest, IndexArgumentsAndTextFollowTheWayBack ) {
    const char *const text = "{}";
    RecordingSlot driven( 5, { { "key", "value" } }, text );
    EXPECT_EQ( 5, Layout::wordAt<uint8_t>( &driven, 32 ) );
    const void *arguments = reinterpret_cast<const char *>( &driven ) + 40;
    EXPECT_EQ( "value", static_cast<const Slot::DriverSpecificArgs *>( arguments )->at( "key" ) );
    EXPECT_EQ( text, Layout::wordAt<const char *>( &driven, 88 ) );
    EXPECT_EQ( 96u, sizeof( Slot ) );
}

TEST_F( SlotTest, SlotWithoutArgumentsHasNone ) {
    EXPECT_EQ( 0, Layout::wordAt<uint8_t>( &slot, 32 ) );
    EXPECT_EQ( nullptr, Layout::wordAt<const char *>( &slot, 88 ) );
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
