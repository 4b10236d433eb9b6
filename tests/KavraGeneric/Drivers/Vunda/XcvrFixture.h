#pragma once

#include "KavraGeneric/Drivers/Vunda/VundaGenericXcvrCPLD.h"
#include "tests/KavraGeneric/Drivers/Vunda/VundaFixture.h"

#include <map>

/// What the host does with the cages behind a transceiver CPLD.
class XcvrTest : public VundaTest {
  protected:
    using XcvrCpld = Drivers::VundaGenericXcvrCPLD;
    using Settings = std::map<std::string, std::string>; // key to JSON value

    static Settings qsfpSettings() {
        return {
            { "getPresenceReg", "16" },
            { "getPresenceBit", "0" },
            { "getResetReg", "32" },
            { "getResetBit", "1" },
            { "setResetReg", "33" },
            { "setResetBit", "2" },
            { "getInterruptReg", "48" },
            { "getInterruptBit", "3" },
            { "getPresenceActiveHigh", "false" },
            { "getResetActiveHigh", "true" },
            { "setResetActiveHigh", "false" },
            { "getInterruptActiveHigh", "false" },
        };
    }

    static Settings sfpSettings() {
        return {
            { "getPresenceReg", "16" },
            { "getPresenceBit", "4" },
            { "getRxLosReg", "17" },
            { "getRxLosBit", "1" },
            { "getTxFaultReg", "18" },
            { "getTxFaultBit", "2" },
            { "getTxDisableReg", "64" },
            { "getTxDisableBit", "5" },
            { "setTxDisableReg", "65" },
            { "setTxDisableBit", "6" },
            { "getPresenceActiveHigh", "false" },
            { "getRxLosActiveHigh", "true" },
            { "getTxFaultActiveHigh", "true" },
            { "getTxDisableActiveHigh", "true" },
            { "setTxDisableActiveHigh", "true" },
        };
    }

    static pl_xcvr *add( const std::string &type, const Settings &settings, int id,
                         unsigned did = 7 ) {
        std::string members = R"("type": ")" + type + R"(", "id": )" + std::to_string( id );
        for ( const auto &[key, value] : settings ) {
            members += ", \"" + key + "\": " + value;
        }
        return pl_xcvr_add( arguments( "VundaGenericXcvrCPLD", members, did ) );
    }

    void addQsfp( const Settings &settings = qsfpSettings(), int id = 5, unsigned did = 7 ) {
        qsfp = add( "qsfp", settings, id, did );
    }
    void addSfp( const Settings &settings = sfpSettings(), int id = 33 ) {
        sfp = add( "sfp", settings, id );
    }

    const pl_qsfp_ops &qsfpOps() const { return qsfp->ops->u.qsfp; }
    const pl_sfp_ops &sfpOps() const { return sfp->ops->u.sfp; }

    static XcvrCpld &cpld( unsigned did = 7 ) { return device<XcvrCpld>( did ); }
    static FakeHost::Timer &pollTimer() { return *host().timers.at( 0 ); }

    /// One second later, with the CPLD's answer to the poll.
    void poll( std::vector<Reply> contents ) {
        answer( std::move( contents ) );
        host().tick( pollTimer() );
    }

    /// A bit of the device, as the cache has it.
    static int bitOf( uint8_t reg, uint8_t bit, bool activeHigh = true, unsigned did = 7 ) {
        int read = untouched;
        EXPECT_EQ( PL_STATUS_OK, cpld( did ).getRegisterBit( reg, bit, &read, activeHigh ) );
        return read;
    }

    pl_xcvr *qsfp = nullptr;
    pl_xcvr *sfp = nullptr;
    int value = untouched;
};
