// A program of its own, because it stands in for the tree builder: the library calls the one below.
#include "KavraGeneric/Library.h"
#include "KavraGeneric/Topology/Loader.h"
#include "KavraGeneric/Topology/Topology.h"
#include "tests/support/LibraryFixture.h"
#include "tests/support/Traces.h"

namespace {

bool buildNothing = false;
int builds = 0;
bool builtOverAnOldTree = false;

} // namespace

Topology::Topology *Topology::Topology::fromJSON( const rapidjson::Document & ) {
    ++builds;
    builtOverAnOldTree = _topology || !_topology_index.empty();
    return buildNothing ? nullptr : new Topology;
}

namespace {

class BuildFailureTest : public LibraryFixture {
  protected:
    // A compiler may bind the library's own call at compile time; then there is nothing to see.
    void SetUp() override {
        builds = 0;
        buildNothing = false;
        ASSERT_EQ( 0, Topology::loadTopology( "[]" ) );
        if ( builds == 0 ) {
            GTEST_SKIP() << "this build's library calls its own tree builder";
        }
        Topology::_topology_index["label"] = nullptr;
        host().lines.clear();
    }
};

} // namespace

TEST_F( BuildFailureTest, NoTreeIsTracedAndReported ) {
    buildNothing = true;
    EXPECT_EQ( 6, Topology::loadTopology( "[ ]" ) );
    EXPECT_EQ( "trace 2: loading topology json\n"
               "trace 2: failed to create topology tree\n",
               tracesOfLibrary() );
}

TEST_F( BuildFailureTest, OldTreeAndLabelsAreGoneAndTheOldTextStays ) {
    buildNothing = true;
    Topology::loadTopology( "[ ]" );
    EXPECT_EQ( nullptr, Topology::_topology );
    EXPECT_TRUE( Topology::_topology_index.empty() );
    EXPECT_EQ( "[]", Topology::_topology_json );
}

TEST_F( BuildFailureTest, OldTextIsLoadedAgain ) {
    buildNothing = true;
    Topology::loadTopology( "[ ]" );
    buildNothing = false;
    host().lines.clear();
    EXPECT_EQ( 0, Topology::loadTopology( "[]" ) );
    EXPECT_EQ( "trace 2: loading topology json\n", tracesOfLibrary() );
    EXPECT_NE( nullptr, Topology::_topology );
}

TEST_F( BuildFailureTest, OldTreeGoesBeforeTheNewOneIsBuilt ) {
    builtOverAnOldTree = true;
    EXPECT_EQ( 0, Topology::loadTopology( "[ ]" ) );
    EXPECT_FALSE( builtOverAnOldTree );
}

TEST_F( BuildFailureTest, InitialisationPassesTheFailureOnAndKeepsTheSocket ) {
    _plSock = new PlatformLibrary::PLSocket;
    buildNothing = true;
    EXPECT_EQ( 6, pl_fan_init( "[ ]" ) );
    EXPECT_NE( nullptr, _plSock );
    buildNothing = false;
    EXPECT_EQ( 0, pl_fan_init( "[ ]" ) );
}
