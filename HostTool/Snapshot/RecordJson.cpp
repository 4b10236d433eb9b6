#include "HostTool/Snapshot/RecordJson.h"

#include <array>
#include <charconv>
#include <cmath>

namespace HostTool::Snapshot {

void writeNumber( JsonWriter &writer, double value ) {
    // Whole numbers without an exponent.
    constexpr double exact = 1e15;
    if ( std::trunc( value ) == value && std::abs( value ) < exact ) {
        writer.Int64( static_cast<int64_t>( value ) );
        return;
    }
    std::array<char, 64> digits;
    const char *end = std::to_chars( digits.begin(), digits.end(), value ).ptr;
    writer.RawValue( digits.data(), static_cast<size_t>( end - digits.data() ),
                     rapidjson::kNumberType );
}

namespace {

struct ValueJson {
    JsonWriter &writer;
    void operator()( std::monostate ) const { writer.Null(); }
    void operator()( bool value ) const { writer.Bool( value ); }
    void operator()( double value ) const { writeNumber( writer, value ); }
    void operator()( const std::string &value ) const { writeText( writer, value ); }
};

} // namespace

void writeValue( JsonWriter &writer, const Record::Value &value ) {
    std::visit( ValueJson{ writer }, value );
}

} // namespace HostTool::Snapshot
