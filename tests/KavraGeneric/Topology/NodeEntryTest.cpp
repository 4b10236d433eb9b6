// Entries that are handed to one node's builder by itself, without the document around them.
#include "KavraGeneric/Topology/Topology.h"
#include "tests/support/LibraryFixture.h"

#include <gmock/gmock.h>

using namespace Topology;

namespace {

struct NodeCase {
    const char *name;
    void ( *build )( const rapidjson::Value &entry );
    const char *condition; ///< of the first assertion that an entry meets that is no object
};

void PrintTo( const NodeCase &each, std::ostream *stream ) {
    *stream << each.name;
}

template <typename Built>
void build( const rapidjson::Value &entry ) {
    Built::fromJSON( entry );
}

// The last ones look into their entry before they ask what it is.
constexpr NodeCase nodes[] = {
    { "Component", build<::Topology::Component>, "json.IsObject()" },
    { "Device", build<Device>, "json.IsObject()" },
    { "Mux", build<Mux>, "json.IsObject()" },
    { "Bus", build<Bus>, "json.IsObject()" },
    { "Accelerator", build<Accelerator>, "json.IsObject()" },
    { "IOPort", build<IOPort>, "json.IsObject()" },
    { "PLM", build<PLM>, "json.IsObject()" },
    { "SccSpi", build<SccSpi>, "json.IsObject()" },
    { "FbDomFpga", build<FbDomFpga>, "json.IsObject()" },
    { "I2C", build<I2C>, "IsObject()" },
    { "SCD", build<SCD>, "IsObject()" },
    { "Celestica", build<Celestica>, "IsObject()" },
    { "LinuxFs", build<LinuxFs>, "IsObject()" },
};

class NodeEntryDeathTest : public LibraryFixture, public testing::WithParamInterface<NodeCase> {};

} // namespace

TEST_P( NodeEntryDeathTest, EntryThatIsNoObjectEndsTheProcess ) {
    rapidjson::Document entry;
    entry.Parse( "5" );
    EXPECT_DEATH(
        GetParam().build( entry ),
        testing::HasSubstr( "Assertion `" + std::string( GetParam().condition ) + "' failed" ) );
}

INSTANTIATE_TEST_SUITE_P( Nodes, NodeEntryDeathTest, testing::ValuesIn( nodes ),
                          []( const auto &each ) { return std::string( each.param.name ); } );
