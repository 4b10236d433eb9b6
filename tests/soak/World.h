#pragma once

#include "tests/soak/ControlSocket.h"

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace Soak {

/// The world around the emulated board, as this program has made it: the knobs that it has turned.
class World {
  public:
    explicit World( const std::string &controlPath ) : control_( controlPath ) {}

    /// Turns a knob with the next send().
    void set( const std::string &knob, const std::string &value );
    void setNumber( const std::string &knob, double value );
    void setSwitch( const std::string &knob, bool value ) { set( knob, value ? "1" : "0" ); }
    /// Turns them with one write, and returns when they are turned.
    void send();

    /// The value of a knob.
    std::string get( const std::string &knob );
    std::string ask( const std::vector<std::string> &lines ) { return control_.ask( lines ); }

    /// Compares every knob that was turned with what the server says.
    /// @return those that are another; empty when the board is as this program made it.
    std::string differences();

    uint64_t turns() const { return turns_; }

  private:
    ControlSocket control_;
    std::vector<std::string> queued_;
    std::map<std::string, std::string> turned_;
    uint64_t turns_ = 0;
};

} // namespace Soak
