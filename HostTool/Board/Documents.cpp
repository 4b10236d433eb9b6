#include "HostTool/Board/Documents.h"

#include "HostTool/Board/EntryParser.h"
#include "HostTool/Failure.h"
#include "HostTool/Host/ProgramFolder.h"
#include "HostTool/Output/Nearest.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string_view>
#include <unordered_map>

namespace HostTool {

const char *nameOf( DeviceClass deviceClass ) {
    return std::find_if( std::begin( classNames ), std::end( classNames ),
                         [&]( const ClassName &row ) { return row.deviceClass == deviceClass; } )
        ->name;
}

std::string findBoardFolder( const std::string &askedFor ) {
    if ( !askedFor.empty() ) {
        return askedFor;
    }
    if ( const char *fromEnvironment = getenv( "KAVRA_BOARD" );
         fromEnvironment && *fromEnvironment ) {
        return fromEnvironment;
    }
    const std::string installed = programFolder() + "/../share/kavra/boards/VundaT";
    for ( const std::string &folder : { std::string( "boards/VundaT" ), installed } ) {
        std::error_code ignored;
        if ( std::filesystem::is_directory( folder, ignored ) ) {
            return folder;
        }
    }
    throw Failure( ExitCode::badInput, "no board documents: neither boards/VundaT nor " +
                                           installed +
                                           " is there; name the folder with --board DIR or in "
                                           "$KAVRA_BOARD" );
}

static void refuseDoubles( const std::vector<Entry> &entries ) {
    std::unordered_map<std::string_view, const Entry *> taken;
    for ( const Entry &entry : entries ) {
        const auto [first, isNew] = taken.emplace( entry.name, &entry );
        if ( !isNew ) {
            throw Failure( ExitCode::badInput, entry.place + ": '" + entry.name +
                                                   "': \"name\" is taken by the entry at " +
                                                   first->second->place );
        }
    }
}

Board readBoard( const std::string &folder ) {
    Board board;
    board.folder = folder;
    board.topologyPath = folder + "/topology.json";
    board.topology = JsonFile( board.topologyPath ).text();
    board.entries = parseEntries( JsonFile( folder + "/devices.json" ) );
    refuseDoubles( board.entries );
    return board;
}

std::vector<const Entry *> selectEntries( const Board &board,
                                          const std::vector<std::string> &names ) {
    std::vector<std::string> known;
    for ( const Entry &entry : board.entries ) {
        known.push_back( entry.name );
    }
    const std::set<std::string> wanted( names.begin(), names.end() );
    for ( const std::string &name : wanted ) {
        if ( std::find( known.begin(), known.end(), name ) == known.end() ) {
            throw Failure( ExitCode::badInput, "no device '" + name + "' in " + board.folder +
                                                   "/devices.json" + didYouMean( name, known ) );
        }
    }
    std::vector<const Entry *> selected;
    for ( const Entry &entry : board.entries ) {
        if ( wanted.empty() || wanted.contains( entry.name ) ) {
            selected.push_back( &entry );
        }
    }
    return selected;
}

} // namespace HostTool
