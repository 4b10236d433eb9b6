#include "HostTool/Snapshot/Compare.h"

#include "HostTool/Snapshot/CompareDevice.h"
#include "HostTool/Snapshot/Presence.h"

#include <algorithm>
#include <map>

namespace HostTool::Snapshot {

namespace {

bool belongsTo( const std::string &device, const std::string &part ) {
    return device == part || ( device.size() > part.size() && device.starts_with( part ) &&
                               device[part.size()] == '-' );
}

/// Parts that are not there in one of the two, or in none: what belongs to them has no values
/// there.
class Gaps {
  public:
    Gaps( const BoardState &golden, const BoardState &now ) {
        for ( const DeviceState &device : golden.devices ) {
            const DeviceState *other = now.find( device.name );
            if ( other && ( presenceOf( device ) == Presence::absent ||
                            presenceOf( *other ) == Presence::absent ) ) {
                holders_.emplace( partOf( device ), device.name );
            }
        }
    }

    /// The slot or cage of the part that a device belongs to; null when there is no such gap.
    const std::string *holderOf( const std::string &device ) const {
        for ( const auto &[part, holder] : holders_ ) {
            if ( holder != device && belongsTo( device, part ) ) {
                return &holder;
            }
        }
        return nullptr;
    }

  private:
    std::map<std::string, std::string> holders_;
};

class Comparison {
  public:
    Comparison( const BoardState &golden, const BoardState &now, const Tolerances &tolerances )
        : golden_( golden ), now_( now ), tolerances_( tolerances ), gaps_( golden, now ) {}

    std::vector<Difference> differences() {
        for ( const DeviceState &device : golden_.devices ) {
            if ( const DeviceState *other = now_.find( device.name ) ) {
                compareBoth( device, *other );
            } else if ( now_.origin.isWhole ) {
                add( Group::missing, device.name, " is no longer described" );
            }
        }
        for ( const DeviceState &device : now_.devices ) {
            if ( golden_.origin.isWhole && !golden_.find( device.name ) ) {
                add( Group::additional, device.name, " is described, and was not" );
            }
        }
        attachFolded();
        std::stable_sort(
            differences_.begin(), differences_.end(),
            []( const Difference &a, const Difference &b ) { return a.group < b.group; } );
        return std::move( differences_ );
    }

  private:
    void add( Group group, const std::string &device, const char *what ) {
        differences_.push_back( { group, device, {}, {}, {}, "", device + what } );
    }

    void compareBoth( const DeviceState &golden, const DeviceState &now ) {
        std::vector<Difference> found = compareDevice( golden, now, tolerances_ );
        if ( const std::string *holder = gaps_.holderOf( golden.name ) ) {
            if ( !found.empty() ) {
                folded_[*holder].push_back( golden.name );
            }
            return;
        }
        std::move( found.begin(), found.end(), std::back_inserter( differences_ ) );
    }

    void attachFolded() {
        for ( Difference &each : differences_ ) {
            if ( each.group == Group::missing || each.group == Group::additional ) {
                each.with = folded_[each.device];
            }
        }
    }

    const BoardState &golden_;
    const BoardState &now_;
    const Tolerances &tolerances_;
    const Gaps gaps_;
    std::map<std::string, std::vector<std::string>> folded_; // by the holder's name
    std::vector<Difference> differences_;
};

/// A field of the origin that is no difference of the board's, and worth to be known.
struct NoteRow {
    std::string Origin::*field;
    const char *what;
};
constexpr NoteRow noteRows[] = {
    { &Origin::board, "board" },
    { &Origin::libraryFile, "library" },
};

} // namespace

std::vector<std::string> notesOf( const Origin &golden, const Origin &now ) {
    std::vector<std::string> notes;
    std::vector<std::string> documents;
    if ( golden.topology != now.topology ) {
        documents.emplace_back( "topology.json" );
    }
    if ( golden.devices != now.devices ) {
        documents.emplace_back( "devices.json" );
    }
    if ( documents.size() == 1 ) {
        notes.push_back( documents.front() + " is not the one of the golden snapshot" );
    } else if ( !documents.empty() ) {
        notes.emplace_back( "topology.json and devices.json are not those of the golden snapshot" );
    }
    for ( const NoteRow &row : noteRows ) {
        if ( golden.*row.field != now.*row.field ) {
            notes.push_back( std::string( "the " ) + row.what + " is '" + now.*row.field +
                             "', was '" + golden.*row.field + "'" );
        }
    }
    if ( golden.isSimulated != now.isSimulated ) {
        notes.emplace_back( now.isSimulated ? "the registers are simulated, and were not"
                                            : "the registers were simulated in the golden "
                                              "snapshot" );
    }
    return notes;
}

std::vector<Difference> compare( const BoardState &golden, const BoardState &now,
                                 const Tolerances &tolerances ) {
    return Comparison( golden, now, tolerances ).differences();
}

} // namespace HostTool::Snapshot
