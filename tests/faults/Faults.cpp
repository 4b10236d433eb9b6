// One file, long as it is, because all of it shares what is armed and counted.
//
// The hardened headers define some of these themselves, and so do we.
#undef _FORTIFY_SOURCE

#include "tests/faults/Faults.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <new>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <type_traits>
#include <unistd.h>

// Of the C library, or of a sanitizer that stands in for it.
extern "C" {
void *__interceptor_malloc( size_t ) __attribute__( ( weak ) );
void *__interceptor_calloc( size_t, size_t ) __attribute__( ( weak ) );
void *__interceptor_realloc( void *, size_t ) __attribute__( ( weak ) );
void __interceptor_free( void * ) __attribute__( ( weak ) );
void *__libc_malloc( size_t );
void *__libc_calloc( size_t, size_t );
void *__libc_realloc( void *, size_t );
void __libc_free( void * );
}

namespace Faults {

namespace {

Plan plan;
Met nothing;
Met *seen = &nothing;
bool armed = false;
int unwatched = 0;
long blocks = 0;
bool clockStands = false;
int64_t nanoseconds = 0;
void ( *endInAssertion )( const char *text ) = nullptr;
void ( *answer )() = nullptr;

constexpr unsigned mostErrors = 4;

struct Call {
    const char *name;
    int errors[mostErrors]; // up to the first 0
};

// The calls that the library and its client make, each with what it is likely to fail with. A
// receipt also fails by the other end's hanging up, which is no errno.
constexpr int hangUp = -1;
// clang-format off
constexpr Call socketCall     = { "socket",     { EMFILE, ENFILE, ENOMEM } };
constexpr Call connectCall    = { "connect",    { ECONNREFUSED, ENOENT, EAGAIN, EACCES } };
constexpr Call fcntlCall      = { "fcntl",      { EINVAL, ENOLCK, EDEADLK } };
constexpr Call setsockoptCall = { "setsockopt", { ENOPROTOOPT } };
constexpr Call sendCall       = { "send",       { EPIPE, EINTR, EAGAIN, ENOBUFS } };
constexpr Call recvCall       = { "recv",       { ECONNRESET, EINTR, EAGAIN, hangUp } };
constexpr Call closeCall      = { "close",      { EIO, EINTR } };
constexpr Call openCall       = { "open",       { EMFILE, ENOENT, EACCES } };
constexpr Call mmapCall       = { "mmap",       { ENOMEM, EACCES } };
constexpr Call statCall       = { "stat",       { ENOENT, EACCES } };
constexpr Call fstatCall      = { "fstat",      { EIO } };
constexpr Call mkdirCall      = { "mkdir",      { EACCES, ENOSPC } };
constexpr Call opendirCall    = { "opendir",    { EMFILE, EACCES } };
constexpr Call fopenCall      = { "fopen",      { EMFILE, EACCES, ENOSPC } };
constexpr Call writeCall      = { "write",      { ENOSPC, EIO } };
constexpr Call popenCall      = { "popen",      { EMFILE, ENOMEM, EAGAIN } };
constexpr Call fgetsCall      = { "fgets",      { EIO } };
constexpr Call pcloseCall     = { "pclose",     { ECHILD } };
// clang-format on

unsigned countErrors( const Call &call ) {
    return static_cast<unsigned>( std::find( call.errors, call.errors + mostErrors, 0 ) -
                                  call.errors );
}

bool watching() {
    return armed && unwatched == 0;
}

bool meets( Kind kind ) {
    const unsigned place = ++seen->counts[static_cast<int>( kind )];
    if ( kind != plan.kind || plan.n == 0 ) {
        return false;
    }
    const bool first = place == plan.n;
    seen->failed |= first;
    return first || ( plan.forEver && place > plan.n );
}

// An interruption ends: for ever, the next way to fail comes in its place.
int errorFor( const Call &call ) {
    const unsigned count = countErrors( call );
    const unsigned chosen = plan.variant % count;
    const int error = call.errors[chosen];
    return plan.forEver && error == EINTR ? call.errors[( chosen + 1 ) % count] : error;
}

// @return 0 when the call is to be made.
int failure( const Call &call ) {
    if ( !watching() ) {
        return 0;
    }
    const unsigned place = seen->counts[static_cast<int>( Kind::systemCall )];
    if ( place < mostPlaces ) {
        seen->variants[place] = static_cast<uint8_t>( countErrors( call ) );
    }
    if ( !meets( Kind::systemCall ) ) {
        return 0;
    }
    const int error = errorFor( call );
    if ( seen->call == nullptr ) {
        seen->call = call.name;
        seen->error = error;
    }
    return error;
}

bool failsNow( const Call &call ) {
    const int error = failure( call );
    if ( error != 0 ) {
        errno = error;
    }
    return error != 0;
}

bool allocationFails( const void *caller ) {
    if ( !watching() || !meets( Kind::allocation ) ) {
        return false;
    }
    if ( seen->caller == nullptr ) {
        seen->caller = caller;
    }
    errno = ENOMEM;
    return true;
}

template <typename Block>
Block *counted( Block *block ) {
    if ( unwatched == 0 && block != nullptr ) {
        ++blocks;
    }
    return block;
}

void *newBlock( size_t size, const void *caller ) {
    if ( allocationFails( caller ) ) {
        return nullptr;
    }
    return counted( __interceptor_malloc != nullptr ? __interceptor_malloc( size )
                                                    : __libc_malloc( size ) );
}

void release( void *block ) {
    if ( block == nullptr ) {
        return;
    }
    if ( unwatched == 0 ) {
        --blocks;
    }
    __interceptor_free != nullptr ? __interceptor_free( block ) : __libc_free( block );
}

void sleepFor( int64_t time ) {
    nanoseconds += time;
}

} // namespace

void arm( const Plan &wanted, Met &met ) {
    plan = wanted;
    seen = &met;
    armed = true;
}

void disarm() {
    armed = false;
}

bool fails( Kind kind ) {
    return armed && meets( kind );
}

unsigned variant() {
    return plan.variant;
}

bool everythingFails( Kind kind ) {
    return armed && plan.kind == kind && plan.forEver && seen->failed;
}

long blocksInUse() {
    return blocks;
}

Unwatched::Unwatched() {
    ++unwatched;
}

Unwatched::~Unwatched() {
    --unwatched;
}

void stopTheClock() {
    clockStands = true;
}

void startTheClock() {
    clockStands = false;
}

double realSeconds() {
    timespec now = {};
    syscall( SYS_clock_gettime, CLOCK_MONOTONIC, &now );
    return static_cast<double>( now.tv_sec ) + static_cast<double>( now.tv_nsec ) * 1e-9;
}

void assertionsEndIn( void ( *function )( const char * ) ) {
    endInAssertion = function;
}

void answersComeFrom( void ( *function )() ) {
    answer = function;
}

} // namespace Faults

using namespace Faults;

void *operator new( size_t size ) {
    if ( void *block = newBlock( size, __builtin_return_address( 0 ) ) ) {
        return block;
    }
    throw std::bad_alloc();
}
void *operator new[]( size_t size ) {
    if ( void *block = newBlock( size, __builtin_return_address( 0 ) ) ) {
        return block;
    }
    throw std::bad_alloc();
}
void *operator new( size_t size, const std::nothrow_t & ) noexcept {
    return newBlock( size, __builtin_return_address( 0 ) );
}
void operator delete( void *block ) noexcept {
    release( block );
}
void operator delete( void *block, size_t ) noexcept {
    release( block );
}
void operator delete[]( void *block ) noexcept {
    release( block );
}
void operator delete[]( void *block, size_t ) noexcept {
    release( block );
}

namespace {

template <typename Function>
Function *usual( Function *, const char *name ) {
    const Unwatched own;
    return reinterpret_cast<Function *>( ::dlsym( RTLD_NEXT, name ) );
}

} // namespace

extern "C" {

void *malloc( size_t size ) noexcept {
    return newBlock( size, __builtin_return_address( 0 ) );
}

void *calloc( size_t count, size_t size ) noexcept {
    if ( allocationFails( __builtin_return_address( 0 ) ) ) {
        return nullptr;
    }
    return counted( __interceptor_calloc != nullptr ? __interceptor_calloc( count, size )
                                                    : __libc_calloc( count, size ) );
}

void *realloc( void *block, size_t size ) noexcept {
    if ( block == nullptr ) {
        return newBlock( size, __builtin_return_address( 0 ) );
    }
    if ( size != 0 && allocationFails( __builtin_return_address( 0 ) ) ) {
        return nullptr;
    }
    if ( size == 0 && unwatched == 0 ) {
        --blocks;
    }
    return __interceptor_realloc != nullptr ? __interceptor_realloc( block, size )
                                            : __libc_realloc( block, size );
}

void free( void *block ) noexcept {
    release( block );
}

void __assert_fail( const char *text, const char *file, unsigned line,
                    const char *function ) noexcept {
    if ( endInAssertion != nullptr ) {
        endInAssertion( text );
    }
    static auto *const real = usual( &::__assert_fail, "__assert_fail" );
    real( text, file, line, function );
    abort();
}

int clock_gettime( clockid_t id, timespec *time ) noexcept {
    if ( !clockStands ) {
        return static_cast<int>( syscall( SYS_clock_gettime, id, time ) );
    }
    constexpr int64_t perSecond = 1'000'000'000;
    *time = { nanoseconds / perSecond, nanoseconds % perSecond };
    return 0;
}

int nanosleep( const timespec *time, timespec * ) {
    sleepFor( time->tv_sec * int64_t{ 1'000'000'000 } + time->tv_nsec );
    return 0;
}

unsigned sleep( unsigned seconds ) {
    sleepFor( seconds * int64_t{ 1'000'000'000 } );
    return 0;
}

int usleep( useconds_t microseconds ) {
    sleepFor( microseconds * int64_t{ 1000 } );
    return 0;
}

int socket( int domain, int type, int protocol ) noexcept {
    static auto *const real = usual( &::socket, "socket" );
    return failsNow( socketCall ) ? -1 : real( domain, type, protocol );
}

int connect( int fd, const sockaddr *address, socklen_t size ) {
    static auto *const real = usual( &::connect, "connect" );
    return failsNow( connectCall ) ? -1 : real( fd, address, size );
}

int setsockopt( int fd, int level, int name, const void *value, socklen_t size ) noexcept {
    static auto *const real = usual( &::setsockopt, "setsockopt" );
    return failsNow( setsockoptCall ) ? -1 : real( fd, level, name, value, size );
}

ssize_t send( int fd, const void *data, size_t size, int flags ) {
    static auto *const real = usual( &::send, "send" );
    return failsNow( sendCall ) ? -1 : real( fd, data, size, flags );
}

// Nobody waits: the other end answers at once or not at all.
ssize_t recv( int fd, void *data, size_t size, int flags ) {
    static auto *const real = usual( &::recv, "recv" );
    const int error = failure( recvCall );
    if ( error == hangUp ) {
        return 0;
    }
    if ( error != 0 ) {
        errno = error;
        return -1;
    }
    if ( answer == nullptr || unwatched != 0 ) {
        return real( fd, data, size, flags );
    }
    answer();
    return real( fd, data, size, flags | MSG_DONTWAIT );
}

// Closed all the same, as the kernel does it.
int close( int fd ) {
    const int status = static_cast<int>( syscall( SYS_close, fd ) );
    return failsNow( closeCall ) ? -1 : status;
}

int fcntl( int fd, int command, ... ) {
    va_list arguments;
    va_start( arguments, command );
    void *argument = va_arg( arguments, void * );
    va_end( arguments );
    return failsNow( fcntlCall ) ? -1
                                 : static_cast<int>( syscall( SYS_fcntl, fd, command, argument ) );
}

int open( const char *path, int flags, ... ) {
    va_list arguments;
    va_start( arguments, flags );
    const bool creates = ( flags & ( O_CREAT | O_TMPFILE ) ) != 0;
    const unsigned mode = creates ? va_arg( arguments, unsigned ) : 0;
    va_end( arguments );
    return failsNow( openCall )
               ? -1
               : static_cast<int>( syscall( SYS_openat, AT_FDCWD, path, flags, mode ) );
}

void *mmap( void *place, size_t size, int protection, int flags, int fd, off_t offset ) noexcept {
    if ( fd != -1 && failsNow( mmapCall ) ) {
        return MAP_FAILED;
    }
    return reinterpret_cast<void *>(
        syscall( SYS_mmap, place, size, protection, flags, fd, offset ) );
}

int stat( const char *path, struct stat *status ) noexcept {
    static auto *const real =
        usual( static_cast<int ( * )( const char *, struct stat * ) noexcept>( nullptr ), "stat" );
    return failsNow( statCall ) ? -1 : real( path, status );
}

int fstat( int fd, struct stat *status ) noexcept {
    static auto *const real =
        usual( static_cast<int ( * )( int, struct stat * ) noexcept>( nullptr ), "fstat" );
    return failsNow( fstatCall ) ? -1 : real( fd, status );
}

int mkdir( const char *path, mode_t mode ) noexcept {
    static auto *const real = usual( &::mkdir, "mkdir" );
    return failsNow( mkdirCall ) ? -1 : real( path, mode );
}

DIR *opendir( const char *path ) {
    static auto *const real = usual( &::opendir, "opendir" );
    return failsNow( opendirCall ) ? nullptr : real( path );
}

FILE *fopen( const char *path, const char *mode ) {
    static auto *const real = usual( &::fopen, "fopen" );
    return failsNow( fopenCall ) ? nullptr : real( path, mode );
}

FILE *fopen64( const char *path, const char *mode ) {
    static auto *const real = usual( &::fopen64, "fopen64" );
    return failsNow( fopenCall ) ? nullptr : real( path, mode );
}

ssize_t write( int fd, const void *data, size_t size ) {
    return failsNow( writeCall ) ? -1
                                 : static_cast<ssize_t>( syscall( SYS_write, fd, data, size ) );
}

ssize_t writev( int fd, const iovec *pieces, int count ) {
    return failsNow( writeCall ) ? -1
                                 : static_cast<ssize_t>( syscall( SYS_writev, fd, pieces, count ) );
}

FILE *popen( const char *command, const char *mode ) {
    static auto *const real = usual( &::popen, "popen" );
    return failsNow( popenCall ) ? nullptr : real( command, mode );
}

char *fgets( char *line, int size, FILE *stream ) {
    static auto *const real = usual( &::fgets, "fgets" );
    return failsNow( fgetsCall ) ? nullptr : real( line, size, stream );
}

// The command is waited for all the same.
int pclose( FILE *stream ) {
    static auto *const real = usual( &::pclose, "pclose" );
    const int status = real( stream );
    return failsNow( pcloseCall ) ? -1 : status;
}

} // extern "C"
