#include "SmbusServer/ReplayBackend.h"

#include "SmbusServer/EntryText.h"

#include <algorithm>
#include <limits>

namespace SmbusServer {

static std::string contentOf( Smbus::TransactionRequest batch ) {
    batch.clear_retries();
    return batch.SerializeAsString();
}

ReplayBackend::ReplayBackend( const std::string &path ) {
    RecordingReader reader( path );
    for ( Recording::Entry entry; reader.next( entry ); ) {
        answers_[contentOf( entry.request() )].entries.push_back( entries_.size() );
        entries_.push_back( std::move( entry ) );
        entry.Clear();
    }
    cutOff_ = reader.cutOff();
}

std::string ReplayBackend::begins( const Smbus::TransactionRequest &request ) {
    current_ = nullptr;
    const auto found = answers_.find( contentOf( request ) );
    if ( found == answers_.end() ) {
        return unknown( request );
    }
    Answers &answers = found->second;
    const Recording::Entry &entry = entries_[answers.entries[answers.next]];
    answers.next = std::min( answers.next + 1, answers.entries.size() - 1 );
    if ( entry.response().failed() ) {
        const std::string &error = entry.response().error();
        return error.empty() ? "failed in the recording, without a reason" : error;
    }
    current_ = &entry;
    return {};
}

void ReplayBackend::ends( const Smbus::TransactionRequest &, const Smbus::TransactionResponse & ) {
    current_ = nullptr;
}

Cause ReplayBackend::perform( const Operation &operation, std::string &read ) {
    // What comes between batches tells muxes to let go: there are none.
    read.assign( 1, '\0' );
    if ( operation.batch == nullptr ) {
        return Cause::None;
    }
    if ( current_ == nullptr || operation.index >= current_->response().response_size() ) {
        return Cause::NoAcknowledge; // the file lacks an answer
    }
    read = current_->response().response( operation.index ).data();
    return Cause::None;
}

static int difference( const Smbus::Request &a, const Smbus::Request &b ) {
    const Operation one = decode( a );
    const Operation other = decode( b );
    return ( one.bus != other.bus ? 4 : 0 ) + ( one.chip != other.chip ? 3 : 0 ) +
           ( one.type != other.type || one.length != other.length ? 1 : 0 ) +
           ( one.reg != other.reg || one.data != other.data || one.pec != other.pec ? 1 : 0 );
}

// Request by request; one that only one of the two has counts most.
static int difference( const Smbus::TransactionRequest &a, const Smbus::TransactionRequest &b ) {
    constexpr int missing = 10;
    const int common = std::min( a.request_size(), b.request_size() );
    int sum = missing * ( std::max( a.request_size(), b.request_size() ) - common );
    for ( int i = 0; i < common; ++i ) {
        sum += difference( a.request( i ), b.request( i ) );
    }
    return sum;
}

static std::string shortened( std::string text ) {
    constexpr size_t longest = 1000;
    return text.size() <= longest ? text : text.substr( 0, longest ) + " …";
}

std::string ReplayBackend::unknown( const Smbus::TransactionRequest &request ) const {
    size_t nearest = entries_.size();
    int least = std::numeric_limits<int>::max();
    for ( const auto &[content, answers] : answers_ ) {
        const size_t first = answers.entries.front();
        const int distance = difference( request, entries_[first].request() );
        if ( distance < least || ( distance == least && first < nearest ) ) {
            least = distance;
            nearest = first;
        }
    }
    const std::string text = "not in the recording: " + shortened( batchText( request ) );
    return entries_.empty() ? text + "; it is empty"
                            : text + "; the nearest there, entry " + std::to_string( nearest + 1 ) +
                                  ": " + shortened( batchText( entries_[nearest].request() ) );
}

} // namespace SmbusServer
