// The hardened headers define recv and poll themselves, and so do we.
#undef _FORTIFY_SOURCE

#include "tests/KavraUtil/CallCounter.h"

#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <dlfcn.h>
#include <new>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <utility>

namespace {

// Apart from the rest, because counting must not itself allocate.
thread_local int allocations = 0;
thread_local std::size_t largestAllocation = SIZE_MAX;

void *allocate( std::size_t size ) {
    ++allocations;
    return size <= largestAllocation ? std::malloc( size > 0 ? size : 1 ) : nullptr;
}

template <typename Function>
Function *usual( Function *, const char *name ) {
    return reinterpret_cast<Function *>( ::dlsym( RTLD_NEXT, name ) );
}

bool interrupted( int &left ) {
    if ( left == 0 ) {
        return false;
    }
    --left;
    errno = EINTR;
    return true;
}

} // namespace

CallCounter &CallCounter::ofThisThread() {
    thread_local CallCounter counter;
    return counter;
}

int CallCounter::allocationsOfThisThread() {
    return allocations;
}

CallCounter::ScarceMemory::ScarceMemory( std::size_t largest ) {
    largestAllocation = largest;
}

CallCounter::ScarceMemory::~ScarceMemory() {
    largestAllocation = SIZE_MAX;
}

void CallCounter::restart() {
    sends = receives = connects = otherSocketCalls = 0;
}

void *operator new( std::size_t size ) {
    if ( void *memory = allocate( size ) ) {
        return memory;
    }
    throw std::bad_alloc();
}

// A sanitizer's own does not come to the one above.
void *operator new( std::size_t size, const std::nothrow_t & ) noexcept {
    return allocate( size );
}

void operator delete( void *memory ) noexcept {
    std::free( memory );
}

void operator delete( void *memory, std::size_t ) noexcept {
    std::free( memory );
}

extern "C" {

ssize_t send( int fd, const void *data, size_t size, int flags ) {
    static auto *const real = usual( &::send, "send" );
    CallCounter &counter = CallCounter::ofThisThread();
    ++counter.sends;
    if ( counter.nextSendFailsWith != 0 ) {
        errno = std::exchange( counter.nextSendFailsWith, 0 );
        return -1;
    }
    return interrupted( counter.sendsToInterrupt ) ? -1 : real( fd, data, size, flags );
}

ssize_t recv( int fd, void *data, size_t size, int flags ) {
    static auto *const real = usual( &::recv, "recv" );
    CallCounter &counter = CallCounter::ofThisThread();
    ++counter.receives;
    if ( counter.beforeReceive ) {
        counter.beforeReceive();
    }
    return interrupted( counter.receivesToInterrupt ) ? -1 : real( fd, data, size, flags );
}

int connect( int fd, const sockaddr *address, socklen_t size ) {
    static auto *const real = usual( &::connect, "connect" );
    CallCounter &counter = CallCounter::ofThisThread();
    ++counter.connects;
    counter.connectedPath = reinterpret_cast<const sockaddr_un *>( address )->sun_path;
    if ( counter.beforeConnect ) {
        counter.beforeConnect();
    }
    return real( fd, address, size );
}

int poll( pollfd *fds, nfds_t count, int timeout ) {
    static auto *const real = usual( &::poll, "poll" );
    ++CallCounter::ofThisThread().otherSocketCalls;
    return real( fds, count, timeout );
}

int setsockopt( int fd, int level, int name, const void *value, socklen_t size ) noexcept {
    static auto *const real = usual( &::setsockopt, "setsockopt" );
    ++CallCounter::ofThisThread().otherSocketCalls;
    return real( fd, level, name, value, size );
}

int getsockopt( int fd, int level, int name, void *value, socklen_t *size ) noexcept {
    static auto *const real = usual( &::getsockopt, "getsockopt" );
    ++CallCounter::ofThisThread().otherSocketCalls;
    return real( fd, level, name, value, size );
}

int ioctl( int fd, unsigned long request, ... ) noexcept {
    static auto *const real = usual( &::ioctl, "ioctl" );
    ++CallCounter::ofThisThread().otherSocketCalls;
    va_list arguments;
    va_start( arguments, request );
    void *argument = va_arg( arguments, void * );
    va_end( arguments );
    return real( fd, request, argument );
}

} // extern "C"
