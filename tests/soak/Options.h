#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>

namespace Soak {

/// How a run can be made to fail, to see that it does.
enum class Sabotage { None, Truth, Descriptor, Mapping, Memory };

struct Options {
    uint64_t transactions = 1'000'000; ///< the run ends with that many, unless polls are given
    uint64_t polls = 0;                ///< seconds of virtual time; 0: until the transactions
    bool simulation = false;
    uint64_t accesses = 200'000; ///< of simulated hardware
    uint64_t seed = 1;
    uint64_t faultsOneIn = 35; ///< turns
    Sabotage sabotage = Sabotage::None;
    std::string jsonFile; ///< empty: none
    std::string library;  ///< path of the library
    std::string server;   ///< path of kavra-smbusd
    std::string board;    ///< folder of the board's documents
    bool help = false;
};

/// A call that makes no sense.
class CallError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// @throw CallError
Options parseOptions( int count, char **words );
const char *helpText();

constexpr uint64_t secondsOfYear = 365 * 24 * 60 * 60;

} // namespace Soak
