// The library is a guest in its host's process: what it may not do there while a host loads it,
// calls every entry point, adds every device of the board and calls every callback of each, on the
// emulated board and in simulation.
#include "Conformance/ProcessState.h"
#include "HostTool/Explain/Callbacks.h"
#include "HostTool/Host/AbortNote.h"
#include "HostTool/Host/Classes.h"
#include "HostTool/Host/Devices.h"
#include "tests/support/ServerProcess.h"
#include "tests/support/SimulationFolder.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <link.h>
#include <map>
#include <set>
#include <string>
#include <sys/wait.h>
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
    return secure_getenv( name );
}

extern "C" char *secure_getenv( const char *name ) noexcept {
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

using Conformance::dispositions;
using Conformance::threads;
using testing::ElementsAre;

enum class Access { board, simulation };

class ProcessRulesTest : public testing::TestWithParam<Access> {
  protected:
    void SetUp() override {
        if ( GetParam() == Access::simulation ) {
            SimulationFolder::path();
            setenv( "SIMULATION_VMID", "1", 1 );
        }
    }

    /// Loads the library.
    static const HostTool::Library &library() {
        static const HostTool::Library loaded( KAVRA_LIBRARY_FILE );
        return loaded;
    }

    /// Adds every device of the board, calls all that reads, polled ones also behind a poll, then
    /// all that sets, and what of the entry points no device needs.
    void useEverything() {
        const std::vector<const HostTool::Entry *> entries = selectEntries( board_, {} );
        devices_ = addDevices( library(), {}, board_, entries );
        ASSERT_GT( devices_.size(), 100U );
        if ( GetParam() == Access::board ) { // waits for a poll, which in simulation is a read
            readDevices( devices_ );
            troubles = std::count_if( devices_.begin(), devices_.end(),
                                      []( const auto &each ) { return isTrouble( each.state ); } );
        }
        for ( const HostTool::Device &device : devices_ ) {
            ASSERT_NE( nullptr, device.record ) << device.refusal;
            const HostTool::Explain::Callbacks callbacks = HostTool::Explain::callbacksOf( device );
            for ( const auto *each : { &callbacks.readings, &callbacks.orders } ) {
                std::for_each( each->begin(), each->end(), callBack );
                calls += each->size();
            }
        }
        refuseEverything();
    }

    ServerProcess server;
    std::ptrdiff_t troubles = 0;
    size_t calls = 0;

  private:
    /// What an access method throws passes through: a simulated block without a value does.
    static void callBack( const HostTool::Explain::Callback &callback ) {
        try {
            callback.call();
        } catch ( const std::logic_error & ) {
        }
    }

    void refuseEverything() {
        HostTool::Entry refused = {};
        refused.arguments = "{";
        refused.thresholds.emplace();
        for ( const HostTool::ClassName &each : HostTool::classNames ) {
            const HostTool::ClassRow &row = rowOf( each.deviceClass );
            EXPECT_EQ( PL_STATUS_INVALID, library().entryPoint<pl_status( const char * )>(
                                              row.initEntryPoint )( "[" ) );
            if ( row.deviceClass != HostTool::DeviceClass::system ) { // which takes any text
                EXPECT_EQ( nullptr, row.add( library(), row.addEntryPoint, refused ) );
            }
        }
        EXPECT_EQ( PL_STATUS_OK, library().entryPoint<pl_status( const char *, int )>(
                                     "_Z10plSockInitPKci" )( "host", 1 ) );
        EXPECT_EQ( PL_STATUS_INVALID,
                   library().entryPoint<pl_status( const char *, const char *, int )>(
                       "_Z16kavraLibraryInitPKcS0_i" )( "host", "[", 1 ) );
        EXPECT_EQ( PL_STATUS_NOT_SUPPORTED,
                   library().entryPoint<pl_status( pl_system * )>(
                       "_Z20pl_system_powercycleP9pl_system" )( nullptr ) );
        EXPECT_EQ( PL_STATUS_NOT_SUPPORTED,
                   ( library().entryPoint<pl_status( pl_system *, char *, long *, char * )>(
                       "_Z26pl_system_get_reload_causeP9pl_systemPcPlS1_" )( nullptr, nullptr,
                                                                             nullptr, nullptr ) ) );
    }

    HostTool::Board board_ = HostTool::readBoard( SOURCE_DIR "/boards/VundaT" );
    std::vector<HostTool::Device> devices_;
};

INSTANTIATE_TEST_SUITE_P( Access, ProcessRulesTest,
                          testing::Values( Access::board, Access::simulation ),
                          []( const auto &access ) {
                              return access.param == Access::board ? "Board" : "Simulation";
                          } );

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

TEST_P( ProcessRulesTest, EveryDeviceOfTheBoardIsUsed ) {
    useEverything();
    EXPECT_LT( 500U, calls );
    EXPECT_EQ( 0, troubles );
}

TEST_P( ProcessRulesTest, NoThreadIsStarted ) {
    const size_t before = threads();
    useEverything();
    EXPECT_EQ( before, threads() );
}

TEST_P( ProcessRulesTest, SignalsStayAsTheHostHasThem ) {
    const HostTool::AbortNote note( "the host's own handler" );
    const auto before = dispositions();
    useEverything();
    EXPECT_TRUE( before == dispositions() );
}

TEST_P( ProcessRulesTest, NoDescriptorReachesWhatTheHostStarts ) {
    const auto before = inheritable();
    useEverything();
    EXPECT_EQ( before, inheritable() );
}

TEST_P( ProcessRulesTest, NoChildIsLeftToTheHost ) {
    const pid_t before = waitpid( -1, nullptr, WNOHANG ); // the server's process is the test's own
    useEverything();
    EXPECT_EQ( before, waitpid( -1, nullptr, WNOHANG ) );
}

TEST_P( ProcessRulesTest, NothingIsSaidOnTheHostsOutputs ) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    useEverything();
    EXPECT_EQ( "", testing::internal::GetCapturedStderr() );
    EXPECT_EQ( "", testing::internal::GetCapturedStdout() );
}

TEST_P( ProcessRulesTest, EnvironmentIsReadForTheSocketAndTheSimulationAlone ) {
    useEverything();
    if ( GetParam() == Access::board ) {
        EXPECT_THAT( variablesRead, ElementsAre( "SIMULATION_VMID", "SMBUSD_SOCKET" ) );
    } else {
        EXPECT_THAT( variablesRead,
                     ElementsAre( "KAVRALIB_SIMDIR", "SIMULATION_VMID", "SMBUSD_SOCKET" ) );
    }
}

TEST_P( ProcessRulesTest, NothingIsLoadedBehindTheHostsBack ) {
    library();
    const std::vector<std::string> before = loadedObjects();
    useEverything();
    EXPECT_EQ( before, loadedObjects() );
}

TEST_P( ProcessRulesTest, WorkingFolderStays ) {
    const auto before = std::filesystem::current_path();
    useEverything();
    EXPECT_EQ( before, std::filesystem::current_path() );
}

// A pipe that a driver reads a command through is one more descriptor while the command runs. The
// host's process is looked at by that command.
class ProcessRulesDuringCommandTest : public testing::Test {
  protected:
    ProcessRulesDuringCommandTest() {
        const std::string path = server.folder() + "/qxIpmi";
        std::ofstream( path ) << "#!/bin/sh\ncd /proc/$HOST/fdinfo && for each in *; do\n"
                                 "flags=$(sed -n 's/^flags:[^0-9]*//p' $each 2>/dev/null) &&\n"
                                 "echo $each $flags\n"
                                 "done >" +
                                     seen() + ".part && mv " + seen() + ".part " + seen();
        std::filesystem::permissions( path, std::filesystem::perms::owner_all );
        setenv( "PATH", ( server.folder() + ":" + getenv( "PATH" ) ).c_str(), 1 );
        setenv( "HOST", std::to_string( getpid() ).c_str(), 1 );
    }
    std::string seen() const { return server.folder() + "/seen"; }

    /// Asks a slot whose supply is identified by the platform's tool.
    void runCommand() {
        static const HostTool::Library library( KAVRA_LIBRARY_FILE );
        static const HostTool::Board board =
            HostTool::readBoard( SOURCE_DIR "/boards/VundaT/variants/ipmitool" );
        static std::vector<HostTool::Device> devices =
            addDevices( library, {}, board, selectEntries( board, { "psu1-slot" } ) );
        readDevices( devices );
    }

    /// Of the host, while the command ran: those without close-on-exec.
    std::set<int> inheritableThen() const {
        std::set<int> found;
        std::ifstream file( seen() );
        int fd = 0;
        int flags = 0;
        while ( file >> std::dec >> fd >> std::oct >> flags ) {
            if ( ( flags & O_CLOEXEC ) == 0 ) {
                found.insert( fd );
            }
        }
        return found;
    }

    ServerProcess server;
};

TEST_F( ProcessRulesDuringCommandTest, EveryDescriptorIsCloseOnExec ) {
    std::set<int> before;
    for ( const auto &[fd, target] : inheritable() ) {
        before.insert( fd );
    }
    runCommand();
    ASSERT_TRUE( std::filesystem::exists( seen() ) );
    EXPECT_EQ( before, inheritableThen() );
}

TEST( ProcessRulesDeathTest, AssertionIsAllThatIsSaid ) {
    GTEST_FLAG_SET( death_test_style, "threadsafe" );
    const ServerProcess server;
    const HostTool::Library library( KAVRA_LIBRARY_FILE );
    const auto init = library.entryPoint<pl_status( const char * )>( "pl_fan_init" );
    EXPECT_DEATH( init( "{}" ), "^[^\n]*: Assertion `json.IsArray\\(\\)' failed\\.\n$" );
}

} // namespace
