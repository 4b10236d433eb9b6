#pragma once

#include <string>

namespace HostTool {

/// The platform-driver library, loaded for the life of the process.
class Library {
  public:
    /// Loads askedFor, else $KAVRA_LIBRARY, else the one beside the program, else the one that the
    /// system's loader finds by soname.
    /// @throw Failure (unreachable) naming everything that was tried and why it would not do.
    explicit Library( const std::string &askedFor );

    Library( const Library & ) = delete;
    Library &operator=( const Library & ) = delete;

    const std::string &path() const { return path_; }

    /// The entry point of this name.
    /// @throw Failure (unreachable) when the library has none.
    template <class Function>
    Function *entryPoint( const std::string &name ) const {
        return reinterpret_cast<Function *>( symbol( name ) );
    }

  private:
    void *symbol( const std::string &name ) const;

    std::string path_;
    void *handle_ = nullptr;
};

} // namespace HostTool
