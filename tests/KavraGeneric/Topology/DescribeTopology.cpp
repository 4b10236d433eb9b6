#include "tests/KavraGeneric/Topology/DescribeTopology.h"

#include "tests/KavraGeneric/Drivers/DescribeArguments.h"

#include <set>
#include <typeinfo>

using namespace Topology;

namespace {

class Printer {
  public:
    std::string print() {
        for ( const auto &root : _topology->roots ) {
            printMedium( *root );
        }
        for ( const auto &[label, node] : _topology_index ) {
            if ( !seen_.contains( label ) ) {
                text_ += "not in the tree: " + nameOf( *node ) + " [" + label + "]\n";
            }
        }
        return text_;
    }

  private:
    // A medium that is itself a bus holds two nodes, and the index has the bus.
    std::string labels( const Node &node ) {
        std::string found;
        for ( const auto &[label, labelled] : _topology_index ) {
            if ( labelled.get() == &node ) {
                found += " [" + label + "]";
                seen_.insert( label );
            }
        }
        return found;
    }

    void line( size_t depth, const std::string &words ) {
        text_ += std::string( 2 * depth, ' ' ) + words + "\n";
    }

    void printMedium( const MediumNode &medium ) {
        std::string words = nameOf( medium ) + " ham=" + medium.ham;
        const auto *scd = dynamic_cast<const SCD *>( &medium );
        const auto *celestica = dynamic_cast<const Celestica *>( &medium );
        const auto *linuxFs = dynamic_cast<const LinuxFs *>( &medium );
        const auto *i2c = dynamic_cast<const I2C *>( &medium );
        const auto *fpga = dynamic_cast<const FbDomFpga *>( &medium );
        const auto *bus = dynamic_cast<const Bus *>( &medium );
        words += scd ? " pci=" + std::to_string( scd->pci ) : "";
        words += fpga ? " pci=" + std::to_string( fpga->pci ) : "";
        words += i2c && i2c->simulated ? " simulated" : "";
        words += bus ? " id=" + std::to_string( bus->id ) + labels( *bus ) : labels( medium );
        line( 0, words );
        if ( scd ) {
            printAccelerators( scd->accelerators );
        } else if ( celestica ) {
            printAccelerators( celestica->accelerators );
        } else if ( linuxFs ) {
            printDevices( 1, linuxFs->devices );
        } else if ( bus ) {
            printBelowBus( 1, *bus );
        }
    }

    void printAccelerators( const std::map<uint32_t, std::shared_ptr<Accelerator>> &accelerators ) {
        for ( const auto &[id, accelerator] : accelerators ) {
            line( 1, nameOf( *accelerator ) + labels( *accelerator ) );
            printBusses( 2, accelerator->busses );
        }
    }

    void printBusses( size_t depth, const std::map<uint32_t, std::shared_ptr<Bus>> &busses ) {
        for ( const auto &[id, bus] : busses ) {
            line( depth, nameOf( *bus ) + labels( *bus ) );
            printBelowBus( depth + 1, *bus );
        }
    }

    void printBelowBus( size_t depth, const Bus &bus ) {
        printDevices( depth, bus.devices );
        for ( const auto &mux : bus.muxes ) {
            line( depth, nameOf( *mux ) + labels( *mux ) );
            printBusses( depth + 1, mux->busses );
        }
    }

    void printDevices( size_t depth, const std::vector<std::shared_ptr<Device>> &devices ) {
        for ( const auto &device : devices ) {
            line( depth, nameOf( *device ) + labels( *device ) );
            if ( device->driverArgs ) {
                line( depth + 1, "arguments " + describe( *device->driverArgs ) );
            }
            for ( const auto &component : device->components ) {
                line( depth + 1, nameOf( *component ) + labels( *component ) );
            }
        }
    }

    std::string text_;
    std::set<std::string> seen_;
};

} // namespace

std::string describeTopology() {
    return Printer().print();
}

std::string nameOf( const Node &node ) {
    const struct {
        const std::type_info &type;
        const char *name;
    } media[] = {
        { typeid( SCD ), "SCD" },         { typeid( I2C ), "I2C" },
        { typeid( IOPort ), "IOPort" },   { typeid( Celestica ), "Celestica" },
        { typeid( PLM ), "PLM" },         { typeid( SccSpi ), "SccSpi" },
        { typeid( LinuxFs ), "LinuxFs" }, { typeid( FbDomFpga ), "FbDomFpga" },
    };
    for ( const auto &medium : media ) {
        if ( medium.type == typeid( node ) ) {
            return medium.name;
        }
    }
    if ( const auto *component = dynamic_cast<const ::Topology::Component *>( &node ) ) {
        return "component " + std::to_string( component->uid );
    }
    if ( const auto *device = dynamic_cast<const Device *>( &node ) ) {
        return "device " + std::to_string( device->did );
    }
    if ( const auto *mux = dynamic_cast<const Mux *>( &node ) ) {
        return "mux " + std::to_string( mux->did );
    }
    if ( const auto *bus = dynamic_cast<const Bus *>( &node ) ) {
        return "bus " + std::to_string( bus->id );
    }
    if ( const auto *accelerator = dynamic_cast<const Accelerator *>( &node ) ) {
        return "accelerator " + std::to_string( accelerator->id );
    }
    return "unknown node";
}
