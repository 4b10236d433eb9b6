#include "HostTool/Check/SlotRules.h"

#include "HostTool/Output/Nearest.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <set>
#include <vector>

namespace HostTool::Check {

namespace {

constexpr std::string_view placeholder = "{serialNum}";
constexpr const char *types[] = { "pmbus", "ipmi", "ipmitool", "ipmitool_raw", "wedge", "tlv" };

// What the shell hands on as it stands, in words of their own.
bool isPlain( char c ) {
    return ( c >= '0' && c <= '9' ) || ( c >= 'a' && c <= 'z' ) || ( c >= 'A' && c <= 'Z' ) ||
           std::string_view( "_-+.,:/@%=" ).find( c ) != std::string_view::npos;
}

class SlotChecker {
  public:
    SlotChecker( const Arguments &arguments, const std::string &owner, Findings &findings )
        : arguments_( arguments ), owner_( owner ), findings_( findings ) {}

    void check() {
        checkType();
        if ( type_ == "ipmitool" ) {
            checkCommandPart( "ipmiId", RuleId::commandIncomplete );
        } else if ( type_ == "ipmitool_raw" ) {
            for ( const char *key : { "ipmiId", "ipmiRawModel", "ipmiRawSerialNumber" } ) {
                checkCommandPart( key, RuleId::argumentMissing );
            }
        }
        checkModels();
    }

  private:
    void tell( RuleId rule, Spot spot, const std::string &text, std::string hint = {} ) {
        findings_.add( rule, *arguments_.document, spot, owner_ + text, std::move( hint ) );
    }

    void checkType() {
        const Value *type = arguments_.setting( "identificationType" );
        type_ = type ? settingText( *type ) : "";
        if ( std::find( std::begin( types ), std::end( types ), type_ ) != std::end( types ) ) {
            return;
        }
        const std::vector<std::string> known( std::begin( types ), std::end( types ) );
        const std::string meant = didYouMean( type_, known );
        tell( RuleId::identificationType,
              type ? at( *type ) : arguments_.placeFor( "identificationType" ),
              type ? "identification type " + quoted( type_ ) + " is none; the driver takes pmbus"
                   : "no \"identificationType\"; the driver takes pmbus",
              meant.empty() ? "it is one of pmbus, ipmi, ipmitool, ipmitool_raw, wedge and tlv"
                            : meant.substr( 2 ) );
    }

    void checkCommandPart( const char *key, RuleId missing ) {
        const Value *value = arguments_.setting( key );
        if ( !value ) {
            tell( missing, arguments_.placeFor( key ),
                  "setting \"" + std::string( key ) + "\" is missing" );
            return;
        }
        const std::string text = settingText( *value );
        if ( text.empty() || !std::all_of( text.begin(), text.end(), isPlain ) ) {
            tell( RuleId::shellCharacters, at( *value ),
                  "\"" + std::string( key ) + "\" is " + shown( *value ) +
                      ", which the shell does not hand on as one word" );
        }
    }

    void checkModels() {
        size_t count = 0;
        std::set<std::string> met;
        while ( const Value *model = arguments_.setting( numbered( "model_", count + 1 ) ) ) {
            ++count;
            const std::string name = settingText( *model );
            if ( !met.insert( name ).second ) {
                tell( RuleId::modelReplaced, at( *model ),
                      "model " + quoted( name ) + " is listed twice" );
            }
            checkTemplate( *model, numbered( "psuFdl_", count ) );
        }
        tellUnreached( "model_", count );
        tellUnreached( "psuFdl_", count );
    }

    static std::string numbered( const char *prefix, size_t number ) {
        return prefix + std::to_string( number );
    }

    void checkTemplate( const Value &model, const std::string &key ) {
        const Value *text = arguments_.setting( key );
        if ( !text ) {
            tell( RuleId::modelWithoutTemplate, at( model ),
                  "model " + quoted( settingText( model ) ) + " has no \"" + key + "\"" );
        } else if ( settingText( *text ).find( placeholder ) == std::string::npos ) {
            tell( RuleId::templatePlaceholder, at( *text ), "\"" + key + "\" has no {serialNum}" );
        }
    }

    void tellUnreached( std::string_view prefix, size_t count ) {
        if ( !arguments_.settings ) {
            return;
        }
        for ( const auto &each : arguments_.settings->GetObject() ) {
            const std::string_view key = textOf( each.name );
            if ( !key.starts_with( prefix ) ) {
                continue;
            }
            const std::string_view digits = key.substr( prefix.size() );
            size_t number = 0;
            const auto end = digits.data() + digits.size();
            const auto parsed = std::from_chars( digits.data(), end, number );
            const bool isReached = parsed.ptr == end && !digits.empty() && number >= 1 &&
                                   number <= count && digits == std::to_string( number );
            if ( !isReached ) {
                tell( RuleId::modelGap, atKeyOf( each.value ),
                      "\"" + std::string( key ) + "\" is never reached" );
            }
        }
    }

    const Arguments &arguments_;
    const std::string &owner_;
    Findings &findings_;
    std::string type_;
};

} // namespace

void checkSupplySlot( const Arguments &arguments, const std::string &owner, Findings &findings ) {
    SlotChecker( arguments, owner, findings ).check();
}

} // namespace HostTool::Check
