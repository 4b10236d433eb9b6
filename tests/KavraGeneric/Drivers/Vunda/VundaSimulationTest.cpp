// The board's CPLDs publish no register values: every register reads as 0 and takes no write.
#include "tests/KavraGeneric/Drivers/Vunda/VundaFixture.h"
#include "tests/support/SimulationFolder.h"

#include <cstdlib>
#include <cstring>

namespace {

class VundaSimulationTest : public VundaHost {
  protected:
    VundaSimulationTest() {
        SimulationFolder::path();
        loadTopology( topology );
        simulate();
    }

    static bool warned( const std::string &driver, const std::string &reg ) {
        return host().traced( 0, "WARNING: Simulated Driver " + driver +
                                     " doesn't yet have expectedVal set for register " + reg +
                                     " using SIMULATION_HAM()\n" );
    }
};

TEST_F( VundaSimulationTest, TrayIsThereAndItsFanStands ) {
    const char *tray = arguments( "VundaTFanCpld", R"("fanId": 1)" );
    pl_slot *slot = pl_slot_add( tray );
    EXPECT_TRUE( host().traced( 0, "Fan CPLD version 00" ) );
    char *fdl = nullptr;
    ASSERT_EQ( PL_STATUS_OK, slot->ops->getPresence( slot, &fdl ) );
    EXPECT_NE( nullptr, strstr( fdl, "backToFrontAirflow" ) );
    std::free( fdl );
    pl_fan *fan = pl_fan_add( tray );
    int rpm = untouched;
    EXPECT_EQ( PL_STATUS_BAD_READING, fan->ops->getRpm( fan, &rpm ) );
    EXPECT_EQ( PL_STATUS_OK, fan->ops->setRpm( fan, 10000 ) );
    EXPECT_TRUE( warned( "VundaTFanCpld", "0x22" ) );
    EXPECT_FALSE( exists( SimulationFolder::path() / "VundaTFanCpld-cpld" ) );
}

TEST_F( VundaSimulationTest, LampsTakeEverySetting ) {
    pl_led *port = pl_led_add( arguments( "VundaTXcvrLedCPLD", R"("ledName": "Ethernet33")" ) );
    pl_led *system = pl_led_add( arguments( "VundaTSystemLedCPLD", R"("reg": 65, "id": 1)", 8 ) );
    for ( pl_led *led : { port, system } ) {
        for ( const pl_led_status setting : { PL_LED_GOOD, PL_LED_BAD, PL_LED_BEACON } ) {
            EXPECT_EQ( PL_STATUS_OK, led->ops->setLightSetting( led, setting ) );
        }
    }
    EXPECT_TRUE( warned( "VundaTXcvrLedCPLD", "0x49" ) );
}

TEST_F( VundaSimulationTest, WrittenSignalHoldsUntilThePoll ) {
    pl_xcvr *cage =
        pl_xcvr_add( arguments( "VundaGenericXcvrCPLD",
                                R"("id": 1, "type": "sfp", "getPresenceReg": 1, "getPresenceBit": 0,
           "getPresenceActiveHigh": false, "getRxLosReg": 2, "getRxLosBit": 0,
           "getRxLosActiveHigh": true, "txFaultSupported": false, "getTxDisableReg": 3,
           "getTxDisableBit": 0, "getTxDisableActiveHigh": true, "setTxDisableReg": 3,
           "setTxDisableBit": 0, "setTxDisableActiveHigh": true)" ) );
    const pl_sfp_ops &ops = cage->ops->u.sfp;
    EXPECT_EQ( PL_STATUS_OK, ops.getPresence( cage ) );
    EXPECT_EQ( PL_STATUS_OK, ops.setTxDisable( cage, 1 ) );
    int disabled = untouched;
    ops.getTxDisable( cage, &disabled );
    EXPECT_EQ( 1, disabled );
    host().tick( *host().timers.at( 0 ) );
    ops.getTxDisable( cage, &disabled );
    EXPECT_EQ( 0, disabled );
}

} // namespace
