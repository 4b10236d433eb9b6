#pragma once

#include "SmbusServer/ControlCommands.h"
#include "SmbusServer/Listener.h"
#include "SmbusServer/Stream.h"

#include <string>

namespace SmbusServer {

/// One client of the control socket: a line in, an answer out, until it hangs up.
class ControlConnection : public Session, private Stream::Owner {
  public:
    static constexpr size_t longestLine = 4096;

    /// All but the descriptor must outlive the connection.
    ControlConnection( sd_event *loop, Descriptor descriptor, Listener &listener,
                       const World &world );

  private:
    void readable() override;
    void flushed() override;
    void broken() override;

    void answerLines();

    Listener &listener_;
    const World &world_;
    std::string input_; // without whole lines, unless an answer waits to be taken
    bool inputEnded_ = false;
    Stream stream_;
};

} // namespace SmbusServer
