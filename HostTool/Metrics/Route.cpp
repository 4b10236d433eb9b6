#include "HostTool/Metrics/Route.h"

#include "HostTool/Host/Classes.h"

#include <algorithm>
#include <string_view>

namespace HostTool::Metrics {

namespace {

size_t columnOf( const ClassRow &row, std::string_view key ) {
    const auto at = std::find_if( row.columns.begin(), row.columns.end(),
                                  [=]( const Column &each ) { return each.key == key; } );
    return static_cast<size_t>( at - row.columns.begin() );
}

Route routeOf( DeviceClass deviceClass ) {
    const ClassRow &row = rowOf( deviceClass );
    Route route;
    route.familyOfColumn.assign( row.columns.size(), Route::nowhere );
    size_t family = ownFamilies().size();
    for ( const ValueFamily &each : valueFamilies() ) {
        if ( each.deviceClass == deviceClass ) {
            const size_t column = columnOf( row, each.key );
            route.familyOfColumn.at( column ) = family;
            route.presence = std::string_view( each.key ) == "present" ? column : route.presence;
        }
        ++family;
    }
    for ( const InfoFamily &each : infoFamilies() ) {
        if ( each.deviceClass == deviceClass ) {
            Route::Info info = { family, {}, &each };
            for ( const InfoFamily::Label &label : each.labels ) {
                info.columns.push_back( columnOf( row, label.key ) );
            }
            route.infos.push_back( std::move( info ) );
        }
        ++family;
    }
    return route;
}

} // namespace

const Route &routeFor( DeviceClass deviceClass ) {
    static const std::vector<Route> routes = [] {
        std::vector<Route> all;
        for ( const ClassName &each : classNames ) {
            all.push_back( routeOf( each.deviceClass ) );
        }
        return all;
    }();
    return routes.at( static_cast<size_t>( deviceClass ) );
}

} // namespace HostTool::Metrics
