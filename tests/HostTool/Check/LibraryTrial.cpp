#include "tests/HostTool/Check/LibraryTrial.h"

#include "EmulatedBoard/Document.h"
#include "HostTool/Failure.h"
#include "HostTool/Host/Classes.h"
#include "HostTool/Host/Devices.h"
#include "HostTool/Host/HostServices.h"
#include "tests/HostTool/Check/BoardSocket.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <set>
#include <sstream>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// Codes that neither an abort nor a sanitizer uses.
enum Code { takenCode = 40, refusedCode, thrownCode };

struct Refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

std::string contents( const std::string &path ) {
    std::ostringstream text;
    text << std::ifstream( path ).rdbuf();
    return text.str();
}

EmulatedBoard::Board boardOf( const std::string &text ) {
    try {
        return EmulatedBoard::parseBoard( text, "emulation.json" );
    } catch ( const EmulatedBoard::DocumentError &error ) {
        throw Refusal( error.what() );
    }
}

HostTool::Board documentsOf( const std::string &folder ) {
    try {
        return HostTool::readBoard( folder );
    } catch ( const HostTool::Failure &failure ) {
        throw Refusal( failure.what() );
    }
}

} // namespace

LibraryTrial::LibraryTrial( const std::string &library ) : library_( library ) {}

// What goes wrong in here is told on stderr, of which the parent keeps the last line.
void LibraryTrial::addAll( const std::string &emulation ) const {
    Code code = takenCode;
    try {
        EmulatedBoard::Board board = boardOf( emulation );
        BoardSocket::serve( board );
        const HostTool::Board documents = documentsOf( folder_.path() );
        std::set<HostTool::DeviceClass> initialised;
        for ( const HostTool::Entry &entry : documents.entries ) {
            const HostTool::ClassRow &row = HostTool::rowOf( entry.deviceClass );
            if ( initialised.insert( entry.deviceClass ).second ) {
                HostTool::initialise( library_, row.initEntryPoint, documents );
            }
            HostTool::HostServices::get().forgetLines();
            if ( !row.add( library_, row.addEntryPoint, entry ) ) {
                fprintf( stderr, "%s: %s\n", entry.name.c_str(),
                         HostTool::HostServices::get().lastLine().c_str() );
                code = refusedCode;
            }
        }
    } catch ( const Refusal &refusal ) {
        fprintf( stderr, "%s\n", refusal.what() );
        code = refusedCode;
    } catch ( const HostTool::Failure &failure ) {
        fprintf( stderr, "%s\n", failure.what() );
        code = refusedCode;
    } catch ( const std::exception &exception ) {
        fprintf( stderr, "thrown: %s\n", exception.what() );
        code = thrownCode;
    }
    fflush( stderr );
    _exit( code );
}

void LibraryTrial::start( const BoardTexts &texts ) {
    folder_.topology( texts.topology );
    folder_.devices( texts.devices );
    child_ = fork();
    if ( child_ == 0 ) {
        constexpr rlimit noCore = { 0, 0 };
        setrlimit( RLIMIT_CORE, &noCore );
        constexpr unsigned longest = 30;
        alarm( longest );
        const int file = open( folder_.file( "said" ).c_str(), O_CREAT | O_TRUNC | O_WRONLY, 0600 );
        dup2( file, STDERR_FILENO );
        addAll( texts.emulation );
    }
}

TrialResult LibraryTrial::result() {
    int status = 0;
    if ( child_ < 0 || waitpid( child_, &status, 0 ) != child_ ) {
        throw std::runtime_error( "no child to try the library in" );
    }
    const int code = WIFEXITED( status ) ? WEXITSTATUS( status ) : thrownCode;
    const Fate fate = code == takenCode     ? Fate::taken
                      : code == refusedCode ? Fate::refused
                                            : Fate::stopped;
    return { fate, fate == Fate::taken ? "" : contents( folder_.file( "said" ) ) };
}
