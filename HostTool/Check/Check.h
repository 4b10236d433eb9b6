#pragma once

#include "HostTool/Check/Finding.h"
#include "HostTool/Check/Kind.h"

#include <memory>
#include <string>
#include <vector>

namespace HostTool::Check {

/// Documents that belong together: at most one of a kind, and any number of device arguments.
class DocumentSet {
  public:
    /// @throw Failure (badInput) when the file cannot be read, when nothing tells what document it
    ///        is, or when there is one of its kind already.
    void addFile( const std::string &path );
    /// The documents of a board's folder, those that are there.
    /// @throw Failure (badInput) when one of them cannot be read, or when there is none.
    void addFolder( const std::string &path );
    /// @throw Failure (badInput) when there is one of its kind already.
    void add( Kind kind, std::string path, std::string text );

    /// The one of the kind; null when there is none.
    const JsonFile *find( Kind kind ) const;

    struct Typed {
        Kind kind;
        std::unique_ptr<JsonFile> document;
    };
    const std::vector<Typed> &all() const { return documents_; }

  private:
    void add( Kind kind, std::unique_ptr<JsonFile> document );

    std::vector<Typed> documents_;
};

/// Everything that is wrong with the documents, each by itself and with each other. The findings
/// refer to the documents.
Findings check( const DocumentSet &documents );

} // namespace HostTool::Check
