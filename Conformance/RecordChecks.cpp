// Records: the two words that host and library meet on, and how long they live.
#include "Conformance/Answers.h"
#include "Conformance/Check.h"
#include "Conformance/HostServices.h"
#include "Conformance/Tables.h"

#include <cstdint>
#include <map>

namespace Conformance {

namespace {

uint64_t &hostWord( const Device &device ) {
    return device.as<pl_system>()->host; // every record opens with it
}

void readAll( Subject &subject ) {
    for ( const Device &device : subject.devices() ) {
        read( device );
    }
    HostServices::fireTimers();
}

void everyDeviceHasOne( Subject &subject ) {
    for ( const Device &device : subject.devices() ) {
        tableOf( device );
    }
}

void recordsAreAligned( Subject &subject ) {
    for ( const Device &device : subject.devices() ) {
        require( reinterpret_cast<uintptr_t>( device.record ) % alignof( pl_system ) == 0,
                 device.entry->name + ": its record lies across two words" );
    }
}

void hostWordIsTheHosts( Subject &subject ) {
    uint64_t next = 0xC0FF'EE00'0000'0000;
    std::map<const void *, uint64_t> marks; // several entries may have one record
    for ( const Device &device : subject.devices() ) {
        hostWord( device ) = marks[device.record] = next++;
    }
    readAll( subject );
    readAll( subject );
    for ( const Device &device : subject.devices() ) {
        require( hostWord( device ) == marks[device.record],
                 device.entry->name + ": word 0 of its record has changed" );
    }
}

void systemStartsWithZero( Subject &subject ) {
    const Device system = subject.first( DeviceClass::system );
    require( hostWord( system ) == 0, system.entry->name + ": word 0 of its record is not 0" );
}

void deviceCanBeAddedAgain( Subject &subject ) {
    for ( const HostTool::ClassName &row : HostTool::classNames ) {
        const auto all = subject.devices( row.deviceClass );
        if ( all.empty() ) {
            continue;
        }
        const Device again = { all.front().entry, subject.add( *all.front().entry ) };
        require( again.record != nullptr, again.entry->name + ": no record when added again" );
        const std::vector<Answer> before = read( all.front() );
        const std::vector<Answer> after = read( again );
        require( before.size() == after.size(),
                 again.entry->name + ": other operations when added again" );
        for ( size_t i = 0; i < before.size(); ++i ) {
            require( before[i].status == after[i].status, statusText( after[i] ) +
                                                              " when added again, and before " +
                                                              std::to_string( before[i].status ) );
        }
    }
}

void recordsOutliveEverything( Subject &subject ) {
    std::vector<const unsigned char *> tables;
    for ( const Device &device : subject.devices() ) {
        tables.push_back( tableOf( device ) );
    }
    for ( const Entry &entry : subject.board().entries ) {
        subject.add( entry );
    }
    const std::string other = subject.board().topology + "\n";
    subject.init( DeviceClass::system, other.c_str() );
    readAll( subject );
    for ( size_t i = 0; i < tables.size(); ++i ) {
        require( tableOf( subject.devices()[i] ) == tables[i],
                 subject.devices()[i].entry->name + ": word 1 of its record has changed" );
    }
}

} // namespace

Checks recordChecks() {
    return {
        { "records.added", "every device of the board's documents gives a record",
          "the documents are the promise of what the library drives", everyDeviceHasOne },
        { "records.aligned", "a record lies where two 64-bit words can",
          "the host reads them as such", recordsAreAligned },
        { "records.host-word", "word 0 of a record is the host's: the library leaves it alone",
          "hosts keep their own object there", hostWordIsTheHosts },
        { "records.system", "word 0 of the system's record starts at 0",
          "a host tells by it whether it has used the record", systemStartsWithZero },
        { "records.again", "a device that is added again gives a record that works",
          "a host that reads its documents again adds what it has", deviceCanBeAddedAgain },
        { "records.lifetime", "a record stays as it is, whatever is added or loaded later",
          "records live until the process ends; nothing takes one back", recordsOutliveEverything },
    };
}

} // namespace Conformance
