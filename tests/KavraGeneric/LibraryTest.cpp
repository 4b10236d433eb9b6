#include "KavraGeneric/Library.h"

#include "KavraGeneric/Topology/Topology.h"
#include "tests/KavraUtil/CallCounter.h"
#include "tests/support/FakeSmbusServer.h"
#include "tests/support/LibraryFixture.h"

#include <fcntl.h>
#include <unistd.h>

namespace {

using Lines = std::vector<FakeHost::Line>;

/// The lengths of the library's sleeps, and what happens during one.
std::vector<unsigned> sleeps;
std::function<void()> duringSleep;
/// Of the descriptor, when the watcher was deleted.
bool openAtWatcherDelete = false;

bool isOpen( int descriptor ) {
    return ::fcntl( descriptor, F_GETFD ) != -1;
}

/// Not a handle that anybody looks behind.
pl_fd_watcher *const watcher = reinterpret_cast<pl_fd_watcher *>( &sleeps );

class LibraryTest : protected FakeSmbusServer, public LibraryFixture {
  protected:
    LibraryTest() {
        sleeps.clear();
        openAtWatcherDelete = false;
        calls_.restart();
    }
    ~LibraryTest() override {
        duringSleep = nullptr;
        calls_.beforeConnect = nullptr;
    }

    CallCounter &calls_ = CallCounter::ofThisThread();
};

} // namespace

extern "C" unsigned sleep( unsigned seconds ) {
    sleeps.push_back( seconds );
    if ( duringSleep ) {
        duringSleep();
    }
    return 0;
}

extern "C" void pl_fd_watcher_delete( pl_fd_watcher *deleted ) {
    FakeHost::get().deletedWatchers.push_back( deleted );
    openAtWatcherDelete = isOpen( _plSock->fd );
}

namespace {

TEST_F( LibraryTest, NoSocketUntilTheFirstInit ) {
    EXPECT_EQ( nullptr, _plSock );
    EXPECT_EQ( PL_STATUS_OK, pl_fan_init( "[]" ) );
    ASSERT_NE( nullptr, _plSock );
    EXPECT_TRUE( isOpen( _plSock->fd ) );
}

TEST_F( LibraryTest, EveryInitTracesItsNameAndTheTopologyText ) {
    const struct {
        const char *name;
        pl_status ( *init )( const char * );
    } entryPoints[] = {
        { "pl_slot_init", pl_slot_init },
        { "pl_led_init", pl_led_init },
        { "pl_temp_sensor_init", pl_temp_sensor_init },
        { "pl_fan_init", pl_fan_init },
        { "pl_xcvr_init", pl_xcvr_init },
        { "pl_psu_init", pl_psu_init },
        { "pl_gpio_init", pl_gpio_init },
        { "pl_smbus_init", pl_smbus_init },
        { "pl_system_init", pl_system_init },
    };
    for ( const auto &[name, init] : entryPoints ) {
        SCOPED_TRACE( name );
        resetLibrary();
        EXPECT_EQ( PL_STATUS_OK, init( " []" ) );
        Lines expected = { { 0, name },
                           { 5, std::string( name ) + ": json =  []" },
                           { 2, "loading topology json" } };
        if ( init == pl_smbus_init ) {
            expected.insert( expected.begin(), { 7, "pl_smbus_init\n" } );
        }
        EXPECT_EQ( expected, host().lines );
    }
}

TEST_F( LibraryTest, EveryInitTriesThirtyTimesASecondApart ) {
    killServer();
    for ( const auto init :
          { pl_slot_init, pl_led_init, pl_temp_sensor_init, pl_fan_init, pl_xcvr_init, pl_psu_init,
            pl_gpio_init, pl_smbus_init, pl_system_init } ) {
        calls_.restart();
        sleeps.clear();
        EXPECT_EQ( 4, init( "[]" ) );
        EXPECT_EQ( 30, calls_.connects );
        EXPECT_EQ( std::vector<unsigned>( 30, 1 ), sleeps );
    }
}

TEST_F( LibraryTest, WithoutAServerTheTopologyIsNotParsed ) {
    killServer();
    EXPECT_EQ( 4, pl_fan_init( "no JSON" ) );
    const Lines expected = { { 0, "pl_fan_init" },
                             { 5, "pl_fan_init: json = no JSON" },
                             { 0, "pl_fan_init: socket Setup failed!" } };
    EXPECT_EQ( expected, host().lines );
    EXPECT_EQ( nullptr, Topology::_topology );
    EXPECT_EQ( nullptr, _plSock );
}

TEST_F( LibraryTest, SecondInitMakesNoAttemptAndReturnsTheTopologyResult ) {
    ASSERT_EQ( PL_STATUS_OK, pl_fan_init( "[]" ) );
    const PlatformLibrary::PLSocket *socket = _plSock;
    killServer();
    calls_.restart();
    EXPECT_EQ( 3, pl_led_init( "[" ) );
    EXPECT_EQ( PL_STATUS_OK, pl_led_init( "[]" ) );
    EXPECT_EQ( 0, calls_.connects );
    EXPECT_EQ( socket, _plSock );
    EXPECT_TRUE( sleeps.empty() );
}

TEST_F( LibraryTest, SecondInitWithTheSameTextKeepsTheTree ) {
    ASSERT_EQ( PL_STATUS_OK, pl_fan_init( "[]" ) );
    const Topology::Topology *tree = Topology::_topology;
    EXPECT_EQ( PL_STATUS_OK, pl_psu_init( "[]" ) );
    EXPECT_EQ( tree, Topology::_topology );
    EXPECT_TRUE(
        host().traced( 2, "topology is the same as the previously loaded one (using it)" ) );
}

TEST_F( LibraryTest, TopologyFailureKeepsTheSocketForACorrectedText ) {
    EXPECT_EQ( 3, pl_fan_init( "[" ) );
    ASSERT_NE( nullptr, _plSock );
    calls_.restart();
    EXPECT_EQ( PL_STATUS_OK, pl_fan_init( "[]" ) );
    EXPECT_EQ( 0, calls_.connects );
    EXPECT_NE( nullptr, Topology::_topology );
}

TEST_F( LibraryTest, TopologyThatThereIsNoMemoryForIsAFailureAndLeavesNoLabels ) {
    // The devices of a bus are one allocation, which is larger than the text.
    std::string text = R"([{"type":"I2C","ham":"h","label":"bus","id":1,"devices":[)";
    for ( int i = 0; i < 100; ++i ) {
        text += R"({"did":1},)";
    }
    text.back() = ']';
    text += "}]";
    {
        const CallCounter::ScarceMemory scarce( text.size() + 100 );
        EXPECT_EQ( PL_STATUS_FAILED, pl_fan_init( text.c_str() ) );
    }
    EXPECT_EQ( "pl_fan_init: no memory for the topology", host().texts( 0 ).back() );
    EXPECT_EQ( nullptr, Topology::_topology );
    EXPECT_TRUE( Topology::_topology_index.empty() );
    EXPECT_EQ( PL_STATUS_OK, pl_fan_init( text.c_str() ) );
    EXPECT_EQ( 1U, Topology::_topology_index.count( "bus" ) );
}

TEST_F( LibraryTest, NoRetriesFailAtOnce ) {
    for ( const int retries : { 0, -1 } ) {
        SCOPED_TRACE( retries );
        host().reset();
        EXPECT_EQ( 4, plSockInit( "now", retries ) );
        EXPECT_EQ( 0, calls_.connects );
        EXPECT_TRUE( sleeps.empty() );
        EXPECT_EQ( ( Lines{ { 0, "now: socket Setup failed!" } } ), host().lines );
        EXPECT_EQ( nullptr, _plSock );
    }
}

TEST_F( LibraryTest, SocketThatThereIsNoMemoryForFailsAtOnce ) {
    {
        const CallCounter::ScarceMemory scarce( sizeof( PlatformLibrary::PLSocket ) - 1 );
        EXPECT_EQ( 4, plSockInit( "now", 30 ) );
    }
    EXPECT_EQ( 0, calls_.connects );
    EXPECT_EQ( ( Lines{ { 0, "now: socket Setup failed!" } } ), host().lines );
    EXPECT_EQ( nullptr, _plSock );
}

TEST_F( LibraryTest, RetryCountIsTheCallers ) {
    killServer();
    EXPECT_EQ( 4, kavraLibraryInit( "twice", "[]", 2 ) );
    EXPECT_EQ( 2, calls_.connects );
    EXPECT_EQ( ( std::vector<unsigned>{ 1, 1 } ), sleeps );
}

TEST_F( LibraryTest, SuccessEndsTheAttempts ) {
    killServer();
    duringSleep = [this] {
        if ( sleeps.size() == 2 ) {
            restartServer();
        }
    };
    EXPECT_EQ( PL_STATUS_OK, plSockInit( "late", 30 ) );
    EXPECT_EQ( 3, calls_.connects );
    EXPECT_EQ( 2U, sleeps.size() );
    EXPECT_TRUE( host().lines.empty() );
}

TEST_F( LibraryTest, SocketIsThereBeforeTheFirstAttempt ) {
    const PlatformLibrary::PLSocket *seen = nullptr;
    calls_.beforeConnect = [&] { seen = _plSock; };
    EXPECT_EQ( PL_STATUS_OK, plSockInit( "early", 1 ) );
    EXPECT_NE( nullptr, seen );
    EXPECT_EQ( seen, _plSock );
}

TEST_F( LibraryTest, FailureDeletesTheWatcherThenClosesTheDescriptor ) {
    killServer();
    const int descriptor = ::open( "/dev/null", O_RDONLY | O_CLOEXEC );
    duringSleep = [&] {
        _plSock->watcher = watcher;
        _plSock->fd = descriptor;
    };
    EXPECT_EQ( 4, plSockInit( "watched", 1 ) );
    EXPECT_EQ( std::vector{ watcher }, host().deletedWatchers );
    EXPECT_TRUE( openAtWatcherDelete );
    EXPECT_FALSE( isOpen( descriptor ) );
}

TEST_F( LibraryTest, FailureWithoutAWatcherDeletesNone ) {
    killServer();
    EXPECT_EQ( 4, plSockInit( "unwatched", 1 ) );
    EXPECT_TRUE( host().deletedWatchers.empty() );
}

TEST_F( LibraryTest, InitAfterAFailedOneStartsAgain ) {
    killServer();
    ASSERT_EQ( 4, pl_fan_init( "[]" ) );
    restartServer();
    calls_.restart();
    EXPECT_EQ( PL_STATUS_OK, pl_fan_init( "[]" ) );
    EXPECT_EQ( 1, calls_.connects );
    EXPECT_NE( nullptr, Topology::_topology );
}

} // namespace
