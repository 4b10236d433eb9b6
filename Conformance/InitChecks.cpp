// Initialisation: the server and the topology document.
#include "Conformance/Answers.h"
#include "Conformance/Check.h"
#include "Conformance/HostServices.h"
#include "Conformance/Subject.h"

#include <cstdlib>

namespace Conformance {

namespace {

constexpr const char *socketVariable = "SMBUSD_SOCKET";
// 30 attempts a second apart, which a library may wait for in ways that cannot be cut short.
constexpr int attemptsSeconds = 45;

std::string initText( DeviceClass deviceClass, pl_status status ) {
    return entryPointName( deviceClass, "_init" ) + "(): status " + std::to_string( status );
}

void everyClassInitialises( Subject &subject ) {
    for ( const HostTool::ClassName &row : HostTool::classNames ) {
        const pl_status status = subject.init( row.deviceClass, subject.board().topology.c_str() );
        require( status == PL_STATUS_OK, initText( row.deviceClass, status ) );
    }
}

void syntaxErrorIsAnswered( Subject &subject ) {
    for ( const HostTool::ClassName &row : HostTool::classNames ) {
        for ( const char *text : { "", "[", "[ { \"type\": } ]", "no JSON" } ) {
            const pl_status status = subject.init( row.deviceClass, text );
            require( status == PL_STATUS_INVALID, "with the topology '" + std::string( text ) +
                                                      "' " + initText( row.deviceClass, status ) +
                                                      " and not 3" );
        }
    }
}

void topologyBeforeStays( Subject &subject ) {
    subject.init();
    subject.init( DeviceClass::fan, "[" );
    for ( const Entry &entry : subject.board().entries ) {
        require( subject.add( entry ) != nullptr,
                 entry.name + ": no record after a topology that does not parse" );
    }
}

void newTextReplacesTheTopology( Subject &subject ) {
    const Device sensor = subject.first( DeviceClass::tempSensor );
    const std::string other = subject.board().topology + "\n";
    const pl_status status = subject.init( DeviceClass::led, other.c_str() );
    require( status == PL_STATUS_OK, initText( DeviceClass::led, status ) );
    valueOf( read( sensor ).front() );
}

void missingServerIsAnswered( Subject &subject ) {
    const char *path = getenv( socketVariable );
    require( path != nullptr, "the library took the socket's path out of the environment" );
    const std::string socket = path;
    setenv( socketVariable, ( socket + ".none" ).c_str(), 1 );
    HostServices::skipSleeps( true );
    const pl_status without = subject.init( DeviceClass::fan, subject.board().topology.c_str() );
    require( without == PL_STATUS_IO_ERROR,
             "without a server " + initText( DeviceClass::fan, without ) + " and not 4" );
    setenv( socketVariable, socket.c_str(), 1 );
    const pl_status with = subject.init( DeviceClass::fan, subject.board().topology.c_str() );
    require( with == PL_STATUS_OK, "with the server back " + initText( DeviceClass::fan, with ) );
}

} // namespace

Checks initChecks() {
    return {
        { "init.classes", "every pl_<class>_init accepts the board's topology, one after the other",
          "a host initialises each class it has, with one document", everyClassInitialises },
        { "init.syntax", "a topology that does not parse is answered with 3",
          "a host must be able to say that its document is broken", syntaxErrorIsAnswered },
        { "init.stays", "the topology of before stays when the next one does not parse",
          "devices are added on it for as long as the host runs", topologyBeforeStays },
        { "init.reload", "a device that was added works on after another topology was loaded",
          "a host that reads its documents again keeps its records", newTextReplacesTheTopology },
        { "init.no-server",
          "without a server initialisation is answered with 4, and succeeds when there is one",
          "a host may start before the server does", missingServerIsAnswered, attemptsSeconds },
    };
}

} // namespace Conformance
