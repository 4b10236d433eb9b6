#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

/// kavractl while it runs, with its stderr to look at.
///
///     MetricsProcess metrics( { "metrics", "--listen", "127.0.0.1:0" }, environment );
///     EXPECT_THAT( metrics.ask( "GET /metrics HTTP/1.0\r\n\r\n" ), HasSubstr( "200 OK" ) );
///     EXPECT_EQ( 0, metrics.terminate() );
///
/// Nothing is waited for longer than 20 s. The process ends with the object.
class MetricsProcess {
  public:
    MetricsProcess( const std::vector<std::string> &arguments,
                    const std::vector<std::string> &environment );
    ~MetricsProcess();
    MetricsProcess( const MetricsProcess & ) = delete;
    MetricsProcess &operator=( const MetricsProcess & ) = delete;

    /// Reads stderr until the text comes that was not waited for before. @return false if it never
    /// does
    bool waitFor( const std::string &text );
    const std::string &log() const { return log_; }

    /// Sends a request to where it listens and reads the answer to its end.
    std::string ask( const std::string &request );
    /// Only connects. @return the descriptor, the caller's to close
    int connect();

    /// SIGTERM. @return the exit code, or minus the signal that ended it
    int terminate();
    /// Waits for the end that comes by itself.
    int wait();

  private:
    bool readMore();

    pid_t pid_ = -1;
    int err_ = -1;
    std::string log_;
    size_t seen_ = 0; ///< of the log
};

/// Reads to the end, or for 20 s without a byte.
std::string readAll( int fd );
