#pragma once

#include <PlatformLibrary/pl.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace Soak {

struct Fault;

/// What a callback has to come to.
template <class Value>
struct Truth {
    pl_status status = PL_STATUS_OK;
    Value value = {}; ///< counts with PL_STATUS_OK alone
};

/// What an output holds before the call: no device reads as one of these.
template <class Value>
Value untouched() {
    return static_cast<Value>( 123 );
}
template <>
inline float untouched<float>() {
    return 54321.5F;
}
template <>
inline int untouched<int>() {
    return 1234567;
}

template <>
inline std::string untouched<std::string>() {
    return {};
}

/// Compares readings with the truth. Right is the true value or status; a failure that a fault
/// explains, with the output left alone; and nothing else.
class Judge {
  public:
    /// Readings are of this device from now on; the name must outlive them.
    /// @param fault what may go wrong in them; null: nothing.
    void turnsTo( std::string_view device, const Fault *fault );
    void timeIs( uint64_t seconds ) { seconds_ = seconds; }
    void seedIs( uint64_t seed ) { seed_ = seed; }

    /// @param disguise the status that this callback has for whatever fails below it.
    /// @return true when the callback came to its true status.
    template <class Value>
    bool check( const char *callback, pl_status status, const Value &got, const Truth<Value> &truth,
                pl_status disguise = PL_STATUS_OK ) {
        ++readings_;
        const bool isTrue = status == truth.status;
        const bool valueCounts = isTrue && status == PL_STATUS_OK;
        const bool valueRight = valueCounts ? got == truth.value : got == untouched<Value>();
        if ( !valueRight || ( !isTrue && !explained( status, disguise ) ) ) {
            wrong( callback, status, text( got ), truth.status, text( truth.value ) );
        }
        absences_ += isTrue && status != PL_STATUS_OK;
        return isTrue;
    }

    /// A callback without an output.
    /// @return true when it came to its true status.
    bool checkStatus( const char *callback, pl_status status, pl_status truth = PL_STATUS_OK );

    /// Calls a callback with one output and checks what comes.
    template <class Record, class Ops, class Value>
    bool read( const char *callback, Record *record, pl_status ( *Ops::*slot )( Record *, Value * ),
               const Truth<Value> &truth ) {
        Value value = untouched<Value>();
        const pl_status status = ( record->ops->*slot )( record, &value );
        return check( callback, status, value, truth );
    }

    /// A device has shown something that is not so.
    void wrong( const std::string &what );

    /// Failures since turnsTo() that a fault explains, if one was met.
    uint64_t failuresOfTurn() const { return failuresOfTurn_; }

    uint64_t readings() const { return readings_; }
    uint64_t absences() const { return absences_; }
    uint64_t faultFailures() const { return faultFailures_; }
    uint64_t wrongReadings() const { return wrongReadings_; }

  private:
    bool explained( pl_status status, pl_status disguise );
    void wrong( const char *callback, pl_status status, const std::string &got, pl_status truth,
                const std::string &value );

    static std::string text( const std::string &value );
    template <class Value>
    static std::string text( Value value ) {
        return std::to_string( value );
    }

    std::string_view device_;
    const Fault *fault_ = nullptr;
    uint64_t seconds_ = 0;
    uint64_t seed_ = 0;
    uint64_t failuresOfTurn_ = 0;
    uint64_t readings_ = 0;
    uint64_t absences_ = 0;
    uint64_t faultFailures_ = 0;
    uint64_t wrongReadings_ = 0;
};

} // namespace Soak
