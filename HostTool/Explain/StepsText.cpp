#include "HostTool/Explain/BusTime.h"
#include "HostTool/Explain/Report.h"

#include <array>
#include <cinttypes>
#include <cstdarg>
#include <cstdio>

namespace HostTool::Explain {

namespace {

// In the order of Turn.
constexpr const char *turnTexts[] = { "", ", the first time", ", each further time" };

__attribute__( ( format( printf, 1, 2 ) ) ) std::string text( const char *format, ... ) {
    std::array<char, 256> line;
    va_list arguments;
    va_start( arguments, format );
    vsnprintf( line.data(), line.size(), format, arguments );
    va_end( arguments );
    return line.data();
}

std::string hex( const std::string &bytes ) {
    std::string digits;
    for ( const char each : bytes ) {
        digits += text( digits.empty() ? "%02x" : " %02x",
                        unsigned{ static_cast<unsigned char>( each ) } );
    }
    return digits;
}

std::string counted( uint64_t count, const char *what ) {
    return text( "%" PRIu64 " %s%s", count, what, count == 1 ? "" : "s" );
}

std::string nameOf( const Mux &mux ) {
    return text( "mux %u", mux.did ) + ( mux.label.empty() ? "" : " " + mux.label );
}

std::string answerText( const Request &request ) {
    return request.outcome == Outcome::done ? "-> " + hex( request.read ) : "";
}

std::string dataText( const Request &request ) {
    switch ( request.operation ) {
    case Operation::receiveByte:
        return answerText( request );
    case Operation::sendByte:
        return text( "= %0*x", static_cast<int>( 2 * request.registerBytes ), request.reg );
    case Operation::read:
        return counted( request.length, "byte" ) + " " + answerText( request );
    case Operation::blockRead:
        return counted( request.read.size(), "byte" ) + " " + answerText( request );
    case Operation::write:
    case Operation::blockWrite:
        return counted( request.written.size(), "byte" ) + " = " + hex( request.written );
    case Operation::processCall:
        return "= " + hex( request.written ) + " " + answerText( request );
    }
    return "";
}

std::string actionOf( const Request &request, const Role &role ) {
    if ( role.what == Role::What::access ) {
        std::string name = HostTool::Explain::nameOf( request.operation );
        for ( char &each : name ) {
            each = each == '_' ? ' ' : each;
        }
        return name;
    }
    return role.what == Role::What::select ? "select" : "deselect";
}

std::string muxText( const Request &request, const Role &role ) {
    if ( role.what == Role::What::access ) {
        return "";
    }
    std::string line = "  " + nameOf( *role.mux );
    if ( role.what == Role::What::select ) {
        line += text( ", channel 0x%02x", request.reg );
        line += role.channel && !role.channel->label.empty() ? " " + role.channel->label : "";
    }
    return line;
}

std::string troubleText( const Request &request ) {
    switch ( request.outcome ) {
    case Outcome::done:
        return request.causes.empty() ? "" : "  at first: " + request.causes;
    case Outcome::failed:
        return "  failed: " + request.causes;
    case Outcome::skipped:
        break;
    }
    return "  not tried";
}

std::string requestText( const Request &request, const Role &role ) {
    const bool hasRegister =
        request.operation != Operation::receiveByte && request.operation != Operation::sendByte;
    const std::string reg =
        hasRegister
            ? text( "reg 0x%0*x", static_cast<int>( 2 * request.registerBytes ), request.reg )
            : "";
    return text( "      %-12s  0x%02x  %-8s  ", actionOf( request, role ).c_str(), request.chip,
                 reg.c_str() ) +
           dataText( request ) + ( request.pec ? "  PEC" : "" ) + muxText( request, role ) +
           troubleText( request ) + "\n";
}

std::string transactionText( const Transaction &transaction, size_t number, const Wiring &wiring ) {
    std::string lines = text( "    transaction %zu: ", number );
    if ( transaction.requests.empty() ) {
        return lines + "empty, nothing on the wires\n";
    }
    const std::vector<Role> roles = wiring.rolesIn( transaction );
    const BusName *bus = nullptr;
    for ( size_t i = 0; i < roles.size(); ++i ) {
        const Request &request = transaction.requests[i];
        if ( !bus || *bus != request.bus ) {
            lines += ( bus ? "    then " : "" ) + wiring.describe( request.bus ) + "\n";
            bus = &request.bus;
        }
        lines += requestText( request, roles[i] );
    }
    return lines + ( transaction.error.empty() ? "" : "      failed: " + transaction.error + "\n" );
}

std::string sumText( const WireCost &cost ) {
    return "    " + counted( cost.transactions, "transaction" ) + ", " +
           counted( cost.requests, "request" ) + ", " + counted( cost.bytes, "byte" ) +
           text( "; %.2f ms at 100 kHz, %.2f ms at 400 kHz\n", cost.milliseconds( standardMode ),
                 cost.milliseconds( fastMode ) );
}

std::string nameText( const Step &step ) {
    std::string line = "  " + step.name;
    if ( step.kind == StepKind::poll ) {
        line += text( ", every %g s", step.periodMs / 1000.0 );
    }
    line += turnTexts[static_cast<size_t>( step.turn )];
    return line + ( step.trouble.empty() ? "" : ": " + step.trouble );
}

std::string stepText( const Step &step, const Wiring &wiring ) {
    const std::string name = nameText( step );
    if ( step.transactions.empty() ) {
        return name + ( step.trouble.empty() ? ": 0 transactions\n" : "; 0 transactions\n" );
    }
    std::string lines = name + "\n";
    for ( size_t i = 0; i < step.transactions.size(); ++i ) {
        lines += transactionText( step.transactions[i], i + 1, wiring );
    }
    return lines + sumText( costOf( step.transactions ) );
}

std::string headingOf( const Entry &entry ) {
    std::string line = entry.name + "  " + HostTool::nameOf( entry.deviceClass );
    line += entry.driver.empty() ? "" : "  " + entry.driver;
    line += entry.did ? text( "  did %u", *entry.did ) : "";
    line += entry.bus.empty() ? "" : "  " + entry.bus + text( " 0x%02x", entry.address );
    return line + "\n";
}

} // namespace

std::string stepsAsText( const std::vector<DeviceSteps> &devices, const Wiring &wiring ) {
    std::string lines;
    for ( const DeviceSteps &device : devices ) {
        lines += ( lines.empty() ? "" : "\n" ) + headingOf( *device.entry );
        for ( const Step &each : device.steps ) {
            lines += stepText( each, wiring );
        }
    }
    return lines;
}

} // namespace HostTool::Explain
