#include "HostTool/Board/SlotText.h"

#include <string_view>

namespace HostTool {

namespace {

constexpr std::string_view placeholder = "{serialNum}";
const std::string templateKey = "psuFdl_"; // and a number, from 1

size_t placeholdersIn( std::string_view text ) {
    size_t count = 0;
    for ( size_t at = text.find( placeholder ); at != std::string_view::npos;
          at = text.find( placeholder, at + placeholder.size() ) ) {
        ++count;
    }
    return count;
}

std::string filled( std::string_view text, std::string_view serial ) {
    std::string result;
    for ( size_t at = text.find( placeholder ); at != std::string_view::npos;
          at = text.find( placeholder ) ) {
        result.append( text.substr( 0, at ) ).append( serial );
        text.remove_prefix( at + placeholder.size() );
    }
    return result.append( text );
}

/// The serial number that makes this text of this template. All its places have the same one, so
/// its length follows from that of the text.
std::optional<std::string> serialIn( std::string_view description, std::string_view text ) {
    const size_t count = placeholdersIn( text );
    const size_t fixed = text.size() - count * placeholder.size();
    if ( count == 0 || description.size() < fixed || ( description.size() - fixed ) % count != 0 ) {
        return std::nullopt;
    }
    const size_t length = ( description.size() - fixed ) / count;
    const std::string serial( description.substr( text.find( placeholder ), length ) );
    return filled( text, serial ) == description ? std::optional( serial ) : std::nullopt;
}

/// The text in quotes behind a name.
std::optional<std::string> quotedBehind( std::string_view description, std::string_view name ) {
    const size_t at = description.find( name );
    if ( at == std::string_view::npos ) {
        return std::nullopt;
    }
    const std::string_view rest = description.substr( at + name.size() );
    const size_t end = rest.find( '\'' );
    return end == std::string_view::npos ? std::nullopt
                                         : std::optional( std::string( rest.substr( 0, end ) ) );
}

std::optional<PartIdentity> trayIn( std::string_view description ) {
    const auto model = quotedBehind( description, "fanTray.modelName = '" );
    if ( !model ) {
        return std::nullopt;
    }
    auto serial = quotedBehind( description, "fanTray.serialNum = '" );
    if ( serial == "N/A" ) {
        serial.reset();
    }
    return PartIdentity{ *model, serial };
}

} // namespace

std::optional<PartIdentity> identityIn( const std::string &description, const Settings &settings ) {
    for ( int number = 1;; ++number ) {
        const auto text = settings.find( templateKey + std::to_string( number ) );
        const auto model = settings.find( "model_" + std::to_string( number ) );
        if ( text == settings.end() || model == settings.end() ) {
            return number == 1 ? trayIn( description ) : std::nullopt;
        }
        if ( const std::optional<std::string> serial = serialIn( description, text->second ) ) {
            return PartIdentity{ model->second, *serial };
        }
    }
}

} // namespace HostTool
