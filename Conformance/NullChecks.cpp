// What gives no device: null records, null texts, and outputs that are left alone.
#include "Conformance/Answers.h"
#include "Conformance/Check.h"
#include "Conformance/HostServices.h"
#include "Conformance/Runner.h"
#include "Conformance/Subject.h"

namespace Conformance {

namespace {

constexpr int nestedSeconds = 15;

void requireNull( Subject &subject, DeviceClass deviceClass, const char *arguments ) {
    const std::string name = entryPointName( deviceClass, "_add" );
    const size_t before = HostServices::traces();
    const void *const record = subject.add( deviceClass, arguments );
    require( record == nullptr, name + "( '" + arguments + "' ) gives a record" );
    require( HostServices::traces() > before,
             name + "( '" + arguments + "' ) gives no record and does not trace why" );
}

// The system is not made of arguments, and a raw device's text may be a bus.
constexpr DeviceClass madeOfArguments[] = { DeviceClass::tempSensor, DeviceClass::fan,
                                            DeviceClass::psu,        DeviceClass::slot,
                                            DeviceClass::xcvr,       DeviceClass::led,
                                            DeviceClass::gpio };

void syntaxErrorGivesNull( Subject &subject ) {
    subject.init();
    for ( const DeviceClass deviceClass : madeOfArguments ) {
        for ( const char *arguments : { "", "{", "no JSON" } ) {
            requireNull( subject, deviceClass, arguments );
        }
    }
}

void unknownDriverGivesNull( Subject &subject ) {
    subject.init();
    for ( const DeviceClass deviceClass : madeOfArguments ) {
        const Entry &entry = subject.firstEntry( deviceClass );
        requireNull( subject, deviceClass, subject.altered( entry, "driver", "NoSuchDriver" ) );
    }
}

void unknownBusGivesNull( Subject &subject ) {
    subject.init();
    requireNull( subject, DeviceClass::smbus, "no-such-bus" );
}

void systemTakesAnyText( Subject &subject ) {
    subject.init();
    for ( const char *text : { "", "{}", "no JSON" } ) {
        const size_t before = HostServices::traces();
        require( subject.add( DeviceClass::system, text ) != nullptr ||
                     HostServices::traces() > before,
                 "pl_system_add( '" + std::string( text ) +
                     "' ) gives no record and does not trace why" );
    }
}

// A null text is a programming error: it may end the process.
void nullTextMakesNoDevice( Subject &subject ) {
    subject.init();
    for ( const DeviceClass deviceClass : madeOfArguments ) {
        const Ending ending = runApart(
            [&] {
                return std::string( subject.add( deviceClass, nullptr ) == nullptr ? "null"
                                                                                   : "a record" );
            },
            nestedSeconds );
        const std::string name = entryPointName( deviceClass, "_add" );
        require( !ending.isOverdue, name + " does not come back from a null text" );
        require( ending.answer != "a record", name + " gives a record for a null text" );
    }
}

void nullTopologyIsNoTopology( Subject &subject ) {
    for ( const HostTool::ClassName &row : HostTool::classNames ) {
        const Ending ending = runApart(
            [&] {
                return std::string( subject.init( row.deviceClass, nullptr ) == PL_STATUS_OK
                                        ? "accepted"
                                        : "refused" );
            },
            nestedSeconds );
        const std::string name = entryPointName( row.deviceClass, "_init" );
        require( !ending.isOverdue, name + " does not come back from a null text" );
        require( ending.answer != "accepted", name + " accepts a null text" );
    }
}

/// How many readings fail. @throw Broken when one of them has written its output
size_t failedReadings( Subject &subject ) {
    size_t failures = 0;
    for ( const Device &device : subject.devices() ) {
        for ( const Answer &answer : read( device ) ) {
            failures += answer.status != PL_STATUS_OK ? 1U : 0U;
            require( answer.status == PL_STATUS_OK || !answer.isWritten,
                     statusText( answer ) + ", and the output was written" );
        }
    }
    return failures;
}

void outputsAreLeftAlone( Subject &subject ) {
    subject.devices();
    subject.world().command( "fault bus any nack" );
    if ( failedReadings( subject ) > 0 ) {
        return;
    }
    HostServices::fireTimers(); // a library that polls has not noticed it yet
    if ( failedReadings( subject ) == 0 ) {
        throw Skipped( "no reading fails when no chip acknowledges" );
    }
}

} // namespace

Checks nullChecks() {
    return {
        { "null.syntax", "device arguments that do not parse give a null record and a trace",
          "a host must not call into a device that was never made", syntaxErrorGivesNull },
        { "null.driver", "an unknown driver gives a null record and a trace",
          "documents of a newer board name drivers that an older library has not",
          unknownDriverGivesNull },
        { "null.bus", "an unknown bus gives a null record and a trace",
          "engineers type the label of a bus by hand", unknownBusGivesNull },
        { "null.system", "the system gives a record, or null and a trace, whatever its text is",
          "a host must be told why it has no system", systemTakesAnyText },
        { "null.arguments", "a null pointer for device arguments makes no device",
          "ending the process is allowed; a device made of nothing is not", nullTextMakesNoDevice },
        { "null.topology", "a null pointer for a topology is not accepted",
          "ending the process is allowed; a board made of nothing is not",
          nullTopologyIsNoTopology },
        { "null.outputs", "a callback that fails leaves its output argument alone",
          "hosts keep their last good value there", outputsAreLeftAlone },
    };
}

} // namespace Conformance
