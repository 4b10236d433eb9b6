#pragma once

#include <string>

namespace HostTool {

/// A file that is there with all of its text or, when something fails, as it was before.
class WholeFile {
  public:
    /// Writes nothing yet, and makes sure that it could be written.
    /// @throw Failure (badInput) "cannot write FILE: reason"
    explicit WholeFile( std::string path );

    /// Writes the text aside, on the disk, and lays the new file over the old one; everybody may
    /// read it. When that fails nothing is left beside it.
    /// @throw Failure (badInput) "cannot write FILE: reason"
    void write( const std::string &text ) const;

  private:
    std::string path_;
    std::string folder_;
};

} // namespace HostTool
