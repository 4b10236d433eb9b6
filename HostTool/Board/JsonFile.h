#pragma once

#include <rapidjson/document.h>

#include <cstddef>
#include <string>
#include <unordered_map>

namespace HostTool {

/// A JSON document that knows where in its file each value stands.
class JsonFile {
  public:
    /// Reads and parses a file.
    /// @throw Failure (badInput) "file:line:column: message" for a syntax error, "cannot read file:
    ///        reason" for a file that cannot be read.
    explicit JsonFile( const std::string &path );

    JsonFile( const JsonFile & ) = delete;
    JsonFile &operator=( const JsonFile & ) = delete;

    const std::string &path() const { return path_; }
    const std::string &text() const { return text_; }
    const rapidjson::Value &root() const { return document_; }

    /// The line that a value of this document starts on, from 1.
    size_t lineOf( const rapidjson::Value &value ) const;

  private:
    void parse();
    [[noreturn]] void refuse( size_t offset, const std::string &message ) const;
    size_t lineAt( size_t offset ) const;

    std::string path_;
    std::string text_;
    rapidjson::Document document_;
    std::unordered_map<const rapidjson::Value *, size_t> offsets_;
};

} // namespace HostTool
