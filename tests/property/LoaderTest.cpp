#include "KavraGeneric/Topology/Loader.h"
#include "KavraGeneric/Topology/Lookup.h"
#include "tests/property/Property.h"
#include "tests/property/TopologyModel.h"
#include "tests/support/LibraryFixture.h"

#include <algorithm>

namespace {

using namespace Property;

class LoaderProperty : public LibraryFixture {
  protected:
    LoaderProperty() { host().traceDropped = true; }

    static void load( const std::string &text ) {
        require( Topology::loadTopology( text.c_str() ) == PL_STATUS_OK, "was not loaded" );
        require( Topology::_topology_json == text, "is not kept as it stands" );
    }

    /// Draws a document in any look, loads it, and hands the model to the check.
    static void forAllDocuments( const std::function<void( const TopologyModel & )> &check ) {
        forAll( [&check] {
            const TopologyModel model = drawTopology();
            const std::string text = printed( model.document, drawLook() );
            return Case{ text, [&check, model, text] {
                            load( text );
                            check( model );
                        } };
        } );
    }
};

TEST_F( LoaderProperty, TreeIsWhatTheDocumentDraws ) {
    forAllDocuments( []( const TopologyModel &model ) {
        requireSame( linesOf( model.walk ), linesOf( walkOfLibrary() ), "walk" );
    } );
}

TEST_F( LoaderProperty, WalkThatEndsVisitsTheAncestorsAlone ) {
    forAll( [] {
        const TopologyModel model = drawTopology();
        const std::string text = compact( model.document );
        const std::size_t stopAt = drawWord() % model.walk.size();
        return Case{ text + "\nended at visit " + std::to_string( stopAt ), [=] {
                        load( text );
                        requireSame( linesOf( stoppedWalk( model.walk, stopAt ) ),
                                     linesOf( walkOfLibrary( stopAt ) ), "walk" );
                    } };
    } );
}

/// The library's node with the label is the model's: the same place in the walk, or nowhere in it.
void requireLabelled( const std::string &label, const Visit &expected,
                      const std::vector<Visit> &model, const std::vector<Visit> &walk ) {
    const Topology::Node *node = Topology::getNodeByLabel( label.c_str() );
    require( node != nullptr, "no node has the label " + label );
    const auto inModel = std::find_if( model.begin(), model.end(), [&]( const Visit &visit ) {
        return visit.serial == expected.serial;
    } );
    const auto inLibrary = std::find_if( walk.begin(), walk.end(),
                                         [&]( const Visit &visit ) { return visit.node == node; } );
    require( inModel - model.begin() == inLibrary - walk.begin(),
             "another node has the label " + label );
    require( ( Topology::getDeviceByLabel( label.c_str() ) != nullptr ) ==
                 ( expected.kind == NodeKind::Device ),
             "device or not: " + label );
    require( ( Topology::getBusByLabel( label.c_str() ) != nullptr ) ==
                 ( expected.kind == NodeKind::Bus ),
             "bus or not: " + label );
}

TEST_F( LoaderProperty, EveryLabelNamesTheNodeThatHadItLast ) {
    forAllDocuments( []( const TopologyModel &model ) {
        const std::vector<Visit> walk = walkOfLibrary();
        for ( const auto &[label, node] : model.labels ) {
            requireLabelled( label, node, model.walk, walk );
            const std::string longer = label + "'";
            require( model.labels.contains( longer ) ||
                         Topology::getNodeByLabel( longer.c_str() ) == nullptr,
                     "a label that nobody has: " + longer );
        }
        require( model.labels.size() == Topology::_topology_index.size(), "labels too many" );
    } );
}

TEST_F( LoaderProperty, DeviceIsTheFirstOnTheWalkWithItsNumber ) {
    forAllDocuments( []( const TopologyModel &model ) {
        const std::vector<Visit> walk = walkOfLibrary();
        require( model.walk.size() == walk.size(), "length of the walk" );
        std::map<uint32_t, const void *> first;
        for ( std::size_t i = 0; i < walk.size(); ++i ) {
            if ( model.walk[i].kind == NodeKind::Device ) {
                first.emplace( model.walk[i].did, walk[i].node );
            }
        }
        for ( const auto &[did, node] : first ) {
            require( Topology::findDevice( did ) == node, "device " + std::to_string( did ) );
            require( first.contains( did + 1 ) || Topology::findDevice( did + 1 ) == nullptr,
                     "a device that is not there: " + std::to_string( did + 1 ) );
        }
    } );
}

TEST_F( LoaderProperty, AnotherLookIsAnotherTextOfTheSameTree ) {
    forAll( [] {
        const TopologyModel model = drawTopology();
        const std::string first = compact( model.document );
        const std::string second = printed( model.document, drawLook() );
        return Case{ first + "\n" + second, [=] {
                        load( first );
                        const std::vector<Visit> walk = walkOfLibrary();
                        load( second );
                        requireSame( linesOf( walk ), linesOf( walkOfLibrary() ), "walk" );
                    } };
    } );
}

} // namespace
