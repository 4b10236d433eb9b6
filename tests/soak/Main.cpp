// A long run against the emulated board, or against simulated hardware. docs/testing.md says how to
// read it.
#include "tests/soak/BoardSoak.h"
#include "tests/soak/Options.h"
#include "tests/soak/SimulationSoak.h"

#include <cstdio>
#include <exception>

using namespace Soak;

// What the library makes lives as long as the process.
extern "C" const char *__asan_default_options() {
    return "detect_leaks=0";
}

enum ExitCode { passed = 0, failed = 1, wrongCall = 2, unreachable = 3 };

static Report run( const Options &options ) {
    return options.simulation ? SimulationSoak( options ).run() : BoardSoak( options ).run();
}

int main( int count, char **words ) {
    try {
        Options options = parseOptions( count, words );
        if ( options.help ) {
            fputs( helpText(), stdout );
            return passed;
        }
        const auto orElse = []( std::string &path, const char *built ) {
            path = path.empty() ? built : path;
        };
        orElse( options.library, KAVRA_LIBRARY_FILE );
        orElse( options.board, SOURCE_DIR "/boards/VundaT" );
        const Report report = run( options );
        report.print();
        if ( !options.jsonFile.empty() ) {
            report.writeJson( options.jsonFile );
        }
        return report.passed() ? passed : failed;
    } catch ( const CallError &error ) {
        fprintf( stderr, "soak: %s\n", error.what() );
        return wrongCall;
    } catch ( const std::exception &error ) {
        fprintf( stderr, "soak: %s\n", error.what() );
        return unreachable;
    }
}
