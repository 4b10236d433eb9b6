// A host that lacks pl_fd_watcher_delete, the one service that the library does not count on.
#include "KavraGeneric/Library.h"

#include "tests/support/LibraryFixture.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

namespace {

std::function<void()> duringSleep;

using LibraryWithoutWatcherTest = LibraryFixture;

} // namespace

extern "C" unsigned sleep( unsigned ) {
    duringSleep();
    return 0;
}

namespace {

TEST_F( LibraryWithoutWatcherTest, FailureStillClosesTheDescriptor ) {
    ASSERT_EQ( nullptr, ::dlsym( RTLD_DEFAULT, "pl_fd_watcher_delete" ) );
    ::setenv( "SMBUSD_SOCKET", "/nonexistent/smbusd.sock", 1 );
    const int descriptor = ::open( "/dev/null", O_RDONLY | O_CLOEXEC );
    duringSleep = [&] {
        _plSock->watcher = &duringSleep;
        _plSock->fd = descriptor;
    };
    EXPECT_EQ( 4, plSockInit( "unwatched", 1 ) );
    EXPECT_EQ( -1, ::fcntl( descriptor, F_GETFD ) );
    EXPECT_EQ( nullptr, _plSock );
}

} // namespace
