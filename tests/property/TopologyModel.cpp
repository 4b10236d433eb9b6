#include "tests/property/TopologyModel.h"

#include "tests/property/ArgumentsModel.h"
#include "tests/property/Property.h"

namespace Property {

namespace {

struct ModelNode {
    Visit visit;
    std::vector<ModelNode> below; // in the order of a walk
};

// Draws a document. Nodes are drawn in the order in which they are entered in the index: each
// before what is below it, devices before muxes.
class Drawing {
  public:
    TopologyModel draw() {
        TopologyModel model;
        model.document = Json::array();
        ModelNode topology{ visit( NodeKind::Other, "Topology" ), {} };
        for ( unsigned i = drawCount( 6 ); i > 0; --i ) {
            Json entry = Json::object();
            topology.below.push_back( drawMedium( entry ) );
            model.document.add( entry );
        }
        flatten( topology, model.walk );
        model.walk.back().parent = model.walk.size() - 1;
        model.labels = std::move( labels_ );
        return model;
    }

  private:
    using Numbered = std::map<uint32_t, ModelNode>;

    Visit visit( NodeKind kind, std::string words ) {
        Visit made;
        made.kind = kind;
        made.words = std::move( words );
        made.serial = ++serial_;
        return made;
    }

    void finish( Json &entry, const Visit &node ) {
        if ( drawRarely( 3 ) ) {
            constexpr const char *few[] = { "fan", "bus<0x48>", "" };
            const std::string label = drawBool() ? drawText( 6 ) : drawFrom( few );
            entry.add( "label", Json::text( label ) );
            labels_[label] = node;
        }
        if ( drawRarely( 8 ) ) {
            entry.add( "x" + drawText( 4 ), drawJson() );
        }
    }

    ModelNode drawComponent( Json &entry ) {
        const uint32_t uid = drawWord();
        entry.add( "uid", Json::number( uid ) );
        ModelNode node{ visit( NodeKind::Component, "component " + std::to_string( uid ) ), {} };
        finish( entry, node.visit );
        return node;
    }

    ModelNode drawDevice( Json &entry ) {
        const uint32_t did = drawBool() ? drawBelow( 8 ) : drawWord();
        std::string words = "device " + std::to_string( did );
        if ( drawRarely( 3 ) ) {
            const ArgumentsModel arguments = drawArguments( did );
            entry = arguments.json;
            words += "\n" + arguments.expected;
        } else {
            entry.add( "did", Json::number( did ) );
        }
        ModelNode node{ visit( NodeKind::Device, words ), {} };
        node.visit.did = did;
        finish( entry, node.visit );
        drawList( entry, "components", 2, node.below, &Drawing::drawComponent );
        return node;
    }

    ModelNode drawMux( Json &entry ) {
        const uint32_t did = drawWord();
        entry.add( "did", Json::number( did ) );
        ModelNode node{ visit( NodeKind::Mux, "mux " + std::to_string( did ) ), {} };
        finish( entry, node.visit );
        Numbered busses;
        if ( !drawRarely( 4 ) ) {
            Json list = Json::array();
            for ( unsigned i = drawBelow( 4 ); i > 0; --i ) {
                const int32_t id = drawBusId();
                Json bus = Json::object();
                busses[static_cast<uint32_t>( id )] = drawBus( bus, id );
                list.add( bus );
            }
            entry.add( "busses", list );
        }
        moveInto( node, busses );
        return node;
    }

    static int32_t drawBusId() {
        return static_cast<int32_t>( drawBool() ? drawBelow( 4 ) : drawWord() );
    }

    ModelNode drawBus( Json &entry, int32_t id ) {
        entry.add( "id", Json::number( id ) );
        ModelNode node{
            visit( NodeKind::Bus, "bus " + std::to_string( static_cast<uint32_t>( id ) ) ), {}
        };
        finish( entry, node.visit );
        drawList( entry, "devices", 3, node.below, &Drawing::drawDevice );
        if ( muxDepth_ < 3 ) {
            ++muxDepth_;
            drawList( entry, "muxes", 2, node.below, &Drawing::drawMux );
            --muxDepth_;
        }
        return node;
    }

    ModelNode drawAccelerator( Json &entry, uint32_t id ) {
        entry.add( "id", Json::number( id ) );
        ModelNode node{ visit( NodeKind::Other, "accelerator " + std::to_string( id ) ), {} };
        finish( entry, node.visit );
        Numbered busses;
        if ( !drawRarely( 4 ) ) {
            Json list = Json::array();
            for ( unsigned i = drawBelow( 3 ); i > 0; --i ) {
                int32_t busId = drawBusId();
                while ( busses.contains( static_cast<uint32_t>( busId ) ) ) {
                    busId = busId == INT32_MAX ? 0 : busId + 1;
                }
                Json bus = Json::object();
                busses[static_cast<uint32_t>( busId )] = drawBus( bus, busId );
                list.add( bus );
            }
            entry.add( "busses", list );
        }
        moveInto( node, busses );
        return node;
    }

    void drawAccelerators( Json &entry, ModelNode &medium ) {
        Numbered accelerators;
        Json list = Json::array();
        for ( unsigned i = drawBelow( 4 ); i > 0; --i ) {
            uint32_t id = drawBool() ? drawBelow( 4 ) : drawWord();
            while ( accelerators.contains( id ) ) {
                ++id;
            }
            Json accelerator = Json::object();
            accelerators[id] = drawAccelerator( accelerator, id );
            list.add( accelerator );
        }
        entry.add( "accelerators", list );
        moveInto( medium, accelerators );
    }

    ModelNode drawMedium( Json &entry ) {
        constexpr const char *types[] = { "I2C", "SCD",    "IOPort",  "Celestica",
                                          "PLM", "SccSpi", "LinuxFs", "FbDomFpga" };
        const std::string type = drawFrom( types );
        const std::string ham = drawBool() ? "KavraSmbus" : drawText( 6 );
        entry.add( "type", Json::text( type ) );
        entry.add( "ham", Json::text( ham ) );
        std::string words = type + " <" + ham + ">";
        if ( type == "SCD" || type == "FbDomFpga" ) {
            const uint32_t pci = drawWord();
            entry.add( "pci", Json::number( pci ) );
            words += " pci " + std::to_string( pci );
        }
        if ( type == "I2C" && drawBool() ) {
            const bool simulated = drawBool();
            entry.add( "simulated", Json::flag( simulated ) );
            words += simulated ? " simulated" : "";
        }
        ModelNode node{ visit( NodeKind::Other, words ), {} };
        if ( type == "SCD" || type == "Celestica" ) {
            finish( entry, node.visit );
            if ( !drawRarely( 4 ) ) {
                drawAccelerators( entry, node );
            }
        } else if ( type == "LinuxFs" ) {
            finish( entry, node.visit );
            drawList( entry, "devices", 3, node.below, &Drawing::drawDevice );
        } else {
            node.below.push_back( drawBus( entry, drawBusId() ) );
        }
        return node;
    }

    void drawList( Json &entry, const char *key, unsigned most, std::vector<ModelNode> &nodes,
                   ModelNode ( Drawing::*drawItem )( Json & ) ) {
        if ( drawRarely( 4 ) ) {
            return;
        }
        Json list = Json::array();
        for ( unsigned i = drawBelow( most + 1 ); i > 0; --i ) {
            Json item = Json::object();
            nodes.push_back( ( this->*drawItem )( item ) );
            list.add( item );
        }
        entry.add( key, list );
    }

    static void moveInto( ModelNode &parent, Numbered &nodes ) {
        for ( auto &[id, node] : nodes ) {
            parent.below.push_back( std::move( node ) );
        }
    }

    static std::size_t flatten( const ModelNode &node, std::vector<Visit> &walk ) {
        std::vector<std::size_t> children;
        for ( const ModelNode &child : node.below ) {
            children.push_back( flatten( child, walk ) );
        }
        walk.push_back( node.visit );
        for ( const std::size_t child : children ) {
            walk[child].parent = walk.size() - 1;
        }
        return walk.size() - 1;
    }

    std::size_t serial_ = 0;
    unsigned muxDepth_ = 0;
    std::map<std::string, Visit> labels_;
};

class Recorder : public Topology::TopologyVisitor {
  public:
    explicit Recorder( std::optional<std::size_t> stopAt ) : stopAt_( stopAt ) {}

    bool visit( const Topology::Component *node ) override {
        return record( node, NodeKind::Component, "component", node->uid );
    }
    bool visit( const Topology::Device *node ) override {
        const bool goOn = record( node, NodeKind::Device, "device", node->did );
        walk.back().did = node->did;
        if ( node->driverArgs ) {
            walk.back().words += "\n" + textOf( *node->driverArgs );
        }
        return goOn;
    }
    bool visit( const Topology::Mux *node ) override {
        return record( node, NodeKind::Mux, "mux", node->did );
    }
    bool visit( const Topology::Bus *node ) override {
        return record( node, NodeKind::Bus, "bus", node->id );
    }
    bool visit( const Topology::Accelerator *node ) override {
        return record( node, NodeKind::Other, "accelerator", node->id );
    }
    bool visit( const Topology::SCD *node ) override {
        return medium( node, "SCD", " pci " + std::to_string( node->pci ) );
    }
    bool visit( const Topology::I2C *node ) override {
        return medium( node, "I2C", node->simulated ? " simulated" : "" );
    }
    bool visit( const Topology::IOPort *node ) override { return medium( node, "IOPort" ); }
    bool visit( const Topology::Celestica *node ) override { return medium( node, "Celestica" ); }
    bool visit( const Topology::PLM *node ) override { return medium( node, "PLM" ); }
    bool visit( const Topology::LinuxFs *node ) override { return medium( node, "LinuxFs" ); }
    bool visit( const Topology::SccSpi *node ) override { return medium( node, "SccSpi" ); }
    bool visit( const Topology::FbDomFpga *node ) override {
        return medium( node, "FbDomFpga", " pci " + std::to_string( node->pci ) );
    }
    bool visit( const Topology::Topology *node ) override {
        return record( node, NodeKind::Other, "Topology" );
    }

    std::vector<Visit> walk;

  private:
    bool record( const Topology::Node *node, NodeKind kind, std::string words ) {
        Visit made;
        made.words = std::move( words );
        made.kind = kind;
        made.node = node;
        walk.push_back( made );
        return walk.size() - 1 != stopAt_;
    }
    bool record( const Topology::Node *node, NodeKind kind, const char *words, uint32_t number ) {
        return record( node, kind, words + ( " " + std::to_string( number ) ) );
    }
    bool medium( const Topology::MediumNode *node, const std::string &type,
                 const std::string &more = {} ) {
        return record( node, NodeKind::Other, type + " <" + node->ham + ">" + more );
    }

    std::optional<std::size_t> stopAt_;
};

} // namespace

TopologyModel drawTopology() {
    return Drawing().draw();
}

std::vector<Visit> walkOfLibrary( std::optional<std::size_t> stopAt ) {
    Recorder recorder( stopAt );
    Topology::_topology->accept( &recorder );
    return std::move( recorder.walk );
}

std::vector<Visit> stoppedWalk( const std::vector<Visit> &walk, std::size_t stopAt ) {
    std::vector<Visit> stopped( walk.begin(),
                                walk.begin() + static_cast<std::ptrdiff_t>( stopAt + 1 ) );
    for ( std::size_t at = stopAt; at != walk[at].parent; ) {
        at = walk[at].parent;
        stopped.push_back( walk[at] );
    }
    return stopped;
}

std::string linesOf( const std::vector<Visit> &walk ) {
    std::string lines;
    for ( const Visit &visit : walk ) {
        lines += visit.words + "\n";
    }
    return lines;
}

} // namespace Property
