#include "HostTool/Metrics/Metrics.h"

#include "HostTool/Host/HostServices.h"
#include "HostTool/Metrics/Collector.h"
#include "HostTool/Metrics/HttpServer.h"
#include "HostTool/Metrics/TextFile.h"
#include "HostTool/Output/Print.h"
#include "HostTool/Output/WholeFile.h"

#include <systemd/sd-event.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <optional>

namespace HostTool {

const char *const metricsHelp =
    R"(Adds every entry of devices.json, or those named, reads them and prints what they
read as Prometheus has it. Nothing stands for a value that failed, is absent or
was never read; what failed says so, with its status. A line on stderr says why,
when it begins and when it is over.

With --textfile it is a file for the node exporter, with --listen an answer to
GET /metrics, for which the board is read each time. Both go on until SIGTERM, a
text file only with --every, and wait while there is no server.

Exit code 0 whatever was read, 3 when there was no server; what is exposed then
is kavra_server_up 0.

Examples:
  kavractl metrics
  kavractl metrics --textfile /var/lib/prometheus/node-exporter/kavra.prom
  kavractl metrics --textfile kavra.prom --every 15
  kavractl metrics --listen 127.0.0.1:9877
  kavractl metrics --listen unix:/run/kavra-metrics.sock
)";

namespace Metrics {

namespace {

constexpr uint64_t microsecondsPerSecond = 1'000'000;

void checkOptions( const Options &options ) {
    const auto refuse = []( const char *text ) { throw Failure( ExitCode::badInput, text ); };
    if ( options.json ) {
        refuse( "metrics has Prometheus' format and no JSON; kavractl show --json has" );
    }
    if ( !options.textFile.empty() && !options.listen.empty() ) {
        refuse( "--textfile and --listen are two ways out; start kavractl metrics once for each" );
    }
    if ( options.everyIsGiven && options.textFile.empty() ) {
        refuse( "--every goes with --textfile: what is asked for over --listen is read when it is "
                "asked for" );
    }
    if ( options.seconds && options.listen.empty() && !options.everyIsGiven ) {
        refuse( "--for goes with --listen, or with --textfile and --every" );
    }
    if ( !options.textFile.empty() ) {
        checkTextFileName( options.textFile );
    }
}

ExitCode exitCodeOf( const Collector::Result &result ) {
    return result.noServer.empty() ? ExitCode::fine : ExitCode::unreachable;
}

ExitCode once( Run &run, Collector &collector, const std::optional<WholeFile> &file ) {
    ExitCode code = ExitCode::fine;
    collector.collect( [&]( const Collector::Result &result ) {
        code = exitCodeOf( result );
        if ( file ) {
            file->write( result.text );
        } else {
            print( result.text );
        }
        run.stop();
    } );
    run.untilStopped();
    return code;
}

/// Writes the file again and again.
class FileWriter {
  public:
    FileWriter( Run &run, Collector &collector, const WholeFile &file, int everySeconds )
        : run_( run ), collector_( collector ), file_( file ),
          period_( static_cast<uint64_t>( everySeconds ) * microsecondsPerSecond ) {
        const auto onTime = []( sd_event_source *, uint64_t, void *self ) {
            auto *writer = static_cast<FileWriter *>( self );
            writer->run_.guard( [=] { writer->isDue(); } );
            return 0;
        };
        checkLoop( sd_event_add_time_relative( HostServices::get().loop(), &timer_, CLOCK_MONOTONIC,
                                               0, 1, onTime, this ) );
    }
    ~FileWriter() { sd_event_source_disable_unref( timer_ ); }
    FileWriter( const FileWriter & ) = delete;
    FileWriter &operator=( const FileWriter & ) = delete;

  private:
    void isDue() {
        checkLoop( sd_event_source_set_time_relative( timer_, period_ ) );
        checkLoop( sd_event_source_set_enabled( timer_, SD_EVENT_ONESHOT ) );
        // A reading that takes longer than the period is not asked for twice.
        if ( !isCollecting_ ) {
            isCollecting_ = true;
            collector_.collect(
                [this]( const Collector::Result &result ) { write( result.text ); } );
        }
    }

    /// A file that cannot be written at first is a mistake in the call. Later it may pass, as a
    /// full disk does, and the age of the file tells who reads it.
    void write( const std::string &text ) {
        isCollecting_ = false;
        try {
            file_.write( text );
            hasWritten_ = true;
            complaint_.clear();
        } catch ( const Failure &failure ) {
            if ( !hasWritten_ ) {
                throw;
            }
            if ( complaint_ != failure.what() ) {
                complaint_ = failure.what();
                fprintf( stderr, "kavractl: %s\n", failure.what() );
            }
        }
    }

    Run &run_;
    Collector &collector_;
    const WholeFile &file_;
    uint64_t period_;
    sd_event_source *timer_ = nullptr;
    bool isCollecting_ = false;
    bool hasWritten_ = false;
    std::string complaint_;
};

} // namespace

} // namespace Metrics

ExitCode runMetrics( Task &task ) {
    using namespace Metrics;
    const Options &options = task.options;
    checkOptions( options );
    std::unique_ptr<Listener> listener;
    if ( !options.listen.empty() ) {
        // A client that goes while it is answered ends nothing but itself.
        signal( SIGPIPE, SIG_IGN );
        listener = std::make_unique<Listener>( options.listen );
    }
    std::optional<WholeFile> file;
    if ( !options.textFile.empty() ) {
        file.emplace( options.textFile );
    }
    Run run;
    Collector collector( run, task );
    if ( !listener && !options.everyIsGiven ) {
        return once( run, collector, file );
    }
    run.stopsOnSignals();
    if ( options.seconds ) {
        run.stopsAfter( *options.seconds );
    }
    if ( listener ) {
        const HttpServer server( run, collector, *listener );
        fprintf( stderr, "kavractl: listening on %s\n", listener->name().c_str() );
        run.untilStopped();
    } else {
        const FileWriter writer( run, collector, *file, options.every );
        run.untilStopped();
    }
    return ExitCode::fine;
}

} // namespace HostTool
