// The lines of a client of the control socket, which drives a small emulated board and faults. The
// first byte is the length of the pieces in which they arrive; 0 stands for one piece.
#include "EmulatedBoard/Document.h"
#include "fuzz/Bytes.h"
#include "fuzz/Contract.h"
#include "fuzz/ServedSession.h"
#include "fuzz/Targets.h"
#include "SmbusServer/ControlConnection.h"

#include <algorithm>

using namespace SmbusServer;

void Fuzz::controlSocket( std::string_view input ) {
    EmulatedBoard::Board board = EmulatedBoard::parseBoard( smallBoard(), "board" );
    FaultList faults;
    const World world{ board, faults };
    Bytes bytes( input );
    const size_t length = bytes.byte();
    std::vector<std::string> pieces;
    while ( !bytes.empty() ) {
        pieces.emplace_back( length == 0 ? bytes.rest() : bytes.take( length ) );
    }
    const std::string received = serveClient(
        [&]( sd_event *loop, Descriptor client, Listener &listener ) {
            return std::make_unique<ControlConnection>( loop, std::move( client ), listener,
                                                        world );
        },
        pieces );
    require( received.empty() || received.back() == '\n', "an answer has its line end" );
}
