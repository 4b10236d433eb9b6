#pragma once

#include <string>

namespace Drivers {

/// Fills a FRU description template, whose placeholders are keys between braces. One filling is
/// start(), any number of set(), and one charPtr() or str(); anything out of that order asserts.
class FormatFdl {
  public:
    explicit FormatFdl( std::string text );

    void start();
    /// Puts the value in place of each `{key}`. Asserts, after a trace, that there is one.
    /// The search goes on in the text that results, so that a value that brings the placeholder
    /// along never comes to an end, see comesToAnEnd().
    /// @return true
    bool set( std::string key, std::string value );
    /// Ends the filling. @return the text; valid until the next start() or the object's end.
    const char *charPtr();
    /// Ends the filling. @return the text.
    std::string str();

    /// Whether set() right after start() returns. A fill that takes more than 1000 replacements or
    /// makes the template 256 KiB longer, by a value that forms the placeholder anew, counts as
    /// one without an end.
    /// @param key without braces
    bool comesToAnEnd( const std::string &key, const std::string &value ) const;

  private:
    bool active_ = false;
    std::string template_;
    std::string text_;
};

} // namespace Drivers
