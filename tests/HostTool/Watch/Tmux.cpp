#include "tests/HostTool/Watch/Tmux.h"

#include "tests/support/RunProgram.h"

#include <chrono>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

using namespace std::chrono_literals;

bool Tmux::isInstalled() {
    return runProgram( { "/bin/sh", "-c", "tmux -V" } ).status == 0;
}

Tmux::Tmux( int columns, int rows, const std::string &command ) {
    folder_.write( "command", command );
    run( "-f /dev/null new-session -d -x " + std::to_string( columns ) + " -y " +
         std::to_string( rows ) + " 'exec sh " + folder_.file( "command" ) + "'" );
}

Tmux::~Tmux() {
    runProgram( { "/bin/sh", "-c", "tmux -S " + folder_.file( "tmux" ) + " kill-server" } );
}

std::string Tmux::run( const std::string &arguments ) const {
    const ProgramResult result =
        runProgram( { "/bin/sh", "-c", "tmux -u -S " + folder_.file( "tmux" ) + " " + arguments } );
    if ( result.status != 0 ) {
        throw std::runtime_error( "tmux " + arguments + ": " + result.err );
    }
    return result.out;
}

std::string Tmux::screen( bool attributes ) const {
    return run( attributes ? "capture-pane -p -e" : "capture-pane -p" );
}

void Tmux::press( const std::string &keys ) const {
    run( "send-keys " + keys );
}

void Tmux::resize( int columns, int rows ) const {
    run( "resize-window -x " + std::to_string( columns ) + " -y " + std::to_string( rows ) );
}

pid_t Tmux::program() const {
    const std::string shell = std::to_string( std::stoi( run( "display -p '#{pane_pid}'" ) ) );
    std::ifstream children( "/proc/" + shell + "/task/" + shell + "/children" );
    pid_t child = 0;
    children >> child;
    return child;
}

bool Tmux::waitFor( const std::string &text ) const {
    return waitUntil(
        [&]( const std::string &screen ) { return screen.find( text ) != std::string::npos; } );
}

bool Tmux::waitUntil( const std::function<bool( const std::string &screen )> &isThere ) const {
    const auto deadline = std::chrono::steady_clock::now() + 20s;
    while ( std::chrono::steady_clock::now() < deadline ) {
        if ( isThere( screen() ) ) {
            return true;
        }
        std::this_thread::sleep_for( 20ms );
    }
    return false;
}
