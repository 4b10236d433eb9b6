#include "KavraGeneric/Ham/Ham.h"

#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/Simulation.h"
#include "KavraGeneric/HostServices.h"
#include "KavraGeneric/NotImplementedException.h"
#include "KavraGeneric/Topology/Topology.h"

namespace Ham {

std::map<std::string, std::function<std::shared_ptr<IpmiHam>()>> ipmiHams;

void Ham::init() {}

ResponseId Ham::addRecvByte() {
    throw NotImplementedException( "addRecvByte" );
}
ResponseId Ham::addRead8( unsigned ) {
    throw NotImplementedException( "addRead8" );
}
ResponseId Ham::addRead16( unsigned ) {
    throw NotImplementedException( "addRead16" );
}
ResponseId Ham::addRead32( unsigned ) {
    throw NotImplementedException( "addRead32" );
}
ResponseId Ham::addRead( unsigned, unsigned, bool ) {
    throw NotImplementedException( "addRead" );
}
ResponseId Ham::addReadBlock( unsigned ) {
    throw NotImplementedException( "addReadBlock" );
}
void Ham::addSendByte( uint8_t, bool ) {
    throw NotImplementedException( "addSendByte" );
}
void Ham::addWrite8( unsigned, uint8_t, bool ) {
    throw NotImplementedException( "addWrite8" );
}
void Ham::addWrite16( unsigned, uint16_t, bool ) {
    throw NotImplementedException( "addWrite16" );
}
void Ham::addWrite32( unsigned, uint32_t, bool ) {
    throw NotImplementedException( "addWrite32" );
}
void Ham::addWrite( unsigned, const void *, unsigned, bool ) {
    throw NotImplementedException( "addWrite" );
}
void Ham::addWriteBlock( unsigned, const void *, unsigned, bool ) {
    throw NotImplementedException( "addWriteBlock" );
}
ResponseId Ham::addProcessCall( unsigned, uint16_t ) {
    throw NotImplementedException( "addProcessCall" );
}
uint8_t Ham::get8( ResponseId ) {
    throw NotImplementedException( "get8" );
}
uint16_t Ham::get16( ResponseId ) {
    throw NotImplementedException( "get16" );
}
uint32_t Ham::get32( ResponseId ) {
    throw NotImplementedException( "get32" );
}
std::string Ham::getBlock( ResponseId, size_t ) {
    throw NotImplementedException( "getBlock" );
}

void Ham::setExpected( Utils::ExpectedValues * ) {
    pl_trace( 0, "virtual Ham::setExpected() invoked!!!" );
}

void Ham::setDriverName( std::string, std::string ) {
    pl_trace( 0, "virtual Ham::setDriverName() invoked!!!" );
}

int Ham::recvByte( uint8_t *out ) {
    prepare();
    const ResponseId id = addRecvByte();
    const int status = execute();
    if ( status == 0 ) {
        *out = get8( id );
    }
    return status;
}

int Ham::read8( unsigned reg, uint8_t *out ) {
    prepare();
    const ResponseId id = addRead8( reg );
    const int status = execute();
    if ( status == 0 ) {
        *out = get8( id );
    }
    return status;
}

int Ham::read16( unsigned reg, uint16_t *out ) {
    prepare();
    const ResponseId id = addRead16( reg );
    const int status = execute();
    if ( status == 0 ) {
        *out = get16( id );
    }
    return status;
}

int Ham::read32( unsigned reg, uint32_t *out ) {
    prepare();
    const ResponseId id = addRead32( reg );
    const int status = execute();
    if ( status == 0 ) {
        *out = get32( id );
    }
    return status;
}

int Ham::read( unsigned reg, unsigned length, std::string *out, bool flag ) {
    prepare();
    const ResponseId id = addRead( reg, length, flag );
    const int status = execute();
    if ( status == 0 ) {
        *out = getBlock( id, length );
    }
    return status;
}

int Ham::readBlock( unsigned reg, std::string *out ) {
    prepare();
    const ResponseId id = addReadBlock( reg );
    const int status = execute();
    if ( status == 0 ) {
        *out = getBlock( id, 0 );
    }
    return status;
}

int Ham::sendByte( uint8_t value, bool flag ) {
    prepare();
    addSendByte( value, flag );
    return execute();
}

int Ham::write8( unsigned reg, uint8_t value, bool flag ) {
    prepare();
    addWrite8( reg, value, flag );
    return execute();
}

int Ham::write16( unsigned reg, uint16_t value, bool flag ) {
    prepare();
    addWrite16( reg, value, flag );
    return execute();
}

int Ham::write32( unsigned reg, uint32_t value, bool flag ) {
    prepare();
    addWrite32( reg, value, flag );
    return execute();
}

int Ham::write( unsigned reg, const void *data, size_t length, bool flag ) {
    prepare();
    addWrite( reg, data, static_cast<unsigned>( length ), flag );
    return execute();
}

int Ham::writeBlock( unsigned reg, const void *data, size_t length, bool flag ) {
    prepare();
    addWriteBlock( reg, data, static_cast<unsigned>( length ), flag );
    return execute();
}

int Ham::processCall( unsigned reg, uint16_t value, uint16_t *out ) {
    prepare();
    const ResponseId id = addProcessCall( reg, value );
    const int status = execute();
    if ( status == 0 ) {
        *out = get16( id );
    }
    return status;
}

void Ham::retryCountIs( unsigned count ) {
    retryCount = count;
    retryCountSet = true;
}

Ham *Ham::create( const std::string &name, const Topology::Topology &topology,
                  const Drivers::DriverArgs &args ) {
    pl_trace( 3, "looking up for %s in %p with %p", name.c_str(),
              static_cast<const void *>( &topology ), static_cast<const void *>( &args ) );
    const auto entry = hams.find( name );
    if ( entry == hams.end() ) {
        pl_trace( 0, "Couldn't find HAM %s", name.c_str() );
        return nullptr;
    }
    pl_trace( 3, "calling %s factory function", name.c_str() );
    std::unique_ptr<Ham, Discard> ham( entry->second( topology, args ) );
    if ( !ham ) {
        pl_trace( 0, "Factory function returned, couldn't create HAM %s", name.c_str() );
        return nullptr;
    }
    pl_trace( 3, "ham initialisation" );
    ham->init();
    return ham.release();
}

Ham *createHam( const Drivers::DriverArgs &args ) {
    const Topology::Topology *topology = Topology::_topology;
    assert( topology );
    pl_trace( 0, "looking for component %u of device %u in topology", args.uid, args.did );
    SearchVisitor visitor( args.uid, args.did );
    topology->accept( &visitor );
    if ( !visitor.found ) {
        pl_trace( 0, "could not find component uid %d in topology", static_cast<int>( args.uid ) );
        return nullptr;
    }
    const std::string name = Utils::simulationIsOn() ? "SimHam" : visitor.ham;
    pl_trace( 0, "creating %s HAM using topology information", name.c_str() );
    Ham *ham = Ham::create( name, *topology, args );
    if ( !ham ) {
        pl_trace( 0, "failed to create HAM" );
    }
    return ham;
}

bool SearchVisitor::visit( const Topology::Component *component ) {
    if ( component->uid != uid ) {
        return true;
    }
    pl_trace( 2, "Component %u found in tree", component->uid );
    found = true;
    return false;
}

bool SearchVisitor::visit( const Topology::Device *candidate ) {
    const bool sought = uid == Drivers::DriverArgs::noComponent && candidate->did == did;
    if ( !found && !sought ) {
        return true;
    }
    pl_trace( 2, "Device %u contain the component", candidate->did );
    device = candidate;
    found = true;
    return false;
}

bool SearchVisitor::visit( const Topology::Mux *mux ) {
    if ( !found ) {
        return true;
    }
    pl_trace( 2, "Mux using device %d", static_cast<int>( mux->did ) );
    return false;
}

bool SearchVisitor::visit( const Topology::Bus *bus ) {
    if ( found ) {
        pl_trace( 2, "BusId %u", bus->id );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::Accelerator *accelerator ) {
    if ( found ) {
        pl_trace( 2, "AccelId %u", accelerator->id );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::SCD *scd ) {
    if ( found ) {
        ham = scd->ham;
        // The line has room for a number of the SCD, which the document does not give.
        pl_trace( 2, "SCD %u %08X", 0U, scd->pci );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::I2C *i2c ) {
    if ( found ) {
        ham = i2c->ham;
        pl_trace( 2, "I2C bus %u", i2c->id );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::IOPort *ioPort ) {
    if ( found ) {
        ham = ioPort->ham;
        pl_trace( 2, "IOPort" );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::Celestica *celestica ) {
    if ( found ) {
        ham = celestica->ham;
        pl_trace( 2, "Celestica" );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::PLM *plm ) {
    if ( found ) {
        ham = plm->ham;
        pl_trace( 2, "PLM" );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::SccSpi *sccSpi ) {
    if ( found ) {
        ham = sccSpi->ham;
        pl_trace( 2, "SccSpi" );
    }
    return true;
}

bool SearchVisitor::visit( const Topology::FbDomFpga *fpga ) {
    if ( found ) {
        ham = fpga->ham;
        pl_trace( 2, "FbDomFpga" );
    }
    return true;
}

} // namespace Ham
