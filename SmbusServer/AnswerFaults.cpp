#include "SmbusServer/AnswerFaults.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <stdexcept>
#include <utility>

namespace SmbusServer {

static void entriesAre( Smbus::TransactionResponse &response, uint32_t count ) {
    const int wanted = static_cast<int>( count );
    while ( response.response_size() > wanted ) {
        response.mutable_response()->RemoveLast();
    }
    while ( response.response_size() < wanted ) {
        response.add_response();
    }
}

static void fail( Smbus::TransactionResponse &response, const std::string &text ) {
    response.Clear();
    response.set_failed( true );
    if ( !text.empty() ) {
        response.set_error( text );
    }
}

AnswerFaults::AnswerFaults( sd_event *loop, Performer &below, FaultList &faults )
    : loop_( loop ), below_( below ), faults_( faults ) {}

bool AnswerFaults::perform( Smbus::TransactionRequest &request,
                            Smbus::TransactionResponse &response, Client &client ) {
    auto pending = spare_ ? std::move( spare_ ) : std::make_unique<Pending>( *this );
    pending->client = &client;
    if ( !below_.perform( request, response, *pending ) ) {
        pending_.push_back( std::move( pending ) );
        return false;
    }
    if ( spoil( *pending, response ) ) {
        pending_.push_back( std::move( pending ) );
        return false;
    }
    spare_ = std::move( pending );
    return true;
}

void AnswerFaults::Pending::performed( const Smbus::TransactionResponse &answer ) {
    response = answer;
    if ( !owner.spoil( *this, response ) ) {
        owner.deliver( *this );
    }
}

void AnswerFaults::Pending::hangUp( bool afterNextAnswer ) {
    client->hangUp( afterNextAnswer );
}

// @return true: the answer is held back.
bool AnswerFaults::spoil( Pending &pending, Smbus::TransactionResponse &answer ) {
    const auto hit = faults_.meetAnswer();
    if ( !hit ) {
        return false;
    }
    switch ( hit->kind ) {
    case FaultKind::Responses:
        entriesAre( answer, hit->value );
        return false;
    case FaultKind::Fail:
        fail( answer, hit->text );
        return false;
    case FaultKind::HangUpAfter:
        pending.client->hangUp( true );
        return false;
    case FaultKind::HangUp:
        pending.dropped = true;
        break;
    default:
        break;
    }
    if ( &answer != &pending.response ) {
        pending.response = answer;
    }
    // Also a hang-up waits for the event loop: the client does not know yet that it has to wait.
    startTimer( pending, std::chrono::milliseconds( hit->value ) );
    return true;
}

void AnswerFaults::startTimer( Pending &pending, std::chrono::microseconds delay ) {
    sd_event_source *timer = nullptr;
    const int result = sd_event_add_time_relative(
        loop_, &timer, CLOCK_MONOTONIC, static_cast<uint64_t>( delay.count() ), 1, due, &pending );
    if ( result < 0 ) {
        throw std::runtime_error( std::string( "no timer for an answer: " ) + strerror( -result ) );
    }
    pending.timer.reset( timer );
}

int AnswerFaults::due( sd_event_source *, uint64_t, void *userdata ) {
    auto *pending = static_cast<Pending *>( userdata );
    pending->owner.deliver( *pending );
    return 0;
}

// The client may be gone when its calls return.
void AnswerFaults::deliver( Pending &pending ) {
    const auto own = std::ranges::find( pending_, &pending, &std::unique_ptr<Pending>::get );
    const std::unique_ptr<Pending> last = std::move( *own );
    pending_.erase( own );
    if ( last->dropped ) {
        last->client->hangUp( false );
    } else {
        last->client->performed( last->response );
    }
}

void AnswerFaults::forget( Client &client ) {
    const auto own =
        std::ranges::find( pending_, &client, []( const auto &each ) { return each->client; } );
    if ( own == pending_.end() ) {
        return;
    }
    if ( !( *own )->timer ) {
        below_.forget( **own );
    }
    pending_.erase( own );
}

void AnswerFaults::finish() {
    below_.finish();
    std::erase_if( pending_, []( const auto &each ) { return !each->timer; } ); // never begun
    while ( !pending_.empty() ) {
        deliver( *pending_.front() );
    }
}

} // namespace SmbusServer
