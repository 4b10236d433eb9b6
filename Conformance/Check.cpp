#include "Conformance/Check.h"

#include "HostTool/Failure.h"
#include "HostTool/Output/Nearest.h"

#include <algorithm>
#include <set>
#include <string_view>

namespace Conformance {

static constexpr Checks ( *groups[] )() = {
    symbolChecks, initChecks,  recordChecks,    tableChecks,   nullChecks,
    statusChecks, valueChecks, assertionChecks, processChecks,
};

Checks allChecks() {
    Checks all;
    for ( const auto group : groups ) {
        const Checks ofGroup = group();
        all.insert( all.end(), ofGroup.begin(), ofGroup.end() );
    }
    return all;
}

static std::string groupOf( const Check &check ) {
    const std::string_view id = check.id;
    return std::string( id.substr( 0, id.find( '.' ) ) );
}

Checks selectChecks( const std::vector<std::string> &names ) {
    Checks checks = allChecks();
    std::set<std::string> known;
    for ( const Check &check : checks ) {
        known.insert( check.id );
        known.insert( groupOf( check ) );
    }
    for ( const std::string &name : names ) {
        if ( !known.contains( name ) ) {
            const std::vector<std::string> all( known.begin(), known.end() );
            throw HostTool::Failure( HostTool::ExitCode::badInput,
                                     "no check '" + name + "'" +
                                         HostTool::didYouMean( name, all ) );
        }
    }
    const auto isWanted = [&]( const std::string &name ) {
        return names.empty() || std::find( names.begin(), names.end(), name ) != names.end();
    };
    std::erase_if( checks, [&]( const Check &check ) {
        return !isWanted( check.id ) && !isWanted( groupOf( check ) );
    } );
    return checks;
}

} // namespace Conformance
