#include "SmbusServer/Transaction.h"

#include "SmbusServer/FailureText.h"
#include "SmbusServer/Frame.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace SmbusServer {

// A value that this build's enums lack is kept by protobuf as an unknown field, and the field reads
// as absent: it must not pass for a read.
static bool isUnknown( const Smbus::Request &request ) {
    return ( !request.has_type() || !request.has_mastertype() ) &&
           !request.unknown_fields().empty();
}

static bool registerFits( const Operation &operation ) {
    return operation.registerWidth >= sizeof operation.reg ||
           operation.reg >> ( 8 * operation.registerWidth ) == 0;
}

static bool lengthFits( const Operation &operation ) {
    if ( operation.type == Smbus::PROCESS_CALL ) {
        return operation.length == 2 && operation.data.size() == 2;
    }
    return operation.data.size() == ( operation.isRead() ? 0 : operation.length );
}

static Cause check( const Smbus::Request &request, const Operation &operation ) {
    const uint32_t longest = operation.type == Smbus::BLOCK_WRITE ? Transaction::longestBlock
                                                                  : Transaction::longestTransfer;
    if ( isUnknown( request ) ) {
        return Cause::UnknownRequest;
    }
    if ( !registerFits( operation ) ) {
        return Cause::WideRegister;
    }
    if ( operation.length > longest ) {
        return Cause::TooLong;
    }
    return lengthFits( operation ) ? Cause::None : Cause::WrongLength;
}

Transaction::Transaction( Backend &backend ) : backend_( backend ) {}

inline Cause Transaction::attempt( const Operation &operation, uint32_t retries,
                                   std::string &read ) {
    Cause cause = backend_.perform( operation, read );
    for ( uint32_t retry = 0; retry < retries && mayPass( cause ); ++retry ) {
        cause = backend_.perform( operation, read );
    }
    return cause;
}

Cause Transaction::performOne( const Smbus::TransactionRequest &batch, int index, uint32_t retries,
                               Smbus::Response &answer ) {
    const Smbus::Request &request = batch.request( index );
    Operation operation = decode( request );
    operation.batch = &batch;
    operation.index = index;
    const Cause wrong = check( request, operation );
    if ( wrong != Cause::None ) {
        return wrong;
    }
    if ( operation.isRead() || operation.type == Smbus::PROCESS_CALL ) {
        return attempt( operation, retries, *answer.mutable_data() );
    }
    const Cause cause = attempt( operation, retries, unread_ );
    if ( cause == Cause::None && !operation.isSendByte() ) {
        answer.set_data( operation.data.data(), operation.data.size() );
    }
    return cause;
}

void Transaction::letGo( const Smbus::TransactionRequest &request, int first, uint32_t retries ) {
    int start = request.request_size();
    while ( start > first && decode( request.request( start - 1 ) ).isDeselect() ) {
        --start;
    }
    Smbus::Response dropped;
    for ( int i = start; i < request.request_size(); ++i ) {
        performOne( request, i, retries, dropped );
    }
}

static void failWith( Smbus::TransactionResponse &response, std::string error ) {
    response.set_failed( true );
    response.set_error( std::move( error ) );
}

// Fewer requests than this cannot bring more than a frame holds, whatever they read.
constexpr size_t mostFraming = 16;
constexpr int harmlessCount = largestPayload / ( Transaction::longestTransfer + mostFraming );

constexpr const char *answerTooLarge = "the answer is larger than a frame holds";

// What the reads of a batch will bring, as far as the batch tells: a block read may be empty.
static size_t leastAnswer( const Smbus::TransactionRequest &batch ) {
    size_t bytes = 0;
    if ( batch.request_size() >= harmlessCount ) {
        for ( const Smbus::Request &each : batch.request() ) {
            bytes += each.type() == Smbus::READ
                         ? std::min( each.length(), Transaction::longestTransfer )
                         : each.data().size();
        }
    }
    return bytes;
}

void Transaction::perform( const Smbus::TransactionRequest &request,
                           Smbus::TransactionResponse &response ) {
    response.Clear();
    std::string refusal = backend_.begins( request );
    if ( refusal.empty() ) {
        performAll( request, response );
    } else {
        failWith( response, std::move( refusal ) );
    }
    backend_.ends( request, response );
}

void Transaction::performAll( const Smbus::TransactionRequest &request,
                              Smbus::TransactionResponse &response ) {
    if ( leastAnswer( request ) > largestPayload ) {
        failWith( response, answerTooLarge );
        return;
    }
    const uint32_t retries =
        request.has_retries() ? std::min( request.retries(), largestRetries ) : defaultRetries;
    for ( int i = 0; i < request.request_size(); ++i ) {
        const Cause cause = performOne( request, i, retries, *response.add_response() );
        if ( cause == Cause::None ) {
            continue;
        }
        response.mutable_response()->RemoveLast();
        const BusName bus = decode( request.request( i ) ).bus;
        failWith( response, failureText( request, i, backend_.severalAccelerators( bus ), cause ) );
        letGo( request, i + 1, retries );
        return;
    }
    if ( request.request_size() >= harmlessCount && response.ByteSizeLong() > largestPayload ) {
        response.Clear();
        failWith( response, answerTooLarge );
    }
}

} // namespace SmbusServer
