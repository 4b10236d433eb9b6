#include "SmbusServer/Connection.h"

#include "SmbusServer/Log.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>
#include <utility>

namespace SmbusServer {

Connection::Connection( sd_event *loop, Descriptor descriptor, Listener &listener,
                        Transaction &transaction, Workspace &workspace )
    : listener_( listener ), transaction_( transaction ), workspace_( workspace ),
      stream_( loop, std::move( descriptor ), *this ) {
    logDetail( "%s: connected", stream_.name().c_str() );
}

// Also true of a frame that is too long: there is nothing to wait for.
static bool complete( std::string_view frame ) {
    if ( frame.size() < frameHeader ) {
        return false;
    }
    const size_t length = payloadLength( frame.data() );
    return length > largestPayload || frame.size() - frameHeader >= length;
}

// A request of two bytes on the wire takes a hundred in memory: what a frame holds is counted
// before it is taken apart, where the frame is long enough for the number to matter.
static bool tooManyRequests( std::string_view payload ) {
    constexpr size_t harmlessPayload = 64 * 1024;
    constexpr size_t mostRequests = 16 * 1024;
    if ( payload.size() <= harmlessPayload ) {
        return false;
    }
    using google::protobuf::internal::WireFormatLite;
    google::protobuf::io::CodedInputStream stream(
        reinterpret_cast<const uint8_t *>( payload.data() ), static_cast<int>( payload.size() ) );
    size_t count = 0;
    uint32_t tag = 0;
    while ( ( tag = stream.ReadTag() ) != 0 && WireFormatLite::SkipField( &stream, tag ) ) {
        ++count;
    }
    return count > mostRequests;
}

void Connection::readable() {
    const std::optional<size_t> count = stream_.receive( { workspace_.frame.get(), largestFrame } );
    if ( !count ) {
        return;
    }
    const std::string_view received( workspace_.frame.get(), *count );
    if ( received.empty() ) {
        broken();
    } else if ( partial_.empty() && complete( received ) ) {
        serve( received );
    } else {
        partial_ += received;
        if ( complete( partial_ ) ) {
            serve( std::exchange( partial_, {} ) );
        }
    }
}

void Connection::serve( std::string_view frame ) {
    const size_t length = payloadLength( frame.data() );
    const std::string_view payload = frame.substr( frameHeader );
    Smbus::TransactionRequest &request = workspace_.request;
    if ( length > largestPayload ) {
        refuse( "a frame above 1 MiB" );
        return;
    }
    if ( payload.size() > length ) {
        refuse( "a request before the answer to the last one" );
        return;
    }
    if ( tooManyRequests( payload ) ) {
        refuse( "a frame of too many requests" );
        return;
    }
    if ( !request.ParseFromArray( payload.data(), static_cast<int>( length ) ) ) {
        refuse( "a frame that is no request" );
        return;
    }
    transaction_.perform( request, workspace_.response );
    answer();
}

void Connection::answer() {
    const Smbus::TransactionResponse &response = workspace_.response;
    if ( response.failed() ) {
        logDetail( "%s: %s", stream_.name().c_str(), response.error().c_str() );
    }
    const size_t length = response.ByteSizeLong();
    char *frame = workspace_.frame.get();
    payloadLengthIs( frame, length );
    response.SerializeWithCachedSizesToArray( reinterpret_cast<uint8_t *>( frame + frameHeader ) );
    if ( !stream_.send( { frame, frameHeader + length } ) ) {
        broken();
    }
}

void Connection::refuse( const char *reason ) {
    logEvent( "%s: closed after %s", stream_.name().c_str(), reason );
    listener_.ended( *this );
}

void Connection::broken() {
    logDetail( "%s: %s", stream_.name().c_str(),
               partial_.empty() ? "gone" : "gone in the middle of a frame" );
    listener_.ended( *this );
}

} // namespace SmbusServer
