#pragma once

#include "HostTool/Host/Devices.h"
#include "HostTool/Metrics/Exposition.h"

#include <deque>
#include <string>
#include <vector>

/// Devices made up by a test, and what is exposed of them.
///
///     board.add( "fan", "fan1", { good( 9800 ), none() } );
///     EXPECT_EQ( "{device=\"fan1\"} 9800\n", board.samples( "kavra_fan_speed_rpm" ) );
class ExposedBoard {
  public:
    HostTool::Device &add( const std::string &deviceClass, const std::string &name,
                           std::vector<HostTool::Reading> readings );
    /// A device that the library did not take.
    void addRefused( const std::string &deviceClass, const std::string &name );

    std::string text();
    /// What stands behind the name in each line of a family.
    std::string samples( const std::string &family );

    std::vector<HostTool::Device> devices;
    bool hasServer = true;
    HostTool::Moment now{ std::chrono::hours( 1 ) };

  private:
    std::deque<HostTool::Entry> entries_;
    HostTool::Metrics::Exposition exposition_{ { "1.2.3", "lib.so", "Vunda\xFFT" } };
};

template <class Value>
HostTool::Reading good( Value value ) {
    return HostTool::Reading::of( value );
}
inline HostTool::Reading good( const char *text ) {
    return HostTool::Reading::of( std::string( text ) );
}
inline HostTool::Reading none() {
    return { {}, PL_STATUS_NOT_SUPPORTED, "not supported" };
}
inline HostTool::Reading failed( pl_status status = PL_STATUS_FAILED,
                                 const std::string &reason = "no acknowledge" ) {
    return { {}, status, reason };
}
