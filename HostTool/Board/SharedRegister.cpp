#include "HostTool/Board/SharedRegister.h"

#include "HostTool/Board/EntryArguments.h"

#include <algorithm>
#include <array>

namespace HostTool {

namespace {

constexpr const char *qsfpReads[] = { "getPresenceReg", "getResetReg", "getInterruptReg" };
constexpr const char *sfpReads[] = { "getPresenceReg", "getRxLosReg", "getTxFaultReg",
                                     "getTxDisableReg" };

template <size_t size>
bool reads( const Entry &entry, int wanted, const char *const ( &keys )[size] ) {
    return std::any_of( std::begin( keys ), std::end( keys ),
                        [&]( const char *key ) { return driverNumber( entry, key ) == wanted; } );
}

} // namespace

std::vector<const Entry *> cagesOfOneChip( const Entry &xcvr, const Board &board ) {
    std::vector<const Entry *> cages;
    for ( const Entry &each : board.entries ) {
        if ( each.deviceClass == DeviceClass::xcvr && each.did == xcvr.did ) {
            cages.push_back( &each );
        }
    }
    return cages;
}

std::string writeHazard( const Entry &entry, Setting setting, const Board &board ) {
    const bool isReset = setting == Setting::reset;
    if ( !isReset && setting != Setting::txDisable ) {
        return "";
    }
    const std::optional<int> written =
        driverNumber( entry, isReset ? "setResetReg" : "setTxDisableReg" );
    if ( !written ) {
        return "";
    }
    for ( const Entry *each : cagesOfOneChip( entry, board ) ) {
        const bool isQsfp = driverArgument( *each, "getResetReg" ).has_value();
        if ( isQsfp ? reads( *each, *written, qsfpReads ) : reads( *each, *written, sfpReads ) ) {
            return "";
        }
    }
    return "'" + entry.name + "': register " + std::to_string( *written ) +
           " is written and never read: the bits of the other cages in it would become 0";
}

} // namespace HostTool
