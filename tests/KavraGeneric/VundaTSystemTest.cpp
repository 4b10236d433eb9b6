#include "KavraGeneric/VundaTSystem.h"

#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/support/LibraryFixture.h"

#include <memory>

namespace {

class VundaTSystemTest : public LibraryFixture {
  protected:
    std::unique_ptr<pl_system> system{ pl_system_add( "{}" ) };
};

TEST_F( VundaTSystemTest, RecordIsTwoWordsAndTheHostsWordIsZero ) {
    EXPECT_EQ( 16u, sizeof *system );
    EXPECT_EQ( 0u, Layout::wordAt<uint64_t>( system.get(), 0 ) );
    EXPECT_EQ( system->ops, Layout::operationsOf( system.get() ) );
}

TEST_F( VundaTSystemTest, TableHasItsSizeAndItsTwoOperationsBetweenEmptySlots ) {
    EXPECT_EQ( 40u, Layout::tableSize( system->ops ) );
    EXPECT_EQ( 0u, Layout::tableSecondWord( system->ops ) );
    EXPECT_EQ( 0u, Layout::slot( system->ops, 0 ) );
    EXPECT_EQ( Layout::addressOf( pl_system_powercycle ), Layout::slot( system->ops, 1 ) );
    EXPECT_EQ( Layout::addressOf( pl_system_get_reload_cause ), Layout::slot( system->ops, 2 ) );
    EXPECT_EQ( 0u, Layout::slot( system->ops, 3 ) );
}

TEST_F( VundaTSystemTest, AddTracesItsArgumentsAndReadsNoneOfThem ) {
    host().lines.clear();
    const std::unique_ptr<pl_system> made( pl_system_add( "no { JSON" ) );
    EXPECT_NE( nullptr, made );
    const FakeHost::Line line{ 0, "VundaTSystem::pl_system_add( 'no { JSON' )" };
    EXPECT_EQ( std::vector{ line }, host().lines );
}

TEST_F( VundaTSystemTest, EachAddMakesARecordOfItsOwnWithTheSameTable ) {
    const std::unique_ptr<pl_system> second( pl_system_add( "{}" ) );
    EXPECT_NE( system, second );
    EXPECT_EQ( system->ops, second->ops );
}

TEST_F( VundaTSystemTest, OperationsAreNotSupportedAndTouchNothing ) {
    char cause[100] = "cause";
    char detail[500] = "detail";
    long when = 77;
    EXPECT_EQ( PL_STATUS_NOT_SUPPORTED,
               system->ops->get_reload_cause( system.get(), cause, &when, detail ) );
    EXPECT_EQ( PL_STATUS_NOT_SUPPORTED, system->ops->powercycle( system.get() ) );
    EXPECT_STREQ( "cause", cause );
    EXPECT_STREQ( "detail", detail );
    EXPECT_EQ( 77, when );
}

TEST_F( VundaTSystemTest, OperationsAreNotSupportedForNullEither ) {
    EXPECT_EQ( PL_STATUS_NOT_SUPPORTED,
               pl_system_get_reload_cause( nullptr, nullptr, nullptr, nullptr ) );
    EXPECT_EQ( PL_STATUS_NOT_SUPPORTED, pl_system_powercycle( nullptr ) );
}

} // namespace
