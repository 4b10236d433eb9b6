// Operation tables: sizes, and which slots are there.
#include "Conformance/Check.h"
#include "Conformance/Tables.h"
#include "HostTool/Board/EntryArguments.h"

#include <cstddef>
#include <fstream>
#include <map>
#include <sstream>

namespace Conformance {

namespace {

void sizesAreTheContracts( Subject &subject ) {
    for ( const Device &device : subject.devices() ) {
        const uint32_t size = word32( tableOf( device ), 0 );
        require( size == ruleOf( device ).size, tableText( device ) + ": its size word is " +
                                                    std::to_string( size ) + " and not " +
                                                    std::to_string( ruleOf( device ).size ) );
    }
}

void reservedWordsAreZero( Subject &subject ) {
    for ( const Device &device : subject.devices() ) {
        const uint32_t word = word32( tableOf( device ), offsetof( pl_fan_ops, reserved ) );
        require( word == 0 || device.entry->deviceClass == DeviceClass::xcvr,
                 tableText( device ) + ": its reserved word is " + std::to_string( word ) );
    }
}

void kindsOfCages( Subject &subject ) {
    for ( const Device &device : subject.devices( DeviceClass::xcvr ) ) {
        const uint32_t type = device.as<pl_xcvr>()->ops->type;
        require( type == PL_XCVR_SFP || type == PL_XCVR_QSFP,
                 tableText( device ) + ": its type is " + std::to_string( type ) );
        const bool isSfp = type == PL_XCVR_SFP;
        // What our own driver has for an argument; another vendor's need not.
        const std::string called = HostTool::driverArgument( *device.entry, "type" ).value_or( "" );
        const bool isTold = called.starts_with( "sfp" ) || called.starts_with( "qsfp" );
        require( !isTold || isSfp == called.starts_with( "sfp" ),
                 tableText( device ) + ": its type is " + ( isSfp ? "SFP" : "QSFP" ) +
                     ", and its arguments say otherwise" );
        const uint64_t size = word64( tableOf( device ), offsetof( pl_xcvr_ops, u ) );
        const uint64_t wanted = isSfp ? sizeof( pl_sfp_ops ) : sizeof( pl_qsfp_ops );
        require( size == wanted, tableText( device ) + ": the size of its sub-table is " +
                                     std::to_string( size ) + " and not " +
                                     std::to_string( wanted ) );
    }
}

void slotsAre( Subject &subject, SlotRule::Rule rule ) {
    const bool wanted = rule == SlotRule::Rule::promised;
    for ( const Device &device : subject.devices() ) {
        for ( const SlotRule &slot : ruleOf( device ).slots ) {
            const bool isThere = word64( tableOf( device ), slot.offset ) != 0;
            require( slot.rule != rule || isThere == wanted,
                     tableText( device ) + ": " + slot.name + ( isThere ? " is not" : " is" ) +
                         " null" );
        }
    }
}

void promisedSlotsAreThere( Subject &subject ) {
    slotsAre( subject, SlotRule::Rule::promised );
}

void emptySlotsAreNull( Subject &subject ) {
    slotsAre( subject, SlotRule::Rule::empty );
}

void oneTableOfAClass( Subject &subject ) {
    std::map<const TableRule *, const unsigned char *> tables;
    for ( const Device &device : subject.devices() ) {
        const unsigned char *const table = tableOf( device );
        const auto [first, isNew] = tables.emplace( &ruleOf( device ), table );
        require( isNew || first->second == table,
                 tableText( device ) + ": the records of a class have several tables" );
    }
}

/// Whether the page of an address can be written, as the kernel lists it.
bool isWritable( const void *address ) {
    std::ifstream maps( "/proc/self/maps" );
    const auto wanted = reinterpret_cast<uintptr_t>( address );
    for ( std::string line; std::getline( maps, line ); ) {
        uintptr_t start = 0;
        uintptr_t end = 0;
        char dash = 0;
        std::string rights;
        std::istringstream( line ) >> std::hex >> start >> dash >> end >> rights;
        if ( wanted >= start && wanted < end ) {
            return rights.size() > 1 && rights[1] == 'w';
        }
    }
    return true;
}

void tablesAreConstant( Subject &subject ) {
    for ( const Device &device : subject.devices() ) {
        require( !isWritable( tableOf( device ) ),
                 tableText( device ) + " lies in memory that can be written" );
    }
}

} // namespace

Checks tableChecks() {
    return {
        { "tables.sizes", "each operation table opens with its size in bytes",
          "a host compares it before it uses a slot", sizesAreTheContracts },
        { "tables.reserved", "the second word of a table is 0, but for a transceiver's",
          "a later contract may give it a meaning", reservedWordsAreZero },
        { "tables.transceivers",
          "a transceiver's table tells its kind, and its sub-table has that kind's size",
          "SFP and QSFP tables have one size: only this word tells which member holds",
          kindsOfCages },
        { "tables.slots", "the one operation of a slot, a lamp and a temperature sensor is there",
          "a null slot is an operation that the class does not have, and these have no other",
          promisedSlotsAreThere },
        { "tables.empty-slots", "the slots without an operation are null",
          "what a host finds there it may call", emptySlotsAreNull },
        { "tables.shared", "all records of a class have one table",
          "a host may look at the slots of one and call those of all", oneTableOfAClass },
        { "tables.constant", "tables lie in memory that cannot be written",
          "a stray write in the host must not redirect a call", tablesAreConstant },
    };
}

} // namespace Conformance
