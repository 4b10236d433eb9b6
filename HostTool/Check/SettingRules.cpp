#include "HostTool/Check/SettingRules.h"

#include "HostTool/Output/Nearest.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace HostTool::Check {

namespace {

constexpr int64_t byteMask = 0xff;

class SettingChecker {
  public:
    SettingChecker( const Arguments &arguments, const std::string &owner, Findings &findings )
        : arguments_( arguments ), owner_( owner ), findings_( findings ) {}

    void check( const Setting &setting ) {
        if ( setting.applies && !setting.applies( arguments_ ) ) {
            return;
        }
        const Value *value = arguments_.setting( setting.key );
        if ( !value ) {
            checkAbsence( setting );
        } else if ( setting.kind == Setting::Kind::number ) {
            checkNumber( setting, *value );
        } else if ( setting.kind == Setting::Kind::boolean ) {
            checkBoolean( setting, *value );
        }
    }

  private:
    void tell( RuleId rule, Spot spot, const std::string &text, std::string hint = {} ) {
        findings_.add( rule, *arguments_.document, spot, owner_ + text, std::move( hint ) );
    }

    void checkAbsence( const Setting &setting ) {
        if ( setting.need != Setting::Need::optional ) {
            tell( setting.need == Setting::Need::asserted ? RuleId::argumentMissing
                                                          : RuleId::argumentRefused,
                  arguments_.placeFor( setting.key ),
                  "setting \"" + std::string( setting.key ) + "\" is missing" );
        }
    }

    void checkNumber( const Setting &setting, const Value &value ) {
        const std::string key = "\"" + std::string( setting.key ) + "\"";
        const std::string text = settingText( value );
        const std::optional<TextNumber> number = numberOf( text );
        if ( !number || !number->fits ) {
            tell( RuleId::notANumber, at( value ),
                  key + " is " + shown( value ) + ", which the driver cannot read as a number" );
            return;
        }
        if ( !number->isWhole ) {
            const bool isHex =
                text.find( "0x" ) != std::string::npos || text.find( "0X" ) != std::string::npos;
            tell( isHex ? RuleId::hexNumber : RuleId::numberCutShort, at( value ),
                  key + " is " + shown( value ) + ", of which the driver reads " +
                      std::to_string( number->value ) );
        }
        checkRange( setting, value, number->value );
    }

    void checkRange( const Setting &setting, const Value &value, int64_t number ) {
        const int64_t kept = setting.isByte ? number & byteMask : number;
        const auto isInside = [&]( int64_t each ) {
            return each >= setting.low && each <= setting.high;
        };
        if ( isInside( number ) ) {
            return;
        }
        tell( ruleBeyond( setting, number, isInside( kept ) ), at( value ),
              "\"" + std::string( setting.key ) + "\" is " + std::to_string( number ) +
                  " and must be from " + std::to_string( setting.low ) + " to " +
                  std::to_string( setting.high ) );
    }

    static RuleId ruleBeyond( const Setting &setting, int64_t number, bool keptIsInside ) {
        switch ( setting.beyond ) {
        case Setting::Beyond::isAsserted:
            return keptIsInside ? RuleId::argumentWraps : RuleId::argumentRange;
        case Setting::Beyond::isNoBit:
            return RuleId::bitRange;
        case Setting::Beyond::isUseless:
            return number == 0 ? RuleId::fanMaximum : RuleId::argumentWraps;
        case Setting::Beyond::isWrapped:
            break;
        }
        return RuleId::argumentWraps;
    }

    void checkBoolean( const Setting &setting, const Value &value ) {
        const std::string text = settingText( value );
        if ( text != "true" && text != "false" ) {
            tell( RuleId::notABoolean, at( value ),
                  "\"" + std::string( setting.key ) + "\" is " + shown( value ) +
                      ", which the driver takes for false" );
        }
    }

    const Arguments &arguments_;
    const std::string &owner_;
    Findings &findings_;
};

// The numbered settings of a slot, whose count is open.
bool isNumbered( std::string_view key ) {
    return key.starts_with( "model_" ) || key.starts_with( "psuFdl_" );
}

} // namespace

std::optional<TextNumber> numberOf( const std::string &text ) {
    constexpr const char *blanks = " \t\n\v\f\r";
    size_t start = std::min( text.find_first_not_of( blanks ), text.size() );
    // The conversion takes a plus sign, from_chars() does not.
    if ( start + 1 < text.size() && text[start] == '+' && text[start + 1] != '-' ) {
        ++start;
    }
    const std::string digits = text.substr( start, text.find( '\0', start ) - start );
    int64_t value = 0;
    const char *end = digits.data() + digits.size();
    const auto parsed = std::from_chars( digits.data(), end, value );
    if ( parsed.ec == std::errc::invalid_argument ) {
        return std::nullopt;
    }
    const bool fits = parsed.ec == std::errc() && value >= std::numeric_limits<int32_t>::min() &&
                      value <= std::numeric_limits<int32_t>::max();
    return TextNumber{ value, parsed.ptr == end, fits };
}

void checkSettings( std::span<const Setting> settings, const Arguments &arguments,
                    const std::string &owner, Findings &findings ) {
    SettingChecker checker( arguments, owner, findings );
    for ( const Setting &setting : settings ) {
        checker.check( setting );
    }
}

void checkUnknownSettings( const DriverRow &driver, const Arguments &arguments,
                           const std::string &owner, Findings &findings ) {
    if ( !arguments.settings || arguments.settings->ObjectEmpty() ) {
        return;
    }
    const std::vector<std::string> known = knownSettings( driver );
    for ( const auto &each : arguments.settings->GetObject() ) {
        const std::string key( textOf( each.name ) );
        const bool isKnown = std::binary_search( known.begin(), known.end(), key ) ||
                             ( isNumbered( key ) && driver.name == std::string_view( "PsuSlot" ) );
        if ( !isKnown ) {
            const std::string meant = didYouMean( key, known );
            std::string text = owner + "driver " + driver.name;
            text += " has no setting \"" + key + "\"";
            findings.add( RuleId::argumentUnread, *arguments.document, atKeyOf( each.value ), text,
                          meant.empty() ? "" : meant.substr( 2 ) );
        }
    }
}

} // namespace HostTool::Check
