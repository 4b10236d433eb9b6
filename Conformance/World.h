#pragma once

#include "HostTool/Explain/Program.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace Conformance {

/// The world around the emulated board, and what of it the controllers see: the control socket of a
/// server. Knobs are named as that server lists them.
class World {
  public:
    explicit World( std::string controlPath ) : controlPath_( std::move( controlPath ) ) {}

    /// The value of a knob without its unit; nothing when there is no such knob.
    /// @throw ServerGone when the server does not answer
    std::optional<std::string> get( const std::string &knob ) const;
    std::optional<double> number( const std::string &knob ) const;
    /// Sets a knob, or sends any other command. @throw Skipped when the emulated board does not
    /// take it, ServerGone when the server does not answer
    void set( const std::string &knob, const std::string &value ) const;
    void command( const std::string &line ) const;
    /// False from the first command on.
    bool isAsDocumented() const { return isAsDocumented_; }

  private:
    std::string ask( const std::string &line ) const;

    std::string controlPath_;
    mutable bool isAsDocumented_ = true;
};

/// A kavra-smbusd of this program's own, on an emulated board, in a folder of its own. Both go with
/// the object, and so does what that program has started.
class BoardServer {
  public:
    /// @param program path; a name without a slash: beside this program or in $PATH; empty:
    ///        kavra-smbusd
    /// @param emulation path of the emulated board's document
    BoardServer( std::string program, std::string emulation );
    ~BoardServer();
    BoardServer( const BoardServer & ) = delete;
    BoardServer &operator=( const BoardServer & ) = delete;

    /// A server in the state that the document describes.
    /// @throw HostTool::Failure (unreachable) when it cannot be started, (badInput) when the
    ///        document is wrong
    void startAfresh();
    /// Whether it takes connections.
    bool answers() const;

    std::string socketPath() const { return folder_ + "/s"; }
    std::string controlPath() const { return folder_ + "/s.ctl"; }

  private:
    bool comesUp();
    [[noreturn]] void giveUp();
    void stop();

    std::string program_;
    std::string emulation_;
    std::string folder_;
    std::unique_ptr<HostTool::Explain::Program> server_;
};

} // namespace Conformance
