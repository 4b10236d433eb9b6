#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <filesystem>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/// An SMBus server at the wire, for tests of what talks to one. It listens in a private folder and
/// points SMBUSD_SOCKET there while it lives. A fixture derives from it and speaks its words:
///
///     class LM75Test : public testing::Test, protected FakeSmbusServer {};
///
///     answer( { ok, ok, bytes( 0x19 ), ok, ok } );
///     ...
///     EXPECT_EQ( "70=01 | 71=08 | 48[00]x1 | 71=00 | 70=00", lastBatch() );
///
/// Each scripted reaction is for one batch, in the order in which they were queued. A batch without
/// one is answered as a healthy board would: a write with the bytes written (a send byte with
/// none), a read with as many zeros as it asked for, a block read with an empty text.
class FakeSmbusServer {
  public:
    /// One entry of an answer.
    struct Reply {
        std::optional<std::string> data;
    };

    /// What a healthy board answers to the request at this place.
    static inline const Reply ok{ std::nullopt };

    template <typename... Byte>
    static Reply bytes( Byte... values ) {
        return { std::string{ static_cast<char>( values )... } };
    }

    static Reply text( std::string_view data ) { return { std::string( data ) }; }

    FakeSmbusServer();
    ~FakeSmbusServer();
    FakeSmbusServer( const FakeSmbusServer & ) = delete;
    FakeSmbusServer &operator=( const FakeSmbusServer & ) = delete;

    // Reactions to one batch each.

    /// As many entries as are given, whatever was asked.
    void answer( std::vector<Reply> replies );
    /// A message built by the test.
    void answer( const Smbus::TransactionResponse &response );
    void answerFailed( std::string_view text );
    void answerFailedWithoutText();
    /// So many entries, whatever was asked.
    void answerCount( int count );
    /// Hangs up once the batch was received.
    void dropReply();
    /// Never answers; the connection stays open.
    void stayQuiet();
    /// The first bytes of the healthy answer's frame, then hangs up.
    void shortReply( std::size_t count );
    /// These bytes in place of a frame; the connection stays open.
    void rawReply( std::string_view bytes );
    /// The healthy answer's frame, a byte at a time.
    void trickleReply( std::chrono::milliseconds pause );

    // The process.

    /// Ends at once, as a crash would: connections are closed, the socket file stays behind.
    void killServer();
    /// Listens again at the same place, after killServer() or in place of a running server. What
    /// was recorded and what is still queued stay.
    void restartServer();

    // What it received, since it was made.

    std::vector<std::string> batches() const;
    /// The last batch as describe() writes it; empty when there was none.
    std::string lastBatch() const;
    std::vector<Smbus::TransactionRequest> requests() const;
    Smbus::TransactionRequest lastRequest() const;
    /// The bytes of the last frame, its length included.
    std::string lastFrame() const;
    /// Connections accepted so far.
    int connectionCount() const;
    /// Waits until so many batches came. @return false when they did not within 10 s.
    bool waitForBatches( std::size_t count ) const;

    /// Forgets what was received and what is queued.
    void forget();

    const std::filesystem::path &folder() const { return folder_; }
    const std::filesystem::path &socketPath() const { return socket_; }

  private:
    struct Connection;
    /// What to do with a batch on a connection; false hangs up.
    using Reaction = std::function<bool( Connection &, const Smbus::TransactionRequest & )>;

    void queue( Reaction reaction );
    void start();
    void stop();
    void serve();
    bool receive( Connection &connection );
    bool react( Connection &connection, std::string_view frame );
    bool stoppedWithin( std::chrono::milliseconds time ) const;

    std::filesystem::path folder_;
    std::filesystem::path socket_;
    std::optional<std::string> environmentBefore_;
    int listener_ = -1;
    int wake_ = -1; // an eventfd: readable once the thread is to end
    std::thread thread_;

    mutable std::mutex mutex_; // guards what follows
    mutable std::condition_variable received_;
    std::deque<Reaction> reactions_;
    std::vector<Smbus::TransactionRequest> requests_;
    std::string lastFrame_;
    int connectionCount_ = 0;
};
