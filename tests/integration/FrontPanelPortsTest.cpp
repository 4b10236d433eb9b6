// Ports from the host's call to the line in the cage and back.
#include "tests/integration/FrontPanel.h"

#include <array>
#include <atomic>
#include <thread>

// What the library makes lives as long as the process: the leak check would report all of it.
extern "C" const char *__asan_default_options() {
    return "detect_leaks=0";
}

namespace {

// The texts are literals: a device keeps a pointer to its own.
constexpr const char *ethernet1 = R"({"driver":"VundaGenericXcvrCPLD","did":30,
    "address":{"address":96},"driverArgs":{"id":1,"type":"qsfp+",
    "getPresenceReg":16,"getPresenceBit":0,"getPresenceActiveHigh":false,
    "getResetReg":20,"getResetBit":0,"getResetActiveHigh":false,
    "setResetReg":20,"setResetBit":0,"setResetActiveHigh":false,
    "getInterruptReg":24,"getInterruptBit":6,"getInterruptActiveHigh":true}})";
constexpr const char *ethernet2 = R"({"driver":"VundaGenericXcvrCPLD","did":30,
    "address":{"address":96},"driverArgs":{"id":2,"type":"qsfp+",
    "getPresenceReg":16,"getPresenceBit":1,"getPresenceActiveHigh":false,
    "getResetReg":20,"getResetBit":1,"getResetActiveHigh":false,
    "setResetReg":20,"setResetBit":1,"setResetActiveHigh":false,
    "getInterruptReg":24,"getInterruptBit":7,"getInterruptActiveHigh":true}})";
constexpr const char *ethernet33 = R"({"driver":"VundaGenericXcvrCPLD","did":30,
    "address":{"address":96},"driverArgs":{"id":33,"type":"sfp+",
    "getPresenceReg":16,"getPresenceBit":6,"getPresenceActiveHigh":true,
    "getRxLosReg":32,"getRxLosBit":2,"getRxLosActiveHigh":true,
    "getTxFaultReg":32,"getTxFaultBit":4,"getTxFaultActiveHigh":false,
    "getTxDisableReg":34,"getTxDisableBit":7,"getTxDisableActiveHigh":false,
    "setTxDisableReg":33,"setTxDisableBit":0,"setTxDisableActiveHigh":true}})";
constexpr const char *ethernet34 = R"({"driver":"VundaGenericXcvrCPLD","did":30,
    "address":{"address":96},"driverArgs":{"id":34,"type":"sfp+",
    "getPresenceReg":16,"getPresenceBit":7,"getPresenceActiveHigh":true,
    "getRxLosReg":32,"getRxLosBit":3,"getRxLosActiveHigh":true,
    "getTxFaultReg":32,"getTxFaultBit":5,"getTxFaultActiveHigh":false,
    "getTxDisableReg":35,"getTxDisableBit":0,"getTxDisableActiveHigh":false,
    "setTxDisableReg":33,"setTxDisableBit":1,"setTxDisableActiveHigh":true}})";

class FrontPanelPortsTest : public FrontPanel {
  protected:
    pl_xcvr *port( const char *arguments ) const {
        return function<decltype( pl_xcvr_add )>( "pl_xcvr_add" )( arguments );
    }

    static int presence( pl_xcvr *xcvr ) {
        return xcvr->ops->type == PL_XCVR_SFP ? xcvr->ops->u.sfp.getPresence( xcvr )
                                              : xcvr->ops->u.qsfp.getPresence( xcvr );
    }
    static int valueOf( pl_status ( *get )( pl_xcvr *, int * ), pl_xcvr *xcvr ) {
        int value = -1;
        EXPECT_EQ( PL_STATUS_OK, get( xcvr, &value ) );
        return value;
    }
    static int reset( pl_xcvr *xcvr ) { return valueOf( xcvr->ops->u.qsfp.getReset, xcvr ); }
    static int interrupt( pl_xcvr *xcvr ) {
        return valueOf( xcvr->ops->u.qsfp.getInterrupt, xcvr );
    }
    static int rxLos( pl_xcvr *xcvr ) { return valueOf( xcvr->ops->u.sfp.getRxLos, xcvr ); }
    static int txFault( pl_xcvr *xcvr ) { return valueOf( xcvr->ops->u.sfp.getTxFault, xcvr ); }
    static int txDisable( pl_xcvr *xcvr ) { return valueOf( xcvr->ops->u.sfp.getTxDisable, xcvr ); }
    static pl_status resetIs( pl_xcvr *xcvr, int value ) {
        return xcvr->ops->u.qsfp.setReset( xcvr, value );
    }
    static pl_status txDisableIs( pl_xcvr *xcvr, int value ) {
        return xcvr->ops->u.sfp.setTxDisable( xcvr, value );
    }

    /// Has the registers of all signals of both ports read.
    static void readAll( pl_xcvr *qsfp, pl_xcvr *sfp ) {
        presence( qsfp );
        reset( qsfp );
        interrupt( qsfp );
        rxLos( sfp );
        txDisable( sfp );
        secondPasses();
    }
};

TEST_F( FrontPanelPortsTest, ModuleIsSeenToGoAndComeOneSecondLater ) {
    for ( const auto &[arguments, name] :
          { std::pair( ethernet1, "Ethernet1" ), std::pair( ethernet2, "Ethernet2" ),
            std::pair( ethernet33, "Ethernet33" ), std::pair( ethernet34, "Ethernet34" ) } ) {
        pl_xcvr *xcvr = port( arguments );
        presence( xcvr );
        secondPasses();
        EXPECT_EQ( PL_STATUS_OK, presence( xcvr ) ) << name;
        turn( std::string( name ) + ".present", "0" );
        EXPECT_EQ( PL_STATUS_OK, presence( xcvr ) ) << name << ", as polled";
        secondPasses();
        EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence( xcvr ) ) << name;
        turn( std::string( name ) + ".present", "1" );
        secondPasses();
        EXPECT_EQ( PL_STATUS_OK, presence( xcvr ) ) << name;
    }
}

TEST_F( FrontPanelPortsTest, ResetReachesItsCageAloneAndReadsBack ) {
    pl_xcvr *first = port( ethernet1 );
    pl_xcvr *second = port( ethernet2 );
    readAll( first, port( ethernet33 ) );
    EXPECT_EQ( 0, reset( first ) );
    EXPECT_EQ( PL_STATUS_OK, resetIs( first, 1 ) );
    EXPECT_EQ( "1", look( "Ethernet1.reset" ) );
    EXPECT_EQ( "0", look( "Ethernet2.reset" ) );
    secondPasses();
    EXPECT_EQ( 1, reset( first ) );
    EXPECT_EQ( 0, reset( second ) );
    EXPECT_EQ( PL_STATUS_OK, resetIs( second, 1 ) );
    EXPECT_EQ( PL_STATUS_OK, resetIs( first, 0 ) );
    secondPasses();
    EXPECT_EQ( "0", look( "Ethernet1.reset" ) );
    EXPECT_EQ( "1", look( "Ethernet2.reset" ) );
    EXPECT_EQ( 0, reset( first ) );
    EXPECT_EQ( 1, reset( second ) );
}

// The driver starts from zeros, which assert a line that is active low.
TEST_F( FrontPanelPortsTest, WriteBeforeTheFirstPollReachesTheNeighbour ) {
    pl_xcvr *first = port( ethernet1 );
    EXPECT_EQ( PL_STATUS_OK, resetIs( first, 0 ) );
    EXPECT_EQ( "0", look( "Ethernet1.reset" ) );
    EXPECT_EQ( "1", look( "Ethernet2.reset" ) );
}

TEST_F( FrontPanelPortsTest, InterruptIsSeenUnlessTheModuleIsInReset ) {
    pl_xcvr *first = port( ethernet1 );
    pl_xcvr *second = port( ethernet2 );
    readAll( first, port( ethernet33 ) );
    EXPECT_EQ( 0, interrupt( first ) );
    turn( "Ethernet1.interrupt", "1" );
    secondPasses();
    EXPECT_EQ( 1, interrupt( first ) );
    EXPECT_EQ( 0, interrupt( second ) );
    resetIs( first, 1 );
    secondPasses();
    EXPECT_EQ( 0, interrupt( first ) );
}

TEST_F( FrontPanelPortsTest, TransmitterDisableReadsBackFromARegisterOfItsOwn ) {
    pl_xcvr *left = port( ethernet33 );
    pl_xcvr *right = port( ethernet34 );
    readAll( port( ethernet1 ), left );
    txDisable( right );
    secondPasses();
    EXPECT_EQ( PL_STATUS_OK, txDisableIs( right, 1 ) );
    EXPECT_EQ( "0", look( "Ethernet33.tx_disable" ) );
    EXPECT_EQ( "1", look( "Ethernet34.tx_disable" ) );
    EXPECT_EQ( 0, txDisable( right ) ) << "not polled yet";
    secondPasses();
    EXPECT_EQ( 1, txDisable( right ) );
    EXPECT_EQ( 0, txDisable( left ) );
    EXPECT_EQ( PL_STATUS_OK, txDisableIs( left, 1 ) );
    EXPECT_EQ( PL_STATUS_OK, txDisableIs( right, 0 ) );
    secondPasses();
    EXPECT_EQ( 1, txDisable( left ) );
    EXPECT_EQ( 0, txDisable( right ) );
    EXPECT_EQ( "1", look( "Ethernet33.tx_disable" ) );
}

TEST_F( FrontPanelPortsTest, LossOfSignalAndFaultFollowTheModule ) {
    pl_xcvr *left = port( ethernet33 );
    pl_xcvr *right = port( ethernet34 );
    readAll( port( ethernet1 ), left );
    EXPECT_EQ( 0, rxLos( left ) );
    EXPECT_EQ( 0, txFault( left ) );
    turn( "Ethernet33.rx_los", "1" );
    turn( "Ethernet34.tx_fault", "1" );
    secondPasses();
    EXPECT_EQ( 1, rxLos( left ) );
    EXPECT_EQ( 0, txFault( left ) );
    EXPECT_EQ( 0, rxLos( right ) );
    EXPECT_EQ( 1, txFault( right ) );
}

TEST_F( FrontPanelPortsTest, LaserThatIsTurnedOffFailsNoLonger ) {
    pl_xcvr *left = port( ethernet33 );
    readAll( port( ethernet1 ), left );
    turn( "Ethernet33.tx_fault", "1" );
    secondPasses();
    EXPECT_EQ( 1, txFault( left ) );
    txDisableIs( left, 1 );
    secondPasses();
    EXPECT_EQ( 0, txFault( left ) );
}

TEST_F( FrontPanelPortsTest, EmptyCageHasNoSignalAndAFaultAndKeepsWhatIsSet ) {
    pl_xcvr *first = port( ethernet1 );
    pl_xcvr *left = port( ethernet33 );
    readAll( first, left );
    turn( "Ethernet1.interrupt", "1" );
    turn( "Ethernet1.present", "0" );
    turn( "Ethernet33.present", "0" );
    EXPECT_EQ( PL_STATUS_OK, resetIs( first, 1 ) );
    EXPECT_EQ( PL_STATUS_OK, txDisableIs( left, 1 ) );
    secondPasses();
    EXPECT_EQ( 1, rxLos( left ) );
    EXPECT_EQ( 1, txFault( left ) );
    EXPECT_EQ( 1, txDisable( left ) );
    EXPECT_EQ( 1, reset( first ) );
    EXPECT_EQ( 0, interrupt( first ) );
}

TEST_F( FrontPanelPortsTest, CpldThatIsGoneEndsTheProcess ) {
    readAll( port( ethernet1 ), port( ethernet33 ) );
    EXPECT_DEATH(
        {
            turn( "xcvr-cpld.present", "0" );
            secondPasses();
        },
        "updateRegisterCache.*Assertion `false' failed" );
}

TEST_F( FrontPanelPortsTest, WriteToACpldThatIsGoneFailsAndIsNotRemembered ) {
    pl_xcvr *first = port( ethernet1 );
    readAll( first, port( ethernet33 ) );
    turn( "xcvr-cpld.present", "0" );
    EXPECT_EQ( PL_STATUS_FAILED, resetIs( first, 1 ) );
    EXPECT_EQ( 0, reset( first ) );
    turn( "xcvr-cpld.present", "1" );
    EXPECT_EQ( PL_STATUS_OK, resetIs( first, 1 ) );
    EXPECT_EQ( 1, reset( first ) );
    EXPECT_EQ( "1", look( "Ethernet1.reset" ) );
}

class FrontPanelModuleTest : public FrontPanelPortsTest {
  protected:
    pl_smbus *proxy() const {
        return function<decltype( pl_smbus_add )>( "pl_smbus_add" )( "mux-channel0", 0x50 );
    }

    struct Answer {
        pl_status status;
        std::string text;
        bool operator==( const Answer & ) const = default;
        friend void PrintTo( const Answer &answer, std::ostream *out ) {
            *out << answer.status << " " << answer.text;
        }
    };
    static Answer serialOf( pl_smbus *smbus ) {
        std::array<unsigned char, 16> bytes{};
        const pl_status status = smbus->ops->i2cBlockRead( smbus, 196, bytes.data(), bytes.size() );
        return { status, status == PL_STATUS_OK ? std::string( bytes.begin(), bytes.end() )
                                                : std::string() };
    }
};

TEST_F( FrontPanelModuleTest, IdentityIsThatOfTheModuleThatIsThere ) {
    pl_smbus *module = proxy();
    EXPECT_EQ( ( Answer{ PL_STATUS_OK, "XKA0001         " } ), serialOf( module ) );
    turn( "Ethernet1.present", "0" );
    EXPECT_EQ( ( Answer{ PL_STATUS_IO_ERROR, "" } ), serialOf( module ) );
    turn( "Ethernet1.serial", "XKA0042" );
    turn( "Ethernet1.present", "1" );
    EXPECT_EQ( ( Answer{ PL_STATUS_OK, "XKA0042         " } ), serialOf( module ) );
}

TEST_F( FrontPanelModuleTest, ModuleInResetDoesNotAnswer ) {
    pl_smbus *module = proxy();
    pl_xcvr *first = port( ethernet1 );
    readAll( first, port( ethernet33 ) );
    resetIs( first, 1 );
    EXPECT_EQ( PL_STATUS_IO_ERROR, serialOf( module ).status );
    EXPECT_EQ( PL_STATUS_OK, presence( first ) );
    resetIs( first, 0 );
    EXPECT_EQ( PL_STATUS_OK, serialOf( module ).status );
}

TEST_F( FrontPanelModuleTest, ModuleThatComesAndGoesAllTheTimeIsReadWholeOrNotAtAll ) {
    pl_smbus *module = proxy();
    pl_xcvr *first = port( ethernet1 );
    readAll( first, port( ethernet33 ) );
    std::atomic<bool> isOver = false;
    std::thread somebody( [&] {
        while ( !isOver ) {
            server.control( "set Ethernet1.present 0" );
            server.control( "set Ethernet1.present 1" );
        }
    } );
    for ( int turn = 0; turn < 300; ++turn ) {
        const Answer answer = serialOf( module );
        EXPECT_TRUE( answer == ( Answer{ PL_STATUS_OK, "XKA0001         " } ) ||
                     answer == ( Answer{ PL_STATUS_IO_ERROR, "" } ) )
            << answer.status << " " << answer.text;
        EXPECT_EQ( PL_STATUS_OK, resetIs( first, turn % 2 ) );
        secondPasses();
        EXPECT_EQ( turn % 2, reset( first ) );
    }
    isOver = true;
    somebody.join();
}

} // namespace
