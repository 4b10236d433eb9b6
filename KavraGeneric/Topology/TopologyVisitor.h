#pragma once

namespace Topology {

class Component;
class Device;
class Mux;
class Bus;
class Accelerator;
class SCD;
class I2C;
class IOPort;
class Celestica;
class PLM;
class LinuxFs;
class SccSpi;
class FbDomFpga;
class Topology;

/// Called by Node::accept() for every node, children before their parent. A visit that returns
/// false ends the walk; each ancestor of that node is then visited once, innermost first. Visitors
/// are stack objects, made for one walk and never destroyed through this interface.
class TopologyVisitor {
  public:
    virtual bool visit( const Component *component );
    virtual bool visit( const Device *device );
    virtual bool visit( const Mux *mux );
    virtual bool visit( const Bus *bus );
    virtual bool visit( const Accelerator *accelerator );
    virtual bool visit( const SCD *scd );
    virtual bool visit( const I2C *i2c );
    virtual bool visit( const IOPort *ioPort );
    virtual bool visit( const Celestica *celestica );
    virtual bool visit( const PLM *plm );
    virtual bool visit( const LinuxFs *linuxFs );
    virtual bool visit( const SccSpi *sccSpi );
    virtual bool visit( const FbDomFpga *fpga );
    virtual bool visit( const Topology *topology );

  protected:
    ~TopologyVisitor() = default;
};

} // namespace Topology
