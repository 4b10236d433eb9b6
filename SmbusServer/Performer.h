#pragma once

#include "KavraUtil/Smbus.pb.h"
#include "SmbusServer/Transaction.h"

namespace SmbusServer {

/// Performs the batches of all clients.
class Performer {
  public:
    /// Who waits for an answer.
    class Client {
      public:
        /// The answer to the batch that was left to be performed. Called from the event loop.
        virtual void performed( const Smbus::TransactionResponse &response ) = 0;
        /// The client is to be hung up on: now, in place of an answer, and from the event loop;
        /// or behind its next answer.
        virtual void hangUp( bool afterNextAnswer ) = 0;

      protected:
        ~Client() = default;
    };

    virtual ~Performer() = default;

    /// @param request untouched when the batch is done; otherwise its content may be taken away.
    /// @return true: done, `response` is the answer. False: `client` hears of it later; one batch
    ///         of a client at a time.
    virtual bool perform( Smbus::TransactionRequest &request, Smbus::TransactionResponse &response,
                          Client &client ) = 0;
    /// A client that waits is gone. Its batch ends all the same if it has begun.
    virtual void forget( Client &client ) = 0;
    /// Ends the batches that have begun and hands out their answers. To be called when no event
    /// loop runs any more; a batch that has not begun never begins.
    virtual void finish() = 0;
};

/// Performs each batch at once, for back ends that take no time.
class DirectPerformer : public Performer {
  public:
    /// @param backend must outlive the object.
    explicit DirectPerformer( Backend &backend ) : transaction_( backend ) {}

    bool perform( Smbus::TransactionRequest &request, Smbus::TransactionResponse &response,
                  Client & ) override {
        transaction_.perform( request, response );
        return true;
    }
    void forget( Client & ) override {}
    void finish() override {}

  private:
    Transaction transaction_;
};

} // namespace SmbusServer
