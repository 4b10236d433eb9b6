// What ends the process: a document that breaks its schema.
#include "Conformance/Check.h"
#include "Conformance/Runner.h"
#include "Conformance/Subject.h"

#include <algorithm>
#include <csignal>
#include <functional>

namespace Conformance {

namespace {

constexpr int nestedSeconds = 15;

/// @throw Broken unless the function ends its process through an assertion that says why, once.
void requireAssertion( const std::string &what, const std::function<void()> &function ) {
    const Ending ending = runApart(
        [&] {
            function();
            return std::string( "came back" );
        },
        nestedSeconds );
    require( ending.answer != "came back", what + " does not end the process" );
    require( ending.signal == SIGABRT, what + ": the process " + ending.story() );
    require( ending.said.find( "Assertion" ) != std::string::npos,
             what + " ends the process without the text of an assertion" );
    require( std::count( ending.said.begin(), ending.said.end(), '\n' ) == 1,
             what + ": more than the assertion was said: " + ending.said );
}

void brokenTopologyEnds( Subject &subject ) {
    for ( const char *topology :
          { "{}", "[ 1 ]", R"([ { "ham": "KavraSmbus" } ])",
            R"([ { "type": "Nonsense", "ham": "KavraSmbus" } ])",
            R"([ { "type": "I2C", "ham": "KavraSmbus", "id": 0, "devices": [ {} ] } ])" } ) {
        requireAssertion( "the topology " + std::string( topology ),
                          [&] { subject.init( DeviceClass::fan, topology ); } );
    }
}

void brokenCageEnds( Subject &subject ) {
    subject.init();
    const Entry &cage = subject.firstEntry( DeviceClass::xcvr );
    for ( const char *type : { "QSFP", "", "xfp" } ) {
        const char *const arguments = subject.altered( cage, "type", type, true );
        requireAssertion( "a transceiver of the type '" + std::string( type ) + "'",
                          [&] { subject.add( DeviceClass::xcvr, arguments ); } );
    }
}

} // namespace

Checks assertionChecks() {
    return {
        { "assertions.topology",
          "a topology that breaks its schema ends the process with an assertion's text",
          "the platform's own data is wrong: to go on would be to drive the wrong chips",
          brokenTopologyEnds },
        { "assertions.transceiver",
          "a transceiver of an unknown type ends the process with an assertion's text",
          "matching is exact; nothing is guessed", brokenCageEnds },
    };
}

} // namespace Conformance
