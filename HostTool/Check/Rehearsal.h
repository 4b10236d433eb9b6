#pragma once

#include "HostTool/Check/BoardTree.h"
#include "HostTool/Check/DriverTable.h"
#include "HostTool/Check/EmulatedMap.h"

#include <map>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

namespace HostTool::Check {

/// A hardware device that the library has made.
struct Made {
    enum class Access { none, smbus, files };

    Arguments arguments; ///< of whoever asked first
    const DriverRow *driver;
    const DeviceNode *node; ///< null without an access method
    Access access;
};

/// Adds the devices in the order of devices.json, as the library would, and tells what would stop
/// or refuse it. Devices that others need, muxes and the carriers of lines, are made on the way.
class Rehearsal {
  public:
    /// @param tree null: there is no topology, and where devices are is taken on trust
    /// @param board null: there is no emulation document
    Rehearsal( BoardTree *tree, EmulatedMap *board, Findings &findings )
        : tree_( tree ), board_( board ), findings_( findings ) {}

    /// All entries; those that have not the right shape are left out.
    void addEntries( const JsonFile &devices );
    /// A document that is device arguments, of which nobody knows the class.
    void addArguments( const JsonFile &document );

    const std::unordered_map<uint32_t, Made> &made() const { return made_; }

  private:
    struct Entry {
        const JsonFile &document;
        const Value &json;
        DeviceClass deviceClass;
        std::string owner; ///< "'inlet': "
    };

    void add( const Entry &entry );
    void addProxy( const Entry &entry );
    const Made *prepare( const Arguments &arguments, const std::string &owner );
    void addAs( const Entry &entry, const Arguments &arguments, const Made &device );
    void compareWithFirst( const Arguments &arguments, const Made &device,
                           const std::string &owner );

    const Made *create( const Arguments &arguments, const std::string &owner );
    const Made *make( const Arguments &arguments, const std::string &owner );
    bool findAccess( Made &device, const std::string &owner );
    void passMux( const MuxNode &mux );
    void findGpioDevice( const Arguments &arguments, const std::string &owner );
    void checkAccess( const Made &device, const std::string &owner );
    static bool isExcusedFromAccess( const Made &device );
    void tellReadsWithoutAccess( const Made &device, const Arguments &arguments,
                                 const std::string &owner );
    void checkChip( const Made &device, const std::string &owner );
    EmulatedChip *chipOf( const Made &device, bool &muxIsMissing );

    void tell( RuleId rule, const Arguments &arguments, Spot spot, const std::string &text,
               std::string hint = {} ) {
        findings_.add( rule, *arguments.document, spot, text, std::move( hint ) );
    }

    BoardTree *tree_;
    EmulatedMap *board_;
    Findings &findings_;
    std::unordered_map<uint32_t, Made> made_;
    std::vector<uint32_t> beingMade_; ///< the innermost last
    std::set<const MuxNode *> passed_;
};

} // namespace HostTool::Check
