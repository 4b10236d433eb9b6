#include "KavraGeneric/Ham/KavraSmbusVisitors.h"

#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/Mux.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/HostServices.h"
#include "KavraGeneric/Topology/Lookup.h"
#include "KavraGeneric/Topology/Topology.h"

#include <memory>
#include <set>
#include <utility>

namespace Ham {

namespace {

// Making a mux's device takes the way to its chip, and so the muxes on it. In a topology where a
// mux is on the way to its own chip that would never end.
class Making {
  public:
    explicit Making( uint32_t did ) : place_( inHand_.insert( did ) ) {
        if ( !isFirst() ) {
            pl_trace( 3, "Mux using device %u is on the way to that device", did );
        }
    }
    Making( const Making & ) = delete;
    Making &operator=( const Making & ) = delete;
    ~Making() {
        if ( isFirst() ) {
            inHand_.erase( place_.first );
        }
    }

    bool isFirst() const { return place_.second; }

  private:
    static inline std::set<uint32_t> inHand_; // device ids
    const std::pair<std::set<uint32_t>::iterator, bool> place_;
};

} // namespace

bool KavraSmbusVisitor::visit( const Topology::Mux *mux ) {
    if ( !found ) {
        return true;
    }
    pl_trace( 3, "Mux using device %u with value %u", mux->did, busId );
    const Topology::Device *topoDev = Topology::findDevice( mux->did );
    assert( topoDev );
    if ( !topoDev->driverArgs ) {
        pl_trace( 3, "Device %u isn't declared inline", mux->did );
    }
    ASSERT_TEXT( topoDev->driverArgs, "topoDev->args" );
    Drivers::DriverArgs args = *topoDev->driverArgs;
    const Making making( mux->did );
    Component::HardwareDevice *muxDevice =
        making.isFirst() ? Component::HardwareDevice::create( args, nullptr ) : nullptr;
    assert( muxDevice );
    std::unique_ptr<Component::LogicalDevice::Mux> made( muxDevice->newMux( args, busId ) );
    ham->muxes_.insert( ham->muxes_.begin(), made.get() );
    static_cast<void>( made.release() );
    return true;
}

bool KavraSmbusVisitor::visit( const Topology::Bus *bus ) {
    if ( found ) {
        ham->address.bus = bus->id & 0x7FU;
        busId = bus->id;
    }
    return true;
}

bool KavraSmbusVisitor::visit( const Topology::Accelerator *accelerator ) {
    if ( found ) {
        ham->address.accelerator = accelerator->id & 0x7FU;
    }
    return true;
}

bool KavraSmbusVisitor::masterIs( Smbus::MasterType type ) {
    if ( found ) {
        ham->masterType = type;
    }
    return true;
}

bool KavraSmbusVisitor::visit( const Topology::SCD *scd ) {
    if ( found ) {
        ham->pci = scd->pci;
    }
    return masterIs( Smbus::SCD );
}

bool KavraSmbusVisitor::visit( const Topology::I2C *i2c ) {
    return masterIs( i2c->simulated ? Smbus::SIMULATED : Smbus::I2C );
}

bool KavraSmbusVisitor::visit( const Topology::IOPort * ) {
    return masterIs( Smbus::IO_PORT );
}

bool KavraSmbusVisitor::visit( const Topology::Celestica * ) {
    return masterIs( Smbus::CELESTICA );
}

bool KavraSmbusVisitor::visit( const Topology::PLM * ) {
    return masterIs( Smbus::PLM );
}

bool KavraSmbusVisitor::visit( const Topology::SccSpi * ) {
    return masterIs( Smbus::SCC_SPI );
}

bool KavraSmbusDriverVisitor::visit( const Topology::Component *component ) {
    if ( component->uid != args->uid ) {
        return true;
    }
    found = true;
    return false;
}

bool KavraSmbusDriverVisitor::visit( const Topology::Device *device ) {
    const bool sought = args->uid == Drivers::DriverArgs::noComponent && device->did == args->did;
    if ( !found && !sought ) {
        return true;
    }
    found = true;
    ham = new KavraSmbusHam;
    ham->address = args->address;
    ham->address.addrSize = 1; // whatever the arguments said
    return false;
}

bool KavraSmbusBusIdVisitor::visit( const Topology::Bus *candidate ) {
    if ( candidate == bus ) {
        found = true;
        ham = new KavraSmbusHam;
        ham->address.address = *address & 0x7FU;
        ham->address.addrSize = 1;
    }
    return KavraSmbusVisitor::visit( candidate );
}

const AhamAddress &muxChipAddress( const Component::LogicalDevice::Mux &mux ) {
    const auto *ham = dynamic_cast<const KavraSmbusHam *>( mux.device()->ham() );
    assert( ham );
    return ham->addressWord();
}

} // namespace Ham
