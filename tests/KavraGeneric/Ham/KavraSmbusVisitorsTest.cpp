// From the topology to an access method: bus, accelerator, master and address.
#include "KavraGeneric/Ham/KavraSmbusVisitors.h"

#include "KavraGeneric/Topology/Lookup.h"
#include "tests/KavraGeneric/Ham/Documents.h"
#include "tests/KavraGeneric/Ham/SmbusHamFixture.h"

namespace {

class KavraSmbusVisitorsTest : public SmbusHamFixture {
  protected:
    static std::string busMedium( const std::string &type, const std::string &further = "" ) {
        return Documents::busMedium( type, "KavraSmbus", further );
    }

    static std::string acceleratorMedium( const std::string &type ) {
        return Documents::acceleratorMedium( type, "KavraSmbus" );
    }

    static Drivers::DriverArgs device( uint32_t sought ) {
        Drivers::DriverArgs args = arguments( 0x48 );
        args.did = sought;
        return args;
    }

    static Drivers::DriverArgs component( uint32_t uid ) {
        Drivers::DriverArgs args = device( 99 );
        args.uid = uid;
        return args;
    }

    static Ham *create( const Drivers::DriverArgs &args ) {
        return Ham::create( *Topology::_topology, args );
    }

    /// What a batch of the access method carries.
    Smbus::Request requestOf( Ham *ham ) {
        ham->prepare();
        ham->addRead8( 0 );
        EXPECT_EQ( 0, ham->execute() );
        return lastSingle();
    }
};

TEST_F( KavraSmbusVisitorsTest, MediumGivesTheMaster ) {
    const struct {
        std::string document;
        Smbus::MasterType master;
        uint32_t pci;
        unsigned accelerator;
    } media[] = {
        { busMedium( "I2C", R"("simulated":true,)" ), Smbus::SIMULATED, 0, 0 },
        { busMedium( "I2C", R"("simulated":false,)" ), Smbus::I2C, 0, 0 },
        { busMedium( "I2C" ), Smbus::I2C, 0, 0 },
        { acceleratorMedium( "SCD" ), Smbus::SCD, 4660, 9 },
        { busMedium( "IOPort" ), Smbus::IO_PORT, 0, 0 },
        { acceleratorMedium( "Celestica" ), Smbus::CELESTICA, 0, 9 },
        { busMedium( "PLM" ), Smbus::PLM, 0, 0 },
        { busMedium( "SccSpi" ), Smbus::SCC_SPI, 0, 0 },
        { busMedium( "FbDomFpga", R"("pci":4660,)" ), Smbus::SIMULATED, 0, 0 },
    };
    for ( const auto &[document, master, pci, accelerator] : media ) {
        SCOPED_TRACE( document );
        loadTopology( document );
        Ham *ham = create( device( 3 ) );
        ASSERT_NE( nullptr, ham );
        const Smbus::Request request = requestOf( ham );
        EXPECT_EQ( master, request.mastertype() );
        EXPECT_EQ( pci, request.pci() );
        EXPECT_EQ( 5U, addressOf( request ).bus );
        EXPECT_EQ( accelerator, addressOf( request ).accelerator );
    }
}

TEST_F( KavraSmbusVisitorsTest, MastersHaveTheirNumbers ) {
    EXPECT_EQ( 0, Smbus::SIMULATED );
    EXPECT_EQ( 1, Smbus::I2C );
    EXPECT_EQ( 2, Smbus::SCD );
    EXPECT_EQ( 3, Smbus::IO_PORT );
    EXPECT_EQ( 4, Smbus::CELESTICA );
    EXPECT_EQ( 5, Smbus::PLM );
    EXPECT_EQ( 6, Smbus::SCC_SPI );
}

TEST_F( KavraSmbusVisitorsTest, LinuxFsSetsNoMaster ) {
    loadTopology( R"([{"type":"LinuxFs","ham":"KavraSmbus","devices":[{"did":3}]}])" );
    const Smbus::Request request = requestOf( create( device( 3 ) ) );
    EXPECT_EQ( Smbus::SIMULATED, request.mastertype() );
    EXPECT_EQ( 0U, request.pci() );
    EXPECT_EQ( 0U, addressOf( request ).bus );
}

TEST_F( KavraSmbusVisitorsTest, BusAndAcceleratorKeepSevenBits ) {
    loadTopology( R"([{"type":"Celestica","ham":"KavraSmbus","accelerators":[{"id":250,
        "busses":[{"id":200,"devices":[{"did":3}]}]}]}])" );
    const AhamAddress address = create( device( 3 ) )->addressWord();
    EXPECT_EQ( 250U - 128U, address.accelerator );
    EXPECT_EQ( 200U - 128U, address.bus );
}

TEST_F( KavraSmbusVisitorsTest, RegisterWidthIsAlwaysOne ) {
    Drivers::DriverArgs args;
    ASSERT_TRUE( args.parseJSON( R"({"did":3,"driver":"LM75",
        "address":{"address":72,"addrSize":2}})" ) );
    ASSERT_EQ( 2U, args.address.addrSize );
    loadTopology( busMedium( "I2C" ) );
    EXPECT_EQ( 1U, addressOf( requestOf( create( args ) ) ).addrSize );
}

TEST_F( KavraSmbusVisitorsTest, OtherCodesComeFromTheArguments ) {
    Drivers::DriverArgs args;
    ASSERT_TRUE( args.parseJSON( R"({"did":3,"driver":"LM75","address":{"address":72,"accel":17,
        "writeNoStopReadCurrent":true,"busTimeout":5,"extraDelay":1,"writeDelay":2,
        "readDelay":3}})" ) );
    loadTopology( busMedium( "I2C" ) );
    const uint64_t expected = uint64_t{ 3 } << 62 | uint64_t{ 2 } << 60 | uint64_t{ 1 } << 59 |
                              uint64_t{ 1 } << 57 | uint64_t{ 5 } << 54 | uint64_t{ 1 } << 53 |
                              uint64_t{ 17 } << 46 | uint64_t{ 5 } << 39 | uint64_t{ 72 } << 32;
    EXPECT_EQ( expected, requestOf( create( args ) ).address() );
}

TEST_F( KavraSmbusVisitorsTest, PathReplacesTheAcceleratorOfTheArguments ) {
    Drivers::DriverArgs args = device( 3 );
    args.address.accelerator = 17;
    loadTopology( acceleratorMedium( "SCD" ) );
    EXPECT_EQ( 9U, create( args )->addressWord().accelerator );
}

TEST_F( KavraSmbusVisitorsTest, ComponentIsReachedLikeItsDevice ) {
    loadTopology( busMedium( "I2C" ) );
    const Smbus::Request request = requestOf( create( component( 7 ) ) );
    EXPECT_EQ( 0x48U, addressOf( request ).address );
    EXPECT_EQ( 5U, addressOf( request ).bus );
    EXPECT_EQ( Smbus::I2C, request.mastertype() );
}

TEST_F( KavraSmbusVisitorsTest, WhatIsNotThereGivesNull ) {
    loadTopology( busMedium( "I2C" ) );
    EXPECT_EQ( nullptr, create( device( 4 ) ) );
    EXPECT_EQ( nullptr, create( component( 8 ) ) );
    Drivers::DriverArgs componentOfDevice = component( 8 );
    componentOfDevice.did = 3;
    EXPECT_EQ( nullptr, create( componentOfDevice ) );
}

TEST_F( KavraSmbusVisitorsTest, FirstDeviceOfTwoWinsAndEndsTheWalk ) {
    loadTopology( R"([{"type":"I2C","ham":"KavraSmbus","id":5,"devices":[{"did":3}]},
                      {"type":"PLM","ham":"KavraSmbus","id":6,"devices":[{"did":3}]}])" );
    const Smbus::Request request = requestOf( create( device( 3 ) ) );
    EXPECT_EQ( 5U, addressOf( request ).bus );
    EXPECT_EQ( Smbus::I2C, request.mastertype() );
}

TEST_F( KavraSmbusVisitorsTest, WhatComesBeforeTheDeviceIsNotApplied ) {
    loadTopology( R"([{"type":"SCD","ham":"KavraSmbus","pci":4660,"accelerators":[{"id":9,
                       "busses":[{"id":6,"muxes":[{"did":100,"busses":[{"id":1}]}]}]}]},
                      {"type":"LinuxFs","ham":"KavraSmbus","devices":[{"did":3}]}])" );
    const Smbus::Request request = requestOf( create( device( 3 ) ) );
    EXPECT_EQ( 0U, addressOf( request ).bus );
    EXPECT_EQ( 0U, addressOf( request ).accelerator );
    EXPECT_EQ( 0U, request.pci() );
    EXPECT_EQ( Smbus::SIMULATED, request.mastertype() );
}

TEST_F( KavraSmbusVisitorsTest, VisitorBeginsEmpty ) {
    const Drivers::DriverArgs args = device( 3 );
    const ::Ham::KavraSmbusDriverVisitor byArguments( args );
    EXPECT_FALSE( byArguments.found );
    EXPECT_EQ( nullptr, byArguments.ham );
    EXPECT_EQ( 0xFFFF'FFFFU, byArguments.busId );
    EXPECT_EQ( &args, byArguments.args );
}

/// Chips that are named by their bus.
class CreateOnBusTest : public KavraSmbusVisitorsTest {
  protected:
    /// Null, or an access method that is ready for use.
    static Ham *createOn( const char *label, unsigned chip = 0x48 ) {
        Ham *ham = Ham::createOnBus( *Topology::_topology, Topology::getBusByLabel( label ), chip );
        if ( ham ) {
            ham->init();
        }
        return ham;
    }
};

TEST_F( CreateOnBusTest, ChipOnTheBus ) {
    loadTopology( R"([{"type":"I2C","ham":"KavraSmbus","id":5,"label":"here"}])" );
    const Smbus::Request request = requestOf( createOn( "here", 0xD1 ) );
    EXPECT_EQ( uint64_t{ 1 } << 57 | uint64_t{ 5 } << 39 | uint64_t{ 0x51 } << 32,
               request.address() );
    EXPECT_EQ( Smbus::I2C, request.mastertype() );
}

TEST_F( CreateOnBusTest, BusThatIsNotInTheTreeGivesNull ) {
    loadTopology( R"([{"type":"I2C","ham":"KavraSmbus","id":5,"label":"here"}])" );
    EXPECT_EQ( nullptr, createOn( "elsewhere" ) );
}

TEST_F( CreateOnBusTest, BusOfAnAccelerator ) {
    loadTopology( R"([{"type":"SCD","ham":"KavraSmbus","pci":4660,"accelerators":[{"id":9,
        "busses":[{"id":4},{"id":5,"label":"here"}]}]}])" );
    const Smbus::Request request = requestOf( createOn( "here" ) );
    EXPECT_EQ( 5U, addressOf( request ).bus );
    EXPECT_EQ( 9U, addressOf( request ).accelerator );
    EXPECT_EQ( 4660U, request.pci() );
    EXPECT_EQ( Smbus::SCD, request.mastertype() );
}

TEST_F( CreateOnBusTest, LaterSiblingsAndMediaAreAppliedToo ) {
    loadTopology( R"([{"type":"SCD","ham":"KavraSmbus","pci":4660,"accelerators":[
        {"id":9,"busses":[{"id":5,"label":"here"},{"id":6}]},{"id":10}]},
        {"type":"PLM","ham":"KavraSmbus","id":7}])" );
    const Smbus::Request request = requestOf( createOn( "here" ) );
    EXPECT_EQ( 7U, addressOf( request ).bus );
    EXPECT_EQ( 10U, addressOf( request ).accelerator );
    EXPECT_EQ( 4660U, request.pci() );
    EXPECT_EQ( Smbus::PLM, request.mastertype() );
}

TEST_F( CreateOnBusTest, ChannelOfAMux ) {
    loadTopology( R"([{"type":"I2C","ham":"KavraSmbus","id":3,"devices":[)" +
                  inlineMux( "100", 0x70 ) + R"(],"muxes":[{"did":100,"busses":[
                  {"id":1},{"id":4,"label":"here"}]}]}])" );
    createOn( "here" )->read8( 0, &byte_ );
    EXPECT_EQ( "70=04 | 48[00]x1 | 70=00", lastBatch() );
}

TEST_F( CreateOnBusTest, LastChannelOfTheMuxWins ) {
    loadTopology( R"([{"type":"I2C","ham":"KavraSmbus","id":3,"devices":[)" +
                  inlineMux( "100", 0x70 ) + R"(],"muxes":[{"did":100,"busses":[
                  {"id":1,"label":"here"},{"id":4}]}]}])" );
    createOn( "here" )->read8( 0, &byte_ );
    EXPECT_EQ( "70=04 | 48[00]x1 | 70=00", lastBatch() );
}

/// Chips without a topology.
class CreateFromAddressTest : public KavraSmbusVisitorsTest {
  protected:
    static AhamAddress everyBit() { return std::bit_cast<AhamAddress>( ~uint64_t{ 0 } ); }
};

TEST_F( CreateFromAddressTest, WithoutAPciLocationIsPlainI2c ) {
    AhamAddress address = everyBit();
    address.accelerator = 0;
    const Smbus::Request request = requestOf( Ham::createFromAddress( address, 0 ) );
    address.reg = 0;
    EXPECT_EQ( std::bit_cast<uint64_t>( address ), request.address() );
    EXPECT_EQ( Smbus::I2C, request.mastertype() );
    EXPECT_EQ( 0U, request.pci() );
}

TEST_F( CreateFromAddressTest, WithAPciLocationIsAnScd ) {
    const Smbus::Request request = requestOf( Ham::createFromAddress( everyBit(), 4660 ) );
    EXPECT_EQ( 0xFFFF'FFFF'0000'0000U, request.address() );
    EXPECT_EQ( Smbus::SCD, request.mastertype() );
    EXPECT_EQ( 4660U, request.pci() );
}

TEST_F( CreateFromAddressTest, AcceleratorWithoutAPciLocationEndsTheProcess ) {
    AhamAddress address{};
    address.accelerator = 1;
    EXPECT_DEATH( Ham::createFromAddress( address, 0 ),
                  "Assertion `address.accelerator == 0' failed" );
}

} // namespace
