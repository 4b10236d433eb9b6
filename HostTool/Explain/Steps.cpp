#include "HostTool/Explain/Steps.h"

#include <algorithm>
#include <iterator>

namespace HostTool::Explain {

namespace {

constexpr const char *kindNames[] = { "init", "add", "reading", "poll", "order" };
constexpr const char *turnNames[] = { "every", "first", "further" };

bool askTheSame( const std::vector<Transaction> &some, const std::vector<Transaction> &others ) {
    return std::equal( some.begin(), some.end(), others.begin(), others.end(),
                       []( const Transaction &one, const Transaction &other ) {
                           return std::equal( one.requests.begin(), one.requests.end(),
                                              other.requests.begin(), other.requests.end(),
                                              []( const Request &a, const Request &b ) {
                                                  return a.asksTheSame( b );
                                              } );
                       } );
}

} // namespace

const char *nameOf( StepKind kind ) {
    return kindNames[static_cast<size_t>( kind )];
}

const char *nameOf( Turn turn ) {
    return turnNames[static_cast<size_t>( turn )];
}

void attribute( std::vector<Transaction> recorded, std::vector<DeviceSteps> &devices ) {
    const auto isBefore = []( const Transaction &each, uint64_t offset ) {
        return each.offset < offset;
    };
    for ( DeviceSteps &device : devices ) {
        for ( Step &step : device.steps ) {
            const auto first =
                std::lower_bound( recorded.begin(), recorded.end(), step.from, isBefore );
            const auto last = std::lower_bound( first, recorded.end(), step.to, isBefore );
            step.transactions.assign( std::make_move_iterator( first ),
                                      std::make_move_iterator( last ) );
        }
    }
}

void uniteTurns( std::vector<Step> &steps ) {
    for ( auto first = steps.begin(); first != steps.end(); ++first ) {
        if ( first->turn != Turn::first ) {
            continue;
        }
        const auto further = std::find_if( first + 1, steps.end(), [&]( const Step &each ) {
            return each.turn == Turn::further && each.name == first->name;
        } );
        if ( further != steps.end() && askTheSame( first->transactions, further->transactions ) ) {
            first->turn = Turn::every;
            steps.erase( further );
        }
    }
}

} // namespace HostTool::Explain
