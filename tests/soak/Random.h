#pragma once

#include <cstdint>
#include <random>

namespace Soak {

/// Everything that happens by chance, from one seed: a run can be had again.
class Random {
  public:
    explicit Random( uint64_t seed ) : engine_( seed ) {}

    /// 0 to limit - 1.
    uint64_t below( uint64_t limit ) { return engine_() % limit; }
    int between( int least, int most ) {
        return least + static_cast<int>( below( static_cast<uint64_t>( most - least ) + 1 ) );
    }
    /// True once in so many times.
    bool oneIn( uint64_t times ) { return below( times ) == 0; }

  private:
    std::mt19937_64 engine_;
};

} // namespace Soak
