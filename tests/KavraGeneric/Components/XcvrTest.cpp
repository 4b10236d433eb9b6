#include "KavraGeneric/Components/Xcvr.h"

#include "tests/KavraGeneric/Components/DeviceClassTest.h"
#include "tests/KavraGeneric/Components/Layout.h"

namespace {

using Component::LogicalDevice::QsfpXcvr;
using Component::LogicalDevice::SfpXcvr;
using testing::ElementsAre;

/// Each operation has a value and a status of its own; a setter keeps what it was given.
class RecordingSfp final : public SfpXcvr {
  public:
    explicit RecordingSfp( uint32_t number ) : SfpXcvr( number ) {}
    int getPresence() override { return -70; }
    pl_status getTxFault( int *value ) override { return give( 1, value ); }
    pl_status getRxLos( int *value ) override { return give( 2, value ); }
    pl_status getTxDisable( int *value ) override { return give( 3, value ); }
    pl_status setTxDisable( int value ) override { return take( 4, value ); }

    int taken = 0;

  private:
    static pl_status give( int number, int *value ) {
        *value = number;
        return -70 - number;
    }
    pl_status take( int number, int value ) {
        taken = value;
        return -70 - number;
    }
};

class RecordingQsfp final : public QsfpXcvr {
  public:
    explicit RecordingQsfp( uint32_t number ) : QsfpXcvr( number ) {}
    int getPresence() override { return -70; }
    pl_status getModSel( int *value ) override { return give( 1, value ); }
    pl_status setModSel( int value ) override { return take( 2, value ); }
    pl_status getLpMode( int *value ) override { return give( 3, value ); }
    pl_status setLpMode( int value ) override { return take( 4, value ); }
    pl_status getReset( int *value ) override { return give( 5, value ); }
    pl_status setReset( int value ) override { return take( 6, value ); }
    pl_status getInterrupt( int *value ) override { return give( 7, value ); }

    int taken = 0;

  private:
    static pl_status give( int number, int *value ) {
        *value = number;
        return -70 - number;
    }
    pl_status take( int number, int value ) {
        taken = value;
        return -70 - number;
    }
};

using Getter = pl_status ( * )( pl_xcvr *, int * );
using Setter = pl_status ( * )( pl_xcvr *, int );

/// The place is that in the sub-table, where getPresence has 0.
struct GetterRow {
    int place;
    const char *name;
    Getter callback;
};
struct SetterRow {
    int place;
    const char *name;
    Setter callback;
};

constexpr GetterRow sfpGetters[] = {
    { 1, "getTxFaultCallback", SfpXcvr::getTxFaultCallback },
    { 2, "getRxLosCallback", SfpXcvr::getRxLosCallback },
    { 3, "getTxDisableCallback", SfpXcvr::getTxDisableCallback },
};
constexpr SetterRow sfpSetters[] = {
    { 4, "setTxDisableCallback", SfpXcvr::setTxDisableCallback },
};
constexpr GetterRow qsfpGetters[] = {
    { 1, "getModSelCallback", QsfpXcvr::getModSelCallback },
    { 3, "getLpModeCallback", QsfpXcvr::getLpModeCallback },
    { 5, "getResetCallback", QsfpXcvr::getResetCallback },
    { 7, "getInterruptCallback", QsfpXcvr::getInterruptCallback },
};
constexpr SetterRow qsfpSetters[] = {
    { 2, "setModSelCallback", QsfpXcvr::setModSelCallback },
    { 4, "setLpModeCallback", QsfpXcvr::setLpModeCallback },
    { 6, "setResetCallback", QsfpXcvr::setResetCallback },
};

class XcvrTest : public DeviceClassTest {
  protected:
    XcvrTest() {
        offer.sfpXcvr = &sfp;
        offer.qsfpXcvr = &qsfp;
    }

    /// The function at a place of a sub-table, as a host finds it: behind the table's header and
    /// the sub-table's size.
    template <typename Function>
    static Function functionAt( const pl_xcvr &record, int place ) {
        const uintptr_t word = Layout::slot( record.ops, static_cast<size_t>( place ) + 1 );
        return reinterpret_cast<Function>( word );
    }

    static void expectGetter( pl_xcvr *record, const GetterRow &row ) {
        SCOPED_TRACE( row.name );
        host().lines.clear();
        int value = 0;
        EXPECT_EQ( row.callback, functionAt<Getter>( *record, row.place ) );
        EXPECT_EQ( -70 - row.place, row.callback( record, &value ) );
        EXPECT_EQ( row.place, value );
        EXPECT_THAT( traces(), ElementsAre( "4 " + std::string( row.name ) + "(4000000000)" ) );
    }

    template <typename Xcvr>
    static void expectSetter( Xcvr &xcvr, const SetterRow &row ) {
        SCOPED_TRACE( row.name );
        host().lines.clear();
        EXPECT_EQ( row.callback, functionAt<Setter>( *xcvr.record(), row.place ) );
        EXPECT_EQ( -70 - row.place, row.callback( xcvr.record(), -row.place ) );
        EXPECT_EQ( -row.place, xcvr.taken );
        EXPECT_THAT( traces(), ElementsAre( "4 " + std::string( row.name ) + "(4000000000, -" +
                                            std::to_string( row.place ) + ")" ) );
    }

    static pl_xcvr *add( const std::string &driverArgs ) {
        return pl_xcvr_add( testDeviceWith( driverArgs ) );
    }

    // Above the signed range, to tell %u from %d.
    RecordingSfp sfp{ 4'000'000'000 };
    RecordingQsfp qsfp{ 4'000'000'000 };
};

using XcvrDeathTest = XcvrTest;

TEST_F( XcvrTest, IdPrecedesTheRecord ) {
    EXPECT_EQ( 8, Layout::offsetIn( &sfp, &sfp.id ) );
    EXPECT_EQ( 16, Layout::offsetIn( &sfp, sfp.record() ) );
    EXPECT_EQ( 40u, sizeof( SfpXcvr ) );
    EXPECT_EQ( 8, Layout::offsetIn( &qsfp, &qsfp.id ) );
    EXPECT_EQ( 16, Layout::offsetIn( &qsfp, qsfp.record() ) );
    EXPECT_EQ( 40u, sizeof( QsfpXcvr ) );
}

TEST_F( XcvrTest, RecordLeadsToTheTableAndBackToTheDevice ) {
    EXPECT_EQ( &SfpXcvr::ops_, Layout::operationsOf( sfp.record() ) );
    EXPECT_EQ( &sfp, Layout::deviceBehind( sfp.record() ) );
    EXPECT_EQ( &QsfpXcvr::ops_, Layout::operationsOf( qsfp.record() ) );
    EXPECT_EQ( &qsfp, Layout::deviceBehind( qsfp.record() ) );
}

TEST_F( XcvrTest, ConstructorsLeaveTheHostsWordAlone ) {
    const Layout::MadeOverPattern<RecordingSfp> madeSfp( 1U );
    const Layout::MadeOverPattern<RecordingQsfp> madeQsfp( 1U );
    EXPECT_EQ( madeSfp.pattern, madeSfp.hostWord() );
    EXPECT_EQ( madeQsfp.pattern, madeQsfp.hostWord() );
}

TEST_F( XcvrTest, BothTablesAreOfOneSizeAndDifferInTheSecondWord ) {
    EXPECT_EQ( 80u, Layout::tableSize( &SfpXcvr::ops_ ) );
    EXPECT_EQ( 80u, Layout::tableSize( &QsfpXcvr::ops_ ) );
    EXPECT_EQ( 0u, Layout::tableSecondWord( &SfpXcvr::ops_ ) );
    EXPECT_EQ( 1u, Layout::tableSecondWord( &QsfpXcvr::ops_ ) );
}

TEST_F( XcvrTest, SubTablesBeginWithTheirSizes ) {
    EXPECT_EQ( 48u, Layout::slot( &SfpXcvr::ops_, 0 ) );
    EXPECT_EQ( 72u, Layout::slot( &QsfpXcvr::ops_, 0 ) );
}

TEST_F( XcvrTest, SfpTableIsZeroBehindItsSubTable ) {
    for ( size_t place = 6; place < 9; ++place ) {
        EXPECT_EQ( 0u, Layout::slot( &SfpXcvr::ops_, place ) );
    }
}

TEST_F( XcvrTest, SfpOperationsFollowTheDestructor ) {
    EXPECT_EQ( 2u, Layout::virtualSlot( &SfpXcvr::getPresence ) );
    EXPECT_EQ( 3u, Layout::virtualSlot( &SfpXcvr::getTxFault ) );
    EXPECT_EQ( 4u, Layout::virtualSlot( &SfpXcvr::getRxLos ) );
    EXPECT_EQ( 5u, Layout::virtualSlot( &SfpXcvr::getTxDisable ) );
    EXPECT_EQ( 6u, Layout::virtualSlot( &SfpXcvr::setTxDisable ) );
}

TEST_F( XcvrTest, QsfpOperationsFollowTheDestructor ) {
    EXPECT_EQ( 2u, Layout::virtualSlot( &QsfpXcvr::getPresence ) );
    EXPECT_EQ( 3u, Layout::virtualSlot( &QsfpXcvr::getModSel ) );
    EXPECT_EQ( 4u, Layout::virtualSlot( &QsfpXcvr::setModSel ) );
    EXPECT_EQ( 5u, Layout::virtualSlot( &QsfpXcvr::getLpMode ) );
    EXPECT_EQ( 6u, Layout::virtualSlot( &QsfpXcvr::setLpMode ) );
    EXPECT_EQ( 7u, Layout::virtualSlot( &QsfpXcvr::getReset ) );
    EXPECT_EQ( 8u, Layout::virtualSlot( &QsfpXcvr::setReset ) );
    EXPECT_EQ( 9u, Layout::virtualSlot( &QsfpXcvr::getInterrupt ) );
}

TEST_F( XcvrTest, PresenceIsTracedWithTheIdAndPassedOn ) {
    using Presence = int ( * )( pl_xcvr * );
    for ( pl_xcvr *record : { sfp.record(), qsfp.record() } ) {
        host().lines.clear();
        EXPECT_EQ( -70, functionAt<Presence>( *record, 0 )( record ) );
        EXPECT_THAT( traces(), ElementsAre( "4 getPresenceCallback(4000000000)" ) );
    }
}

TEST_F( XcvrTest, GettersAreTracedWithTheIdAndForwarded ) {
    for ( const GetterRow &row : sfpGetters ) {
        expectGetter( sfp.record(), row );
    }
    for ( const GetterRow &row : qsfpGetters ) {
        expectGetter( qsfp.record(), row );
    }
}

TEST_F( XcvrTest, SettersAreTracedWithIdAndValueAndForwarded ) {
    for ( const SetterRow &row : sfpSetters ) {
        expectSetter( sfp, row );
    }
    for ( const SetterRow &row : qsfpSetters ) {
        expectSetter( qsfp, row );
    }
}

TEST_F( XcvrTest, TypeDecidesWhichTransceiverIsMade ) {
    EXPECT_EQ( sfp.record(), add( R"("id": 3, "type": "sfp")" ) );
    EXPECT_EQ( sfp.record(), add( R"("id": 4, "type": "sfp+")" ) );
    EXPECT_EQ( qsfp.record(), add( R"("id": 5, "type": "qsfp")" ) );
    EXPECT_EQ( qsfp.record(), add( R"("id": 6, "type": "qsfp+")" ) );
    EXPECT_THAT( offer.asked,
                 ElementsAre( "newSfpXcvr 3", "newSfpXcvr 4", "newQsfpXcvr 5", "newQsfpXcvr 6" ) );
}

TEST_F( XcvrTest, IdIsDecimalAndSigned ) {
    for ( const char *id : { "\"-1\"", "\" 7\"", "\"+7\"", "\"007\"", "\"7abc\"", "\"0x7\"" } ) {
        add( std::string( R"("type": "sfp", "id": )" ) + id );
    }
    EXPECT_THAT( offer.asked, ElementsAre( "newSfpXcvr 4294967295", "newSfpXcvr 7", "newSfpXcvr 7",
                                           "newSfpXcvr 7", "newSfpXcvr 7", "newSfpXcvr 0" ) );
}

TEST_F( XcvrTest, IdThatIsNoNumberIsThrownBeforeTheTypeIsLookedAt ) {
    for ( const char *id : { "\"x\"", "\"\"", "\" \"", "\"-\"", "null", "true" } ) {
        EXPECT_THROW( add( std::string( R"("id": )" ) + id ), std::invalid_argument ) << id;
    }
}

TEST_F( XcvrTest, IdBeyondThirtyTwoBitsIsThrown ) {
    for ( const char *id : { "2147483648", "\"-2147483649\"" } ) {
        EXPECT_THROW( add( std::string( R"("type": "sfp", "id": )" ) + id ), std::out_of_range );
    }
}

TEST_F( XcvrTest, DriverThatRefusesIsTracedByItsFactoryOperation ) {
    offer.sfpXcvr = nullptr;
    offer.qsfpXcvr = nullptr;
    EXPECT_EQ( nullptr, add( R"("id": 3, "type": "sfp")" ) );
    EXPECT_THAT( tracesAfter( "Test device created" ), ElementsAre( "0 newSfpXcvr() failed" ) );
    EXPECT_EQ( nullptr, add( R"("id": 3, "type": "qsfp")" ) );
    EXPECT_EQ( "0 newQsfpXcvr() failed", traces().back() );
}

void expectEnd( const std::string &trace, void ( *add )() ) {
    EXPECT_DEATH( add(), testing::AllOf( testing::HasSubstr( "Assertion `" ),
                                         testing::HasSubstr( "\n0 " + trace + "\n" ) ) );
}

TEST_F( XcvrDeathTest, MissingIdIsTracedAndEndsTheProcess ) {
    tellTracesWhenDying();
    expectEnd( "No id argument given for Xcvr", [] { add( R"("type": "sfp")" ); } );
}

TEST_F( XcvrDeathTest, MissingTypeIsTracedAndEndsTheProcess ) {
    tellTracesWhenDying();
    expectEnd( "No type argument given for Xcvr", [] { add( R"("id": 3)" ); } );
}

TEST_F( XcvrDeathTest, TypeMatchesExactlyOrEndsTheProcess ) {
    tellTracesWhenDying();
    expectEnd( "Xcvr type QSFP not supported", [] { add( R"("id": 3, "type": "QSFP")" ); } );
    expectEnd( "Xcvr type sfp++ not supported", [] { add( R"("id": 3, "type": "sfp++")" ); } );
    expectEnd( "Xcvr type  not supported", [] { add( R"("id": 3, "type": "")" ); } );
}

} // namespace
