#include "SmbusServer/Transaction.h"

#include "SmbusServer/FailureText.h"
#include "SmbusServer/Frame.h"

#include <algorithm>
#include <cstddef>

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

Cause Transaction::attempt( const Operation &operation, uint32_t retries, std::string &read ) {
    Cause cause = backend_.perform( operation, read );
    for ( uint32_t retry = 0; retry < retries && mayPass( cause ); ++retry ) {
        cause = backend_.perform( operation, read );
    }
    return cause;
}

Cause Transaction::performOne( const Smbus::Request &request, uint32_t retries,
                               Smbus::Response &answer ) {
    const Operation operation = decode( request );
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
    const auto isDeselect = []( const Smbus::Request &each ) {
        const Operation operation = decode( each );
        return operation.isSendByte() && operation.reg == 0;
    };
    int start = request.request_size();
    while ( start > first && isDeselect( request.request( start - 1 ) ) ) {
        --start;
    }
    Smbus::Response dropped;
    for ( int i = start; i < request.request_size(); ++i ) {
        performOne( request.request( i ), retries, dropped );
    }
}

static void failWith( Smbus::TransactionResponse &response, std::string error ) {
    response.set_failed( true );
    response.set_error( std::move( error ) );
}

void Transaction::perform( const Smbus::TransactionRequest &request,
                           Smbus::TransactionResponse &response ) {
    response.Clear();
    const uint32_t retries =
        request.has_retries() ? std::min( request.retries(), largestRetries ) : defaultRetries;
    for ( int i = 0; i < request.request_size(); ++i ) {
        const Cause cause = performOne( request.request( i ), retries, *response.add_response() );
        if ( cause == Cause::None ) {
            continue;
        }
        response.mutable_response()->RemoveLast();
        const BusName bus = decode( request.request( i ) ).bus;
        failWith( response, failureText( request, i, backend_.severalAccelerators( bus ), cause ) );
        letGo( request, i + 1, retries );
        return;
    }
    if ( response.ByteSizeLong() > largestPayload ) {
        response.Clear();
        failWith( response, "the answer is larger than a frame holds" );
    }
}

} // namespace SmbusServer
