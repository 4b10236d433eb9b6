#pragma once

#include "tests/property/Actions.h"

namespace Ham {
class Ham;
}

namespace Property {

RawOperation drawRawOperation();

/// Makes one batch of the operations. @return the status and, when it is 0, the results, the last
///         one first
std::string performRaw( Ham::Ham &ham, const std::vector<RawOperation> &operations );
std::string expectRaw( Twin &twin, const BoardDevice &device,
                       const std::vector<RawOperation> &operations );
/// The same when a chip refuses a request of the batch.
std::string expectRefusedRaw( Twin &twin, const BoardDevice &device,
                              const std::vector<RawOperation> &operations, std::size_t refused );

} // namespace Property
