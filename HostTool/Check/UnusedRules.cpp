#include "HostTool/Check/UnusedRules.h"

#include <set>

namespace HostTool::Check {

void checkUnused( const BoardTree &tree, const EmulatedMap *board, Findings &findings ) {
    std::set<uint32_t> chipsOfMuxes;
    for ( const MuxNode &mux : tree.muxes() ) {
        chipsOfMuxes.insert( mux.did );
        if ( mux.isEmpty ) {
            findings.add( RuleId::unusedMux, tree.document(), at( *mux.json ),
                          "mux " + std::to_string( mux.did ) + " has no busses" );
        }
    }
    for ( const DeviceNode &node : tree.devices() ) {
        if ( !node.isUsed && !chipsOfMuxes.contains( node.did ) ) {
            findings.add( RuleId::unusedDevice, tree.document(), at( *node.json ),
                          "nothing uses device " + std::to_string( node.did ) );
        }
    }
    if ( !board ) {
        return;
    }
    for ( const EmulatedChip &chip : board->chips() ) {
        // Modules are reached through their cages as well.
        if ( !chip.isUsed && !chip.type.ends_with( "Module" ) ) {
            findings.add( RuleId::unusedChip, board->document(), at( *chip.json ),
                          "no device of the documents reaches chip " + quoted( chip.name ) );
        }
    }
}

} // namespace HostTool::Check
