#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Soak {

/// One connection to the server's control socket for a whole run. What is asked for has happened
/// when a call returns.
class ControlSocket {
  public:
    /// Throws std::runtime_error when nobody answers there.
    explicit ControlSocket( const std::string &path );
    ControlSocket( const ControlSocket & ) = delete;
    ControlSocket &operator=( const ControlSocket & ) = delete;
    ~ControlSocket();

    /// Sends all lines with one write.
    /// @return the data lines of all answers. Throws std::runtime_error over an answer "error: …"
    ///         and when the server is gone.
    std::string ask( const std::vector<std::string> &lines );
    std::string ask( const std::string &line ) { return ask( std::vector{ line } ); }

  private:
    std::string receiveAnswers( size_t count );

    int fd_;
    std::string input_;
};

} // namespace Soak
