#pragma once

#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/KavraSmbusHam.h"
#include "KavraGeneric/Topology/Topology.h"
#include "tests/support/FakeSmbusServer.h"
#include "tests/support/LibraryFixture.h"

#include <string>
#include <utility>
#include <vector>

/// An access method over the wire, to a device that a test puts somewhere:
///
///     deviceBehind( { mux( 0x70, 0x01 ), mux( 0x71, 0x08 ) }, 0x48 );
///     ham().read8( 0, &value );
class SmbusHamFixture : protected FakeSmbusServer, public LibraryFixture {
  protected:
    using Ham = ::Ham::KavraSmbusHam;

    static constexpr uint32_t did = 1;      ///< of the device
    static constexpr uint32_t muxDid = 100; ///< of the outermost mux; the next ones count up

    struct MuxPlace {
        unsigned chip;
        unsigned channel; ///< the control byte
    };
    static MuxPlace mux( unsigned chip, unsigned channel ) { return { chip, channel }; }

    SmbusHamFixture() { connect(); }

    /// Makes the access method of a chip on a bus that is reached through these muxes, the
    /// outermost first.
    void deviceBehind( const std::vector<MuxPlace> &muxes, unsigned chip ) {
        loadTopology( i2cBehind( muxes ) );
        ham_ = make( arguments( chip ) );
    }

    void deviceOnBus( unsigned chip ) { deviceBehind( {}, chip ); }

    /// What the medium's method gives for the arguments, by the topology and ready for use.
    Ham *make( const Drivers::DriverArgs &args ) {
        auto *made = dynamic_cast<Ham *>( ::Ham::createHam( args ) );
        host().lines.clear();
        return made;
    }

    static Drivers::DriverArgs arguments( unsigned chip ) {
        Drivers::DriverArgs args;
        args.did = did;
        args.uid = Drivers::DriverArgs::noComponent;
        args.address.address = chip & 0x7FU;
        args.address.addrSize = 1;
        return args;
    }

    /// The text of a topology with one plain I2C bus, number 3, and the device behind the muxes.
    static std::string i2cBehind( const std::vector<MuxPlace> &muxes ) {
        std::string inner = R"("devices":[{"did":)" + std::to_string( did ) + "}]";
        for ( std::size_t i = muxes.size(); i-- > 0; ) {
            const std::string id = std::to_string( muxDid + i );
            inner = R"("devices":[)" + inlineMux( id, muxes[i].chip ) + R"(],"muxes":[{"did":)" +
                    id + R"(,"busses":[{"id":)" + std::to_string( muxes[i].channel ) + "," + inner +
                    "}]}]";
        }
        return R"([{"type":"I2C","ham":"KavraSmbus","id":3,)" + inner + "}]";
    }

    /// A mux's entry as a device, its driver inline.
    static std::string inlineMux( const std::string &id, unsigned chip ) {
        return R"({"did":)" + id + R"(,"driver":"PCA9548","address":{"address":)" +
               std::to_string( chip ) + "}}";
    }

    Ham &ham() { return *ham_; }

    /// The one request of the last batch.
    Smbus::Request lastSingle() const {
        const Smbus::TransactionRequest batch = lastRequest();
        EXPECT_EQ( 1, batch.request_size() );
        return batch.request_size() > 0 ? batch.request( 0 ) : Smbus::Request();
    }

    static AhamAddress addressOf( const Smbus::Request &request ) {
        return std::bit_cast<AhamAddress>( uint64_t{ request.address() } );
    }

    uint8_t byte_ = 0;
    uint16_t word_ = 0;
    std::string block_;

  private:
    Ham *ham_ = nullptr;
};
