#include "HostTool/Metrics/Lines.h"

#include "HostTool/Metrics/Utf8.h"

#include <prometheus/text_serializer.h>

namespace HostTool::Metrics {

static std::string serialized( const prometheus::MetricFamily &family ) {
    return prometheus::TextSerializer().Serialize( { family } );
}

std::string headOf( const char *name, const char *help ) {
    return serialized( { name, help, prometheus::MetricType::Gauge, {} } );
}

std::string lineStart( const char *name, Labels labels ) {
    prometheus::ClientMetric metric;
    for ( prometheus::ClientMetric::Label &label : labels ) {
        label.value = validUtf8( label.value );
    }
    metric.label = std::move( labels );
    const std::string text =
        serialized( { name, "", prometheus::MetricType::Gauge, { std::move( metric ) } } );
    const size_t start = text.rfind( '\n', text.size() - 2 ) + 1;
    return text.substr( start, text.rfind( ' ' ) + 1 - start );
}

} // namespace HostTool::Metrics
