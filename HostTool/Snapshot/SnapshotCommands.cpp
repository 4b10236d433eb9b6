#include "HostTool/Snapshot/SnapshotCommands.h"

#include "HostTool/Commands.h"
#include "HostTool/Output/Print.h"
#include "HostTool/Output/WholeFile.h"
#include "HostTool/Snapshot/Collect.h"
#include "HostTool/Snapshot/Compare.h"
#include "HostTool/Snapshot/DiffText.h"
#include "HostTool/Snapshot/Origin.h"
#include "HostTool/Snapshot/StateFile.h"
#include "HostTool/Snapshot/StateText.h"

#include <algorithm>
#include <optional>

namespace HostTool {

const char *const snapshotHelp =
    R"(Adds and reads every entry of devices.json, or those named, and prints all that
is known of them as one JSON document: which part it is, what it reads, what is
set, the status of each value, why there is none and how old it is. The document
is complete also when something cannot be read.

  --output FILE   write it aside, then put it in FILE's place

Exit code 1 when something on the board is wrong, as for show.

Examples:
  kavractl snapshot --output golden.json
  kavractl snapshot psu1 psu1-slot
  kavractl snapshot | jq '.devices.inlet.values.temperature.value'
)";

const char *const diffHelp =
    R"(Says how NOW is not like GOLDEN, two files of kavractl snapshot: what is missing,
additional or another part, what fails, what is set otherwise, and which values
are out of tolerance. Without NOW the board is read as it is now; of a GOLDEN
with devices that were named, those. One of the two may be -, standard input.

Tolerances, of two the larger one; exactly at it is no difference:
  C     5
  rpm   10%
  V     5%
  A     20% or 1
  W     20% or 5

  --tolerance UNIT=NUMBER, --tolerance UNIT=PERCENT%   another one

Exit code 0 without differences, 1 with some, 2 when a file is no snapshot, 3
when the board is to be read and its server or library cannot be had.

Examples:
  kavractl diff golden.json
  kavractl diff golden.json now.json --tolerance C=3 --tolerance rpm=15%
  kavractl snapshot | kavractl diff --json golden.json - | jq -r '.differences[].text'
)";

namespace {

using Snapshot::BoardState;

constexpr const char *standardInput = "-";

BoardState readBoardState( const Options &options, const Board &board, const Library &library,
                           std::vector<Device> &devices ) {
    readDevices( devices );
    std::vector<Snapshot::DeviceState> states =
        Snapshot::collect( board, devices, std::chrono::steady_clock::now() );
    BoardState state = { Snapshot::originOf( options, board, library ), std::move( states ) };
    state.origin.isWhole = devices.size() == board.entries.size();
    return state;
}

/// The entries that the golden snapshot is about.
std::vector<const Entry *> entriesFor( const BoardState &golden, const Board &board ) {
    std::vector<const Entry *> entries;
    for ( const Entry &entry : board.entries ) {
        if ( golden.origin.isWhole || golden.find( entry.name ) ) {
            entries.push_back( &entry );
        }
    }
    return entries;
}

BoardState stateNow( const Options &options, const BoardState &golden ) {
    const Board board = readBoard( findBoardFolder( options.board ) );
    const Library library( options.library );
    const std::vector<const Entry *> entries = entriesFor( golden, board );
    std::vector<Device> devices = addDevices( library, options, board, entries );
    BoardState now = readBoardState( options, board, library, devices );
    // What is not described any more is missing, also among devices that were named.
    now.origin.isWhole = true;
    return now;
}

Snapshot::Tolerances tolerancesOf( const Options &options ) {
    Snapshot::Tolerances tolerances;
    for ( const std::string &each : options.tolerances ) {
        tolerances.set( each );
    }
    return tolerances;
}

} // namespace

ExitCode runSnapshot( Task &task ) {
    std::optional<WholeFile> file;
    if ( !task.options.output.empty() ) {
        file.emplace( task.options.output );
    }
    task.entries = selectEntries( task.board, task.options.operands );
    task.devices = addDevices( *task.library, task.options, task.board, task.entries );
    const BoardState state =
        readBoardState( task.options, task.board, *task.library, task.devices );
    const std::string text = Snapshot::textOf( state );
    if ( file ) {
        file->write( text );
    } else {
        print( text );
    }
    const bool isTroubled =
        std::any_of( task.devices.begin(), task.devices.end(),
                     []( const Device &each ) { return isTrouble( each.state ); } );
    return isTroubled ? ExitCode::boardTrouble : ExitCode::fine;
}

ExitCode runDiff( Task &task ) {
    const std::vector<std::string> &files = task.options.operands;
    if ( files.empty() || files.size() > 2 ) {
        throw Failure( ExitCode::badInput, "diff takes one or two files: kavractl diff GOLDEN "
                                           "[NOW]" );
    }
    const bool hasNow = files.size() == 2;
    if ( hasNow && files[0] == standardInput && files[1] == standardInput ) {
        throw Failure( ExitCode::badInput, "only one of GOLDEN and NOW can be standard input" );
    }
    Snapshot::DiffReport report;
    report.tolerances = tolerancesOf( task.options );
    const BoardState golden = Snapshot::readStateFile( files[0] );
    const BoardState now =
        hasNow ? Snapshot::readStateFile( files[1] ) : stateNow( task.options, golden );
    report.goldenName = files[0];
    report.golden = golden.origin;
    report.nowName = hasNow ? files[1] : "";
    report.now = now.origin;
    report.notes = Snapshot::notesOf( golden.origin, now.origin );
    report.differences = Snapshot::compare( golden, now, report.tolerances );
    print( task.options.json ? Snapshot::diffAsJson( report ) : Snapshot::diffAsText( report ) );
    return report.differences.empty() ? ExitCode::fine : ExitCode::boardTrouble;
}

} // namespace HostTool
