#pragma once

#include "Conformance/Outcome.h"
#include "Conformance/World.h"
#include "HostTool/Board/Documents.h"

#include <PlatformLibrary/pl.h>

#include <deque>
#include <string>
#include <vector>

namespace Conformance {

using HostTool::DeviceClass;
using HostTool::Entry;

/// A device of the board's documents and what the library gave for it.
struct Device {
    const Entry *entry;
    void *record; ///< never null

    template <class Record>
    Record *as() const {
        return static_cast<Record *>( record );
    }
};

/// The library that is judged, in a process that is there for one check, and the board that it
/// drives. What a check needs is made when it asks for it.
class Subject {
  public:
    Subject( std::string libraryPath, const HostTool::Board &board, World world )
        : path_( std::move( libraryPath ) ), board_( board ), world_( std::move( world ) ) {}

    const std::string &path() const { return path_; }
    const HostTool::Board &board() const { return board_; }
    const World &world() const { return world_; }

    /// Loads the library at the first call. @throw Broken when that fails
    void *handle();
    /// Null when the library has none of this name.
    void *symbol( const std::string &name );
    /// @throw Broken when the library has none of this name.
    template <class Function>
    Function *entryPoint( const std::string &name ) {
        void *const address = symbol( name );
        require( address != nullptr, "there is no entry point " + name );
        return reinterpret_cast<Function *>( address );
    }

    /// pl_<class>_init().
    pl_status init( DeviceClass deviceClass, const char *topology );
    /// The same with the board's topology. @throw Broken unless it succeeds
    void init();
    /// pl_<class>_add() with a text of the caller's, which lives as long as the process.
    void *add( DeviceClass deviceClass, const char *arguments );
    /// The same with what the entry has. Null when the library gives none.
    void *add( const Entry &entry );

    /// A device-arguments text that lives as long as a device that is made of it.
    const char *keep( std::string text );
    /// The arguments of an entry with one member set to a text, and kept. @param inner the member
    /// is one of the driver's own arguments. @throw Skipped when the entry has no such one
    const char *altered( const Entry &entry, const char *key, const std::string &value,
                         bool inner = false );

    /// Every device of the board, added in the document's order at the first call.
    /// @throw Broken when the library gives no record for one of them
    const std::vector<Device> &devices();
    /// Those of one class.
    std::vector<Device> devices( DeviceClass deviceClass );
    /// The first of a class. @throw Skipped when the board has none
    Device first( DeviceClass deviceClass );
    /// The first entry of a class, without adding anything. @throw Skipped when the board has none
    const Entry &firstEntry( DeviceClass deviceClass ) const;

  private:
    std::string path_;
    const HostTool::Board &board_;
    World world_;
    void *handle_ = nullptr;
    std::vector<Device> devices_;
    std::deque<std::string> texts_;
};

/// "pl_temp_sensor_add".
std::string entryPointName( DeviceClass deviceClass, const char *ending );

/// Why the library cannot be loaded; empty when it can. Leaves it loaded.
std::string loadError( const std::string &path );

} // namespace Conformance
