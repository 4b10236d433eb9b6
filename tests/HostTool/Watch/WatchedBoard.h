#pragma once

#include "HostTool/Watch/Layout.h"
#include "HostTool/Watch/Model.h"

#include <PlatformLibrary/pl.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

/// A board made up by a test, and what a host that watches it would see.
///
///     WatchedBoard board;
///     board.add( "temp_sensor", "inlet" );
///     board.reads( "inlet", { good( 24.5F ) } );
///     board.pass( 12 );
///     EXPECT_EQ( "…", board.screen( { 24, 80 } )[5] );
///
/// Devices are added before anything is read. Time stands still but for pass().
class WatchedBoard {
  public:
    void add( const std::string &deviceClass, const std::string &name,
              const std::string &driverArguments = "{}" );
    /// 12 sensors, 10 fans, 2 supplies, 8 slots, 34 cages with 2 lamps, a system lamp and 4 lines.
    void addEverything();
    /// Everything reads as on a board that is well.
    void readsWell();

    void reads( const std::string &name, std::vector<HostTool::Reading> readings );
    /// Every reading fails.
    void fails( const std::string &name, const std::string &reason );
    void pass( int seconds ) { now_ += std::chrono::seconds( seconds ); }

    HostTool::Watch::Model &model();
    size_t indexOf( const std::string &name );
    const HostTool::Watch::Item &item( const std::string &name ) {
        return model().items()[indexOf( name )];
    }
    HostTool::Moment now() const { return now_; }

    /// The rows of the screen, as text.
    std::vector<std::string> screen( HostTool::Watch::Size size );
    HostTool::Watch::Canvas canvas( HostTool::Watch::Size size );

    HostTool::Watch::View view;
    HostTool::Watch::Look look;
    std::vector<HostTool::Watch::Change> changes; ///< of the last reading

  private:
    HostTool::Board board_;
    std::unique_ptr<HostTool::Watch::Model> model_;
    HostTool::Moment now_{ std::chrono::hours( 1 ) };
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
