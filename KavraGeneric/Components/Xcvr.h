#pragma once

#include "KavraGeneric/Components/HostRecord.h"

#include <PlatformLibrary/pl.h>

namespace Component::LogicalDevice {

/// Control signals of an SFP cage, each 0 or 1.
class SfpXcvr {
  public:
    explicit SfpXcvr( uint32_t number );
    SfpXcvr( const SfpXcvr & ) = delete;
    SfpXcvr &operator=( const SfpXcvr & ) = delete;
    virtual ~SfpXcvr();

    /// @return 0 when a module is there, 1 when not, or the status of a read that failed
    virtual int getPresence() = 0;
    virtual pl_status getTxFault( int *fault ) = 0;
    virtual pl_status getRxLos( int *lossOfSignal ) = 0;
    virtual pl_status getTxDisable( int *disabled ) = 0;
    virtual pl_status setTxDisable( int disabled ) = 0;

    pl_xcvr *record() { return &host_.record; }

    static int getPresenceCallback( pl_xcvr *xcvr );
    static pl_status getTxFaultCallback( pl_xcvr *xcvr, int *fault );
    static pl_status getRxLosCallback( pl_xcvr *xcvr, int *lossOfSignal );
    static pl_status getTxDisableCallback( pl_xcvr *xcvr, int *disabled );
    static pl_status setTxDisableCallback( pl_xcvr *xcvr, int disabled );
    static const pl_xcvr_ops ops_;

    const uint32_t id; ///< number of the cage, as the host counts

  private:
    HostRecord<pl_xcvr, SfpXcvr> host_;
};

/// Control signals of a QSFP cage, each 0 or 1.
class QsfpXcvr {
  public:
    explicit QsfpXcvr( uint32_t number );
    QsfpXcvr( const QsfpXcvr & ) = delete;
    QsfpXcvr &operator=( const QsfpXcvr & ) = delete;
    virtual ~QsfpXcvr();

    /// @return 0 when a module is there, 1 when not, or the status of a read that failed
    virtual int getPresence() = 0;
    virtual pl_status getModSel( int *selected ) = 0;
    virtual pl_status setModSel( int selected ) = 0;
    virtual pl_status getLpMode( int *lowPower ) = 0;
    virtual pl_status setLpMode( int lowPower ) = 0;
    virtual pl_status getReset( int *inReset ) = 0;
    virtual pl_status setReset( int inReset ) = 0;
    virtual pl_status getInterrupt( int *asserted ) = 0;

    pl_xcvr *record() { return &host_.record; }

    static int getPresenceCallback( pl_xcvr *xcvr );
    static pl_status getModSelCallback( pl_xcvr *xcvr, int *selected );
    static pl_status setModSelCallback( pl_xcvr *xcvr, int selected );
    static pl_status getLpModeCallback( pl_xcvr *xcvr, int *lowPower );
    static pl_status setLpModeCallback( pl_xcvr *xcvr, int lowPower );
    static pl_status getResetCallback( pl_xcvr *xcvr, int *inReset );
    static pl_status setResetCallback( pl_xcvr *xcvr, int inReset );
    static pl_status getInterruptCallback( pl_xcvr *xcvr, int *asserted );
    static const pl_xcvr_ops ops_;

    const uint32_t id; ///< number of the cage, as the host counts

  private:
    HostRecord<pl_xcvr, QsfpXcvr> host_;
};

} // namespace Component::LogicalDevice
