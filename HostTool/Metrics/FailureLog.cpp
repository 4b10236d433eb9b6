#include "HostTool/Metrics/FailureLog.h"

#include <algorithm>

namespace HostTool::Metrics {

namespace {

/// Each reason once, behind the readings that it is the reason of; empty when nothing failed.
std::string failuresOf( const Device &device ) {
    if ( !device.record ) {
        return device.refusal;
    }
    std::vector<std::pair<std::string, std::string>> groups;
    for ( size_t i = 0; i < device.readings.size(); ++i ) {
        const Reading &reading = device.readings[i];
        if ( reading.hasValue() || reading.status == PL_STATUS_OK ||
             reading.status == PL_STATUS_NOT_SUPPORTED ||
             reading.status == PL_STATUS_NOT_PRESENT ) {
            continue;
        }
        const std::string reason = whyNoValue( reading );
        const auto group = std::find_if( groups.begin(), groups.end(),
                                         [&]( const auto &each ) { return each.first == reason; } );
        if ( group == groups.end() ) {
            groups.emplace_back( reason, device.row->columns[i].key );
        } else {
            group->second.append( ", " ).append( device.row->columns[i].key );
        }
    }
    std::string text;
    for ( const auto &[reason, keys] : groups ) {
        text.append( text.empty() ? "" : "; " ).append( keys ).append( ": " ).append( reason );
    }
    return text;
}

} // namespace

std::vector<std::string> FailureLog::news( const std::vector<Device> &devices ) {
    std::vector<std::string> lines;
    for ( const Device &device : devices ) {
        std::string failures = failuresOf( device );
        std::string &told = told_[device.entry];
        if ( failures != told ) {
            lines.push_back( "'" + device.entry->name +
                             "': " + ( failures.empty() ? "it is read again" : failures ) );
            told = std::move( failures );
        }
    }
    return lines;
}

} // namespace HostTool::Metrics
