#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <string_view>
#include <sys/types.h>
#include <thread>
#include <vector>

/// The real kavra-smbusd, on an emulated board, in a temporary folder of its own that goes when the
/// object goes. SMBUSD_SOCKET names its socket as long as the object lives, for this process and
/// for the programs that it starts.
///
///     ServerProcess server;                       // boards/VundaT/emulation.json, ready to answer
///     server.control( "set inlet.temperature 31.5" );
///     server.restart();
///     EXPECT_EQ( 0, server.stop() );
///
/// start() and restart() throw std::runtime_error with what the server wrote when it does not come
/// up. No call waits longer than 20 s.
class ServerProcess {
  public:
    /// Starts the server and returns when it is listening.
    /// @param board path of the emulation document; empty: the one of boards/VundaT.
    /// @param arguments put behind --socket, --control and --board; --replay and --i2c-dev take
    ///                  the place of the board.
    /// @param program to run in place of the installed one.
    explicit ServerProcess( std::string board = {}, std::vector<std::string> arguments = {},
                            std::string program = {} );
    ServerProcess( const ServerProcess & ) = delete;
    ServerProcess &operator=( const ServerProcess & ) = delete;
    /// Stops the server, removes the folder and puts SMBUSD_SOCKET back.
    ~ServerProcess();

    /// Starts the server again on the same paths; it must be stopped.
    void start();
    /// SIGTERM. @return the exit code, or minus the signal that ended it; 0 if it was not running.
    int stop();
    /// SIGKILL: the socket files stay behind.
    void kill();
    /// stop() and start().
    void restart();
    /// Sends any signal, for example SIGSTOP.
    void signal( int number );
    bool running() const { return pid_ > 0; }
    pid_t pid() const { return pid_; }

    const std::string &folder() const { return folder_; }
    const std::string &socketPath() const { return socketPath_; }
    const std::string &controlPath() const { return controlPath_; }

    /// Sends one line to the control socket and returns the answer's lines without the last line
    /// end, for example "31.5\nok" or "error: …". "error: " and a reason when there is no server.
    std::string control( std::string_view line );

    /// What all servers started so far have written to stderr.
    std::string log();
    /// Waits until the log has the text. @return false if 20 s did not bring it.
    bool waitForLog( std::string_view text );
    void forgetLog();

  private:
    void readLog( int fd );
    int collect();
    bool waitForLogBehind( size_t start, std::string_view text );
    void cleanUp();

    std::string board_;
    std::vector<std::string> arguments_;
    std::string program_;
    std::string folder_;
    std::string socketPath_;
    std::string controlPath_;
    std::string oldSocket_; // the SMBUSD_SOCKET of before; empty: there was none
    pid_t pid_ = -1;
    // Whether SIGSTOP holds it. A SIGCONT that is not needed does harm: it takes away the SIGSTOP
    // by which the leak checker holds an ending process, and the checker waits for ever.
    bool stopped_ = false;
    std::thread reader_;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::string log_;
    bool logEnded_ = false;
};
