#pragma once

#include "Conformance/Subject.h"

#include <string>
#include <vector>

namespace Conformance {

/// What one callback answered that reads something.
struct Answer {
    std::string operation; ///< "inlet: getTemperature"
    pl_status status;
    bool isWritten; ///< the output argument has another value than before the call
    double value;   ///< of that argument; 0 for a text
    std::string text;
};

/// Calls every callback of a device that reads, but for those of raw chips and of the system, and
/// but for null slots: what is null is an operation that the class does not have. A text is copied
/// and given back with free().
std::vector<Answer> read( const Device &device );
/// The first of them. @throw Skipped when there is none
Answer readOne( const Device &device );

/// A library may poll what it was asked about: each device is asked, and then given the time for a
/// poll.
void settle( const std::vector<Device> &devices );

/// A float or an int as read(), for one slot. @throw Skipped when the slot is null
template <class Value, class Record>
Answer ask( const Device &device, const char *operation, pl_status ( *slot )( Record *, Value * ) );

/// The answer's value. @throw Broken unless its status is PL_STATUS_OK
double valueOf( const Answer &answer );

/// "inlet: getTemperature: status 6".
std::string statusText( const Answer &answer );

extern template Answer ask( const Device &, const char *,
                            pl_status ( * )( pl_temp_sensor *, float * ) );
extern template Answer ask( const Device &, const char *, pl_status ( * )( pl_psu *, float * ) );
extern template Answer ask( const Device &, const char *, pl_status ( * )( pl_psu *, int * ) );
extern template Answer ask( const Device &, const char *, pl_status ( * )( pl_fan *, int * ) );
extern template Answer ask( const Device &, const char *, pl_status ( * )( pl_xcvr *, int * ) );
extern template Answer ask( const Device &, const char *,
                            pl_status ( * )( pl_gpio *, unsigned * ) );

/// The answer of a slot for removable parts; its text is the part's description.
/// @throw Skipped when the operation is null
Answer askSlot( const Device &device );

bool hasPresence( const Device &cage );
/// The presence of a cage as an answer without an output. @throw Skipped when the operation is null
Answer askCage( const Device &device );

} // namespace Conformance
