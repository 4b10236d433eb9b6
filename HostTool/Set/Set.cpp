#include "HostTool/Set/Set.h"

#include "HostTool/Board/FanLimit.h"
#include "HostTool/Board/SharedRegister.h"
#include "HostTool/Host/HostServices.h"
#include "HostTool/Output/Json.h"
#include "HostTool/Output/Nearest.h"
#include "HostTool/Set/Setting.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <iterator>

namespace HostTool {

const char *const setHelp =
    R"(Tells one device one thing. NAME is the name of a device of that class in
devices.json.

  fan NAME RPM           revolutions per minute
  fan NAME PERCENT%      of the full speed that the fan's arguments or the
                         description of its tray give
  led NAME SETTING       off, good, warning, bad, inactive, unknown or beacon
  xcvr NAME reset on|off        hold the module in reset, or let it go (QSFP)
  xcvr NAME txdisable on|off    switch the transmitter off, or on (SFP)
  gpio NAME 0|1

Values are checked before anything is written. Fans of one controller may share
one speed. A beacon blinks as long as this command runs, until Ctrl-C or for
--for SECONDS, and the lamp is off behind it.

Exit code 1 when the device does not take it.

Examples:
  kavractl set fan fan1 60%
  kavractl set fan psu1-fan1 12000
  kavractl set led status good
  kavractl set led status beacon --for 30
  kavractl set xcvr Ethernet33 txdisable on
  kavractl set xcvr Ethernet1 reset off --json
)";

namespace {

[[noreturn]] void refuse( const std::string &text ) {
    throw Failure( ExitCode::badInput, text );
}

/// A call taken apart; the value may still be a percentage.
struct Request {
    const Entry *entry;
    Order order;
    bool isPercent = false;
};

int parseNumber( const std::string &text, const std::string &what ) {
    int number = 0;
    const char *end = text.data() + text.size();
    const auto [stop, error] = std::from_chars( text.data(), end, number );
    if ( error != std::errc() || stop != end || number < 0 ) {
        refuse( "'" + text + "' is no " + what );
    }
    return number;
}

int parseWord( const std::string &text, const std::vector<std::string> &known,
               const std::string &what ) {
    const auto at = std::find( known.begin(), known.end(), text );
    if ( at == known.end() ) {
        refuse( "no " + what + " '" + text + "'; the nearest is '" + nearest( text, known ) + "'" );
    }
    return static_cast<int>( at - known.begin() );
}

using Words = std::vector<std::string>; // behind class and name

void parseFan( const Words &words, Request &request ) {
    constexpr int fullPercent = 100;
    std::string text = words[0];
    request.isPercent = text.ends_with( '%' );
    if ( request.isPercent ) {
        text.pop_back();
    }
    request.order = { Setting::fanSpeed, parseNumber( text, "speed; 9000 and 60% are" ) };
    if ( request.isPercent && request.order.value > fullPercent ) {
        refuse( words[0] + " is more than 100%" );
    }
}

void parseLed( const Words &words, Request &request ) {
    request.order = { Setting::light, parseWord( words[0], lightNames(), "light setting" ) };
}

void parseXcvr( const Words &words, Request &request ) {
    constexpr Setting settings[] = { Setting::reset, Setting::txDisable };
    const int signal = parseWord( words[0], { "reset", "txdisable" }, "signal that can be set" );
    request.order = { settings[signal], parseWord( words[1], { "off", "on" }, "state" ) };
}

void parseGpio( const Words &words, Request &request ) {
    request.order = { Setting::line, parseWord( words[0], { "0", "1" }, "value" ) };
}

struct KindRow {
    DeviceClass deviceClass;
    const char *operands;
    size_t words;
    void ( *parse )( const Words &words, Request &request );
};

constexpr KindRow kindRows[] = {
    { DeviceClass::fan, "NAME RPM|PERCENT%", 1, parseFan },
    { DeviceClass::led, "NAME SETTING", 1, parseLed },
    { DeviceClass::xcvr, "NAME reset|txdisable on|off", 2, parseXcvr },
    { DeviceClass::gpio, "NAME 0|1", 1, parseGpio },
};

const KindRow &findKind( const std::string &name ) {
    std::vector<std::string> known;
    for ( const KindRow &row : kindRows ) {
        if ( name == nameOf( row.deviceClass ) ) {
            return row;
        }
        known.emplace_back( nameOf( row.deviceClass ) );
    }
    refuse( "nothing can be set of '" + name + "'; the nearest is '" + nearest( name, known ) +
            "', and kavractl set --help has all of them" );
}

const Entry &findEntry( const Board &board, DeviceClass deviceClass, const std::string &name ) {
    std::vector<std::string> known;
    for ( const Entry &each : board.entries ) {
        if ( each.deviceClass == deviceClass ) {
            known.push_back( each.name );
        }
        if ( each.name == name ) {
            if ( each.deviceClass != deviceClass ) {
                refuse( "'" + name + "' is a " + nameOf( each.deviceClass ) + ", not a " +
                        nameOf( deviceClass ) );
            }
            return each;
        }
    }
    refuse( "no " + std::string( nameOf( deviceClass ) ) + " '" + name + "' in " + board.folder +
            "/devices.json" + didYouMean( name, known ) );
}

Request parse( const Task &task ) {
    constexpr size_t classAndName = 2;
    const Words &operands = task.options.operands;
    if ( operands.empty() ) {
        refuse( "set needs a class and a device; kavractl set --help has examples" );
    }
    const KindRow &kind = findKind( operands.front() );
    if ( operands.size() != classAndName + kind.words ) {
        refuse( std::string( "usage: kavractl set " ) + nameOf( kind.deviceClass ) + " " +
                kind.operands );
    }
    Request request = { &findEntry( task.board, kind.deviceClass, operands[1] ), {} };
    kind.parse( { operands.begin() + classAndName, operands.end() }, request );
    return request;
}

/// The entries that must be added to carry the order out; the one of the order is among them.
std::vector<const Entry *> entriesFor( const Request &request, const Board &board ) {
    if ( request.entry->deviceClass == DeviceClass::xcvr ) {
        return cagesOfOneChip( *request.entry, board );
    }
    std::vector<const Entry *> entries = { request.entry };
    if ( request.entry->deviceClass == DeviceClass::fan ) {
        if ( const Entry *tray = trayOf( *request.entry, board ) ) {
            entries.push_back( tray );
        }
    }
    return entries;
}

const Reading *descriptionIn( const std::vector<Device> &devices ) {
    for ( const Device &device : devices ) {
        for ( size_t i = 0; i < device.readings.size(); ++i ) {
            if ( device.row->columns[i].isDescription ) {
                return &device.readings[i];
            }
        }
    }
    return nullptr;
}

/// Turns a percentage into a speed.
void checkSpeed( Request &request, std::vector<Device> &devices ) {
    if ( devices.size() > 1 ) {
        readDevices( devices );
    }
    constexpr int fullPercent = 100;
    const std::string &name = request.entry->name;
    const std::optional<int> full = fullSpeed( *request.entry, descriptionIn( devices ) );
    if ( request.isPercent ) {
        if ( !full ) {
            refuse( "the full speed of '" + name + "' is not known: give a speed in rpm" );
        }
        request.order.value =
            static_cast<int>( static_cast<long long>( *full ) * request.order.value / fullPercent );
    }
    if ( full && request.order.value > *full ) {
        refuse( std::to_string( request.order.value ) + " rpm is more than the full speed of '" +
                name + "', " + std::to_string( *full ) + " rpm" );
    }
}

void prepare( Request &request, const Device &device, std::vector<Device> &devices,
              const Board &board ) {
    if ( const std::string reason = whyNot( device, request.order.setting ); !reason.empty() ) {
        throw Failure( device.record ? ExitCode::badInput : ExitCode::boardTrouble, reason );
    }
    if ( const std::string reason = writeHazard( *request.entry, request.order.setting, board );
         !reason.empty() ) {
        refuse( reason );
    }
    if ( request.order.setting == Setting::fanSpeed ) {
        checkSpeed( request, devices );
    }
    // The registers of a transceiver chip must have been read before one bit in them is written.
    if ( request.entry->deviceClass == DeviceClass::xcvr ) {
        readDevices( devices );
        std::vector<const Device *> cages;
        cages.reserve( devices.size() );
        for ( const Device &each : devices ) {
            cages.push_back( &each );
        }
        if ( const std::string reason = whyNotYet( request.order.setting, cages );
             !reason.empty() ) {
            throw Failure( ExitCode::boardTrouble, "'" + request.entry->name + "': " + reason );
        }
    }
}

std::string asJson( const Request &request, const Outcome &outcome ) {
    rapidjson::StringBuffer buffer;
    JsonWriter writer( buffer );
    writer.StartObject();
    writer.Key( "name" );
    writeText( writer, request.entry->name );
    writer.Key( "class" );
    writer.String( nameOf( request.entry->deviceClass ) );
    writer.Key( "set" );
    writeText( writer, textOf( request.order ) );
    writer.Key( "value" );
    writer.Int( request.order.value );
    writer.Key( "status" );
    writeText( writer, nameOf( outcome.status ) );
    writer.Key( "reason" );
    writeTextOrNull( writer, outcome.reason );
    writer.EndObject();
    return buffer.GetString() + std::string( "\n" );
}

void print( const Request &request, const Outcome &outcome, bool json ) {
    const std::string what = request.entry->name + ": " + textOf( request.order );
    if ( json ) {
        fputs( asJson( request, outcome ).c_str(), stdout );
    } else if ( outcome.isFine() ) {
        printf( "%s\n", what.c_str() );
    } else {
        fprintf( stderr, "kavractl: %s: %s: %s\n", what.c_str(), nameOf( outcome.status ).c_str(),
                 outcome.reason.c_str() );
    }
}

/// The library's timer makes a beacon blink, and the timer is this process's.
void blink( const Device &device, const Options &options ) {
    fflush( stdout );
    if ( !options.seconds ) {
        fprintf( stderr, "kavractl: '%s' blinks until Ctrl-C\n", device.entry->name.c_str() );
    }
    HostServices::get().runUntilInterrupted( options.seconds );
    if ( const Outcome off = tell( device, { Setting::light, PL_LED_OFF } ); !off.isFine() ) {
        throw Failure( ExitCode::boardTrouble, "'" + device.entry->name +
                                                   "' cannot be switched off: " +
                                                   nameOf( off.status ) + ": " + off.reason );
    }
}

} // namespace

ExitCode runSet( Task &task ) {
    Request request = parse( task );
    std::vector<Device> devices =
        addDevices( *task.library, task.options, task.board, entriesFor( request, task.board ) );
    const auto device = std::find_if( devices.begin(), devices.end(), [&]( const Device &each ) {
        return each.entry == request.entry;
    } );
    prepare( request, *device, devices, task.board );
    const Outcome outcome = tell( *device, request.order );
    print( request, outcome, task.options.json );
    if ( !outcome.isFine() ) {
        return ExitCode::boardTrouble;
    }
    if ( request.order.setting == Setting::light && request.order.value == PL_LED_BEACON ) {
        blink( *device, task.options );
    }
    return ExitCode::fine;
}

} // namespace HostTool
