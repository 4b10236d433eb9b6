#include "KavraGeneric/Ham/ExpectedVal.h"

namespace Utils {

ExpectedVal::ExpectedVal( uint32_t value, uint64_t size )
    : value_( value ), size_( size ), isNumeric_( true ) {}

ExpectedVal::ExpectedVal( std::string text, uint64_t size )
    : valStr_( std::move( text ) ), size_( size ), isNumeric_( false ) {}

ExpectedVal::ExpectedVal( const ExpectedVal &other ) {
    *this = other;
}

ExpectedVal &ExpectedVal::operator=( const ExpectedVal &other ) {
    size_ = other.size_;
    isNumeric_ = other.isNumeric_;
    if ( isNumeric_ ) {
        value_ = other.value_;
    } else {
        valStr_ = other.valStr_;
    }
    return *this;
}

ExpectedVal::~ExpectedVal() = default;

} // namespace Utils
