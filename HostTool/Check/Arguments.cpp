#include "HostTool/Check/Arguments.h"

#include <array>
#include <charconv>

namespace HostTool::Check {

namespace {

constexpr uint32_t sevenBits = 0x7f;
constexpr uint32_t noComponent = UINT32_MAX;

bool isTrue( const Value *value ) {
    return value && value->IsTrue();
}

} // namespace

std::optional<Arguments> Arguments::from( const JsonFile &document, const Value &json ) {
    const auto did = numberIn( json, "did" );
    const Value *driver = member( json, "driver" );
    if ( !did || !driver || !( driver->IsString() || driver->IsNull() ) ) {
        return std::nullopt;
    }
    Arguments arguments{ &document, &json, {}, *did, {}, false, true, 0, 0, nullptr };
    if ( driver->IsString() ) {
        arguments.driver = { driver->GetString(), driver->GetStringLength() };
    }
    arguments.isMultiple = isTrue( member( json, "isMultiDevice" ) );
    if ( const Value *address = member( json, "address" ); address && !arguments.isMultiple ) {
        arguments.address =
            static_cast<uint8_t>( numberIn( *address, "address" ).value_or( 0 ) & sevenBits );
        arguments.accelerator =
            static_cast<uint8_t>( numberIn( *address, "accel" ).value_or( 0 ) & sevenBits );
    }
    arguments.providesHam = numberIn( json, "provideHam" ).value_or( 1 ) != 0;
    if ( const auto uid = numberIn( json, "uid" ); uid && *uid != noComponent ) {
        arguments.uid = uid;
    }
    if ( const Value *settings = member( json, "driverArgs" ); settings && settings->IsObject() ) {
        arguments.settings = settings;
    }
    return arguments;
}

bool Arguments::saysAddress() const {
    const Value *value = member( *json, "address" );
    return value && numberIn( *value, "address" ).has_value();
}

const Value *Arguments::setting( std::string_view key ) const {
    return settings ? lastMember( *settings, key ) : nullptr;
}

// Six significant digits, the shorter of fixed and scientific form; and nothing for integers beyond
// 32 bits.
std::string settingText( const Value &value ) {
    if ( value.IsInt() ) {
        return std::to_string( value.GetInt() );
    }
    if ( value.IsUint() ) {
        return std::to_string( value.GetUint() );
    }
    if ( value.IsString() ) {
        return { value.GetString(), value.GetStringLength() };
    }
    if ( value.IsDouble() ) {
        std::array<char, 32> text;
        constexpr int digits = 6;
        const auto end = std::to_chars( text.data(), text.data() + text.size(), value.GetDouble(),
                                        std::chars_format::general, digits );
        return { text.data(), end.ptr };
    }
    if ( value.IsBool() ) {
        return value.GetBool() ? "true" : "false";
    }
    return {};
}

} // namespace HostTool::Check
