#include "SmbusServer/Connection.h"

#include "SmbusServer/AnswerWriter.h"
#include "SmbusServer/BatchParser.h"
#include "SmbusServer/Log.h"

#include <google/protobuf/io/coded_stream.h>
#include <google/protobuf/wire_format_lite.h>
#include <utility>

namespace SmbusServer {

Connection::Connection( sd_event *loop, Descriptor descriptor, Listener &listener,
                        Performer &performer, Workspace &workspace )
    : listener_( listener ), performer_( performer ), workspace_( workspace ),
      stream_( loop, std::move( descriptor ), *this ) {
    logDetail( "%s: connected", stream_.name().c_str() );
}

Connection::~Connection() {
    if ( waiting_ ) {
        performer_.forget( *this );
    }
    if ( inBacklog_ ) {
        workspace_.backlog.forget( *this );
    }
}

// Also true of a frame that is too long: there is nothing to wait for.
static bool complete( std::string_view frame ) {
    if ( frame.size() < frameHeader ) {
        return false;
    }
    const size_t length = payloadLength( frame.data() );
    return length > largestPayload || frame.size() - frameHeader >= length;
}

// A field of two bytes on the wire takes up to a hundred in memory: what a frame holds is counted
// before it is taken apart, where the frame is long enough for the number to matter. The begin and
// the end of a group count as fields.
constexpr size_t harmlessPayload = 64 * 1024;
constexpr size_t mostRequests = 16 * 1024;
constexpr size_t mostFields = 8 * mostRequests;

struct Count {
    size_t requests = 0;
    size_t fields = 0;
};

static void countFields( google::protobuf::io::CodedInputStream &stream, bool inRequest,
                         Count &count ) {
    using google::protobuf::internal::WireFormatLite;
    uint32_t tag = 0;
    while ( ( tag = stream.ReadTag() ) != 0 && ++count.fields <= mostFields ) {
        const WireFormatLite::WireType type = WireFormatLite::GetTagWireType( tag );
        int length = 0;
        if ( type == WireFormatLite::WIRETYPE_START_GROUP ||
             type == WireFormatLite::WIRETYPE_END_GROUP ) {
            continue;
        }
        if ( inRequest || type != WireFormatLite::WIRETYPE_LENGTH_DELIMITED ) {
            if ( !WireFormatLite::SkipField( &stream, tag ) ) {
                return;
            }
            continue;
        }
        if ( !stream.ReadVarintSizeAsInt( &length ) ) {
            return;
        }
        ++count.requests;
        const auto end = stream.PushLimit( length );
        countFields( stream, true, count );
        stream.Skip( stream.BytesUntilLimit() );
        stream.PopLimit( end );
    }
}

static bool tooManyRequests( std::string_view payload ) {
    if ( payload.size() <= harmlessPayload ) {
        return false;
    }
    google::protobuf::io::CodedInputStream stream(
        reinterpret_cast<const uint8_t *>( payload.data() ), static_cast<int>( payload.size() ) );
    Count count;
    countFields( stream, false, count );
    return count.requests > mostRequests || count.fields > mostFields;
}

// While a batch is left to be performed nothing is read; what comes then is the end.
void Connection::readable() {
    if ( waiting_ ) {
        broken();
        return;
    }
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
        } else {
            tellBacklog();
        }
    }
}

void Connection::serve( std::string_view frame ) {
    const size_t length = payloadLength( frame.data() );
    const std::string_view payload = frame.substr( frameHeader );
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
    workspace_.passed( length );
    if ( !parseBatch( payload, workspace_.request ) ) {
        refuse( "a frame that is no request" );
        return;
    }
    if ( performer_.perform( workspace_.request, workspace_.response, *this ) ) {
        answer( workspace_.response );
    } else {
        waiting_ = true;
        stream_.receivingIs( false );
    }
}

void Connection::performed( const Smbus::TransactionResponse &response ) {
    waiting_ = false;
    stream_.receivingIs( true );
    answer( response );
}

void Connection::hangUp( bool afterNextAnswer ) {
    leaving_ = true;
    if ( !afterNextAnswer ) {
        broken();
    }
}

void Connection::answer( const Smbus::TransactionResponse &response ) {
    if ( response.failed() ) {
        logClientEvent( stream_.pid(), "%s: %s", stream_.name().c_str(), response.error().c_str() );
    }
    const AnswerWriter writer( response );
    const size_t length = writer.size();
    char *frame = workspace_.frame.get();
    payloadLengthIs( frame, length );
    writer.write( frame + frameHeader );
    workspace_.passed( length );
    // A client that has its answer may send the next batch before the connection is closed: it must
    // notice, or it would wait for an answer to a batch that nobody performs.
    if ( leaving_ ) {
        stream_.refusesMore();
    }
    if ( !stream_.send( { frame, frameHeader + length } ) ) {
        broken();
        return;
    }
    const bool taken = !stream_.waiting();
    if ( taken && leaving_ ) {
        broken();
        return;
    }
    tellBacklog();
    if ( taken ) {
        listener_.idle( *this );
    }
}

void Connection::flushed() {
    if ( leaving_ ) {
        broken();
        return;
    }
    tellBacklog();
    listener_.idle( *this );
}

// Most batches neither arrive in parts nor are answered in parts: nothing is kept then or before.
// The last act of whoever calls, unless nothing is kept.
void Connection::tellBacklog() {
    const size_t bytes = partial_.capacity() + stream_.unsentBytes();
    const bool keeps = !partial_.empty() || stream_.waiting();
    if ( keeps || inBacklog_ ) {
        inBacklog_ = keeps;
        workspace_.backlog.holds( *this, keeps ? bytes : 0 );
    }
}

void Connection::evict() {
    inBacklog_ = false;
    refuse( partial_.empty() ? "not taking its answer while memory is short"
                             : "not ending its frame while memory is short" );
}

void Connection::refuse( const char *reason ) {
    logClientEvent( stream_.pid(), "%s: closed after %s", stream_.name().c_str(), reason );
    listener_.ended( *this );
}

void Connection::broken() {
    logDetail( "%s: %s", stream_.name().c_str(),
               partial_.empty() ? "gone" : "gone in the middle of a frame" );
    listener_.ended( *this );
}

} // namespace SmbusServer
