#undef _FORTIFY_SOURCE

#include "tests/faults/Trial.h"

#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Library.h"
#include "tests/faults/ForgetLibrary.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <exception>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <typeinfo>
#include <unistd.h>

using Faults::Plan;
using Faults::Unwatched;

namespace {

constexpr int mostDescriptors = 96;
constexpr unsigned longestTrial = 60;

Report *report = nullptr; // shared with the process that makes it
BoardServer *server = nullptr;

void outcomeIs( const char *what, const char *detail = "" ) {
    const Unwatched own;
    snprintf( report->outcome, sizeof report->outcome, "%s%s", what, detail );
}

void outcomeIs( const char *what, int number ) {
    const Unwatched own;
    snprintf( report->outcome, sizeof report->outcome, "%s%d", what, number );
}

void addProblem( const char *problem ) {
    const Unwatched own;
    const size_t length = strlen( report->problem );
    snprintf( report->problem + length, sizeof report->problem - length, "%s; ", problem );
}

[[noreturn]] void end() {
    report->ended = true;
    _exit( 0 );
}

void checkMuxes() {
    if ( server != nullptr && !server->everyMuxIsClosed() ) {
        addProblem( "a mux is left open" );
    }
}

// A deselect that was refused leaves its mux open up to the next batch.
void checkMuxesBehindTheFault() {
    if ( server == nullptr || !server->hasRefusedADeselect() ) {
        checkMuxes();
    }
}

[[noreturn]] void endInAssertion( const char *text ) {
    Faults::disarm();
    outcomeIs( "assert: ", text );
    checkMuxesBehindTheFault();
    end();
}

[[noreturn]] void endInTerminate() {
    Faults::disarm();
    outcomeIs( "died: std::terminate" );
    end();
}

int countDescriptors() {
    int count = 0;
    for ( int fd = 0; fd < mostDescriptors; ++fd ) {
        const bool isOpen = fcntl( fd, F_GETFD ) != -1;
        count += isOpen && !( server != nullptr && server->owns( fd ) ) ? 1 : 0;
    }
    return count;
}

size_t digestOfBoard() {
    return server != nullptr ? server->digest() : 0;
}

void checkTables() {
    for ( const auto &[did, device] : Component::DeviceBase::devices ) {
        if ( device == nullptr ) {
            addProblem( "a device of the table is none" );
        }
    }
    if ( hasLabelsOfNoTree() ) {
        addProblem( "labels of half a tree are left" );
    }
}

void call( const Operation &operation, Result &result ) {
    try {
        operation.call( result );
        Faults::disarm();
        if ( result.isRecord ) {
            outcomeIs( result.status != 0 ? "record" : "null" );
        } else {
            outcomeIs( "status ", result.status );
        }
    } catch ( const std::exception &exception ) {
        Faults::disarm();
        const bool isOfMemory = typeid( exception ) == typeid( std::bad_alloc );
        outcomeIs( "throws ", isOfMemory ? "bad_alloc" : exception.what() );
    } catch ( ... ) {
        Faults::disarm();
        outcomeIs( "throws something" );
    }
}

void prepare( const Operation &operation ) {
    if ( operation.before ) {
        operation.before();
    }
}

} // namespace

Trial::Trial( BoardServer *boardServer ) : server_( boardServer ) {
    void *shared = mmap( nullptr, sizeof( Report ), PROT_READ | PROT_WRITE,
                         MAP_SHARED | MAP_ANONYMOUS, -1, 0 );
    report = static_cast<Report *>( shared );
    std::FILE *const file = std::tmpfile();
    said_ = dup( fileno( file ) );
    std::fclose( file );
    server = boardServer;
}

Trial::~Trial() {
    munmap( report, sizeof( Report ) );
    close( said_ );
}

const Report &Trial::run( const Operation &operation, const Plan &plan, const Operation *then ) {
    new ( report ) Report();
    if ( ftruncate( said_, 0 ) != 0 || lseek( said_, 0, SEEK_SET ) != 0 ) {
        abort();
    }
    if ( server_ != nullptr ) {
        server_->acceptAll();
    }
    const pid_t child = fork();
    if ( child == 0 ) {
        perform( operation, plan, then );
    }
    int status = 0;
    if ( child == -1 || waitpid( child, &status, 0 ) != child ) {
        abort();
    }
    if ( !report->ended ) {
        if ( WIFSIGNALED( status ) ) {
            outcomeIs( "died: signal ", WTERMSIG( status ) );
        } else {
            outcomeIs( "died: exit code ", WEXITSTATUS( status ) );
        }
    }
    if ( server_ != nullptr ) {
        server_->forgetLeftovers( _plSock != nullptr ? _plSock->fd : -1 );
    }
    return *report;
}

void Trial::perform( const Operation &operation, const Plan &plan, const Operation *then ) {
    constexpr rlimit noCore = { 0, 0 };
    setrlimit( RLIMIT_CORE, &noCore );
    alarm( longestTrial );
    dup2( said_, STDERR_FILENO );
    Faults::assertionsEndIn( endInAssertion );
    std::set_terminate( endInTerminate );

    prepare( operation );
    const long blocksBefore = Faults::blocksInUse();
    Faults::arm( plan, report->met );
    call( operation, report->result );
    report->board = digestOfBoard();
    report->blocks = Faults::blocksInUse() - blocksBefore;
    report->descriptors = countDescriptors();
    checkTables();
    checkMuxesBehindTheFault();

    char outcome[sizeof report->outcome];
    memcpy( outcome, report->outcome, sizeof outcome );
    prepare( operation );
    call( operation, report->next );
    report->nextBoard = digestOfBoard();
    report->hasNext = true;
    if ( strncmp( report->outcome, "throws", 6 ) == 0 ) {
        addProblem( "the next call throws" );
    }
    report->blocksAtEnd = Faults::blocksInUse() - blocksBefore;
    report->descriptorsAtEnd = countDescriptors();
    checkMuxes();
    if ( then != nullptr ) {
        prepare( *then );
        report->next.isRecord = false;
        call( *then, report->next );
    }
    memcpy( report->outcome, outcome, sizeof outcome );
    end();
}

std::string Trial::saidLast() const {
    char text[2000] = {};
    const ssize_t size = pread( said_, text, sizeof text - 1, 0 );
    return { text, size > 0 ? static_cast<size_t>( size ) : 0 };
}
