#pragma once

#include "EmulatedBoard/Board.h"
#include "SmbusServer/EmulatedBackend.h"
#include "SmbusServer/MuxGuard.h"
#include "SmbusServer/Transaction.h"
#include "SmbusServer/Wiring.h"

#include <cstddef>
#include <memory>
#include <string>

/// An SMBus server for the real client in the same thread: it listens on a real socket, which
/// SMBUSD_SOCKET names, and performs what has come in whenever the client is about to receive. A
/// forked process has a board of its own, as the board was when it was forked.
class BoardServer {
  public:
    /// @param emulation path of the board's document.
    explicit BoardServer( const std::string &emulation );
    BoardServer( const BoardServer & ) = delete;
    BoardServer &operator=( const BoardServer & ) = delete;
    ~BoardServer();

    EmulatedBoard::Board &board() { return board_; }

    /// @return no emulated mux has a channel on.
    bool everyMuxIsClosed();

    /// A request that would have let go of a mux was refused in this process.
    bool hasRefusedADeselect() const { return refusing_.refusedDeselect; }

    /// One number for what all knobs of the board are.
    size_t digest() const;

    /// Descriptors that are the server's.
    bool owns( int fd ) const;

    /// To be called before forking: whoever accepts a connection is the only one who has it.
    void acceptAll();

    /// A forked process had the same connections and may have left something in them.
    /// @param client the other end, or -1.
    void forgetLeftovers( int client );

  private:
    // Refuses the request that is to fail, at every attempt.
    class Refusing : public SmbusServer::Backend {
      public:
        explicit Refusing( SmbusServer::Backend &below ) : below_( below ) {}

        std::vector<uint8_t> muxes; // addresses
        bool refusedDeselect = false;

        std::string begins( const Smbus::TransactionRequest &request ) override;
        SmbusServer::Cause perform( const SmbusServer::Operation &operation,
                                    std::string &read ) override;
        bool severalAccelerators( const SmbusServer::BusName &bus ) const override;

      private:
        SmbusServer::Backend &below_;
        int index_ = -1; // of the request in its batch
        bool refused_ = false;
    };

    static void answerAll();
    void serve( int &fd );

    static constexpr size_t mostConnections = 512;

    std::string folder_;
    int listener_;
    int connections_[mostConnections];
    size_t connectionCount_ = 0;
    std::unique_ptr<char[]> frame_;
    EmulatedBoard::Board board_;
    std::vector<std::string> muxKnobs_;
    SmbusServer::EmulatedBackend backend_{ board_ };
    Refusing refusing_{ backend_ };
    SmbusServer::PrivateWiring wiring_;
    SmbusServer::MuxGuard guard_{ refusing_, wiring_ };
    SmbusServer::Transaction transaction_{ guard_ };
    Smbus::TransactionRequest request_;
    Smbus::TransactionResponse response_;
};
