// What a library may not do in the process that loads it.
#include "Conformance/Answers.h"
#include "Conformance/CageValues.h"
#include "Conformance/Check.h"
#include "Conformance/HostServices.h"
#include "Conformance/ProcessState.h"
#include "Conformance/Runner.h"
#include "Conformance/Subject.h"

#include <cerrno>
#include <clocale>
#include <fcntl.h>
#include <filesystem>
#include <link.h>
#include <map>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Conformance {

namespace {

namespace fs = std::filesystem;

/// Adds every device, reads all of them, sets the lamps, and lets the timers fire.
void use( Subject &subject ) {
    for ( const Device &device : subject.devices() ) {
        read( device );
    }
    for ( const Device &device : subject.devices( DeviceClass::led ) ) {
        auto *const led = device.as<pl_led>();
        if ( led->ops->setLightSetting == nullptr ) {
            continue;
        }
        led->ops->setLightSetting( led, PL_LED_BEACON );
        HostServices::fireTimers();
        led->ops->setLightSetting( led, PL_LED_OFF );
    }
    HostServices::fireTimers();
    subject.add( DeviceClass::tempSensor, "{" );
}

void noThreadIsStarted( Subject &subject ) {
    const size_t before = threads();
    use( subject );
    require( threads() == before,
             std::to_string( threads() - before ) + " more threads than before" );
}

void noChildIsLeft( Subject &subject ) {
    use( subject );
    require( waitpid( -1, nullptr, WNOHANG ) < 0 && errno == ECHILD,
             "a process that the library started was left behind" );
}

void signalsStay( Subject &subject ) {
    const auto before = dispositions();
    use( subject );
    for ( const auto &[number, disposition] : dispositions() ) {
        require( disposition == before.at( number ),
                 "what signal " + std::to_string( number ) + " does has changed" );
    }
}

/// Descriptors with what they are.
std::map<int, std::string> descriptors() {
    std::map<int, std::string> found;
    for ( const auto &each : fs::directory_iterator( "/proc/self/fd" ) ) {
        std::error_code ignored;
        const int fd = std::stoi( each.path().filename() );
        if ( fcntl( fd, F_GETFD ) >= 0 ) {
            found[fd] = fs::read_symlink( each.path(), ignored );
        }
    }
    return found;
}

void descriptorsAreCloseOnExec( Subject &subject ) {
    const auto before = descriptors();
    use( subject );
    for ( const auto &[fd, target] : descriptors() ) {
        require( before.contains( fd ) || ( fcntl( fd, F_GETFD ) & FD_CLOEXEC ) != 0,
                 "a program that the host starts inherits " + target );
    }
}

void descriptorsAreFew( Subject &subject ) {
    use( subject );
    const size_t before = descriptors().size();
    use( subject );
    require( descriptors().size() == before, std::to_string( descriptors().size() - before ) +
                                                 " more descriptors behind each use" );
}

void nothingIsSaid( Subject &subject ) {
    constexpr int nestedSeconds = 60; // the check's own limit comes first
    const Ending ending = runApart(
        [&] {
            use( subject );
            fflush( nullptr );
            return std::string( "used" );
        },
        nestedSeconds );
    require( ending.answer == "used", "the process " + ending.story() );
    require( ending.said.empty(), "it was said: " + ending.said );
}

void environmentIsLeftAlone( Subject &subject ) {
    use( subject );
    std::string others;
    int count = 0;
    for ( const std::string &name : HostServices::variablesRead() ) {
        if ( name != "SIMULATION_VMID" && name != "KAVRALIB_SIMDIR" ) {
            others += " " + name;
            ++count;
        }
    }
    require( count <= 1, "more than the client's one variable is read:" + others );
}

int addName( dl_phdr_info *object, size_t, void *names ) {
    static_cast<std::vector<std::string> *>( names )->emplace_back( object->dlpi_name );
    return 0;
}

void nothingIsLoadedLater( Subject &subject ) {
    std::vector<std::string> before;
    subject.handle();
    dl_iterate_phdr( addName, &before );
    use( subject );
    std::vector<std::string> after;
    dl_iterate_phdr( addName, &after );
    require( before == after, after.size() > before.size() ? after.back() + " was loaded later"
                                                           : "a library was unloaded" );
}

mode_t fileMask() {
    const mode_t mask = umask( 0 );
    umask( mask );
    return mask;
}

void surroundingsStay( Subject &subject ) {
    const fs::path folder = fs::current_path();
    const mode_t mask = fileMask();
    const std::string locale = setlocale( LC_ALL, nullptr );
    use( subject );
    require( fs::current_path() == folder, "the working folder has changed" );
    require( fileMask() == mask, "the mask of new files has changed" );
    require( locale == setlocale( LC_ALL, nullptr ), "the locale has changed" );
}

// A timer may be there for once: what counts is whether the library still sees what changes.
void pollingGoesOn( Subject &subject ) {
    use( subject );
    if ( HostServices::armedTimers() == 0 ) {
        throw Skipped( "the library has no timer armed" );
    }
    constexpr int ticks = 5;
    for ( int tick = 0; tick < ticks; ++tick ) {
        HostServices::fireTimers();
    }
    cagePresence( subject );
}

} // namespace

Checks processChecks() {
    return {
        { "process.threads", "no thread is started", "a host of one thread locks nothing",
          noThreadIsStarted },
        { "process.children", "no process is left behind",
          "a host that waits for its own would meet it", noChildIsLeft },
        { "process.signals", "signals are handled and blocked as the host has them",
          "a host stops, reloads and collects its children by them", signalsStay },
        { "process.descriptors", "every descriptor closes when the host starts a program",
          "a program that holds the server's socket keeps it open for ever",
          descriptorsAreCloseOnExec },
        { "process.leaks", "to be used again takes no further descriptor", "a host polls for years",
          descriptorsAreFew },
        { "process.output", "nothing is written to standard output or error",
          "they are the host's; what is to be said goes to pl_trace()", nothingIsSaid },
        { "process.environment",
          "no variable is read but SIMULATION_VMID, KAVRALIB_SIMDIR and one of the client",
          "what a library does must not hang on who started the host", environmentIsLeftAlone },
        { "process.loading", "no library is loaded after the first one was",
          "a file that is missing must show at the start", nothingIsLoadedLater },
        { "process.surroundings", "working folder, file mask and locale stay",
          "files and numbers of the host's own depend on them", surroundingsStay },
        { "process.timers", "cages are followed on, however often the timers have fired",
          "timers fire once; a poll that is not armed again is a port that is never looked at",
          pollingGoesOn },
    };
}

} // namespace Conformance
