// What the library offers and what it wants, by name.
#include "Conformance/Check.h"
#include "Conformance/Elf.h"
#include "Conformance/Subject.h"

#include <algorithm>
#include <array>
#include <dlfcn.h>
#include <link.h>

namespace Conformance {

namespace {

constexpr std::array<const char *, 5> services = { "pl_trace", "pl_timer_add", "pl_timer_set",
                                                   "pl_timer_delete", "pl_fd_watcher_delete" };

bool isService( const std::string &name ) {
    return std::find( services.begin(), services.end(), name ) != services.end();
}

void entryPointsAreThere( Subject &subject ) {
    const ElfFile file = readElf( subject.path() );
    std::string missing;
    for ( const HostTool::ClassName &row : HostTool::classNames ) {
        for ( const char *ending : { "_init", "_add" } ) {
            const std::string name = entryPointName( row.deviceClass, ending );
            const auto isIt = [&]( const DynamicSymbol &symbol ) {
                return symbol.name == name && symbol.isDefined && symbol.isFunction;
            };
            if ( std::none_of( file.symbols.begin(), file.symbols.end(), isIt ) ) {
                missing += ( missing.empty() ? "" : ", " ) + name;
            }
        }
    }
    require( missing.empty(), "not exported as a function: " + missing );
}

void servicesAreWeak( Subject &subject ) {
    for ( const DynamicSymbol &symbol : readElf( subject.path() ).symbols ) {
        require( symbol.isDefined || symbol.isWeak || !isService( symbol.name ),
                 symbol.name + " is wanted, and not weakly" );
    }
}

// A library may call its own entry points through the table of the loader.
void nothingElseOfTheHost( Subject &subject ) {
    for ( const DynamicSymbol &symbol : readElf( subject.path() ).symbols ) {
        require( symbol.isDefined || isService( symbol.name ) || !symbol.name.starts_with( "pl_" ),
                 symbol.name + " is wanted, and no host has it" );
    }
}

void servicesAreTheHosts( Subject &subject ) {
    for ( const DynamicSymbol &symbol : readElf( subject.path() ).symbols ) {
        require( !symbol.isDefined || !isService( symbol.name ),
                 symbol.name + " is exported by the library" );
    }
}

void isBoundNow( Subject &subject ) {
    require( readElf( subject.path() ).bindsNow,
             "symbols are bound at their first call; link with -z now" );
}

void ownNamesAreFound( Subject &subject ) {
    Dl_info info = {};
    void *const add = subject.symbol( "pl_system_add" );
    require( add != nullptr, "there is no entry point pl_system_add" );
    link_map *library = nullptr;
    require( dlinfo( subject.handle(), RTLD_DI_LINKMAP, &library ) == 0 &&
                 dladdr( add, &info ) != 0,
             "the loader does not know where pl_system_add is" );
    require( info.dli_fbase == reinterpret_cast<void *>( library->l_addr ),
             std::string( "pl_system_add comes out of " ) + info.dli_fname );
}

} // namespace

Checks symbolChecks() {
    return {
        { "symbols.entry-points", "every pl_<class>_init and pl_<class>_add is exported",
          "a host looks each of them up by name before it adds a device", entryPointsAreThere },
        { "symbols.own", "the entry points are the library's own",
          "a name that another library answers drives another board", ownNamesAreFound },
        { "symbols.weak-services", "the host's services are weak imports",
          "a tool that has no timers must be able to load the library and look at it",
          servicesAreWeak },
        { "symbols.known-services", "no service is wanted that the contract does not have",
          "no host can offer it", nothingElseOfTheHost },
        { "symbols.no-service", "none of the host's services is exported",
          "whichever copy comes first would be called: traces and timers would vanish",
          servicesAreTheHosts },
        { "symbols.bound", "all symbols are bound when the library is loaded",
          "a symbol that is missing must show at the start and not in the middle of the night",
          isBoundNow },
    };
}

} // namespace Conformance
