// The library is a guest in its host's process: what it may not do there while a host loads it,
// adds every device of the board and reads all of them.
#include "HostTool/Host/AbortNote.h"
#include "HostTool/Host/Devices.h"
#include "tests/support/ServerProcess.h"
#include "tests/support/SimulationFolder.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <link.h>
#include <map>
#include <set>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

std::set<std::string> variablesRead;

bool isOfTheLibrary( const void *code ) {
    Dl_info info = {};
    return dladdr( code, &info ) != 0 && info.dli_fname != nullptr &&
           ( strstr( info.dli_fname, "libKavraDriversVundaT" ) != nullptr ||
             strstr( info.dli_fname, "libSmbusProto" ) != nullptr );
}

} // namespace

// The program's own stands in front of the C library's for everything that is loaded.
extern "C" char *getenv( const char *name ) noexcept {
    if ( isOfTheLibrary( __builtin_return_address( 0 ) ) ) {
        variablesRead.insert( name );
    }
    const size_t length = strlen( name );
    for ( char **each = environ; each != nullptr && *each != nullptr; ++each ) {
        if ( strncmp( *each, name, length ) == 0 && ( *each )[length] == '=' ) {
            return *each + length + 1;
        }
    }
    return nullptr;
}

// What the library makes lives as long as the process: the leak check would report all of it.
extern "C" const char *__asan_default_options() {
    return "detect_leaks=0";
}

namespace {

using testing::ElementsAre;

class ProcessRulesTest : public testing::Test {
  protected:
    /// Loads the library.
    const HostTool::Library &library() {
        static const HostTool::Library loaded( KAVRA_LIBRARY_FILE );
        return loaded;
    }

    /// Adds every device of the board and reads all of them, polled ones behind a poll.
    void useEverything() {
        const std::vector<const HostTool::Entry *> entries = selectEntries( board_, {} );
        auto devices = addDevices( library(), {}, board_, entries );
        readDevices( devices );
        ASSERT_GT( devices.size(), 100U );
        troubles = std::count_if( devices.begin(), devices.end(),
                                  []( const auto &each ) { return isTrouble( each.state ); } );
    }

    ServerProcess server;
    std::ptrdiff_t troubles = 0;

  private:
    HostTool::Board board_ = HostTool::readBoard( SOURCE_DIR "/boards/VundaT" );
};

size_t threads() {
    const std::filesystem::directory_iterator tasks( "/proc/self/task" );
    return static_cast<size_t>( std::distance( begin( tasks ), end( tasks ) ) );
}

struct Disposition {
    void ( *handler )( int );
    bool isBlocked;
    bool operator==( const Disposition & ) const = default;
};

std::map<int, Disposition> dispositions() {
    sigset_t blocked;
    sigprocmask( SIG_BLOCK, nullptr, &blocked );
    std::map<int, Disposition> all;
    for ( int number = 1; number < NSIG; ++number ) {
        struct sigaction action = {};
        sigaction( number, nullptr, &action );
        all[number] = { action.sa_handler, sigismember( &blocked, number ) == 1 };
    }
    return all;
}

/// Descriptors that a command started by the host would inherit, with what they are.
std::map<int, std::string> inheritable() {
    std::map<int, std::string> found;
    for ( const auto &each : std::filesystem::directory_iterator( "/proc/self/fd" ) ) {
        const int fd = std::stoi( each.path().filename() );
        const int flags = fcntl( fd, F_GETFD );
        if ( flags >= 0 && ( flags & FD_CLOEXEC ) == 0 ) {
            std::error_code ignored;
            found[fd] = std::filesystem::read_symlink( each.path(), ignored );
        }
    }
    return found;
}

int addName( dl_phdr_info *object, size_t, void *names ) {
    static_cast<std::vector<std::string> *>( names )->emplace_back( object->dlpi_name );
    return 0;
}

std::vector<std::string> loadedObjects() {
    std::vector<std::string> names;
    dl_iterate_phdr( addName, &names );
    return names;
}

TEST_F( ProcessRulesTest, EveryDeviceOfTheBoardIsUsed ) {
    useEverything();
    EXPECT_EQ( 0, troubles );
}

TEST_F( ProcessRulesTest, NoThreadIsStarted ) {
    const size_t before = threads();
    useEverything();
    EXPECT_EQ( before, threads() );
}

TEST_F( ProcessRulesTest, SignalsStayAsTheHostHasThem ) {
    const HostTool::AbortNote note( "the host's own handler" );
    const auto before = dispositions();
    useEverything();
    EXPECT_TRUE( before == dispositions() );
}

TEST_F( ProcessRulesTest, NoDescriptorReachesWhatTheHostStarts ) {
    const auto before = inheritable();
    useEverything();
    EXPECT_EQ( before, inheritable() );
}

TEST_F( ProcessRulesTest, NothingIsSaidOnTheHostsOutputs ) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    useEverything();
    EXPECT_EQ( "", testing::internal::GetCapturedStderr() );
    EXPECT_EQ( "", testing::internal::GetCapturedStdout() );
}

TEST_F( ProcessRulesTest, EnvironmentIsReadForTheSocketAndTheSimulationAlone ) {
    useEverything();
    EXPECT_THAT( variablesRead, ElementsAre( "SIMULATION_VMID", "SMBUSD_SOCKET" ) );
}

TEST_F( ProcessRulesTest, SimulationReadsItsFolderToo ) {
    SimulationFolder::path();
    setenv( "SIMULATION_VMID", "1", 1 );
    useEverything();
    EXPECT_THAT( variablesRead,
                 ElementsAre( "KAVRALIB_SIMDIR", "SIMULATION_VMID", "SMBUSD_SOCKET" ) );
}

TEST_F( ProcessRulesTest, NothingIsLoadedBehindTheHostsBack ) {
    library();
    const std::vector<std::string> before = loadedObjects();
    useEverything();
    EXPECT_EQ( before, loadedObjects() );
}

TEST_F( ProcessRulesTest, WorkingFolderStays ) {
    const auto before = std::filesystem::current_path();
    useEverything();
    EXPECT_EQ( before, std::filesystem::current_path() );
}

} // namespace
