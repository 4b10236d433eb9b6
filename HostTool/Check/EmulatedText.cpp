#include "HostTool/Check/EmulatedText.h"

#include "HostTool/Check/Values.h"

namespace HostTool::Check {

namespace {

constexpr size_t deepest = 100;

class TextChecker {
  public:
    TextChecker( const JsonFile &document, Findings &findings )
        : document_( document ), findings_( findings ) {}

    /// @param depth brackets around the value
    /// @param isKnob whether it is what a knob is set to, which is judged with the knob
    void check( const Value &value, size_t depth, bool isKnob ) {
        if ( value.IsArray() || value.IsObject() ) {
            checkParts( value, depth + 1, isKnob );
        } else if ( !isKnob && value.IsString() && wholeText( value ) != textOf( value ) ) {
            tell( value, "a text has a zero character in it" );
        } else if ( !isKnob && value.IsInt() && value.GetInt() == 0 &&
                    document_.digitsOf( value ) != "0" ) {
            tell( value, "0 cannot be written " + std::string( document_.digitsOf( value ) ) );
        }
    }

  private:
    void checkParts( const Value &value, size_t depth, bool isKnob ) {
        if ( depth > deepest ) {
            findings_.add( RuleId::tooDeep, document_, at( value ),
                           "nested deeper than " + std::to_string( deepest ) +
                               " levels, and the server reads no more" );
        } else if ( value.IsArray() ) {
            for ( const Value &element : value.GetArray() ) {
                check( element, depth, isKnob );
            }
        } else {
            for ( const auto &each : value.GetObject() ) {
                check( each.value, depth, isKnob || wholeText( each.name ) == "set" );
            }
        }
    }

    void tell( const Value &value, const std::string &text ) {
        findings_.add( RuleId::wrongValue, document_, at( value ), text );
    }

    const JsonFile &document_;
    Findings &findings_;
};

} // namespace

void checkEmulatedText( const JsonFile &document, Findings &findings ) {
    TextChecker( document, findings ).check( document.root(), 0, false );
}

} // namespace HostTool::Check
