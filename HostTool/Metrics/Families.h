#pragma once

#include "HostTool/Board/Documents.h"

#include <string>
#include <vector>

namespace HostTool::Metrics {

/// Families that do not come from one reading each.
enum class Own {
    serverUp,
    scrapeDuration,
    build,
    deviceState,
    readingStatus,
    readingAge,
    readingNeverRead,
    alertThreshold,
    criticalThreshold,
};

struct OwnFamily {
    Own own;
    const char *name;
    const char *labels; ///< as the page lists them
    const char *help;
};

/// The value in one column of a class. Its label is the device.
struct ValueFamily {
    DeviceClass deviceClass;
    const char *key; ///< the column's
    const char *name;
    const char *help;
};

/// Texts of a device: a sample of the value 1 that has them as labels.
struct InfoFamily {
    struct Label {
        const char *name;
        const char *key; ///< the column's
    };
    DeviceClass deviceClass;
    std::vector<Label> labels;
    const char *name;
    const char *help;
};

/// In the order in which they are exposed: first what is said of the board as a whole.
const std::vector<OwnFamily> &ownFamilies();
const std::vector<ValueFamily> &valueFamilies();
const std::vector<InfoFamily> &infoFamilies();

/// A family as the page has it.
struct Description {
    std::string name;
    std::string labels;
    std::string help;
};
std::vector<Description> descriptions();

} // namespace HostTool::Metrics
