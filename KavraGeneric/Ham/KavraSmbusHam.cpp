#include "KavraGeneric/Ham/KavraSmbusHam.h"

#include "KavraGeneric/Components/Mux.h"
#include "KavraGeneric/Ham/KavraSmbusVisitors.h"
#include "KavraGeneric/Ham/SimHam.h"
#include "KavraGeneric/HostServices.h"
#include "KavraGeneric/Library.h"
#include "KavraGeneric/Topology/Topology.h"

#include <bit>
#include <cerrno>
#include <cstring>

namespace Ham {

namespace {

// Gives a device its own address back, also when there was no memory for a request to its muxes.
class AddressKept {
  public:
    explicit AddressKept( AhamAddress &address ) : address_( address ), own_( address ) {}
    AddressKept( const AddressKept & ) = delete;
    AddressKept &operator=( const AddressKept & ) = delete;
    ~AddressKept() { address_ = own_; }

  private:
    AhamAddress &address_;
    const AhamAddress own_;
};

KavraSmbusHam *madeBy( KavraSmbusVisitor &visitor, const Topology::Topology &topology ) {
    try {
        topology.accept( &visitor );
    } catch ( ... ) {
        Discard()( visitor.ham );
        throw;
    }
    return visitor.ham;
}

} // namespace

// There is no virtual destructor.
void Discard::operator()( Ham *ham ) const {
    if ( auto *smbus = dynamic_cast<KavraSmbusHam *>( ham ) ) {
        for ( const Component::LogicalDevice::Mux *mux : smbus->muxes_ ) {
            delete mux; // made for this one
        }
        delete smbus;
    } else {
        delete dynamic_cast<SimHam *>( ham );
    }
}

KavraSmbusHam *KavraSmbusHam::create( const Topology::Topology &topology,
                                      const Drivers::DriverArgs &args ) {
    KavraSmbusDriverVisitor visitor( args );
    return madeBy( visitor, topology );
}

KavraSmbusHam *KavraSmbusHam::createOnBus( const Topology::Topology &topology,
                                           const Topology::Bus *bus, const unsigned &address ) {
    KavraSmbusBusIdVisitor visitor( bus, address );
    return madeBy( visitor, topology );
}

KavraSmbusHam *KavraSmbusHam::createFromAddress( const AhamAddress &address,
                                                 const PCIAddress &pci ) {
    if ( pci == 0 ) {
        assert( address.accelerator == 0 );
    }
    auto *ham = new KavraSmbusHam;
    ham->address = address;
    ham->pci = pci;
    ham->masterType = pci == 0 ? Smbus::I2C : Smbus::SCD;
    return ham;
}

void KavraSmbusHam::init() {
    request_.Clear();
    response_.Clear();
    prepareRequestCount_ = 0;
    const AddressKept own( address );
    for ( Component::LogicalDevice::Mux *mux : muxes_ ) {
        address = muxChipAddress( *mux );
        prepareRequestCount_ += mux->selectRequest( this );
    }
}

void KavraSmbusHam::prepare() {
    // RemoveLast keeps the messages for the next batch, which then allocates none.
    while ( static_cast<uint32_t>( request_.request_size() ) > prepareRequestCount_ ) {
        request_.mutable_request()->RemoveLast();
    }
    // Freed rather than cleared: the next answer is a fresh message and takes the memory over.
    Smbus::TransactionResponse().Swap( &response_ );
    lastResponseId = -1;
}

int KavraSmbusHam::execute() {
    {
        const AddressKept own( address );
        for ( auto mux = muxes_.rbegin(); mux != muxes_.rend(); ++mux ) {
            address = muxChipAddress( **mux );
            ( *mux )->resetRequest( this );
        }
    }
    pl_trace( 4, "executing KavraSmbusHam request" );
    if ( retryCountSet ) {
        request_.set_retries( retryCount );
    }
    assert( _plSock );
    Smbus::TransactionResponse *answer = nullptr;
    const int sent = _plSock->sendRequestWait( &request_, &answer );
    const std::unique_ptr<Smbus::TransactionResponse> owned( answer );
    if ( sent < 0 ) {
        const int error = errno;
        pl_trace( 3, "%s: error. %d, %s", "execute", error, strerror( error ) );
        return PL_STATUS_IO_ERROR;
    }
    response_.Swap( answer );
    if ( response_.failed() ) {
        pl_trace( 3, "%s: failure in response %s", "execute",
                  response_.has_error() ? response_.error().c_str() : "unknown reason" );
        return PL_STATUS_FAILED;
    }
    if ( request_.request_size() != response_.response_size() ) {
        pl_trace( 3, "%s: invalid number of response entries; expected %d, got %d", "execute",
                  request_.request_size(), response_.response_size() );
        return PL_STATUS_FAILED;
    }
    return PL_STATUS_OK;
}

Smbus::Request &KavraSmbusHam::requestInit( Smbus::RequestType type, unsigned reg, unsigned length,
                                            bool flag ) {
    // Adding to a full list loses the new request when there is no memory for a longer list.
    auto &requests = *request_.mutable_request();
    if ( requests.size() == requests.Capacity() ) {
        requests.Reserve( requests.size() + 1 );
    }
    Smbus::Request &request = *requests.Add();
    address.reg = reg;
    request.set_address( std::bit_cast<uint64_t>( address ) );
    request.set_type( type );
    request.set_length( length );
    request.set_pci( pci );
    request.set_mastertype( masterType );
    request.set_flag( flag );
    ++lastResponseId;
    return request;
}

ResponseId KavraSmbusHam::addReadRequest( Smbus::RequestType type, unsigned reg, unsigned length ) {
    requestInit( type, reg, length, false );
    return static_cast<ResponseId>( lastResponseId );
}

void KavraSmbusHam::addWriteRequest( Smbus::RequestType type, unsigned reg, const void *data,
                                     unsigned length, bool flag ) {
    // In place: set_data() would copy a long text by way of a new one.
    requestInit( type, reg, length, flag )
        .mutable_data()
        ->assign( static_cast<const char *>( data ), length );
}

ResponseId KavraSmbusHam::addRecvByte() {
    return addReadRequest( Smbus::READ, 0, 0 );
}

ResponseId KavraSmbusHam::addRead8( unsigned reg ) {
    return addReadRequest( Smbus::READ, reg, 1 );
}

ResponseId KavraSmbusHam::addRead16( unsigned reg ) {
    return addReadRequest( Smbus::READ, reg, 2 );
}

ResponseId KavraSmbusHam::addRead( unsigned reg, unsigned length, bool flag ) {
    if ( flag ) {
        // Stays set: every later request of this device carries it too.
        address.writeNoStopReadCurrent = 1;
    }
    return addReadRequest( Smbus::READ, reg, length );
}

ResponseId KavraSmbusHam::addReadBlock( unsigned reg ) {
    return addReadRequest( Smbus::BLOCK_READ, reg, 0 );
}

void KavraSmbusHam::addSendByte( uint8_t value, bool flag ) {
    requestInit( Smbus::WRITE, value, 0, flag );
}

void KavraSmbusHam::addWrite8( unsigned reg, uint8_t value, bool flag ) {
    addWriteRequest( Smbus::WRITE, reg, &value, 1, flag );
}

void KavraSmbusHam::addWrite16( unsigned reg, uint16_t value, bool flag ) {
    const uint8_t bytes[] = { static_cast<uint8_t>( value ), static_cast<uint8_t>( value >> 8 ) };
    addWriteRequest( Smbus::WRITE, reg, bytes, sizeof bytes, flag );
}

void KavraSmbusHam::addWrite( unsigned reg, const void *data, unsigned length, bool flag ) {
    addWriteRequest( Smbus::WRITE, reg, data, length, flag );
}

void KavraSmbusHam::addWriteBlock( unsigned reg, const void *data, unsigned length, bool flag ) {
    addWriteRequest( Smbus::BLOCK_WRITE, reg, data, length, flag );
}

ResponseId KavraSmbusHam::addProcessCall( unsigned reg, uint16_t value ) {
    const uint8_t bytes[] = { static_cast<uint8_t>( value ), static_cast<uint8_t>( value >> 8 ) };
    addWriteRequest( Smbus::PROCESS_CALL, reg, bytes, sizeof bytes, false );
    return static_cast<ResponseId>( lastResponseId );
}

const std::string &KavraSmbusHam::responseData( ResponseId idx ) const {
    assert( idx != INVALID_RESPONSE_ID );
    assert( ( uint32_t )response_.response_size() > prepareRequestCount_ + idx );
    return response_.response( static_cast<int>( prepareRequestCount_ + idx ) ).data();
}

uint8_t KavraSmbusHam::get8( ResponseId id ) {
    const std::string &data = responseData( id );
    assert( data.size() == 1 );
    return static_cast<uint8_t>( data[0] );
}

uint16_t KavraSmbusHam::get16( ResponseId id ) {
    const std::string &data = responseData( id );
    assert( data.size() == 2 );
    const auto low = static_cast<uint8_t>( data[0] );
    const auto high = static_cast<uint8_t>( data[1] );
    return static_cast<uint16_t>( high << 8 | low );
}

std::string KavraSmbusHam::getBlock( ResponseId id, size_t ) {
    return responseData( id );
}

void KavraSmbusHam::setAddress( uint8_t value ) {
    address.address = value & 0x7FU;
}

uint8_t KavraSmbusHam::getAddress() const {
    return static_cast<uint8_t>( address.address );
}

void KavraSmbusHam::setBus( uint8_t value ) {
    address.bus = value & 0x7FU;
}

uint8_t KavraSmbusHam::getBus() const {
    return static_cast<uint8_t>( address.bus );
}

} // namespace Ham
