#pragma once

#include "KavraGeneric/Topology/TopologyVisitor.h"

#include <cstdint>

/// The pointers that these functions return are the tree's: they hold until another topology is
/// loaded. Labels match exactly.
namespace Topology {

class Node;

/// @return null when no node has the label.
Node *getNodeByLabel( const char *label );
/// @return null also when the labelled node is no device (a mux is none).
Device *getDeviceByLabel( const char *label );
/// @return null also when the labelled node is no bus. A medium that is itself a bus is one.
Bus *getBusByLabel( const char *label );
/// The first device in walk order with the identifier, or null. Needs a loaded topology.
const Device *findDevice( unsigned int did );
/// Tells device arguments from a label: true when the text's first character is an opening brace.
bool isDeviceObject( const char *text );

/// Ends its walk at the first device with the identifier.
class SearchDeviceVisitor : public TopologyVisitor {
  public:
    explicit SearchDeviceVisitor( uint32_t wanted ) : did( wanted ) {}
    using TopologyVisitor::visit;
    bool visit( const Device *candidate ) override;

    uint32_t did;
    bool found = false;
    const Device *device = nullptr;
};

} // namespace Topology
