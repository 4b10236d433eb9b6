#include "EmulatedBoard/Document.h"
#include "SmbusServer/ControlClient.h"
#include "SmbusServer/FaultScript.h"
#include "SmbusServer/Log.h"
#include "SmbusServer/Options.h"
#include "SmbusServer/Recording.h"
#include "SmbusServer/Server.h"
#include "SmbusServer/UnixSocket.h"

#include <csignal>
#include <cstdio>
#include <exception>

using namespace SmbusServer;

enum ExitCode { Done = 0, Unexpected = 1, WrongCall = 2, NoSocket = 3 };

static int run( const Options &options ) {
    switch ( options.task ) {
    case Options::Task::Help:
        fputs( helpText.data(), stdout );
        return Done;
    case Options::Task::Version:
        puts( "kavra-smbusd " KAVRA_VERSION );
        return Done;
    case Options::Task::CheckConfig:
        checkDocuments( options );
        return Done;
    case Options::Task::Print:
        printRecording( options.print, options.json );
        return Done;
    case Options::Task::Control:
        return runControlClient( options.control, options.line );
    case Options::Task::Serve:
        break;
    }
    logDetailIs( options.verbose );
    serve( options );
    return Done;
}

int main( int argc, char **argv ) {
    signal( SIGPIPE, SIG_IGN ); // a log that nobody reads must not end the server
    signal( SIGXFSZ, SIG_IGN ); // nor a recording that has reached the limit of a file
    try {
        return run( parseOptions( argc, argv ) );
    } catch ( const UsageError &error ) {
        logEvent( "%s; 'kavra-smbusd --help' tells more", error.what() );
        return WrongCall;
    } catch ( const EmulatedBoard::DocumentError &error ) {
        logEvent( "%s", error.what() );
        return WrongCall;
    } catch ( const RecordingError &error ) {
        logEvent( "%s", error.what() );
        return WrongCall;
    } catch ( const FaultError &error ) {
        logEvent( "%s", error.what() );
        return WrongCall;
    } catch ( const SocketError &error ) {
        logEvent( "%s", error.what() );
        return NoSocket;
    } catch ( const std::exception &error ) {
        logEvent( "%s", error.what() );
        return Unexpected;
    }
}
