#include "KavraGeneric/Topology/Loader.h"

#include "KavraGeneric/Library.h"
#include "tests/KavraGeneric/Topology/DescribeTopology.h"
#include "tests/support/LibraryFixture.h"
#include "tests/support/TestDocuments.h"
#include "tests/support/Traces.h"

using namespace Topology;

namespace {

const std::string loading = "trace 2: loading topology json\n";
const std::string same = "trace 2: topology is the same as the previously loaded one (using it)\n";
const std::string emptyDocument =
    "trace 2: failed to load topology from json: The document is empty. offset 0\n";

const std::string oneDevice =
    R"([{"type":"PLM","ham":"h","id":1,"label":"bus","devices":[{"did":1,"label":"fan"}]}])";

class LoaderTest : public LibraryFixture {
  protected:
    static int load( const std::string &document ) {
        host().lines.clear();
        return ::Topology::loadTopology( document.c_str() );
    }
};

} // namespace

TEST_F( LoaderTest, FirstLoadBuildsTheTreeAndKeepsTheText ) {
    EXPECT_EQ( 0, load( oneDevice ) );
    EXPECT_EQ( "PLM ham=h id=1 [bus]\n  device 1 [fan]\n", describeTopology() );
    EXPECT_EQ( oneDevice, _topology_json );
    EXPECT_EQ( loading, tracesOfLibrary() );
}

TEST_F( LoaderTest, SameTextKeepsTheTree ) {
    load( oneDevice );
    const auto *tree = _topology;
    const auto device = _topology_index.at( "fan" );
    EXPECT_EQ( 0, load( oneDevice ) );
    EXPECT_EQ( same, tracesOfLibrary() );
    EXPECT_EQ( tree, _topology );
    EXPECT_EQ( device, _topology_index.at( "fan" ) );
}

TEST_F( LoaderTest, SamenessIsOfTheTextAndNotOfThePointer ) {
    std::string text = oneDevice;
    const std::string copy = text;
    load( text );
    EXPECT_EQ( 0, load( copy ) );
    EXPECT_EQ( same, tracesOfLibrary() );
    text.back() = ' ';
    EXPECT_EQ( 3, load( text ) );
}

TEST_F( LoaderTest, OneMoreBlankLoadsAgain ) {
    load( oneDevice );
    const auto before = std::weak_ptr( _topology_index.at( "fan" ) );
    EXPECT_EQ( 0, load( oneDevice + " " ) );
    EXPECT_EQ( loading, tracesOfLibrary() );
    EXPECT_TRUE( before.expired() );
    EXPECT_EQ( "PLM ham=h id=1 [bus]\n  device 1 [fan]\n", describeTopology() );
    EXPECT_EQ( oneDevice + " ", _topology_json );
}

TEST_F( LoaderTest, OtherTextReplacesTreeAndLabels ) {
    load( oneDevice );
    EXPECT_EQ( 0, load( R"([{"type":"LinuxFs","ham":"h","label":"fs"}])" ) );
    EXPECT_EQ( "LinuxFs ham=h [fs]\n", describeTopology() );
    EXPECT_EQ( 1U, _topology_index.size() );
}

TEST_F( LoaderTest, TextBeforeTheLastIsLoadedAgain ) {
    load( oneDevice );
    load( "[]" );
    EXPECT_EQ( 0, load( oneDevice ) );
    EXPECT_EQ( loading, tracesOfLibrary() );
}

TEST_F( LoaderTest, EmptyArrayIsATopologyWithoutRoots ) {
    EXPECT_EQ( 0, load( "[]" ) );
    ASSERT_NE( nullptr, _topology );
    EXPECT_TRUE( _topology->roots.empty() );
    EXPECT_TRUE( _topology_index.empty() );
}

TEST_F( LoaderTest, EmptyTextIsNoTopology ) {
    EXPECT_EQ( 3, load( "" ) );
    EXPECT_EQ( loading + emptyDocument, tracesOfLibrary() );
    EXPECT_EQ( nullptr, _topology );
}

TEST_F( LoaderTest, SyntaxErrorKeepsWhatWasLoaded ) {
    load( oneDevice );
    const auto *tree = _topology;
    EXPECT_EQ( 3, load( oneDevice + "x" ) );
    EXPECT_EQ( tree, _topology );
    EXPECT_EQ( 2U, _topology_index.size() );
    EXPECT_EQ( oneDevice, _topology_json );
}

TEST_F( LoaderTest, TextIsStillTheSameAfterASyntaxErrorInAnother ) {
    load( oneDevice );
    load( "[" );
    EXPECT_EQ( 0, load( oneDevice ) );
    EXPECT_EQ( same, tracesOfLibrary() );
}

TEST_F( LoaderTest, SameSyntaxErrorIsReportedEachTime ) {
    load( "" );
    EXPECT_EQ( 3, load( "" ) );
    EXPECT_EQ( loading + emptyDocument, tracesOfLibrary() );
}

TEST_F( LoaderTest, TextOfTheLibraryItselfIsTheSame ) {
    load( oneDevice );
    host().lines.clear();
    EXPECT_EQ( 0, ::Topology::loadTopology( _topology_json.c_str() ) );
    EXPECT_EQ( same, tracesOfLibrary() );
}

TEST_F( LoaderTest, IndexHoldsTheBusPartOfABusMedium ) {
    load( oneDevice );
    const Bus *part = dynamic_cast<const PLM *>( _topology->roots[0].get() );
    EXPECT_EQ( static_cast<const Node *>( part ), _topology_index.at( "bus" ).get() );
}

TEST_F( LoaderTest, IndexAndTreeShareTheirNodes ) {
    load( oneDevice );
    const auto &bus = dynamic_cast<const Bus &>( *_topology->roots[0] );
    EXPECT_EQ( bus.devices[0], _topology_index.at( "fan" ) );
}

TEST_F( LoaderTest, EveryInitialisationLoads ) {
    const auto inits = { pl_slot_init, pl_led_init,   pl_temp_sensor_init,
                         pl_fan_init,  pl_xcvr_init,  pl_psu_init,
                         pl_gpio_init, pl_smbus_init, pl_system_init };
    for ( const auto init : inits ) {
        resetLibrary();
        _plSock = new PlatformLibrary::PLSocket;
        EXPECT_EQ( 0, init( oneDevice.c_str() ) );
        EXPECT_EQ( "PLM ham=h id=1 [bus]\n  device 1 [fan]\n", describeTopology() );
        EXPECT_EQ( 3, init( "" ) );
        EXPECT_TRUE( tracesOfLibrary().ends_with( loading + emptyDocument ) );
    }
}

TEST_F( LoaderTest, LoadsTheTopologyOfThisBoard ) {
    EXPECT_EQ( 0, load( testFile( "../../boards/VundaT/topology.json" ) ) );
    EXPECT_EQ( 2U, _topology->roots.size() );
}

namespace {

class GoodTopologyTest : public LibraryFixture, public testing::WithParamInterface<TestDocument> {};

class BadTopologyTest : public LibraryFixture, public testing::WithParamInterface<TestDocument> {
  protected:
    void SetUp() override { GTEST_FLAG_SET( death_test_style, "threadsafe" ); }
};

} // namespace

TEST_P( GoodTopologyTest, MakesTheTreeBesideIt ) {
    EXPECT_EQ( 0, ::Topology::loadTopology( GetParam().text.c_str() ) );
    EXPECT_EQ( GetParam().expected, describeTopology() );
}

INSTANTIATE_TEST_SUITE_P( Documents, GoodTopologyTest,
                          testing::ValuesIn( testDocuments( "topology/pass", ".tree" ) ),
                          []( const auto &each ) { return each.param.name; } );

TEST_P( BadTopologyTest, IsRefusedWithTheMessageBesideIt ) {
    if ( !isSurvived( GetParam() ) ) {
        EXPECT_DEATH( ::Topology::loadTopology( GetParam().text.c_str() ),
                      assertionOf( GetParam() ) );
        return;
    }
    EXPECT_EQ( 3, ::Topology::loadTopology( GetParam().text.c_str() ) );
    EXPECT_EQ( loading + GetParam().expected, tracesOfLibrary() );
    EXPECT_EQ( nullptr, _topology );
}

INSTANTIATE_TEST_SUITE_P( Documents, BadTopologyTest,
                          testing::ValuesIn( testDocuments( "topology/fail", ".message" ) ),
                          []( const auto &each ) { return each.param.name; } );
