#include "HostTool/Check/BoardTree.h"

#include <algorithm>
#include <map>
#include <set>

namespace HostTool::Check {

/// Builds in the order of the text, devices before muxes, as the library does; and then walks by
/// ascending numbers.
class BoardTreeBuilder {
  public:
    BoardTreeBuilder( BoardTree &tree, Findings &findings )
        : tree_( tree ), document_( tree.document() ), findings_( findings ) {}

    void build() {
        for ( const Value &json : elements( &document_.root() ) ) {
            addMedium( json );
        }
        for ( const auto &medium : mediaWalks_ ) {
            walk( medium );
        }
    }

  private:
    /// What is below a node, for the walk: devices first, then the rest by number.
    struct Walk {
        std::vector<DeviceNode *> devices;
        std::vector<std::map<int64_t, Walk>> numbered;
    };

    void addMedium( const Value &json ) {
        const auto type = textIn( json, "type" );
        if ( !type ) {
            return;
        }
        const Value *simulated = member( json, "simulated" );
        tree_.media_.push_back( { &json, *type, textIn( json, "ham" ).value_or( "" ),
                                  numberIn( json, "pci" ).value_or( 0 ),
                                  simulated && simulated->IsTrue() } );
        const MediumNode &medium = tree_.media_.back();
        Walk walk;
        if ( *type == "LinuxFs" ) {
            addLabel( json, nullptr, false );
            addDevices( json, medium, nullptr, walk );
        } else if ( *type == "SCD" || *type == "Celestica" ) {
            addLabel( json, nullptr, false );
            addAccelerators( json, medium, walk );
        } else {
            addBus( json, medium, std::nullopt, nullptr, walk );
        }
        mediaWalks_.push_back( std::move( walk ) );
    }

    void addAccelerators( const Value &json, const MediumNode &medium, Walk &walk ) {
        walk.numbered.emplace_back();
        std::map<int64_t, Walk> &below = walk.numbered.back();
        for ( const Value &each : elements( member( json, "accelerators" ) ) ) {
            const auto id = numberIn( each, "id" );
            if ( !id ) {
                continue;
            }
            addLabel( each, nullptr, false );
            if ( below.contains( *id ) ) {
                findings_.add( RuleId::duplicateAccelerator, document_, at( each ),
                               "accelerator " + std::to_string( *id ) +
                                   " is described twice in this controller" );
            }
            addBusses( each, medium, *id, nullptr, below[*id] );
        }
    }

    void addBusses( const Value &json, const MediumNode &medium,
                    std::optional<uint32_t> accelerator, const MuxNode *mux, Walk &walk ) {
        walk.numbered.emplace_back();
        std::map<int64_t, Walk> &below = walk.numbered.back();
        for ( const Value &each : elements( member( json, "busses" ) ) ) {
            const Value *id = member( each, "id" );
            if ( !id || !id->IsInt() ) {
                continue;
            }
            // The library sorts by the number without its sign.
            const auto number = static_cast<uint32_t>( id->GetInt() );
            if ( below.contains( number ) ) {
                tellTwice( each, id->GetInt(), mux );
            }
            Walk bus;
            addBus( each, medium, accelerator, mux, bus );
            if ( mux ) {
                below[number] = std::move( bus );
            } else {
                below.try_emplace( number, std::move( bus ) );
            }
        }
    }

    void tellTwice( const Value &json, int id, const MuxNode *mux ) {
        findings_.add( mux ? RuleId::replacedBus : RuleId::duplicateBus, document_, at( json ),
                       mux ? "channel " + std::to_string( id ) + " is described twice in this mux"
                           : "bus " + std::to_string( id ) +
                                 " is described twice in this accelerator" );
    }

    void addBus( const Value &json, const MediumNode &medium, std::optional<uint32_t> accelerator,
                 const MuxNode *mux, Walk &walk ) {
        const Value *id = member( json, "id" );
        addLabel( json, nullptr, true );
        tree_.busses_.push_back( { &json, &medium, accelerator, mux,
                                   id && id->IsInt() ? id->GetInt() : 0,
                                   static_cast<uint32_t>( tree_.busses_.size() ) } );
        const BusNode &bus = tree_.busses_.back();
        checkNumber( bus, accelerator );
        addDevices( json, medium, &bus, walk );
        for ( const Value &each : elements( member( json, "muxes" ) ) ) {
            addMux( each, medium, bus, walk );
        }
    }

    void checkNumber( const BusNode &bus, std::optional<uint32_t> accelerator ) {
        constexpr int32_t largest = 127;
        if ( bus.mux ) {
            checkChannel( bus );
            return;
        }
        if ( bus.id < 0 || bus.id > largest || accelerator.value_or( 0 ) > largest ) {
            findings_.add( RuleId::busRange, document_, at( *bus.json ),
                           "bus " + std::to_string( bus.id ) +
                               ( accelerator ? " of accelerator " + std::to_string( *accelerator )
                                             : std::string() ) +
                               " does not fit seven bits" );
        }
        const auto wires = std::tuple( bus.medium->type, bus.medium->pci, bus.medium->isSimulated,
                                       accelerator.value_or( 0 ), bus.id );
        const auto [met, isNew] = wires_.emplace( wires, bus.medium );
        if ( !isNew && met->second != bus.medium ) {
            findings_.add( RuleId::sameBus, document_, at( *bus.json ),
                           "another " + std::string( bus.medium->type ) + " medium describes bus " +
                               std::to_string( bus.id ) + " as well" );
        }
    }

    // The byte turns on a channel a bit; 0 turns on none.
    void checkChannel( const BusNode &bus ) {
        constexpr int32_t largest = 0x80;
        const bool isOneBit = bus.id > 0 && bus.id <= largest && ( bus.id & ( bus.id - 1 ) ) == 0;
        if ( isOneBit ) {
            return;
        }
        std::string hint = "the id of a channel is 1 << channel: 1, 2, 4 ... 128";
        constexpr int32_t channels = 8;
        if ( bus.id >= 0 && bus.id < channels ) {
            hint = "channel " + std::to_string( bus.id ) + " is turned on by " +
                   std::to_string( 1 << bus.id );
        }
        findings_.add( RuleId::muxChannel, document_, at( *member( *bus.json, "id" ) ),
                       std::to_string( bus.id ) + " is no control byte that selects one channel",
                       hint );
    }

    void addMux( const Value &json, const MediumNode &medium, const BusNode &bus, Walk &walk ) {
        const auto did = numberIn( json, "did" );
        if ( !did ) {
            return;
        }
        addLabel( json, nullptr, false );
        tree_.muxes_.push_back(
            { &json, &bus, *did, elements( member( json, "busses" ) ).Empty() } );
        addBusses( json, medium, bus.accelerator, &tree_.muxes_.back(), walk );
    }

    void addDevices( const Value &json, const MediumNode &medium, const BusNode *bus, Walk &walk ) {
        for ( const Value &each : elements( member( json, "devices" ) ) ) {
            const auto did = numberIn( each, "did" );
            if ( !did ) {
                continue;
            }
            tree_.devices_.push_back( { &each, &medium, bus, *did, std::nullopt, false } );
            DeviceNode &device = tree_.devices_.back();
            device.arguments = Arguments::from( document_, each );
            addLabel( each, &device, false );
            walk.devices.push_back( &device );
            for ( const Value &component : elements( member( each, "components" ) ) ) {
                addLabel( component, nullptr, false );
            }
        }
    }

    void addLabel( const Value &json, DeviceNode *device, bool isBus ) {
        const Value *label = member( json, "label" );
        if ( !label || !label->IsString() ) {
            return;
        }
        const auto [met, isNew] = tree_.labels_.insert_or_assign(
            textOf( *label ), BoardTree::Labelled{ &json, device, isBus } );
        if ( !isNew ) {
            findings_.add( RuleId::duplicateLabel, document_, at( *label ),
                           "label " + quoted( met->first ) + " is taken already" );
        }
    }

    void walk( const Walk &from ) {
        for ( DeviceNode *device : from.devices ) {
            index( *device );
        }
        for ( const auto &group : from.numbered ) {
            for ( const auto &[number, below] : group ) {
                walk( below );
            }
        }
    }

    void index( DeviceNode &device ) {
        for ( const Value &component : elements( member( *device.json, "components" ) ) ) {
            const auto uid = numberIn( component, "uid" );
            if ( uid && !tree_.byUid_.emplace( *uid, &device ).second ) {
                findings_.add( RuleId::duplicateUid, document_, at( component ),
                               "component " + std::to_string( *uid ) + " is described twice" );
            }
        }
        if ( !tree_.byDid_.emplace( device.did, &device ).second ) {
            findings_.add( RuleId::duplicateDid, document_, at( *device.json ),
                           "device " + std::to_string( device.did ) + " is described twice" );
        }
    }

    using Wires = std::tuple<std::string_view, uint32_t, bool, uint32_t, int32_t>;

    BoardTree &tree_;
    const JsonFile &document_;
    Findings &findings_;
    std::vector<Walk> mediaWalks_;
    std::map<Wires, const MediumNode *> wires_;
};

const BusNode &rootOf( const BusNode &bus ) {
    const BusNode *root = &bus;
    while ( root->mux ) {
        root = root->mux->bus;
    }
    return *root;
}

BoardTree::BoardTree( const JsonFile &document, Findings &findings ) : document_( document ) {
    BoardTreeBuilder( *this, findings ).build();
}

DeviceNode *BoardTree::byDid( uint32_t did ) const {
    const auto found = byDid_.find( did );
    return found == byDid_.end() ? nullptr : found->second;
}

DeviceNode *BoardTree::byUid( uint32_t uid ) const {
    const auto found = byUid_.find( uid );
    return found == byUid_.end() ? nullptr : found->second;
}

DeviceNode *BoardTree::byLabel( std::string_view label ) const {
    const auto found = labels_.find( label );
    return found == labels_.end() ? nullptr : found->second.device;
}

bool BoardTree::isBusLabel( std::string_view label ) const {
    const auto found = labels_.find( label );
    return found != labels_.end() && found->second.isBus;
}

std::vector<std::string> BoardTree::labels() const {
    std::vector<std::string> all;
    for ( const auto &[label, node] : labels_ ) {
        all.emplace_back( label );
    }
    std::sort( all.begin(), all.end() );
    return all;
}

} // namespace HostTool::Check
