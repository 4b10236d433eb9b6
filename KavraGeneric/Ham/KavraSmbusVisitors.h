#pragma once

#include "KavraGeneric/Ham/KavraSmbusHam.h"
#include "KavraGeneric/Topology/TopologyVisitor.h"

namespace Ham {

/// On the way up from what a subclass found: fills in the bus and accelerator numbers, the master,
/// its PCI location, and the muxes to switch. The one place where an access method reaches up to
/// hardware devices: a mux on the path is itself a device.
class KavraSmbusVisitor : public Topology::TopologyVisitor {
  public:
    using TopologyVisitor::visit;
    bool visit( const Topology::Mux *mux ) override;
    bool visit( const Topology::Bus *bus ) override;
    bool visit( const Topology::Accelerator *accelerator ) override;
    bool visit( const Topology::SCD *scd ) override;
    bool visit( const Topology::I2C *i2c ) override;
    bool visit( const Topology::IOPort *ioPort ) override;
    bool visit( const Topology::Celestica *celestica ) override;
    bool visit( const Topology::PLM *plm ) override;
    bool visit( const Topology::SccSpi *sccSpi ) override;

    bool found = false;
    KavraSmbusHam *ham = nullptr;
    uint32_t busId = 0xFFFF'FFFF; ///< the bus visited last: the channel, when a mux comes next

  protected:
    ~KavraSmbusVisitor() = default;
    bool masterIs( Smbus::MasterType type );
};

/// Finds the device or component that device arguments name.
class KavraSmbusDriverVisitor final : public KavraSmbusVisitor {
  public:
    explicit KavraSmbusDriverVisitor( const Drivers::DriverArgs &wanted ) : args( &wanted ) {}

    using KavraSmbusVisitor::visit;
    bool visit( const Topology::Component *component ) override;
    bool visit( const Topology::Device *device ) override;

    const Drivers::DriverArgs *args;
};

/// Finds a bus, for a chip address on it. It does not end the walk at its bus: every node visited
/// later is applied as well, and the last one wins.
class KavraSmbusBusIdVisitor final : public KavraSmbusVisitor {
  public:
    KavraSmbusBusIdVisitor( const Topology::Bus *target, const unsigned &chip )
        : bus( target ), address( &chip ) {}

    using KavraSmbusVisitor::visit;
    bool visit( const Topology::Bus *candidate ) override;

    const Topology::Bus *bus;
    const unsigned *address;
};

/// Address word of the chip behind a mux object.
const AhamAddress &muxChipAddress( const Component::LogicalDevice::Mux &mux );

} // namespace Ham
