#include "KavraGeneric/Components/Xcvr.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Components/DeviceBase.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/HostServices.h"

#include <cstddef>
#include <string>

namespace Component::LogicalDevice {

SfpXcvr::SfpXcvr( uint32_t number ) : id( number ), host_( &ops_, this ) {}

SfpXcvr::~SfpXcvr() = default;

static SfpXcvr &sfpOf( const pl_xcvr *xcvr ) {
    return HostRecord<pl_xcvr, SfpXcvr>::deviceOf( xcvr );
}

int SfpXcvr::getPresenceCallback( pl_xcvr *xcvr ) {
    SfpXcvr &self = sfpOf( xcvr );
    pl_trace( 4, "%s(%u)", "getPresenceCallback", self.id );
    return self.getPresence();
}

pl_status SfpXcvr::getTxFaultCallback( pl_xcvr *xcvr, int *fault ) {
    SfpXcvr &self = sfpOf( xcvr );
    pl_trace( 4, "%s(%u)", "getTxFaultCallback", self.id );
    return self.getTxFault( fault );
}

pl_status SfpXcvr::getRxLosCallback( pl_xcvr *xcvr, int *lossOfSignal ) {
    SfpXcvr &self = sfpOf( xcvr );
    pl_trace( 4, "%s(%u)", "getRxLosCallback", self.id );
    return self.getRxLos( lossOfSignal );
}

pl_status SfpXcvr::getTxDisableCallback( pl_xcvr *xcvr, int *disabled ) {
    SfpXcvr &self = sfpOf( xcvr );
    pl_trace( 4, "%s(%u)", "getTxDisableCallback", self.id );
    return self.getTxDisable( disabled );
}

pl_status SfpXcvr::setTxDisableCallback( pl_xcvr *xcvr, int disabled ) {
    SfpXcvr &self = sfpOf( xcvr );
    pl_trace( 4, "%s(%u, %d)", "setTxDisableCallback", self.id, disabled );
    return self.setTxDisable( disabled );
}

const pl_xcvr_ops SfpXcvr::ops_ = {
    .size = sizeof( pl_xcvr_ops ),
    .type = PL_XCVR_SFP,
    .u = { .sfp = {
        .size = sizeof( pl_sfp_ops ),
        .getPresence = getPresenceCallback,
        .getTxFault = getTxFaultCallback,
        .getRxLos = getRxLosCallback,
        .getTxDisable = getTxDisableCallback,
        .setTxDisable = setTxDisableCallback,
    } },
};
static_assert( sizeof( pl_sfp_ops ) == 48 );
static_assert( offsetof( pl_sfp_ops, getPresence ) == 8 );
static_assert( offsetof( pl_sfp_ops, getTxFault ) == 16 );
static_assert( offsetof( pl_sfp_ops, getRxLos ) == 24 );
static_assert( offsetof( pl_sfp_ops, getTxDisable ) == 32 );
static_assert( offsetof( pl_sfp_ops, setTxDisable ) == 40 );

QsfpXcvr::QsfpXcvr( uint32_t number ) : id( number ), host_( &ops_, this ) {}

QsfpXcvr::~QsfpXcvr() = default;

static QsfpXcvr &qsfpOf( const pl_xcvr *xcvr ) {
    return HostRecord<pl_xcvr, QsfpXcvr>::deviceOf( xcvr );
}

int QsfpXcvr::getPresenceCallback( pl_xcvr *xcvr ) {
    QsfpXcvr &self = qsfpOf( xcvr );
    pl_trace( 4, "%s(%u)", "getPresenceCallback", self.id );
    return self.getPresence();
}

pl_status QsfpXcvr::getModSelCallback( pl_xcvr *xcvr, int *selected ) {
    QsfpXcvr &self = qsfpOf( xcvr );
    pl_trace( 4, "%s(%u)", "getModSelCallback", self.id );
    return self.getModSel( selected );
}

pl_status QsfpXcvr::setModSelCallback( pl_xcvr *xcvr, int selected ) {
    QsfpXcvr &self = qsfpOf( xcvr );
    pl_trace( 4, "%s(%u, %d)", "setModSelCallback", self.id, selected );
    return self.setModSel( selected );
}

pl_status QsfpXcvr::getLpModeCallback( pl_xcvr *xcvr, int *lowPower ) {
    QsfpXcvr &self = qsfpOf( xcvr );
    pl_trace( 4, "%s(%u)", "getLpModeCallback", self.id );
    return self.getLpMode( lowPower );
}

pl_status QsfpXcvr::setLpModeCallback( pl_xcvr *xcvr, int lowPower ) {
    QsfpXcvr &self = qsfpOf( xcvr );
    pl_trace( 4, "%s(%u, %d)", "setLpModeCallback", self.id, lowPower );
    return self.setLpMode( lowPower );
}

pl_status QsfpXcvr::getResetCallback( pl_xcvr *xcvr, int *inReset ) {
    QsfpXcvr &self = qsfpOf( xcvr );
    pl_trace( 4, "%s(%u)", "getResetCallback", self.id );
    return self.getReset( inReset );
}

pl_status QsfpXcvr::setResetCallback( pl_xcvr *xcvr, int inReset ) {
    QsfpXcvr &self = qsfpOf( xcvr );
    pl_trace( 4, "%s(%u, %d)", "setResetCallback", self.id, inReset );
    return self.setReset( inReset );
}

pl_status QsfpXcvr::getInterruptCallback( pl_xcvr *xcvr, int *asserted ) {
    QsfpXcvr &self = qsfpOf( xcvr );
    pl_trace( 4, "%s(%u)", "getInterruptCallback", self.id );
    return self.getInterrupt( asserted );
}

const pl_xcvr_ops QsfpXcvr::ops_ = {
    .size = sizeof( pl_xcvr_ops ),
    .type = PL_XCVR_QSFP,
    .u = { .qsfp = {
        .size = sizeof( pl_qsfp_ops ),
        .getPresence = getPresenceCallback,
        .getModSel = getModSelCallback,
        .setModSel = setModSelCallback,
        .getLpMode = getLpModeCallback,
        .setLpMode = setLpModeCallback,
        .getReset = getResetCallback,
        .setReset = setResetCallback,
        .getInterrupt = getInterruptCallback,
    } },
};
static_assert( sizeof( pl_qsfp_ops ) == 72 );
static_assert( offsetof( pl_qsfp_ops, getPresence ) == 8 );
static_assert( offsetof( pl_qsfp_ops, getModSel ) == 16 );
static_assert( offsetof( pl_qsfp_ops, setModSel ) == 24 );
static_assert( offsetof( pl_qsfp_ops, getLpMode ) == 32 );
static_assert( offsetof( pl_qsfp_ops, setLpMode ) == 40 );
static_assert( offsetof( pl_qsfp_ops, getReset ) == 48 );
static_assert( offsetof( pl_qsfp_ops, setReset ) == 56 );
static_assert( offsetof( pl_qsfp_ops, getInterrupt ) == 64 );

static_assert( sizeof( pl_xcvr_ops ) == 80 );
static_assert( offsetof( pl_xcvr_ops, u ) == 8 );

} // namespace Component::LogicalDevice

static pl_xcvr *addQsfp( Component::DeviceBase &device, unsigned id,
                         const Drivers::DriverArgs &args ) {
    Component::LogicalDevice::QsfpXcvr *xcvr = device.newQsfpXcvr( id, args );
    if ( !xcvr ) {
        pl_trace( 0, "newQsfpXcvr() failed" );
        return nullptr;
    }
    return xcvr->record();
}

static pl_xcvr *addSfp( Component::DeviceBase &device, unsigned id,
                        const Drivers::DriverArgs &args ) {
    Component::LogicalDevice::SfpXcvr *xcvr = device.newSfpXcvr( id, args );
    if ( !xcvr ) {
        pl_trace( 0, "newSfpXcvr() failed" );
        return nullptr;
    }
    return xcvr->record();
}

pl_xcvr *pl_xcvr_add( const char *arguments ) {
    Drivers::DriverArgs args;
    Component::DeviceBase *device = Component::DeviceBase::create( arguments, args );
    if ( !device ) {
        pl_trace( 0, "DeviceBase::create() failed" );
        return nullptr;
    }
    const auto idArg = args.driverArgs.find( "id" );
    if ( idArg == args.driverArgs.end() ) {
        pl_trace( 0, "No id argument given for Xcvr" );
    }
    assert( idArg != args.driverArgs.end() );
    const auto id = static_cast<unsigned>( std::stoi( idArg->second ) );
    const auto typeArg = args.driverArgs.find( "type" );
    if ( typeArg == args.driverArgs.end() ) {
        pl_trace( 0, "No type argument given for Xcvr" );
    }
    assert( typeArg != args.driverArgs.end() );
    const std::string &type = typeArg->second;
    if ( type == "qsfp" || type == "qsfp+" ) {
        return addQsfp( *device, id, args );
    }
    if ( type == "sfp" || type == "sfp+" ) {
        return addSfp( *device, id, args );
    }
    pl_trace( 0, "Xcvr type %s not supported", type.c_str() );
    assert( false && "Xcvr type not supported" );
    return nullptr;
}
