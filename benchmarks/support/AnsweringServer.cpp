#include "benchmarks/support/AnsweringServer.h"

#include "KavraUtil/Smbus.pb.h"

#include <arpa/inet.h>
#include <cstdlib>
#include <cstring>
#include <sched.h>
#include <stdexcept>
#include <string_view>
#include <sys/prctl.h>
#include <sys/signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr char readPattern = 0x19;

void pinToOneCpu() {
    cpu_set_t cpus;
    CPU_ZERO( &cpus );
    CPU_SET( 0, &cpus );
    sched_setaffinity( 0, sizeof cpus, &cpus );
}

std::string answerTo( const std::string &frame ) {
    Smbus::TransactionRequest batch;
    if ( !batch.ParseFromArray( frame.data() + 4, static_cast<int>( frame.size() ) - 4 ) ) {
        throw std::runtime_error( "the batch is no message" );
    }
    Smbus::TransactionResponse answer;
    for ( const Smbus::Request &request : batch.request() ) {
        const bool reads = request.type() == Smbus::READ;
        const size_t length = request.length() == 0 && reads ? 1 : request.length();
        answer.add_response()->set_data( reads ? std::string( length, readPattern )
                                               : request.data() );
    }
    const std::string body = answer.SerializeAsString();
    const uint32_t length = htonl( static_cast<uint32_t>( body.size() ) );
    std::string reply( sizeof length, '\0' );
    memcpy( reply.data(), &length, sizeof length );
    return reply + body;
}

struct Known {
    std::string frame;
    std::string reply;
};

// Frames that come in turn are known by their places: what follows a known one is looked at first.
const std::string &replyTo( std::string_view frame, std::vector<Known> &known, size_t &place ) {
    constexpr size_t mostKnown = 16;
    for ( size_t i = 0; i < known.size(); ++i ) {
        place = place + 1 < known.size() ? place + 1 : 0;
        if ( known[place].frame == frame ) {
            return known[place].reply;
        }
    }
    if ( known.size() == mostKnown ) {
        known.clear();
    }
    place = known.size();
    known.push_back( { std::string( frame ), answerTo( std::string( frame ) ) } );
    return known.back().reply;
}

void serve( int client ) {
    std::string buffer( 1 << 20, '\0' );
    std::vector<Known> known;
    size_t place = 0;
    for ( ;; ) {
        const ssize_t got = recv( client, buffer.data(), buffer.size(), 0 );
        if ( got <= 0 ) {
            return;
        }
        const std::string &reply =
            replyTo( { buffer.data(), static_cast<size_t>( got ) }, known, place );
        send( client, reply.data(), reply.size(), MSG_NOSIGNAL );
    }
}

} // namespace

AnsweringServer::AnsweringServer() {
    pinToOneCpu();
    char folder[] = "/tmp/kavra-bench-XXXXXX";
    if ( !mkdtemp( folder ) ) {
        throw std::runtime_error( "no private folder" );
    }
    folder_ = folder;
    path_ = folder_ + "/smbusd.sock";
    sockaddr_un name{};
    name.sun_family = AF_UNIX;
    path_.copy( name.sun_path, sizeof name.sun_path - 1 );
    const int listener = socket( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0 );
    if ( bind( listener, reinterpret_cast<sockaddr *>( &name ), sizeof name ) != 0 ||
         listen( listener, 8 ) != 0 ) {
        throw std::runtime_error( "no socket at " + path_ );
    }
    setenv( "SMBUSD_SOCKET", path_.c_str(), 1 );
    child_ = fork();
    if ( child_ == 0 ) {
        prctl( PR_SET_PDEATHSIG, SIGKILL );
        for ( ;; ) {
            const int client = accept( listener, nullptr, nullptr );
            if ( fork() == 0 ) {
                prctl( PR_SET_PDEATHSIG, SIGKILL );
                serve( client );
                _exit( 0 );
            }
            close( client );
        }
    }
    close( listener );
}

AnsweringServer::~AnsweringServer() {
    kill( child_, SIGKILL );
    waitpid( child_, nullptr, 0 );
    unlink( path_.c_str() );
    rmdir( folder_.c_str() );
}
