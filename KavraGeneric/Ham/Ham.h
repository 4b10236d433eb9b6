#pragma once

#include "KavraGeneric/Ham/ExpectedVal.h"
#include "KavraGeneric/Topology/TopologyVisitor.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace Drivers {
struct DriverArgs;
}

namespace Ham {

/// Number of a queued operation within its batch.
using ResponseId = uint32_t;
constexpr ResponseId INVALID_RESPONSE_ID = 0xFFFF'FFFF;

/// How the registers of one device are reached. A driver makes a batch: prepare(), any number of
/// add...() in the order that the bus is to see, execute(); after a 0 the results are fetched with
/// get...() until the next prepare(). The short forms below make a batch of one operation.
///
/// Made once per device, used for the life of the process, never destroyed through this class.
/// Every add and get of this class throws NotImplementedException with the operation's name.
///
/// `flag` asks for a packet error code on writes; on addRead() it asks for a repeated start.
class Ham {
  public:
    Ham() = default;
    Ham( const Ham & ) = delete;
    Ham &operator=( const Ham & ) = delete;

    /// Called once, before anything else.
    virtual void init();
    virtual void prepare() = 0;
    /// @return 0 or a pl_status code
    virtual int execute() = 0;

    virtual ResponseId addRecvByte();
    virtual ResponseId addRead8( unsigned reg );
    virtual ResponseId addRead16( unsigned reg );
    virtual ResponseId addRead32( unsigned reg );
    virtual ResponseId addRead( unsigned reg, unsigned length, bool flag );
    virtual ResponseId addReadBlock( unsigned reg );
    virtual void addSendByte( uint8_t value, bool flag );
    virtual void addWrite8( unsigned reg, uint8_t value, bool flag );
    virtual void addWrite16( unsigned reg, uint16_t value, bool flag );
    virtual void addWrite32( unsigned reg, uint32_t value, bool flag );
    virtual void addWrite( unsigned reg, const void *data, unsigned length, bool flag );
    virtual void addWriteBlock( unsigned reg, const void *data, unsigned length, bool flag );
    virtual ResponseId addProcessCall( unsigned reg, uint16_t value );

    virtual uint8_t get8( ResponseId id );
    virtual uint16_t get16( ResponseId id );
    virtual uint32_t get32( ResponseId id );
    virtual std::string getBlock( ResponseId id, size_t length );

    /// Hands over the driver's default register values, the driver's own for the process's life.
    virtual void setExpected( Utils::ExpectedValues *table );
    /// @param name of the device; may be empty
    virtual void setDriverName( std::string driver, std::string name );

    /// @name One operation, one batch
    /// Each returns execute()'s result; a read writes its output only when that is 0.
    /// @{
    int recvByte( uint8_t *out );
    int read8( unsigned reg, uint8_t *out );
    int read16( unsigned reg, uint16_t *out );
    int read32( unsigned reg, uint32_t *out );
    int read( unsigned reg, unsigned length, std::string *out, bool flag );
    int readBlock( unsigned reg, std::string *out );
    int sendByte( uint8_t value, bool flag );
    int write8( unsigned reg, uint8_t value, bool flag );
    int write16( unsigned reg, uint16_t value, bool flag );
    int write32( unsigned reg, uint32_t value, bool flag );
    int write( unsigned reg, const void *data, size_t length, bool flag );
    int writeBlock( unsigned reg, const void *data, size_t length, bool flag );
    int processCall( unsigned reg, uint16_t value, uint16_t *out );
    /// @}

    /// How often the server tries a failing request again. Until this is called it decides itself.
    void retryCountIs( unsigned count );

    /// Makes an access method by its name in the registry and initialises it.
    /// @return null, after a trace, when the name is unknown or its factory gives nothing.
    static Ham *create( const std::string &name, const Topology::Topology &topology,
                        const Drivers::DriverArgs &args );

  protected:
    ~Ham() = default;

    uint32_t retryCount = 0;
    bool retryCountSet = false;
};

/// Destroys an access method that no device has come to use: one that was used lives as long as the
/// process. Of a class that is not this library's nothing is known, and it stays. Takes null.
struct __attribute__( ( visibility( "hidden" ) ) ) Discard {
    void operator()( Ham *ham ) const;
};

using Factory = std::function<Ham *( const Topology::Topology &, const Drivers::DriverArgs & )>;

/// The access methods by name. Filled while the library is loaded.
extern std::map<std::string, Factory> hams;

class IpmiHam;
/// Stays empty: no access method of this board speaks IPMI.
extern std::map<std::string, std::function<std::shared_ptr<IpmiHam>()>> ipmiHams;

/// Makes the access method that the topology names for the device (or its component), or "SimHam"
/// in simulation. Asserts a loaded topology.
/// @return null, after a trace, when the device is not in the topology or no method can be made.
Ham *createHam( const Drivers::DriverArgs &args );

/// Finds a device, or the device of a component, and the access method of the medium above it.
class SearchVisitor : public Topology::TopologyVisitor {
  public:
    SearchVisitor( uint32_t component, uint32_t wanted ) : uid( component ), did( wanted ) {}

    using TopologyVisitor::visit;
    bool visit( const Topology::Component *component ) override;
    bool visit( const Topology::Device *candidate ) override;
    bool visit( const Topology::Mux *mux ) override;
    bool visit( const Topology::Bus *bus ) override;
    bool visit( const Topology::Accelerator *accelerator ) override;
    bool visit( const Topology::SCD *scd ) override;
    bool visit( const Topology::I2C *i2c ) override;
    bool visit( const Topology::IOPort *ioPort ) override;
    bool visit( const Topology::Celestica *celestica ) override;
    bool visit( const Topology::PLM *plm ) override;
    bool visit( const Topology::SccSpi *sccSpi ) override;
    bool visit( const Topology::FbDomFpga *fpga ) override;

    uint32_t uid; ///< DriverArgs::noComponent: the device itself is sought
    uint32_t did;
    bool found = false;
    const Topology::Device *device = nullptr;
    std::string ham; ///< empty for a device under a medium that gives none
};

} // namespace Ham
