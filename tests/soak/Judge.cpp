#include "tests/soak/Judge.h"

#include "tests/soak/Faults.h"

#include <cinttypes>
#include <cstdio>

namespace Soak {

constexpr uint64_t mostLines = 20;

void Judge::turnsTo( std::string_view device, const Fault *fault ) {
    device_ = device;
    fault_ = fault;
    failuresOfTurn_ = 0;
}

bool Judge::explained( pl_status status, pl_status disguise ) {
    if ( fault_ == nullptr || !fault_->explains( status, disguise ) ) {
        return false;
    }
    ++failuresOfTurn_;
    ++faultFailures_;
    return true;
}

std::string Judge::text( const std::string &value ) {
    std::string text = "'";
    for ( const char c : value ) {
        text += c >= ' ' && c <= '~' ? c : '?';
    }
    return text + "'";
}

bool Judge::checkStatus( const char *callback, pl_status status, pl_status truth ) {
    return check( callback, status, untouched<int>(), Truth<int>{ truth, untouched<int>() } );
}

void Judge::wrong( const std::string &what ) {
    ++wrongReadings_;
    if ( wrongReadings_ <= mostLines ) {
        fprintf( stderr, "soak: wrong reading: second %" PRIu64 ", seed %" PRIu64 ": %s: %s%s%s\n",
                 seconds_, seed_, std::string( device_ ).c_str(), what.c_str(), fault_ ? "; " : "",
                 fault_ ? fault_->line.c_str() : "" );
    }
}

void Judge::wrong( const char *callback, pl_status status, const std::string &got, pl_status truth,
                   const std::string &value ) {
    const std::string right =
        truth == PL_STATUS_OK ? value : "status " + std::to_string( truth ) + ", output untouched";
    wrong( std::string( callback ) + ": status " + std::to_string( status ) + ", output " + got +
           "; the truth is " + right );
}

} // namespace Soak
