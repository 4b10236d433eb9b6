#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace Utils {

/// The value of one register of a simulated device before anything is written to it.
class ExpectedVal {
  public:
    /// A number in a register of size bytes.
    ExpectedVal( uint32_t value, uint64_t size );
    /// A text of exactly size bytes.
    ExpectedVal( std::string text, uint64_t size );
    /// Copies the size and the kind, and of the two values only the one that holds.
    ExpectedVal( const ExpectedVal &other );
    ExpectedVal &operator=( const ExpectedVal &other );
    virtual ~ExpectedVal();

    uint32_t value() const { return value_; }
    const std::string &valStr() const { return valStr_; }
    uint64_t size() const { return size_; }
    bool isNumeric() const { return isNumeric_; }

  private:
    uint32_t value_ = 0;
    std::string valStr_;
    uint64_t size_;
    bool isNumeric_;
};

/// Register number to value: what a driver publishes.
using ExpectedValues = std::map<unsigned, ExpectedVal>;

} // namespace Utils
