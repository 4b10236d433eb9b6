#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace Fuzz {

/// An input, taken from front to back. Behind its end everything is 0 or empty.
class Bytes {
  public:
    explicit Bytes( std::string_view input ) : left_( input ) {}

    bool empty() const { return left_.empty(); }

    uint8_t byte() {
        const std::string_view one = take( 1 );
        return one.empty() ? uint8_t{ 0 } : static_cast<uint8_t>( one.front() );
    }
    /// Low byte first.
    uint16_t word() {
        const uint8_t low = byte();
        return static_cast<uint16_t>( byte() << 8 | low );
    }
    /// At most so many.
    std::string_view take( size_t count ) {
        const std::string_view taken = left_.substr( 0, count );
        left_.remove_prefix( taken.size() );
        return taken;
    }
    /// Exactly so many, filled up with 0.
    std::string filled( size_t count ) {
        std::string bytes( take( count ) );
        bytes.resize( count );
        return bytes;
    }
    /// Up to the separator, which is taken as well; everything when there is none.
    std::string_view upTo( std::string_view separator ) {
        const size_t end = left_.find( separator );
        const std::string_view part = take( std::min( end, left_.size() ) );
        take( separator.size() );
        return part;
    }
    std::string_view rest() { return take( left_.size() ); }

  private:
    std::string_view left_;
};

} // namespace Fuzz
