#pragma once

#include <prometheus/client_metric.h>

#include <string>
#include <vector>

namespace HostTool::Metrics {

using Labels = std::vector<prometheus::ClientMetric::Label>;

/// The lines that open a family of gauges: its help and its type.
std::string headOf( const char *name, const char *help );

/// A sample's line up to its value, labels escaped and made valid UTF-8. The serializer takes
/// longer for one than the library for many a reading: who exposes the same sample again keeps it.
std::string lineStart( const char *name, Labels labels );

} // namespace HostTool::Metrics
