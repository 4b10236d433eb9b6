// The signals of the cages: what is read, what is written. Polling and arguments have tests of
// their own.
#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/KavraGeneric/Drivers/Vunda/XcvrFixture.h"

#include <cstring>
#include <functional>

namespace {

using Drivers::VundaGenericXcvrCPLD;
using Lines = std::vector<FakeHost::Line>;

class VundaGenericXcvrCPLDTest : public XcvrTest {
  protected:
    void qsfpOnABus() {
        addQsfp();
        forgetAll();
    }
    void sfpOnABus() {
        addSfp();
        forgetAll();
    }

    /// Makes a register known, the only one so far, and polls it with this content.
    void content( uint8_t reg, int polled ) {
        bitOf( reg, 0 );
        poll( { bytes( polled ) } );
    }
};

TEST_F( VundaGenericXcvrCPLDTest, ReadingTouchesNoBus ) {
    addQsfp();
    addSfp();
    forget();
    qsfpOps().getPresence( qsfp );
    qsfpOps().getReset( qsfp, &value );
    qsfpOps().getInterrupt( qsfp, &value );
    sfpOps().getPresence( sfp );
    sfpOps().getRxLos( sfp, &value );
    sfpOps().getTxFault( sfp, &value );
    sfpOps().getTxDisable( sfp, &value );
    EXPECT_EQ( Strings{}, batches() );
}

TEST_F( VundaGenericXcvrCPLDTest, PresenceIsAStatus ) {
    qsfpOnABus();
    content( 16, 0xFE ); // active low
    EXPECT_EQ( PL_STATUS_OK, qsfpOps().getPresence( qsfp ) );
    poll( { bytes( 0x01 ) } );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, qsfpOps().getPresence( qsfp ) );
}

TEST_F( VundaGenericXcvrCPLDTest, PresenceOfAnSfpIsAStatus ) {
    sfpOnABus();
    content( 16, 0xEF );
    EXPECT_EQ( PL_STATUS_OK, sfpOps().getPresence( sfp ) );
    poll( { bytes( 0x10 ) } );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, sfpOps().getPresence( sfp ) );
}

TEST_F( VundaGenericXcvrCPLDTest, ActiveHighPresenceIsPresentAtOne ) {
    Settings settings = qsfpSettings();
    settings["getPresenceActiveHigh"] = "true";
    addQsfp( settings );
    content( 16, 0x01 );
    EXPECT_EQ( PL_STATUS_OK, qsfpOps().getPresence( qsfp ) );
    poll( { bytes( 0xFE ) } );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, qsfpOps().getPresence( qsfp ) );
}

TEST_F( VundaGenericXcvrCPLDTest, QsfpSignalsLieWhereTheArgumentsSay ) {
    using Get = pl_status ( * )( pl_xcvr *, int * );
    qsfpOnABus();
    const struct {
        Get get;
        uint8_t reg;
        int set; // content with only this bit set
        int low, high;
    } rows[] = {
        { qsfpOps().getReset, 32, 0x02, 0, 1 },
        { qsfpOps().getInterrupt, 48, 0x08, 1, 0 }, // active low
    };
    for ( const auto &row : rows ) {
        row.get( qsfp, &value );
    }
    for ( const bool first : { true, false } ) {
        const int reset = first ? 0x02 : 0xFD;
        const int interrupt = first ? 0x08 : 0xF7;
        poll( { bytes( reset ), bytes( interrupt ) } );
        for ( const auto &row : rows ) {
            EXPECT_EQ( PL_STATUS_OK, row.get( qsfp, &value ) );
            EXPECT_EQ( first ? row.high : row.low, value ) << int( row.reg );
        }
    }
}

TEST_F( VundaGenericXcvrCPLDTest, SfpSignalsLieWhereTheArgumentsSay ) {
    using Get = pl_status ( * )( pl_xcvr *, int * );
    sfpOnABus();
    const Get gets[] = { sfpOps().getRxLos, sfpOps().getTxFault, sfpOps().getTxDisable };
    for ( const Get get : gets ) {
        get( sfp, &value );
    }
    poll( { bytes( 0x02 ), bytes( 0x04 ), bytes( 0x20 ) } );
    for ( const Get get : gets ) {
        EXPECT_EQ( PL_STATUS_OK, get( sfp, &value ) );
        EXPECT_EQ( 1, value );
    }
    poll( { bytes( 0xFD ), bytes( 0xFB ), bytes( 0xDF ) } );
    for ( const Get get : gets ) {
        EXPECT_EQ( PL_STATUS_OK, get( sfp, &value ) );
        EXPECT_EQ( 0, value );
    }
}

TEST_F( VundaGenericXcvrCPLDTest, BeforeThePollEveryRegisterReadsAsZero ) {
    qsfpOnABus();
    EXPECT_EQ( PL_STATUS_OK, qsfpOps().getPresence( qsfp ) ); // active low
    qsfpOps().getReset( qsfp, &value );
    EXPECT_EQ( 0, value );
    qsfpOps().getInterrupt( qsfp, &value ); // active low
    EXPECT_EQ( 1, value );
}

TEST_F( VundaGenericXcvrCPLDTest, LinesThatTheCpldDoesNotDriveSucceedAndDoNothing ) {
    qsfpOnABus();
    EXPECT_EQ( PL_STATUS_OK, qsfpOps().getModSel( qsfp, &value ) );
    EXPECT_EQ( PL_STATUS_OK, qsfpOps().setModSel( qsfp, 1 ) );
    EXPECT_EQ( PL_STATUS_OK, qsfpOps().getLpMode( qsfp, &value ) );
    EXPECT_EQ( PL_STATUS_OK, qsfpOps().setLpMode( qsfp, 1 ) );
    EXPECT_EQ( untouched, value );
    EXPECT_EQ( Strings{}, batches() );
    EXPECT_EQ( Strings{}, host().texts( 6 ) );
}

TEST_F( VundaGenericXcvrCPLDTest, CageWithoutAFaultLineNeverFails ) {
    Settings settings = sfpSettings();
    settings["txFaultSupported"] = "false";
    addSfp( settings );
    EXPECT_EQ( PL_STATUS_OK, sfpOps().getTxFault( sfp, &value ) );
    EXPECT_EQ( 0, value );
    forgetAll();
    host().tick( pollTimer() );
    EXPECT_EQ( Strings{ "" }, batches() ); // no register was used
}

TEST_F( VundaGenericXcvrCPLDTest, ResetIsWrittenToItsOwnRegisterAtOnce ) {
    qsfpOnABus();
    EXPECT_EQ( PL_STATUS_OK, qsfpOps().setReset( qsfp, 0 ) ); // active low
    EXPECT_EQ( "60[21]=04", lastBatch() );
    EXPECT_EQ( PL_STATUS_OK, qsfpOps().setReset( qsfp, 1 ) );
    EXPECT_EQ( "60[21]=00", lastBatch() );
    EXPECT_FALSE( lastRequest().request( 0 ).flag() );
    EXPECT_EQ( 2U, batches().size() );
}

TEST_F( VundaGenericXcvrCPLDTest, TransmitterIsDisabledInItsOwnRegisterAtOnce ) {
    sfpOnABus();
    EXPECT_EQ( PL_STATUS_OK, sfpOps().setTxDisable( sfp, 7 ) );
    EXPECT_EQ( "60[41]=40", lastBatch() );
    EXPECT_EQ( PL_STATUS_OK, sfpOps().setTxDisable( sfp, 0 ) );
    EXPECT_EQ( "60[41]=00", lastBatch() );
}

TEST_F( VundaGenericXcvrCPLDTest, ReadSideDoesNotFollowTheWriteSide ) {
    sfpOnABus();
    sfpOps().setTxDisable( sfp, 1 );
    sfpOps().getTxDisable( sfp, &value );
    EXPECT_EQ( 0, value );
}

TEST_F( VundaGenericXcvrCPLDTest, BothSidesInOneRegisterAgreeAtOnce ) {
    Settings settings = sfpSettings();
    settings["getTxDisableReg"] = "65";
    settings["getTxDisableBit"] = "6";
    addSfp( settings );
    sfpOps().setTxDisable( sfp, 1 );
    sfpOps().getTxDisable( sfp, &value );
    EXPECT_EQ( 1, value );
}

TEST_F( VundaGenericXcvrCPLDTest, WriteKeepsTheBitsThatThePollSaw ) {
    qsfpOnABus();
    content( 33, 0xA5 );
    qsfpOps().setReset( qsfp, 1 );
    EXPECT_EQ( "60[21]=a1", lastBatch() );
    qsfpOps().setReset( qsfp, 0 );
    EXPECT_EQ( "60[21]=a5", lastBatch() );
}

TEST_F( VundaGenericXcvrCPLDTest, WritesToARegisterNeverPolledAddUp ) {
    qsfpOnABus();
    cpld().setRegisterBit( 80, 0, 1, true );
    EXPECT_EQ( "60[50]=01", lastBatch() );
    cpld().setRegisterBit( 80, 7, 1, true );
    EXPECT_EQ( "60[50]=81", lastBatch() );
    EXPECT_EQ( 1, bitOf( 80, 7 ) );
}

TEST_F( VundaGenericXcvrCPLDTest, FailedWriteIsPassedOnAndKeepsTheCache ) {
    qsfpOnABus();
    content( 33, 0x81 );
    answerFailed( "no acknowledge" );
    EXPECT_EQ( PL_STATUS_FAILED, qsfpOps().setReset( qsfp, 0 ) );
    EXPECT_EQ( 0, bitOf( 33, 2 ) );
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, qsfpOps().setReset( qsfp, 0 ) );
    EXPECT_EQ( 0, bitOf( 33, 2 ) );
    cpld().setRegisterBit( 33, 0, 0, true );
    EXPECT_EQ( "60[21]=80", lastBatch() );
}

TEST_F( VundaGenericXcvrCPLDTest, EveryBitNumberReadsItsBitModulo32 ) {
    qsfpOnABus();
    bitOf( 16, 0 );
    host().traceDropped = true;
    for ( const int polled : { 0x00, 0x01, 0xA5, 0xFF } ) {
        poll( { bytes( polled ) } );
        for ( unsigned bit = 0; bit < 256; ++bit ) {
            const unsigned place = bit % 32;
            const int raw = place < 8 ? polled >> place & 1 : 0;
            ASSERT_EQ( raw, bitOf( 16, static_cast<uint8_t>( bit ), true ) ) << bit;
            ASSERT_EQ( 1 - raw, bitOf( 16, static_cast<uint8_t>( bit ), false ) ) << bit;
        }
    }
}

TEST_F( VundaGenericXcvrCPLDTest, EveryBitNumberIsWrittenModulo32 ) {
    qsfpOnABus();
    bitOf( 16, 0 );
    host().traceDropped = true;
    for ( unsigned bit = 0; bit < 256; ++bit ) {
        for ( const bool activeHigh : { false, true } ) {
            for ( const int written : { 0, 1, -1 } ) {
                poll( { bytes( 0xA5 ) } );
                const unsigned mask = bit % 32 < 8 ? 1U << bit % 32 : 0;
                const bool set = ( written != 0 ) == activeHigh;
                const unsigned expected = set ? 0xA5 | mask : 0xA5 & ~mask;
                cpld().setRegisterBit( 16, static_cast<uint8_t>( bit ), written, activeHigh );
                ASSERT_EQ( std::string( 1, static_cast<char>( expected ) ),
                           lastRequest().request( 0 ).data() )
                    << bit << ' ' << activeHigh << ' ' << written;
            }
        }
    }
}

TEST_F( VundaGenericXcvrCPLDTest, ReadingIsTracedWithWhatItSaw ) {
    qsfpOnABus();
    content( 48, 0xF7 );
    host().lines.clear();
    qsfpOps().getInterrupt( qsfp, &value );
    EXPECT_EQ( ( Lines{ { 4, "getInterruptCallback(5)" },
                        { 6, "getQsfpInterrupt(): id=5" },
                        { 6, "getRegisterBit(): reg=30, bit=3, activeHigh=0, regContent=f7, "
                             "value=1" } } ),
               host().lines );
}

TEST_F( VundaGenericXcvrCPLDTest, EachOperationIsTracedUnderItsOwnName ) {
    addQsfp();
    addSfp();
    const struct {
        std::function<void()> call;
        const char *trace;
    } rows[] = {
        { [&] { qsfpOps().getPresence( qsfp ); }, "getQsfpPresence(): id=5" },
        { [&] { qsfpOps().getReset( qsfp, &value ); }, "getQsfpReset(): id=5" },
        { [&] { qsfpOps().setReset( qsfp, 0 ); }, "setQsfpReset(): id=5" },
        { [&] { qsfpOps().getInterrupt( qsfp, &value ); }, "getQsfpInterrupt(): id=5" },
        { [&] { sfpOps().getPresence( sfp ); }, "getSfpPresence(): id=33" },
        { [&] { sfpOps().getRxLos( sfp, &value ); }, "getSfpRxLos(): id=33" },
        { [&] { sfpOps().getTxFault( sfp, &value ); }, "getSfpTxFault(): id=33" },
        { [&] { sfpOps().getTxDisable( sfp, &value ); }, "getSfpTxDisable(): id=33" },
        { [&] { sfpOps().setTxDisable( sfp, 0 ); }, "setSfpTxDisable(): id=33" },
    };
    for ( const auto &row : rows ) {
        host().lines.clear();
        row.call();
        ASSERT_FALSE( host().texts( 6 ).empty() ) << row.trace;
        EXPECT_EQ( row.trace, host().texts( 6 ).front() );
    }
}

TEST_F( VundaGenericXcvrCPLDTest, WritingIsTracedByItsOperationAlone ) {
    qsfpOnABus();
    qsfpOps().setReset( qsfp, 1 );
    EXPECT_EQ( Strings{ "setQsfpReset(): id=5" }, host().texts( 6 ) );
    EXPECT_EQ( ( Strings{ "setResetCallback(5, 1)", "executing KavraSmbusHam request" } ),
               host().texts( 4 ) );
}

TEST_F( VundaGenericXcvrCPLDTest, UnsupportedFaultIsTracedByItsOperationAlone ) {
    Settings settings = sfpSettings();
    settings["txFaultSupported"] = "false";
    addSfp( settings );
    forgetAll();
    sfpOps().getTxFault( sfp, &value );
    EXPECT_EQ( Strings{ "getSfpTxFault(): id=33" }, host().texts( 6 ) );
}

TEST_F( VundaGenericXcvrCPLDTest, PortNumberIsCutToAByteInTheDriverAlone ) {
    addQsfp( qsfpSettings(), 258 );
    EXPECT_EQ( "creating new QsfpXcvr with id=2", ownTraces( 5 ).back() );
    host().lines.clear();
    qsfpOps().getReset( qsfp, &value );
    EXPECT_EQ( Strings{ "getResetCallback(258)" }, host().texts( 4 ) );
    EXPECT_EQ( "getQsfpReset(): id=2", host().texts( 6 ).front() );
}

TEST_F( VundaGenericXcvrCPLDTest, CagesKeepTheirSignalsBehindTheRecord ) {
    addQsfp();
    addSfp();
    EXPECT_EQ( 5, Layout::wordAt<uint8_t>( qsfp, 24 ) );
    EXPECT_EQ( &cpld(), Layout::wordAt<const XcvrCpld *>( qsfp, 32 ) );
    const uint8_t qsfpBytes[] = { 16, 0, 0, 32, 1, 1, 33, 2, 0, 48, 3, 0 };
    const auto *behind = reinterpret_cast<const char *>( qsfp );
    EXPECT_EQ( 0, memcmp( behind + 40, qsfpBytes, sizeof qsfpBytes ) );
    const uint8_t sfpBytes[] = { 16, 4, 0, 17, 1, 1, 1, 18, 2, 1, 64, 5, 1, 65, 6, 1 };
    behind = reinterpret_cast<const char *>( sfp );
    EXPECT_EQ( 0, memcmp( behind + 40, sfpBytes, sizeof sfpBytes ) );
}

TEST_F( VundaGenericXcvrCPLDTest, OperationsHaveTheirPlacesInTheVirtualTables ) {
    using Qsfp = VundaGenericXcvrCPLD::QsfpXcvr;
    using Sfp = VundaGenericXcvrCPLD::SfpXcvr;
    EXPECT_EQ( 2U, Layout::virtualSlot( &Qsfp::getPresence ) );
    EXPECT_EQ( 7U, Layout::virtualSlot( &Qsfp::getReset ) );
    EXPECT_EQ( 9U, Layout::virtualSlot( &Qsfp::getInterrupt ) );
    EXPECT_EQ( 2U, Layout::virtualSlot( &Sfp::getPresence ) );
    EXPECT_EQ( 6U, Layout::virtualSlot( &Sfp::setTxDisable ) );
    EXPECT_EQ( 0U, Layout::virtualSlot( &VundaGenericXcvrCPLD::init ) );
    EXPECT_EQ( 15U, Layout::virtualSlot( &VundaGenericXcvrCPLD::pollCallback ) );
}

} // namespace
