#pragma once

#include "HostTool/Metrics/Families.h"

#include <cstddef>
#include <vector>

namespace HostTool::Metrics {

/// Where a class's readings go. Families are counted through all three tables: own, values, infos.
struct Route {
    static constexpr size_t nowhere = static_cast<size_t>( -1 );
    struct Info {
        size_t family;
        std::vector<size_t> columns;
        const InfoFamily *row;
    };
    std::vector<size_t> familyOfColumn;
    std::vector<Info> infos;
    size_t presence = nowhere; ///< the column that says whether the part is there
};

const Route &routeFor( DeviceClass deviceClass );

} // namespace HostTool::Metrics
