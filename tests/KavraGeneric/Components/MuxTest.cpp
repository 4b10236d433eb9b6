#include "KavraGeneric/Components/Mux.h"

#include "tests/KavraGeneric/Components/Layout.h"

#include <gtest/gtest.h>

namespace {

using Component::LogicalDevice::Mux;

TEST( MuxTest, OperationsFollowTheDestructor ) {
    EXPECT_EQ( 2u, Layout::virtualSlot( &Mux::selectRequest ) );
    EXPECT_EQ( 3u, Layout::virtualSlot( &Mux::resetRequest ) );
    EXPECT_EQ( 4u, Layout::virtualSlot( &Mux::executeMuxRequest ) );
    EXPECT_EQ( 5u, Layout::virtualSlot( &Mux::device ) );
}

TEST( MuxTest, HasNoHostRecord ) {
    EXPECT_EQ( sizeof( void * ), sizeof( Mux ) );
}

} // namespace
