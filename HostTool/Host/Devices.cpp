#include "HostTool/Host/Devices.h"

#include "HostTool/Failure.h"
#include "HostTool/Host/AbortNote.h"
#include "HostTool/Host/HostServices.h"
#include "HostTool/Host/Server.h"

#include <algorithm>
#include <cstdio>
#include <set>
#include <stdexcept>

namespace HostTool {

namespace {

std::string joined( const std::vector<std::string> &lines ) {
    std::string text;
    for ( const std::string &line : lines ) {
        text += ( text.empty() ? "" : "; " ) + line;
    }
    return text.empty() ? "the library refused without a word" : text;
}

/// What is answered from a poll is as old as the poll. The library begins to poll a register when
/// it is first asked for it, and answers with a 0 that nobody has read until then.
void stampPolled( Device &device, Moment now ) {
    const Moment askedAt = *( device.askedAt = device.askedAt.value_or( now ) );
    const HostServices &services = HostServices::get();
    if ( !services.polls() ) {
        return;
    }
    const std::optional<Moment> polledAt = services.lastPoll();
    for ( size_t i = 0; i < device.readings.size(); ++i ) {
        Reading &reading = device.readings[i];
        if ( !device.row->columns[i].isPolled || !reading.hasValue() ) {
            continue;
        }
        if ( polledAt && *polledAt >= askedAt ) {
            reading.polledAt = polledAt;
        } else {
            reading = Reading::unread( "the library has not polled it yet" );
        }
    }
}

} // namespace

void makeSureOfServer( const Options &options, const Board &board ) {
    const std::string path = serverSocket();
    const std::string reason = whyNoServer( path );
    if ( reason.empty() ) {
        return;
    }
    if ( !options.wait ) {
        throw Failure( ExitCode::unreachable, noServerMessage( path, reason, board.folder ) );
    }
    fprintf( stderr, "kavractl: waiting up to 30 s for the SMBus server at %s (%s)\n", path.c_str(),
             reason.c_str() );
}

void initialise( const Library &library, const char *entryPoint, const Board &board ) {
    const AbortNote note( "while loading " + board.topologyPath );
    HostServices::get().forgetLines();
    const pl_status status =
        library.entryPoint<pl_status( const char * )>( entryPoint )( board.topology.c_str() );
    if ( status == PL_STATUS_OK ) {
        return;
    }
    if ( status == PL_STATUS_IO_ERROR ) {
        const std::string reason = whyNoServer( serverSocket() );
        throw Failure( ExitCode::unreachable,
                       noServerMessage( serverSocket(),
                                        reason.empty() ? Reading::failed( status ).reason : reason,
                                        board.folder ) );
    }
    throw Failure( ExitCode::badInput, board.topologyPath +
                                           ": the library refuses it: " + nameOf( status ) + ": " +
                                           Reading::failed( status ).reason );
}

Device addDevice( const Library &library, const Entry &entry ) {
    const ClassRow &row = rowOf( entry.deviceClass );
    const AbortNote note( { "while adding '", entry.name, "' (", entry.place,
                            "); name the other devices to go on without it" } );
    HostServices::get().forgetLines();
    const auto refuse = [&]( const std::string &text ) {
        return Failure( ExitCode::badInput, entry.place + ": '" + entry.name + "': " + text );
    };
    Device device = { &entry, &row, nullptr, "", {} };
    try {
        device.record = row.add( library, row.addEntryPoint, entry );
    } catch ( const Failure & ) {
        throw;
    } catch ( const std::invalid_argument &exception ) {
        throw refuse( std::string( "an argument is not a number (" ) + exception.what() + ")" );
    } catch ( const std::out_of_range &exception ) {
        throw refuse( std::string( "an argument is out of range (" ) + exception.what() + ")" );
    } catch ( const std::exception &exception ) {
        throw refuse( "driver '" + entry.driver + "', class " + nameOf( entry.deviceClass ) + ": " +
                      printable( exception.what() ) );
    }
    if ( !device.record ) {
        device.refusal = "not added: " + joined( HostServices::get().lines() );
    }
    return device;
}

std::vector<Device> addDevices( const Library &library, const Options &options, const Board &board,
                                const std::vector<const Entry *> &entries ) {
    makeSureOfServer( options, board );
    std::set<DeviceClass> initialised;
    std::vector<Device> devices;
    for ( const Entry *entry : entries ) {
        if ( initialised.insert( entry->deviceClass ).second ) {
            initialise( library, rowOf( entry->deviceClass ).initEntryPoint, board );
        }
        devices.push_back( addDevice( library, *entry ) );
    }
    return devices;
}

void readDevice( Device &device ) {
    const AbortNote note(
        { "while reading '", device.entry->name, "' (", device.entry->place, ")" } );
    const Moment now = std::chrono::steady_clock::now();
    try {
        device.readings = device.row->read( device.record, *device.entry );
        stampPolled( device, now );
    } catch ( const std::exception &exception ) {
        device.readings = allFailed( device.row->columns.size(), PL_STATUS_FAILED,
                                     printable( exception.what() ) );
    }
    device.state = judge( *device.entry, device.readings );
}

void readDevices( std::vector<Device> &devices ) {
    int settle = 0;
    for ( Device &device : devices ) {
        if ( device.record && device.row->settleMilliseconds > 0 ) {
            readDevice( device );
            settle = std::max( settle, device.row->settleMilliseconds );
        }
    }
    if ( settle > 0 ) {
        HostServices::get().runFor( settle );
    }
    for ( Device &device : devices ) {
        if ( device.record ) {
            readDevice( device );
        } else {
            device.state = State::failed;
            device.readings =
                allFailed( device.row->columns.size(), PL_STATUS_FAILED, device.refusal );
        }
    }
}

} // namespace HostTool
