#include "HostTool/Explain/BusTime.h"

#include <algorithm>
#include <iterator>

namespace HostTool::Explain {

namespace {

constexpr unsigned bitsOfAByte = 9; // with its acknowledge

/// How a transfer is made up: S address [register] [count] [data written] [Sr address] [count]
/// [data read] [packet error code] P.
struct Transfer {
    Operation operation;
    unsigned starts; ///< each with an address behind it
    bool hasRegister;
    bool hasCount;
    enum class Data { none, one, length, both, answer } data;
};
constexpr Transfer transfers[] = {
    { Operation::receiveByte, 1, false, false, Transfer::Data::one },
    { Operation::sendByte, 1, true, false, Transfer::Data::none },
    { Operation::read, 2, true, false, Transfer::Data::length },
    { Operation::write, 1, true, false, Transfer::Data::length },
    { Operation::processCall, 2, true, false, Transfer::Data::both },
    { Operation::blockRead, 2, true, true, Transfer::Data::answer },
    { Operation::blockWrite, 1, true, true, Transfer::Data::length },
};

const Transfer &transferOf( Operation operation ) {
    return *std::find_if( std::begin( transfers ), std::end( transfers ),
                          [=]( const Transfer &each ) { return each.operation == operation; } );
}

uint64_t dataBytes( const Request &request, Transfer::Data data ) {
    switch ( data ) {
    case Transfer::Data::none:
        break;
    case Transfer::Data::one:
        return 1;
    case Transfer::Data::length:
        return request.length;
    case Transfer::Data::both:
        return uint64_t{ 2 } * request.length;
    case Transfer::Data::answer:
        return request.read.size();
    }
    return 0;
}

void addTransfer( WireCost &cost, uint64_t starts, uint64_t bytes ) {
    constexpr uint64_t stop = 1;
    cost.bytes += bytes;
    cost.bits += starts + bytes * bitsOfAByte + stop;
}

} // namespace

WireCost &WireCost::operator+=( const WireCost &other ) {
    transactions += other.transactions;
    requests += other.requests;
    bytes += other.bytes;
    bits += other.bits;
    return *this;
}

WireCost costOf( const Request &request ) {
    WireCost cost;
    for ( unsigned i = 0; i < request.failedAttempts; ++i ) {
        addTransfer( cost, 1, 1 );
    }
    if ( request.outcome == Outcome::done ) {
        const Transfer &transfer = transferOf( request.operation );
        addTransfer( cost, transfer.starts,
                     transfer.starts + ( transfer.hasRegister ? request.registerBytes : 0 ) +
                         ( transfer.hasCount ? 1 : 0 ) + dataBytes( request, transfer.data ) +
                         ( request.pec ? 1 : 0 ) );
    }
    cost.requests = cost.bits > 0 ? 1 : 0;
    return cost;
}

WireCost costOf( const Transaction &transaction ) {
    WireCost cost;
    for ( const Request &each : transaction.requests ) {
        cost += costOf( each );
    }
    cost.transactions = 1;
    return cost;
}

WireCost costOf( const std::vector<Transaction> &transactions ) {
    WireCost cost;
    for ( const Transaction &each : transactions ) {
        cost += costOf( each );
    }
    return cost;
}

} // namespace HostTool::Explain
