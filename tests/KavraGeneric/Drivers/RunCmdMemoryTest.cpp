#include "KavraGeneric/Drivers/Helpers.h"

#include "tests/support/FakeHost.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <new>
#include <string>
#include <sys/wait.h>

namespace {

size_t largestAllocation = SIZE_MAX;

/// While it lives there is no memory for anything larger.
struct ScarceMemory {
    explicit ScarceMemory( size_t largest ) { largestAllocation = largest; }
    ~ScarceMemory() { largestAllocation = SIZE_MAX; }
};

auto openDescriptors() {
    return std::distance( std::filesystem::directory_iterator( "/proc/self/fd" ), {} );
}

} // namespace

// The library's allocations come here as well, as in any program that replaces these.
void *operator new( size_t size ) {
    void *memory = size <= largestAllocation ? std::malloc( size ) : nullptr;
    if ( memory ) {
        return memory;
    }
    throw std::bad_alloc();
}
void *operator new( size_t size, const std::nothrow_t & ) noexcept {
    return size <= largestAllocation ? std::malloc( size ) : nullptr;
}
extern "C" char *strdup( const char *text ) noexcept {
    const size_t size = strlen( text ) + 1;
    void *memory = size <= largestAllocation ? std::malloc( size ) : nullptr;
    return memory ? static_cast<char *>( memcpy( memory, text, size ) ) : nullptr;
}
void operator delete( void *memory ) noexcept {
    std::free( memory );
}
void operator delete( void *memory, size_t ) noexcept {
    std::free( memory );
}

TEST( RunCmdMemoryTest, OutputWithoutRoomIsThrownAndTheCommandEnded ) {
    const auto descriptors = openDescriptors();
    std::string output;
    {
        const ScarceMemory scarce( 100'000 );
        EXPECT_THROW( Drivers::runCmd( "yes", output, 20 ), std::bad_alloc );
    }
    EXPECT_EQ( descriptors, openDescriptors() );
    EXPECT_EQ( -1, waitpid( -1, nullptr, WNOHANG ) );
    EXPECT_EQ( ECHILD, errno );
    EXPECT_EQ( PL_STATUS_OK, Drivers::runCmd( "echo next", output, 20 ) );
    EXPECT_EQ( "next\n", output );
}

TEST( InsertDriverArgMemoryTest, TextWithoutRoomIsTracedAndLeavesTheOutputAlone ) {
    FakeHost::get().reset();
    const std::string longValue( 2000, 'x' );
    char *rewritten = nullptr;
    {
        const ScarceMemory scarce( longValue.size() );
        EXPECT_FALSE( Drivers::insertDriverArg( R"({"did":1,"driverArgs":{"a":1}})", &rewritten,
                                                "psuId", longValue.c_str() ) );
    }
    EXPECT_EQ( nullptr, rewritten );
    EXPECT_TRUE( FakeHost::get().traced( 0, "no memory for psu devArgs" ) );
}
