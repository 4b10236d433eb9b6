#pragma once

#include "Conformance/Answers.h"

#include <string>

namespace Conformance {

/// A number with as many digits as it needs.
std::string textOf( double value );

/// @throw Broken unless the answer is the value, give or take the tolerance.
void requireValue( const Answer &answer, double wanted, double tolerance );

/// The chip that the device's arguments name.
std::string chipOf( const Entry &entry );

/// "psu1" of "psu1-slot"; empty when the name ends in another way.
std::string withoutEnding( const std::string &name, const std::string &ending );

/// A number among the driver's arguments as text; empty when it is not there.
std::string numberOf( const Entry &entry, const char *key );

/// Counts the devices that had knobs. Without any, the check has seen nothing.
class Tried {
  public:
    explicit Tried( const char *what ) : what_( what ) {}
    void one() { ++count_; }
    /// A device that has knobs, and why it was not tried all the same.
    void passOver( const std::string &reason ) { reason_ = reason; }
    /// @throw Skipped when there was none.
    void requireAny() const;

  private:
    const char *what_;
    int count_ = 0;
    std::string reason_;
};

} // namespace Conformance
