#include "HostTool/Explain/PrivateServer.h"

#include "HostTool/Failure.h"
#include "HostTool/Host/AbortNote.h"
#include "HostTool/Host/HostServices.h"

#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string_view>

namespace HostTool::Explain {

namespace {

constexpr const char *programName = "kavra-smbusd";
constexpr int startMilliseconds = 20000;
constexpr const char *socketVariable = "SMBUSD_SOCKET";

// What is left to do when the process ends by a signal. Plain memory: a signal handler may touch
// nothing that allocates.
constexpr std::array<const char *, 4> fileNames = { "/s", "/s.ctl", "/s.lock", "/recording" };
struct Remains {
    std::array<char, 256> folder;
    std::array<std::array<char, 288>, fileNames.size()> files;
    volatile pid_t server;
};
Remains remains = {};

constexpr std::array<int, 9> endings = { SIGINT,  SIGTERM, SIGHUP, SIGQUIT, SIGPIPE,
                                         SIGSEGV, SIGBUS,  SIGFPE, SIGILL };

void cleanUp() {
    if ( const pid_t server = remains.server; server > 0 ) {
        kill( server, SIGKILL );
        waitpid( server, nullptr, 0 );
        remains.server = 0;
    }
    for ( const auto &file : remains.files ) {
        unlink( file.data() );
    }
    rmdir( remains.folder.data() );
}

// The handler is installed for one time: the signal then ends the process as it would have.
void endBySignal( int number ) {
    cleanUp();
    raise( number );
}

// A signal that this program was started to ignore stays ignored.
void watchEndings( bool watched ) {
    AbortNote::prelude( watched ? cleanUp : nullptr );
    for ( const int number : endings ) {
        struct sigaction action = {};
        action.sa_handler = watched ? endBySignal : SIG_DFL;
        action.sa_flags = static_cast<int>( SA_RESETHAND );
        if ( !isIgnored( number ) ) {
            sigaction( number, &action, nullptr );
        }
    }
}

void noteRemains( const std::string &folder ) {
    folder.copy( remains.folder.data(), remains.folder.size() - 1 );
    for ( size_t i = 0; i < fileNames.size(); ++i ) {
        const std::string path = folder + fileNames[i];
        path.copy( remains.files[i].data(), remains.files[i].size() - 1 );
    }
}

/// The server's own words, less its name in front of each line.
std::string withoutName( std::string text ) {
    const std::string name = std::string( programName ) + ": ";
    for ( size_t at = 0; ( at = text.find( name, at ) ) != std::string::npos; ) {
        text.erase( at, name.size() );
    }
    while ( text.ends_with( '\n' ) ) {
        text.pop_back();
    }
    return text;
}

} // namespace

TemporaryFolder::TemporaryFolder() {
    std::error_code error;
    path_ = std::filesystem::temp_directory_path( error ).string() + "/kavractl-XXXXXX";
    const size_t longest = sizeof( sockaddr_un::sun_path ) - 1 - strlen( "/s.lock" );
    if ( error || path_.size() > longest ) {
        path_ = "/tmp/kavractl-XXXXXX"; // a socket's path has little room
    }
    if ( !mkdtemp( path_.data() ) ) {
        throw Failure( ExitCode::unreachable,
                       "no temporary folder " + path_ + ": " + strerror( errno ) );
    }
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all( path_, ignored );
}

PrivateServer::PrivateServer( const std::string &emulation )
    : program_( findProgram( programName ) ), recording_( folder_.path() + "/recording" ) {
    noteRemains( folder_.path() );
    watchEndings( true );
    const std::string socket = folder_.path() + "/s";
    server_ = std::make_unique<Program>(
        std::vector<std::string>{ program_, "--board", emulation, "--socket", socket, "--control",
                                  socket + ".ctl", "--record", recording_ },
        STDERR_FILENO );
    remains.server = server_->pid();
    if ( !server_->waitFor( "listening on ", startMilliseconds ) ) {
        remains.server = 0;
        server_->terminate();
        const int status = server_->finish();
        watchEndings( false );
        constexpr int wrongDocument = 2;
        throw Failure( status == wrongDocument ? ExitCode::badInput : ExitCode::unreachable,
                       status == wrongDocument
                           ? withoutName( server_->output() )
                           : program_ + " does not come up: " + withoutName( server_->output() ) );
    }
    setenv( socketVariable, socket.c_str(), 1 );
}

PrivateServer::~PrivateServer() {
    remains.server = 0;
    server_.reset();
    watchEndings( false );
    unsetenv( socketVariable );
}

uint64_t PrivateServer::recorded() const {
    struct stat status = {};
    return stat( recording_.c_str(), &status ) == 0 ? static_cast<uint64_t>( status.st_size ) : 0;
}

std::vector<Transaction> PrivateServer::stop() {
    remains.server = 0;
    server_->terminate();
    server_->finish();
    Program print( { program_, "--print", recording_, "--json" }, STDOUT_FILENO );
    if ( print.finish() != 0 ) {
        throw Failure( ExitCode::unreachable,
                       program_ + " cannot print the recording: is it of another version?" );
    }
    return parseRecording( print.output() );
}

} // namespace HostTool::Explain
