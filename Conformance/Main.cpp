#include "Conformance/Interruption.h"
#include "Conformance/Options.h"
#include "Conformance/Report.h"
#include "Conformance/Runner.h"
#include "Conformance/Subject.h"
#include "HostTool/Failure.h"
#include "HostTool/Output/Print.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <sys/resource.h>

namespace Conformance {

using HostTool::ExitCode;
using HostTool::Failure;
using HostTool::print;

namespace {

// Checks end processes on purpose.
void leaveNoCores() {
    const rlimit none = { 0, 0 };
    setrlimit( RLIMIT_CORE, &none );
}

/// An absolute path: the loader looks for a bare name in folders of its own.
std::string libraryPath( const std::string &given ) {
    std::error_code error;
    const auto path = std::filesystem::canonical( given, error );
    if ( error ) {
        throw Failure( ExitCode::unreachable, given + ": " + error.message() );
    }
    return path;
}

void requireLoadable( const std::string &path, int seconds ) {
    const Ending ending = runApart( [&] { return "." + loadError( path ); }, seconds );
    if ( ending.isOverdue || ending.answer.empty() ) {
        throw Failure( ExitCode::unreachable,
                       path + ": the process that loads it " + ending.story() );
    }
    if ( ending.answer.size() > 1 ) {
        throw Failure( ExitCode::unreachable, ending.answer.substr( 1 ) );
    }
}

/// A server that goes meanwhile is started again, and the check with it.
Outcome judgeOne( const Check &check, const std::string &library, const HostTool::Board &board,
                  BoardServer &server, int deadline ) {
    constexpr int attempts = 2;
    for ( int attempt = 0; attempt < attempts; ++attempt ) {
        if ( !server.answers() ) {
            server.startAfresh();
        }
        Outcome outcome = runCheck( check, library, board, server, deadline );
        if ( !outcome.isServerGone && server.answers() ) {
            return outcome;
        }
    }
    throw Failure( ExitCode::unreachable,
                   std::string( check.id ) + ": the emulated board's server ended during it" );
}

Result runOne( const Check &check, const std::string &library, const HostTool::Board &board,
               BoardServer &server, int deadline ) {
    using Clock = std::chrono::steady_clock;
    const Clock::time_point start = Clock::now();
    const Outcome outcome =
        judgeOne( check, library, board, server, std::max( deadline, check.leastSeconds ) );
    const auto taken =
        std::chrono::duration_cast<std::chrono::milliseconds>( Clock::now() - start );
    return { check, outcome, static_cast<long>( taken.count() ) };
}

ExitCode judge( const Options &options, const Checks &checks ) {
    const std::string folder = HostTool::findBoardFolder( options.board );
    const HostTool::Board board = HostTool::readBoard( folder );
    if ( board.entries.empty() ) {
        throw Failure( ExitCode::badInput, folder + "/devices.json has no device" );
    }
    const std::string library = libraryPath( options.library );
    BoardServer server( options.server, folder + "/emulation.json" );
    Interruption::watch();
    server.startAfresh();
    requireLoadable( library, options.deadline );

    std::vector<Result> results;
    if ( !options.json ) {
        print( "TAP version 13\n1.." + std::to_string( checks.size() ) + "\n" );
    }
    for ( const Check &check : checks ) {
        if ( !results.empty() && !results.back().outcome.worldIsAsDocumented ) {
            server.startAfresh();
        }
        results.push_back( runOne( check, library, board, server, options.deadline ) );
        if ( !options.json ) {
            print( resultText( results.back(), results.size() ) );
        }
    }
    print( options.json ? resultsJson( results, library, folder ) : summaryText( results ) );
    return conforms( results ) ? ExitCode::fine : ExitCode::boardTrouble;
}

ExitCode run( const Options &options ) {
    if ( options.help || options.version ) {
        print( options.help ? helpText : "kavra-conformance " KAVRA_VERSION "\n" );
        return ExitCode::fine;
    }
    const Checks checks = selectChecks( options.only );
    if ( options.list ) {
        print( options.json ? listJson( checks ) : listText( checks ) );
        return ExitCode::fine;
    }
    return judge( options, checks );
}

} // namespace

} // namespace Conformance

int main( int count, char **values ) {
    using namespace Conformance;
    leaveNoCores();
    try {
        return static_cast<int>( run( parseOptions( count, values ) ) );
    } catch ( const HostTool::Failure &failure ) {
        fprintf( stderr, "kavra-conformance: %s\n", failure.what() );
        return static_cast<int>( failure.code() );
    } catch ( const Interruption::Interrupted &interrupted ) {
        constexpr int ofShells = 128;
        fprintf( stderr, "kavra-conformance: %s\n", interrupted.what() );
        return ofShells + interrupted.signal();
    } catch ( const std::exception &exception ) { // no memory, for one
        fprintf( stderr, "kavra-conformance: %s\n", exception.what() );
        return static_cast<int>( HostTool::ExitCode::boardTrouble );
    }
}
