#pragma once

#include "SmbusServer/Backend.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <sys/types.h>

/// An emulated board in a process of its own, so that its chips stay as they are when a server
/// dies. Whoever connects to its socket sends it operations one at a time: the board is the wires.
///
///     BoardProcess board( document );
///     board.hang( 0x48 );                        // whoever speaks to that chip waits
///     ...
///     board.waitForHang();                       // somebody does
///     EXPECT_EQ( "0x01", board.get( "mux.control" ) );
///     board.release();
///
/// Make it before there are threads: it forks.
class BoardProcess {
  public:
    /// @param document as docs/formats/emulation.md describes it.
    explicit BoardProcess( const std::string &document );
    BoardProcess( const BoardProcess & ) = delete;
    BoardProcess &operator=( const BoardProcess & ) = delete;
    /// The board is gone.
    ~BoardProcess();

    /// Where it listens, in a folder that goes with the object.
    const std::string &path() const { return path_; }

    /// A knob's value, or "error: …".
    std::string get( const std::string &knob );
    void set( const std::string &knob, const std::string &value );
    /// Operations with the chip are held back from now on, until release().
    void hang( uint8_t chip );
    /// Returns when an operation is held back.
    void waitForHang();
    void release();

  private:
    std::string ask( const std::string &message );

    std::string folder_;
    std::string path_;
    pid_t pid_;
    int fd_ = -1;
};

/// The board at the other end of such a socket as a back end.
class RemoteBoard : public SmbusServer::Backend {
  public:
    /// Throws std::runtime_error when there is no board.
    explicit RemoteBoard( const std::string &path );
    RemoteBoard( const RemoteBoard & ) = delete;
    RemoteBoard &operator=( const RemoteBoard & ) = delete;
    ~RemoteBoard() override;

    SmbusServer::Cause perform( const SmbusServer::Operation &operation,
                                std::string &read ) override;
    bool severalAccelerators( const SmbusServer::BusName & ) const override { return false; }

    /// @param fd connected to a board.
    static SmbusServer::Cause performOn( int fd, const SmbusServer::Operation &operation,
                                         std::string &read );
    /// @param flags SOCK_CLOEXEC or 0. @return the descriptor, or -1 with errno.
    static int connectTo( std::string_view path, int flags );

  private:
    int fd_;
};
