#pragma once

#include "SmbusServer/EventLoop.h"
#include "SmbusServer/FaultList.h"
#include "SmbusServer/Performer.h"

#include <chrono>
#include <list>
#include <memory>

namespace SmbusServer {

/// Lets answers go wrong that another performer gives.
class AnswerFaults : public Performer {
  public:
    /// All must outlive the object.
    AnswerFaults( sd_event *loop, Performer &below, FaultList &faults );

    bool perform( Smbus::TransactionRequest &request, Smbus::TransactionResponse &response,
                  Client &client ) override;
    void forget( Client &client ) override;
    void finish() override;

  private:
    /// A batch on its way: below, or with its answer held back.
    class Pending final : public Client {
      public:
        explicit Pending( AnswerFaults &faults ) : owner( faults ) {}
        void performed( const Smbus::TransactionResponse &answer ) override;
        void hangUp( bool afterNextAnswer ) override;

        AnswerFaults &owner;
        Client *client = nullptr;
        Smbus::TransactionResponse response;
        bool dropped = false; ///< hang up in place of the answer
        EventSource timer;    ///< runs while the answer is held back
    };

    static int due( sd_event_source *source, uint64_t now, void *pending );
    bool spoil( Pending &pending, Smbus::TransactionResponse &answer );
    void startTimer( Pending &pending, std::chrono::microseconds delay );
    void deliver( Pending &pending );

    sd_event *loop_;
    Performer &below_;
    FaultList &faults_;
    std::list<std::unique_ptr<Pending>> pending_;
    std::unique_ptr<Pending> spare_; // so that a batch allocates none
};

} // namespace SmbusServer
