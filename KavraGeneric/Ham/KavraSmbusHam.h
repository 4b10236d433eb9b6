#pragma once

#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/Topology/Address.h"
#include "KavraUtil/Smbus.pb.h"

#include <vector>

namespace Component::LogicalDevice {
class Mux;
}

namespace Ham {

/// Reaches a device through the SMBus server: a batch is one transaction request, framed by the
/// selects of the muxes on the device's path and, innermost first, their resets. One transaction is
/// one round trip that blocks the caller.
class KavraSmbusHam final : public Ham {
  public:
    /// For the device or component that the arguments name. @return null when it is not there.
    static KavraSmbusHam *create( const Topology::Topology &topology,
                                  const Drivers::DriverArgs &args );
    /// For a chip address on a bus of the topology. @return null when the bus is not there.
    static KavraSmbusHam *createOnBus( const Topology::Topology &topology, const Topology::Bus *bus,
                                       const unsigned &address );
    /// Without a topology and without muxes. Asserts accelerator 0 when there is no PCI location.
    static KavraSmbusHam *createFromAddress( const AhamAddress &address, const PCIAddress &pci );

    /// Queues the mux selects, which every batch then begins with.
    void init() override;
    void prepare() override;
    /// @return 0; 4 when the server cannot be reached or does not answer; 6 when it reports a
    ///         failure or answers with a wrong number of responses.
    int execute() override;

    ResponseId addRecvByte() override;
    ResponseId addRead8( unsigned reg ) override;
    ResponseId addRead16( unsigned reg ) override;
    ResponseId addRead( unsigned reg, unsigned length, bool flag ) override;
    ResponseId addReadBlock( unsigned reg ) override;
    void addSendByte( uint8_t value, bool flag ) override;
    void addWrite8( unsigned reg, uint8_t value, bool flag ) override;
    void addWrite16( unsigned reg, uint16_t value, bool flag ) override;
    void addWrite( unsigned reg, const void *data, unsigned length, bool flag ) override;
    void addWriteBlock( unsigned reg, const void *data, unsigned length, bool flag ) override;
    ResponseId addProcessCall( unsigned reg, uint16_t value ) override;

    /// Asserts a valid id and exactly one byte.
    uint8_t get8( ResponseId id ) override;
    /// Asserts a valid id and exactly two bytes; the first is the low one.
    uint16_t get16( ResponseId id ) override;
    /// Whatever came; the length asked for is not looked at.
    std::string getBlock( ResponseId id, size_t length ) override;

    /// Keeps the low 7 bits.
    virtual void setAddress( uint8_t value );
    virtual uint8_t getAddress() const;
    /// Keeps the low 7 bits.
    virtual void setBus( uint8_t value );
    virtual uint8_t getBus() const;

    const AhamAddress &addressWord() const { return address; }

  private:
    friend class KavraSmbusVisitor;
    friend class KavraSmbusDriverVisitor;
    friend class KavraSmbusBusIdVisitor;
    friend struct Discard;

    Smbus::Request &requestInit( Smbus::RequestType type, unsigned reg, unsigned length,
                                 bool flag );
    ResponseId addReadRequest( Smbus::RequestType type, unsigned reg, unsigned length );
    void addWriteRequest( Smbus::RequestType type, unsigned reg, const void *data, unsigned length,
                          bool flag );
    const std::string &responseData( ResponseId idx ) const;

    uint32_t prepareRequestCount_ = 0; // mux selects at the head of request_
    int32_t lastResponseId = 0;
    AhamAddress address{};
    PCIAddress pci = 0;
    Smbus::TransactionRequest request_;
    Smbus::TransactionResponse response_;
    Smbus::MasterType masterType = Smbus::SIMULATED;
    std::vector<Component::LogicalDevice::Mux *> muxes_; // outermost first
};

} // namespace Ham
