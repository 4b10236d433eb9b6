// Transceiver CPLD: the low-speed lines of the front-panel cages in 8-bit registers. Which register
// and bit a line has differs from board to board and comes with each port's arguments:
//
//     QSFP   presence, reset (read and write side), interrupt
//     SFP    presence, receiver loss of signal, transmitter fault, transmitter disable (both sides)
#include "KavraGeneric/Drivers/Vunda/VundaGenericXcvrCPLD.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/Ham.h"

#include <string>

namespace Drivers {

namespace {

using Polling = Component::PollingDevice<Component::HardwareDevice>;
using Settings = std::map<std::string, std::string>;
using Signal = VundaGenericXcvrCPLD::Signal;

constexpr uint32_t pollMilliseconds = 1000;

// A port without that line: never read.
constexpr Signal noTxFault = { 0, 0, 1 };

uint8_t lowByte( const Settings &settings, const std::string &key ) {
    return static_cast<uint8_t>( std::stoi( settings.at( key ) ) );
}

Signal signalOf( const Settings &settings, const std::string &name ) {
    const uint8_t reg = lowByte( settings, name + "Reg" );
    const uint8_t bit = lowByte( settings, name + "Bit" );
    return { reg, bit, settings.at( name + "ActiveHigh" ) == "true" };
}

bool txFaultIsSupported( const Settings &settings ) {
    const auto setting = settings.find( "txFaultSupported" );
    return setting == settings.end() || setting->second == "true";
}

constexpr unsigned maskOf( unsigned char bit ) {
    return 1U << ( bit % 32 );
}

int presenceStatus( pl_status status, int present ) {
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    return present ? PL_STATUS_OK : PL_STATUS_NOT_PRESENT;
}

template <typename Xcvr>
void traceOperation( const char *name, const Xcvr *xcvr ) {
    pl_trace( 6, "%s(): id=%hhu", name, xcvr->portId() );
}

} // namespace

VundaGenericXcvrCPLD::VundaGenericXcvrCPLD() {
    pl_trace( 0, "creating timer" );
    pollTimer_ = pl_timer_add( handlePollTimerCallback, static_cast<Polling *>( this ) );
}

VundaGenericXcvrCPLD::~VundaGenericXcvrCPLD() {
    registerCache_.clear();
    pl_trace( 0, "destroying timer" );
    if ( pollTimer_ ) {
        pl_timer_delete( pollTimer_ );
    }
}

void VundaGenericXcvrCPLD::init() {
    pl_trace( 0, "VundaGenericXcvrCPLD::init()" );
    updateRegisterCache();
    pollPeriod_ = pollMilliseconds;
    if ( !pollArmed_ ) {
        assert( pollStart() );
    }
}

void VundaGenericXcvrCPLD::pollCallback() {
    updateRegisterCache();
}

void VundaGenericXcvrCPLD::updateRegisterCache() {
    access().prepare();
    Ham::ResponseId last = Ham::INVALID_RESPONSE_ID;
    for ( const auto &entry : registerCache_ ) {
        last = access().addRead8( entry.first );
    }
    if ( access().execute() != PL_STATUS_OK ) {
        pl_trace( 0, "Failed to poll information for VundaGenericXcvrCPLD" );
        assert( false );
    }
    // The identifiers of one batch are consecutive.
    Ham::ResponseId id = last - static_cast<Ham::ResponseId>( registerCache_.size() ) + 1;
    for ( auto &entry : registerCache_ ) {
        entry.second = access().get8( id++ );
    }
    pl_trace( 6, "Register cache updated for VundaGenericXcvrCPLD" );
}

pl_status VundaGenericXcvrCPLD::getRegisterBit( unsigned char reg, unsigned char bit, int *value,
                                                bool activeHigh ) {
    const uint8_t content = registerCache_[reg];
    const bool set = ( content & maskOf( bit ) ) != 0;
    *value = set == activeHigh ? 1 : 0;
    pl_trace( 6, "%s(): reg=%x, bit=%d, activeHigh=%d, regContent=%x, value=%d", "getRegisterBit",
              reg, bit, activeHigh, content, *value );
    return PL_STATUS_OK;
}

// The other bits of a register that was never polled are written as 0.
pl_status VundaGenericXcvrCPLD::setRegisterBit( unsigned char reg, unsigned char bit, int value,
                                                bool activeHigh ) {
    uint8_t &cached = registerCache_[reg];
    const bool set = ( value != 0 ) == activeHigh;
    const unsigned mask = maskOf( bit );
    const auto content = static_cast<uint8_t>( set ? cached | mask : cached & ~mask );
    const pl_status status = access().write8( reg, content, false );
    if ( status == PL_STATUS_OK ) {
        cached = content;
    }
    return status;
}

pl_status VundaGenericXcvrCPLD::read( const Signal &signal, int *value ) {
    return getRegisterBit( signal.reg, signal.bit, value, signal.activeHigh );
}

pl_status VundaGenericXcvrCPLD::write( const Signal &signal, int value ) {
    return setRegisterBit( signal.reg, signal.bit, value, signal.activeHigh );
}

pl_status VundaGenericXcvrCPLD::getQsfpPresence( const QsfpXcvr *xcvr, int *present ) {
    traceOperation( "getQsfpPresence", xcvr );
    return read( xcvr->signals().presence, present );
}

pl_status VundaGenericXcvrCPLD::getQsfpReset( const QsfpXcvr *xcvr, int *inReset ) {
    traceOperation( "getQsfpReset", xcvr );
    return read( xcvr->signals().getReset, inReset );
}

pl_status VundaGenericXcvrCPLD::setQsfpReset( const QsfpXcvr *xcvr, int inReset ) {
    traceOperation( "setQsfpReset", xcvr );
    return write( xcvr->signals().setReset, inReset );
}

pl_status VundaGenericXcvrCPLD::getQsfpInterrupt( const QsfpXcvr *xcvr, int *asserted ) {
    traceOperation( "getQsfpInterrupt", xcvr );
    return read( xcvr->signals().interrupt, asserted );
}

pl_status VundaGenericXcvrCPLD::getSfpPresence( const SfpXcvr *xcvr, int *present ) {
    traceOperation( "getSfpPresence", xcvr );
    return read( xcvr->signals().presence, present );
}

pl_status VundaGenericXcvrCPLD::getSfpRxLos( const SfpXcvr *xcvr, int *lossOfSignal ) {
    traceOperation( "getSfpRxLos", xcvr );
    return read( xcvr->signals().rxLos, lossOfSignal );
}

pl_status VundaGenericXcvrCPLD::getSfpTxFault( const SfpXcvr *xcvr, int *fault ) {
    traceOperation( "getSfpTxFault", xcvr );
    if ( !xcvr->signals().txFaultSupported ) {
        *fault = 0;
        return PL_STATUS_OK;
    }
    return read( xcvr->signals().txFault, fault );
}

pl_status VundaGenericXcvrCPLD::getSfpTxDisable( const SfpXcvr *xcvr, int *disabled ) {
    traceOperation( "getSfpTxDisable", xcvr );
    return read( xcvr->signals().getTxDisable, disabled );
}

pl_status VundaGenericXcvrCPLD::setSfpTxDisable( const SfpXcvr *xcvr, int disabled ) {
    traceOperation( "setSfpTxDisable", xcvr );
    return write( xcvr->signals().setTxDisable, disabled );
}

VundaGenericXcvrCPLD::QsfpXcvr::QsfpXcvr( VundaGenericXcvrCPLD *device, unsigned int number,
                                          const Signals &signals )
    : Component::LogicalDevice::QsfpXcvr( number ), portId_( static_cast<uint8_t>( number ) ),
      device_( device ), signals_( signals ) {}

int VundaGenericXcvrCPLD::QsfpXcvr::getPresence() {
    int present = 0;
    const pl_status status = device_->getQsfpPresence( this, &present );
    return presenceStatus( status, present );
}

pl_status VundaGenericXcvrCPLD::QsfpXcvr::getModSel( int * ) {
    return PL_STATUS_OK;
}

pl_status VundaGenericXcvrCPLD::QsfpXcvr::setModSel( int ) {
    return PL_STATUS_OK;
}

pl_status VundaGenericXcvrCPLD::QsfpXcvr::getLpMode( int * ) {
    return PL_STATUS_OK;
}

pl_status VundaGenericXcvrCPLD::QsfpXcvr::setLpMode( int ) {
    return PL_STATUS_OK;
}

pl_status VundaGenericXcvrCPLD::QsfpXcvr::getReset( int *inReset ) {
    return device_->getQsfpReset( this, inReset );
}

pl_status VundaGenericXcvrCPLD::QsfpXcvr::setReset( int inReset ) {
    return device_->setQsfpReset( this, inReset );
}

pl_status VundaGenericXcvrCPLD::QsfpXcvr::getInterrupt( int *asserted ) {
    return device_->getQsfpInterrupt( this, asserted );
}

VundaGenericXcvrCPLD::SfpXcvr::SfpXcvr( VundaGenericXcvrCPLD *device, unsigned int number,
                                        const Signals &signals )
    : Component::LogicalDevice::SfpXcvr( number ), portId_( static_cast<uint8_t>( number ) ),
      device_( device ), signals_( signals ) {}

int VundaGenericXcvrCPLD::SfpXcvr::getPresence() {
    int present = 0;
    const pl_status status = device_->getSfpPresence( this, &present );
    return presenceStatus( status, present );
}

pl_status VundaGenericXcvrCPLD::SfpXcvr::getTxFault( int *fault ) {
    return device_->getSfpTxFault( this, fault );
}

pl_status VundaGenericXcvrCPLD::SfpXcvr::getRxLos( int *lossOfSignal ) {
    return device_->getSfpRxLos( this, lossOfSignal );
}

pl_status VundaGenericXcvrCPLD::SfpXcvr::getTxDisable( int *disabled ) {
    return device_->getSfpTxDisable( this, disabled );
}

pl_status VundaGenericXcvrCPLD::SfpXcvr::setTxDisable( int disabled ) {
    return device_->setSfpTxDisable( this, disabled );
}

// Signals are read in the order of the braces, which is the order in which a broken port's
// arguments are found out.
Component::LogicalDevice::QsfpXcvr *VundaGenericXcvrCPLD::newQsfpXcvr( unsigned int id,
                                                                       const DriverArgs &args ) {
    const Settings &settings = args.driverArgs;
    const QsfpXcvr::Signals signals = {
        signalOf( settings, "getPresence" ),
        signalOf( settings, "getReset" ),
        signalOf( settings, "setReset" ),
        signalOf( settings, "getInterrupt" ),
    };
    pl_trace( 5, "creating new QsfpXcvr with id=%hhu", static_cast<uint8_t>( id ) );
    return new QsfpXcvr( this, id, signals );
}

Component::LogicalDevice::SfpXcvr *VundaGenericXcvrCPLD::newSfpXcvr( unsigned int id,
                                                                     const DriverArgs &args ) {
    const Settings &settings = args.driverArgs;
    const bool txFaultSupported = txFaultIsSupported( settings );
    const SfpXcvr::Signals signals = {
        signalOf( settings, "getPresence" ),
        signalOf( settings, "getRxLos" ),
        txFaultSupported,
        txFaultSupported ? signalOf( settings, "getTxFault" ) : noTxFault,
        signalOf( settings, "getTxDisable" ),
        signalOf( settings, "setTxDisable" ),
    };
    pl_trace( 5, "creating new SfpXcvr with id=%hhu", static_cast<uint8_t>( id ) );
    return new SfpXcvr( this, id, signals );
}

Component::DeviceBase *VundaGenericXcvrCPLD::create( const DriverArgs &, Ham::Ham * ) {
    pl_trace( 5, "Creating VundaGenericXcvrCPLD device" );
    return new VundaGenericXcvrCPLD;
}

} // namespace Drivers
