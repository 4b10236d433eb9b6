#pragma once

namespace Topology {

/// Makes the document's tree the current one. The very text that is loaded already is kept;
/// sameness is decided by the text alone.
/// @return 0; 3 when the text is no JSON (the current tree stays); 6 when no tree could be built.
int loadTopology( const char *json );

} // namespace Topology
