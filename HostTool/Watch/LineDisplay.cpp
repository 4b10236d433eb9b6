#include "HostTool/Watch/LineDisplay.h"

#include "HostTool/Failure.h"
#include "HostTool/Output/Json.h"
#include "HostTool/Watch/Lines.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace HostTool::Watch {

static double secondsNow() {
    return std::chrono::duration<double>( std::chrono::system_clock::now().time_since_epoch() )
        .count();
}

std::string clockText() {
    const time_t seconds = time( nullptr );
    tm local = {};
    localtime_r( &seconds, &local );
    std::array<char, 16> text;
    strftime( text.data(), text.size(), "%H:%M:%S", &local );
    return text.data();
}

void LineDisplay::print( const std::string &text ) {
    printf( "%s%s%s\n", json_ ? "" : clockText().c_str(), json_ ? "" : "  ", text.c_str() );
    if ( fflush( stdout ) != 0 && writeError_ == 0 ) {
        writeError_ = errno;
    }
}

void LineDisplay::refresh( const Model & ) {
    if ( writeError_ != 0 ) {
        throw Failure( ExitCode::badInput, std::string( "cannot write to standard output: " ) +
                                               strerror( writeError_ ) );
    }
}

void LineDisplay::isRead( const Model &model, size_t item ) {
    if ( !model.items()[item].isWorthALine() ) {
        return;
    }
    if ( json_ ) {
        hasChanged( model, firstChanges( model, item ) );
    } else {
        print( firstText( model.items()[item], std::chrono::steady_clock::now() ) );
    }
}

void LineDisplay::hasChanged( const Model &model, const std::vector<Change> &changes ) {
    for ( const Change &change : changes ) {
        print( json_ ? changeAsJson( model, change, secondsNow() ) : changeText( model, change ) );
    }
}

void LineDisplay::serverHasChanged( const Model &model ) {
    const bool isLost = model.serverLostAt().has_value();
    if ( !json_ ) {
        print( isLost ? "no server: " + model.serverReason() : "the server is back" );
        return;
    }
    rapidjson::StringBuffer buffer;
    JsonWriter writer( buffer );
    writer.SetMaxDecimalPlaces( 3 );
    writer.StartObject();
    writer.Key( "time" );
    writer.Double( secondsNow() );
    writer.Key( "server" );
    writer.String( isLost ? "lost" : "back" );
    writer.Key( "reason" );
    writeTextOrNull( writer, isLost ? model.serverReason() : "" );
    writer.EndObject();
    print( buffer.GetString() );
}

} // namespace HostTool::Watch
