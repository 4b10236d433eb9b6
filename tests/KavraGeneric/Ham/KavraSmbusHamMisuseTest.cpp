// An access method that is made or used as it never should be ends the process.
#include "KavraGeneric/Library.h"
#include "tests/KavraGeneric/Ham/SmbusHamFixture.h"

#include <utility>

namespace {

// The types are the access method's own, so wrong ones can only be had from behind its interface.
void queueRequest( Ham::KavraSmbusHam &ham, Smbus::RequestType type );
void masterIs( Ham::KavraSmbusHam &ham, Smbus::MasterType master );
template <auto Request, auto Master>
struct BehindTheInterface {
    friend void queueRequest( Ham::KavraSmbusHam &ham, Smbus::RequestType type ) {
        ( ham.*Request )( type, 0, 1, false );
    }
    friend void masterIs( Ham::KavraSmbusHam &ham, Smbus::MasterType master ) {
        ham.*Master = master;
    }
};
template struct BehindTheInterface<&Ham::KavraSmbusHam::requestInit,
                                   &Ham::KavraSmbusHam::masterType>;

class KavraSmbusHamMisuseDeathTest : public SmbusHamFixture {
  protected:
    /// Makes the access method of a device behind a mux whose entry among the devices is this.
    static Ham *behindMux( const std::string &entry ) {
        loadTopology( R"([{"type":"I2C","ham":"KavraSmbus","id":3,"devices":[)" + entry +
                      R"(],"muxes":[{"did":100,"busses":[{"id":1,"devices":[{"did":1}]}]}]}])" );
        return dynamic_cast<Ham *>( ::Ham::createHam( arguments( 0x48 ) ) );
    }
};

TEST_F( KavraSmbusHamMisuseDeathTest, RequestOfAnUnknownTypeEndsTheProcess ) {
    deviceOnBus( 0x48 );
    for ( const int type : { -1, 5 } ) {
        EXPECT_DEATH( queueRequest( ham(), static_cast<Smbus::RequestType>( type ) ),
                      "Assertion `::Smbus::RequestType_IsValid\\(value\\)' failed" );
    }
}

TEST_F( KavraSmbusHamMisuseDeathTest, RequestToAnUnknownMasterEndsTheProcess ) {
    deviceOnBus( 0x48 );
    for ( const int master : { -1, 7 } ) {
        masterIs( ham(), static_cast<Smbus::MasterType>( master ) );
        EXPECT_DEATH( ham().addRead8( 0 ),
                      "Assertion `::Smbus::MasterType_IsValid\\(value\\)' failed" );
    }
}

TEST_F( KavraSmbusHamMisuseDeathTest, BatchWithoutASocketEndsTheProcess ) {
    deviceOnBus( 0x48 );
    delete std::exchange( _plSock, nullptr );
    EXPECT_DEATH( ham().read8( 0, &byte_ ), "Assertion `_plSock' failed" );
}

TEST_F( KavraSmbusHamMisuseDeathTest, MuxThatIsNoDeviceEndsTheProcess ) {
    EXPECT_DEATH( behindMux( R"({"did":99})" ), "Assertion `topoDev' failed" );
}

TEST_F( KavraSmbusHamMisuseDeathTest, MuxWithoutAnAccessMethodEndsTheProcess ) {
    EXPECT_DEATH( behindMux( R"({"did":100,"driver":"PCA9548","provideHam":0,
                                 "address":{"address":112}})" ),
                  "Assertion `ham' failed" );
}

} // namespace
