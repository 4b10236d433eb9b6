#include "tests/faults/Allowed.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <dlfcn.h>
#include <iterator>
#include <map>
#include <sstream>

using Faults::Kind;

namespace {

struct Row {
    const char *type; ///< that an operation's type begins with
    Kind kind;
    const char *outcomes; ///< joined by " | "; "as usual" is what it comes to without a fault
};

// The first row that fits holds.
//
// Memory: what is thrown for want of it leaves every call but the initialisations, which throw
// nothing. Sockets: 4, or nothing at all when the call could be made again. Wires: 6.
constexpr Row rows[] = {
    // In simulation an open or a lock that fails is not looked at, a mapping is.
    { "simulated slot PsuSlot", Kind::allocation,
      "throws bad_alloc | status 6 | throws basic_string::_S_construct null not valid" },
    { "simulated slot PsuSlot", Kind::systemCall,
      "as usual | status 1 | throws basic_string::_S_construct null not valid | "
      "assert: mm != ((void *) -1)" },
    { "simulated add", Kind::allocation,
      "as usual | throws bad_alloc" }, // a folder not looked into
    { "simulated add temp_sensor LM75", Kind::systemCall,
      "as usual | "
      "assert: device_->setThreshold( Threshold::Alert, value ) == PL_STATUS_OK | "
      "assert: device_->setThreshold( Threshold::Overheat, value ) == PL_STATUS_OK | "
      "assert: mm != ((void *) -1)" },
    { "simulated", Kind::allocation, "throws bad_alloc" },
    { "simulated", Kind::systemCall, "as usual | status 4 | assert: mm != ((void *) -1)" },

    { "init", Kind::allocation, "status 4 | status 6" },
    { "init", Kind::systemCall, "as usual | status 4" },

    // The text is malloc()ed: 6 without memory for it. The tool's process is memory, too: a supply
    // that cannot be asked is not there.
    { "slot VundaTFanCpld", Kind::allocation, "throws bad_alloc | status 6" },
    { "slot PsuSlot", Kind::allocation, "as usual | throws bad_alloc | status 6 | status 1" },
    { "insertDriverArg", Kind::allocation, "throws bad_alloc | status 0" },
    { "", Kind::allocation, "throws bad_alloc" },

    // Thresholds are written when a sensor is added, and a sensor without them is none.
    { "add temp_sensor LM75", Kind::systemCall,
      "as usual | "
      "assert: device_->setThreshold( Threshold::Alert, value ) == PL_STATUS_OK | "
      "assert: device_->setThreshold( Threshold::Overheat, value ) == PL_STATUS_OK" },
    { "add temp_sensor LM75", Kind::busRequest,
      "assert: device_->setThreshold( Threshold::Alert, value ) == PL_STATUS_OK | "
      "assert: device_->setThreshold( Threshold::Overheat, value ) == PL_STATUS_OK" },

    // A fan CPLD that could not be started is used all the same.
    { "add", Kind::systemCall, "as usual | assert: false" },
    { "add fan VundaTFanCpld", Kind::busRequest, "as usual" },
    { "add slot VundaTFanCpld", Kind::busRequest, "as usual" },
    // A poll that fails is fatal.
    { "add xcvr", Kind::busRequest, "assert: false" },
    { "poll", Kind::systemCall, "as usual | assert: false" },
    { "poll", Kind::busRequest, "assert: false" },
    // A lamp that could not be toggled is toggled again at the next tick.
    { "blink", Kind::systemCall, "as usual" },
    { "blink", Kind::busRequest, "as usual" },

    // Clearing the faults of a supply may fail.
    { "psu Pmbus get_power_ok", Kind::busRequest, "as usual | status 6" },
    // A supply that cannot tell who it is, is not there; the lines of its slot can fail.
    { "slot PsuSlot", Kind::busRequest, "status 1 | status 6 | assert: res == PL_STATUS_OK" },
    { "slot PsuSlot", Kind::systemCall,
      "as usual | status 1 | status 4 | assert: res == PL_STATUS_OK" },
    // Reading the register fails with 4, writing it with what the wires gave.
    { "led VundaTXcvrLedCPLD", Kind::busRequest, "status 4 | status 6" },
    // A block that is not as long as it should be is 4, whatever came in between.
    { "smbus SmbusProxyDriver i2cBlockRead", Kind::busRequest, "status 4" },

    { "", Kind::systemCall, "as usual | status 4" },
    { "", Kind::busRequest, "status 6" },

    { "add xcvr", Kind::hostService, "assert: pollStart()" },
    { "add led", Kind::hostService, "assert: blinkTimer_" },
    { "", Kind::hostService, "as usual" },
};

// These go on when what they write was refused.
constexpr const char *writtenInVain[] = { "blink", "psu Pmbus get_power_ok" };

// Its allocators hand on what malloc() and realloc() gave them, and nobody in it looks.
constexpr const char *unchecked[] = {
    "rapidjson::CrtAllocator::Malloc",
    "rapidjson::CrtAllocator::Realloc",
};

bool contains( std::string_view outcomes, std::string_view outcome, std::string_view usual ) {
    constexpr std::string_view joint = " | ";
    while ( true ) {
        const size_t end = outcomes.find( joint );
        const std::string_view one = outcomes.substr( 0, end );
        if ( one == outcome || ( one == "as usual" && outcome == usual ) ) {
            return true;
        }
        if ( end == std::string_view::npos ) {
            return false;
        }
        outcomes.remove_prefix( end + joint.size() );
    }
}

std::string nameOfUnchecked( const void *caller ) {
    const std::string functions = functionsAt( caller );
    const size_t behindName = functions.find( '\n' );
    const std::string innermost = functions.substr( 0, behindName );
    for ( const char *name : unchecked ) {
        if ( innermost.starts_with( name ) ) {
            return name;
        }
    }
    // clang's lines name an inlined function by its place alone; only those two allocate there.
    const size_t place = std::min( functions.size(), behindName + 1 );
    const std::string line = functions.substr( place, functions.find( '\n', place ) - place );
    if ( line.find( "/rapidjson/" ) != std::string::npos &&
         line.find( "/allocators.h:" ) != std::string::npos ) {
        return "rapidjson::CrtAllocator, inlined";
    }
    return {};
}

} // namespace

// An inlined function has no other trace than in what debuggers read.
std::string functionsAt( const void *code ) {
    Dl_info info = {};
    if ( dladdr( code, &info ) == 0 ) {
        return {};
    }
    const auto offset =
        static_cast<const char *>( code ) - 1 - static_cast<const char *>( info.dli_fbase );
    std::ostringstream command;
    command << "addr2line -f -i -C -e '" << info.dli_fname << "' 0x" << std::hex << offset;
    std::string functions;
    if ( std::FILE *pipe = popen( command.str().c_str(), "r" ) ) {
        char line[512];
        while ( fgets( line, sizeof line, pipe ) != nullptr ) {
            functions += line;
        }
        pclose( pipe );
    }
    return functions;
}

bool isAllowed( std::string_view type, Kind kind, std::string_view outcome,
                std::string_view usual ) {
    for ( const Row &row : rows ) {
        if ( row.kind == kind && type.starts_with( row.type ) ) {
            return contains( row.outcomes, outcome, usual );
        }
    }
    return false;
}

bool settlesTheBoard( std::string_view type ) {
    return std::find( std::begin( writtenInVain ), std::end( writtenInVain ), type ) ==
           std::end( writtenInVain );
}

std::string ofRapidjson( const void *caller ) {
    static std::map<const void *, std::string> known;
    const auto found = known.find( caller );
    return found != known.end() ? found->second
                                : known.emplace( caller, nameOfUnchecked( caller ) ).first->second;
}
