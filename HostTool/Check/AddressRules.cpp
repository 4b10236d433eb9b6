#include "HostTool/Check/AddressRules.h"

#include <unordered_map>

namespace HostTool::Check {

namespace {

/// A device that has a chip for itself; others look at chips that belong to somebody.
struct Claim {
    const DeviceNode *node;
    const Arguments *arguments;
};

class AddressChecker {
  public:
    explicit AddressChecker( Findings &findings ) : findings_( findings ) {}

    void add( const DeviceNode &node, const Arguments &arguments ) {
        const DriverRow *driver = findDriver( arguments.driver );
        if ( !node.bus || !driver || !driver->ownsChip || arguments.isMultiple ) {
            return;
        }
        const auto [claim, isNew] = claims_.try_emplace( placeOf( *node.bus, arguments.address ),
                                                         Claim{ &node, &arguments } );
        if ( !isNew && claim->second.node != &node ) {
            tell( RuleId::addressTwice, arguments,
                  nameOf( claim->second ) + " has it on the same bus" );
        }
    }

    void compareWithFront() {
        for ( const auto &[place, claim] : claims_ ) {
            for ( const MuxNode *mux = claim.node->bus->mux; mux; mux = mux->bus->mux ) {
                const auto front = claims_.find( placeOf( *mux->bus, claim.arguments->address ) );
                if ( front != claims_.end() ) {
                    tell( RuleId::addressBehindMux, *claim.arguments,
                          nameOf( front->second ) + " answers to it in front of mux " +
                              std::to_string( mux->did ) );
                }
            }
        }
    }

  private:
    /// One number for an address on a bus.
    static uint64_t placeOf( const BusNode &bus, uint8_t address ) {
        return uint64_t{ bus.index } << 8 | address;
    }

    static std::string nameOf( const Claim &claim ) {
        return "device " + std::to_string( claim.node->did );
    }

    void tell( RuleId rule, const Arguments &arguments, const std::string &text ) {
        const Value *address = member( *arguments.json, "address" );
        findings_.add( rule, *arguments.document, at( address ? *address : *arguments.json ),
                       "address " + hexText( arguments.address ) + " is taken: " + text );
    }

    Findings &findings_;
    std::unordered_map<uint64_t, Claim> claims_;
};

} // namespace

void checkAddresses( const BoardTree &tree, const Rehearsal &rehearsal, Findings &findings ) {
    AddressChecker checker( findings );
    const auto &made = rehearsal.made();
    // In the order of the documents, so that the later one is told.
    for ( const DeviceNode &node : tree.devices() ) {
        const auto device = made.find( node.did );
        if ( device != made.end() && device->second.node == &node ) {
            checker.add( node, device->second.arguments );
        } else if ( node.arguments ) {
            checker.add( node, *node.arguments );
        }
    }
    checker.compareWithFront();
}

} // namespace HostTool::Check
