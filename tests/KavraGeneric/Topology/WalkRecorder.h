#pragma once

#include "KavraGeneric/Topology/Topology.h"

#include <set>
#include <string>

/// Records a walk as one line, "device 7 | bus 3 | SCD | Topology", and answers false at the nodes
/// that it is told to stop at.
class WalkRecorder : public Topology::TopologyVisitor {
  public:
    explicit WalkRecorder( std::set<std::string> stopAt = {} ) : stopAt_( std::move( stopAt ) ) {}

    bool visit( const Topology::Component *node ) override {
        return record( "component", node->uid );
    }
    bool visit( const Topology::Device *node ) override { return record( "device", node->did ); }
    bool visit( const Topology::Mux *node ) override { return record( "mux", node->did ); }
    bool visit( const Topology::Bus *node ) override { return record( "bus", node->id ); }
    bool visit( const Topology::Accelerator *node ) override {
        return record( "accelerator", node->id );
    }
    bool visit( const Topology::SCD * ) override { return record( "SCD" ); }
    bool visit( const Topology::I2C * ) override { return record( "I2C" ); }
    bool visit( const Topology::IOPort * ) override { return record( "IOPort" ); }
    bool visit( const Topology::Celestica * ) override { return record( "Celestica" ); }
    bool visit( const Topology::PLM * ) override { return record( "PLM" ); }
    bool visit( const Topology::LinuxFs * ) override { return record( "LinuxFs" ); }
    bool visit( const Topology::SccSpi * ) override { return record( "SccSpi" ); }
    bool visit( const Topology::FbDomFpga * ) override { return record( "FbDomFpga" ); }
    bool visit( const Topology::Topology * ) override { return record( "Topology" ); }

    std::string line;

  private:
    bool record( const std::string &node ) {
        line += ( line.empty() ? "" : " | " ) + node;
        return !stopAt_.contains( node );
    }
    bool record( const char *kind, uint32_t number ) {
        return record( kind + ( " " + std::to_string( number ) ) );
    }

    std::set<std::string> stopAt_;
};
