#include "SmbusServer/FaultLayer.h"

#include <algorithm>

namespace SmbusServer {

FaultLayer::FaultLayer( Backend &below, FaultList &faults ) : below_( below ), faults_( faults ) {}

std::string FaultLayer::begins( const Smbus::TransactionRequest &request ) {
    return below_.begins( request );
}

void FaultLayer::ends( const Smbus::TransactionRequest &request,
                       const Smbus::TransactionResponse &response ) {
    below_.ends( request, response );
}

bool FaultLayer::severalAccelerators( const BusName &bus ) const {
    return below_.severalAccelerators( bus );
}

static Cause spoil( FaultKind kind, const Operation &operation, std::string &read ) {
    constexpr char idle = '\xff'; // what wires that nobody drives read as
    switch ( kind ) {
    case FaultKind::EmptyRead:
    case FaultKind::EmptyBlock:
        read.clear();
        break;
    case FaultKind::ShortRead:
    case FaultKind::ShortBlock:
        read.resize( read.empty() ? 0 : read.size() - 1 );
        break;
    case FaultKind::LongRead:
    case FaultKind::LongBlock:
        read += idle;
        break;
    case FaultKind::BadCount:
        return Cause::BadBlockCount;
    case FaultKind::Ones:
        std::ranges::fill( read, idle );
        // The count of a block is on the same wires.
        return operation.type == Smbus::BLOCK_READ ? Cause::BadBlockCount : Cause::None;
    default:
        break;
    }
    return Cause::None;
}

Cause FaultLayer::perform( const Operation &operation, std::string &read ) {
    if ( !faults_.any() ) {
        return below_.perform( operation, read );
    }
    const auto hit = faults_.meet( operation );
    if ( !hit ) {
        return below_.perform( operation, read );
    }
    switch ( hit->kind ) {
    case FaultKind::Nack:
    case FaultKind::NoRelease:
        return Cause::NoAcknowledge;
    case FaultKind::TimeOut:
    case FaultKind::Stuck:
        return Cause::TimedOut;
    case FaultKind::NoSelect:
        return Cause::None;
    default:
        break;
    }
    const Cause cause = below_.perform( operation, read );
    return cause == Cause::None ? spoil( hit->kind, operation, read ) : cause;
}

} // namespace SmbusServer
