#pragma once

#include "tests/support/BoardProcess.h"

#include <array>
#include <atomic>
#include <cstddef>
#include <string>
#include <sys/types.h>

/// The server's own code in a child process that dies by SIGKILL at the moment that a test chooses:
/// after so many bytes of a request or of a response, or beside one of its bus requests. The board
/// lives on: its muxes stay as the server left them, and which writes have reached it is told.
///
/// SMBUSD_SOCKET names its socket as long as the object lives. The program that uses it exports its
/// symbols: it puts its own recv() and send() in place of the usual ones.
class DyingServer {
  public:
    enum class Moment { Never, Received, Sent, BeforeOperation, AfterOperation };

    /// The board: an LM75 at 0x48 behind channel 0 of a mux at 0x70 and channel 3 of one at 0x71,
    /// on bus 3 of a plain I2C master, and another at the same address behind channel 0 of a mux at
    /// 0x72. The server knows of the two muxes in front. Nothing runs before start().
    DyingServer();
    DyingServer( const DyingServer & ) = delete;
    DyingServer &operator=( const DyingServer & ) = delete;
    ~DyingServer();

    /// Starts a server, which answers from now on.
    /// @param at bytes received or sent, or number of the operation, the first being 1, of this
    ///           server's life.
    void start( Moment moment = Moment::Never, size_t at = 0 );
    /// Waits for the end of a server that is to die. @return whether SIGKILL was its end.
    bool hasDied();
    void stop();

    /// How often a register of the sensor has been written, by all servers so far.
    unsigned writes( unsigned reg ) const { return shared_->writes.at( reg ); }
    void forgetWrites();
    /// The requests that the present server has made on the bus.
    size_t operations() const { return shared_->operations; }
    /// The control register of "outer", "inner" or "other".
    std::string channels( const std::string &mux ) { return board_.get( mux + ".control" ); }
    /// What the present server has received and sent.
    size_t received() const { return shared_->received; }
    size_t sent() const { return shared_->sent; }

    struct Shared {
        std::array<std::atomic<unsigned>, 256> writes;
        std::atomic<size_t> received;
        std::atomic<size_t> sent;
        std::atomic<size_t> operations;
    };

  private:
    BoardProcess board_;
    std::string folder_;
    std::string path_;
    Shared *shared_; // with the child
    pid_t pid_ = -1;
};
