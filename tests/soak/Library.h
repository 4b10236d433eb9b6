#pragma once

#include "tests/soak/Device.h"

#include <PlatformLibrary/pl.h>

#include <deque>
#include <string>
#include <vector>

namespace Soak {

/// The platform library as a host has it, through dlopen, and the devices of a board's documents.
class Library {
  public:
    /// Loads the library and reads the documents. Throws std::runtime_error.
    Library( const std::string &path, const std::string &boardFolder );

    struct Added {
        const Entry &entry;
        void *record;
    };
    /// Initialises every class, and adds every entry of devices.json.
    /// @return the devices in the order of the document. Throws std::runtime_error over one that is
    ///         refused.
    std::vector<Added> addAll();

  private:
    struct ReadEntry : Entry {
        std::string bus;
        unsigned address = 0;
        float alert = 0;
        float critical = 0;
    };
    void readDevices( const std::string &path );
    void *add( const ReadEntry &entry );
    template <class Record>
    void *addAs( const ReadEntry &entry );
    template <class Function>
    Function *entryPoint( const std::string &name );

    void *handle_;
    std::string topology_;
    std::deque<ReadEntry> entries_;
};

} // namespace Soak
