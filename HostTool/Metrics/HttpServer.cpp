#include "HostTool/Metrics/HttpServer.h"

#include "HostTool/Host/HostServices.h"

#include <microhttpd.h>
#include <systemd/sd-event.h>

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <sys/epoll.h>
#include <utility>

namespace HostTool::Metrics {

namespace {

constexpr const char *contentType = "text/plain; version=0.0.4; charset=utf-8";
constexpr unsigned mostConnections = 32;
constexpr unsigned silentSeconds = 10;
constexpr size_t requestBytes = 16 * 1024; // of one connection: its head and its answer's
constexpr uint64_t microsecondsPerMillisecond = 1000;

struct Answer {
    unsigned status;
    std::string text;
};

const Answer notHere = { MHD_HTTP_NOT_FOUND, "Not found: the metrics are at /metrics.\n" };
const Answer notThisMethod = { MHD_HTTP_METHOD_NOT_ALLOWED,
                               "Method not allowed: the metrics are read by GET or HEAD.\n" };
const Answer ending = { MHD_HTTP_SERVICE_UNAVAILABLE, "kavractl ends.\n" };

MHD_Result send( MHD_Connection *connection, const Answer &answer ) {
    MHD_Response *response = MHD_create_response_from_buffer(
        answer.text.size(), const_cast<char *>( answer.text.data() ), MHD_RESPMEM_MUST_COPY );
    if ( !response ) {
        return MHD_NO;
    }
    const bool isMetrics = answer.status == MHD_HTTP_OK;
    MHD_add_response_header( response, MHD_HTTP_HEADER_CONTENT_TYPE,
                             isMetrics ? contentType : "text/plain; charset=utf-8" );
    if ( answer.status == MHD_HTTP_METHOD_NOT_ALLOWED ) {
        MHD_add_response_header( response, MHD_HTTP_HEADER_ALLOW, "GET, HEAD" );
    }
    const MHD_Result result = MHD_queue_response( connection, answer.status, response );
    MHD_destroy_response( response );
    return result;
}

} // namespace

/// A request for the metrics. The collector and the daemon may let go of it in either order.
struct HttpServer::Request {
    MHD_Connection *connection; ///< null when it has ended
    std::optional<Answer> answer;
};

struct HttpServer::Callbacks {
    using Handle = std::shared_ptr<Request>;

    static MHD_Result access( void *self, MHD_Connection *connection, const char *url,
                              const char *method, const char *, const char *, size_t *,
                              void **request ) {
        if ( *request ) {
            const Handle &handle = *static_cast<Handle *>( *request );
            return handle->answer ? send( connection, *handle->answer ) : MHD_YES;
        }
        if ( strcmp( method, MHD_HTTP_METHOD_GET ) != 0 &&
             strcmp( method, MHD_HTTP_METHOD_HEAD ) != 0 ) {
            return send( connection, notThisMethod );
        }
        if ( strcmp( url, "/metrics" ) != 0 ) {
            return send( connection, notHere );
        }
        auto *server = static_cast<HttpServer *>( self );
        auto handle = std::make_unique<Handle>( std::make_shared<Request>() );
        ( *handle )->connection = connection;
        MHD_suspend_connection( connection );
        server->collect( *handle );
        *request = handle.release();
        return MHD_YES;
    }

    static void completed( void *, MHD_Connection *, void **request, MHD_RequestTerminationCode ) {
        const std::unique_ptr<Handle> handle( static_cast<Handle *>( *request ) );
        if ( handle ) {
            ( *handle )->connection = nullptr;
        }
        *request = nullptr;
    }
};

HttpServer::HttpServer( Run &run, Collector &collector, const Listener &listener )
    : run_( run ), collector_( collector ) {
    // The daemon closes the socket that it was given.
    const int fd = fcntl( listener.fd(), F_DUPFD_CLOEXEC, 0 );
    daemon_ = MHD_start_daemon(
        MHD_USE_EPOLL | MHD_ALLOW_SUSPEND_RESUME, 0, nullptr, nullptr, &Callbacks::access, this,
        MHD_OPTION_LISTEN_SOCKET, fd, MHD_OPTION_NOTIFY_COMPLETED, &Callbacks::completed, this,
        MHD_OPTION_CONNECTION_LIMIT, mostConnections, MHD_OPTION_CONNECTION_TIMEOUT, silentSeconds,
        MHD_OPTION_CONNECTION_MEMORY_LIMIT, requestBytes, MHD_OPTION_END );
    if ( !daemon_ ) {
        throw Failure( ExitCode::badInput, "the metrics cannot be served on " + listener.name() );
    }
    const auto onActivity = []( sd_event_source *, int, uint32_t, void *self ) {
        auto *server = static_cast<HttpServer *>( self );
        server->run_.guard( [=] { server->work(); } );
        return 0;
    };
    const auto onDeadline = []( sd_event_source *, uint64_t, void *self ) {
        auto *server = static_cast<HttpServer *>( self );
        server->run_.guard( [=] { server->work(); } );
        return 0;
    };
    sd_event *loop = HostServices::get().loop();
    const MHD_DaemonInfo *info = MHD_get_daemon_info( daemon_, MHD_DAEMON_INFO_EPOLL_FD );
    checkLoop( sd_event_add_io( loop, &activity_, info->epoll_fd, EPOLLIN, onActivity, this ) );
    checkLoop(
        sd_event_add_time( loop, &deadline_, CLOCK_MONOTONIC, UINT64_MAX, 1, onDeadline, this ) );
    work();
}

HttpServer::~HttpServer() {
    // The daemon may not be stopped while a connection is held.
    for ( const std::shared_ptr<Request> &request : collecting_ ) {
        if ( request->connection ) {
            request->answer = ending;
            MHD_resume_connection( request->connection );
        }
    }
    MHD_run( daemon_ );
    sd_event_source_disable_unref( activity_ );
    sd_event_source_disable_unref( deadline_ );
    MHD_stop_daemon( daemon_ );
}

void HttpServer::work() {
    MHD_run( daemon_ );
    MHD_UNSIGNED_LONG_LONG milliseconds = 0;
    if ( MHD_get_timeout( daemon_, &milliseconds ) == MHD_YES ) {
        checkLoop( sd_event_source_set_time_relative( deadline_,
                                                      milliseconds * microsecondsPerMillisecond ) );
        checkLoop( sd_event_source_set_enabled( deadline_, SD_EVENT_ONESHOT ) );
    } else {
        checkLoop( sd_event_source_set_enabled( deadline_, SD_EVENT_OFF ) );
    }
}

void HttpServer::collect( const std::shared_ptr<Request> &request ) {
    collecting_.push_back( request );
    collector_.collect( [this, request]( const Collector::Result &result ) {
        std::erase( collecting_, request );
        if ( request->connection ) {
            request->answer = Answer{ MHD_HTTP_OK, result.text };
            MHD_resume_connection( request->connection );
            work();
        }
    } );
}

} // namespace HostTool::Metrics
