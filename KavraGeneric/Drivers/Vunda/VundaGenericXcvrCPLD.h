#pragma once

#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Components/PollingDevice.h"
#include "KavraGeneric/Components/Xcvr.h"

namespace Drivers {

/// The control and status lines of the transceiver cages, gathered in the 8-bit registers of a
/// CPLD. It has no register map of its own: each port's arguments say where its signals lie. Every
/// read is served from a cache that a poll refreshes once a second, in one batch; a register joins
/// the poll when one of its signals is first used, and reads as 0 until then. Writes go to the chip
/// at once and change a register as the cache has it.
class VundaGenericXcvrCPLD final : public Component::PollingDevice<Component::HardwareDevice> {
  public:
    class QsfpXcvr;
    class SfpXcvr;

    /// Where a signal lies.
    struct Signal {
        uint8_t reg;
        uint8_t bit;        ///< 0 is the least significant; taken modulo 32, so 8 and up read as 0
        uint8_t activeHigh; ///< 0 or 1
    };

    /// Makes the poll timer as well, unarmed.
    static Component::DeviceBase *create( const DriverArgs &args, Ham::Ham *ham );
    /// Deletes the poll timer.
    ~VundaGenericXcvrCPLD() override;

    /// Refreshes the cache and starts the poll. Asserts that both succeed.
    void init() override;
    /// Both throw std::out_of_range for a missing key ("map::at") and for a number beyond an int
    /// ("stoi"), std::invalid_argument ("stoi") for a text without a leading number.
    Component::LogicalDevice::SfpXcvr *newSfpXcvr( unsigned int id,
                                                   const DriverArgs &args ) override;
    Component::LogicalDevice::QsfpXcvr *newQsfpXcvr( unsigned int id,
                                                     const DriverArgs &args ) override;
    /// Refreshes the cache. Asserts that it succeeds: a CPLD that does not answer is fatal.
    void pollCallback() override;

    /// @name Signals of a port
    /// A read gives 0 or 1, touches no bus and cannot fail. A write returns the access method's
    /// status.
    /// @{
    pl_status getQsfpPresence( const QsfpXcvr *xcvr, int *present );
    pl_status getQsfpReset( const QsfpXcvr *xcvr, int *inReset );
    pl_status setQsfpReset( const QsfpXcvr *xcvr, int inReset );
    pl_status getQsfpInterrupt( const QsfpXcvr *xcvr, int *asserted );
    pl_status getSfpPresence( const SfpXcvr *xcvr, int *present );
    pl_status getSfpRxLos( const SfpXcvr *xcvr, int *lossOfSignal );
    /// 0 for a cage without that line.
    pl_status getSfpTxFault( const SfpXcvr *xcvr, int *fault );
    pl_status getSfpTxDisable( const SfpXcvr *xcvr, int *disabled );
    pl_status setSfpTxDisable( const SfpXcvr *xcvr, int disabled );
    /// @}

    /// The bit as the cache has it, turned round unless activeHigh.
    pl_status getRegisterBit( unsigned char reg, unsigned char bit, int *value, bool activeHigh );
    /// Writes the register at once. A failed write leaves the cache as it was.
    pl_status setRegisterBit( unsigned char reg, unsigned char bit, int value, bool activeHigh );

  private:
    VundaGenericXcvrCPLD();

    void updateRegisterCache();
    pl_status read( const Signal &signal, int *value );
    pl_status write( const Signal &signal, int value );

    std::map<uint8_t, uint8_t> registerCache_; // register to its last known content
};

/// The CPLD drives no module select and no low-power line: setting them does nothing, getting them
/// leaves the output alone, and all four succeed.
class VundaGenericXcvrCPLD::QsfpXcvr final : public Component::LogicalDevice::QsfpXcvr {
  public:
    struct Signals {
        Signal presence;
        Signal getReset;
        Signal setReset;
        Signal interrupt;
    };

    QsfpXcvr( VundaGenericXcvrCPLD *device, unsigned int number, const Signals &signals );

    int getPresence() override;
    pl_status getModSel( int *selected ) override;
    pl_status setModSel( int selected ) override;
    pl_status getLpMode( int *lowPower ) override;
    pl_status setLpMode( int lowPower ) override;
    pl_status getReset( int *inReset ) override;
    pl_status setReset( int inReset ) override;
    pl_status getInterrupt( int *asserted ) override;

    uint8_t portId() const { return portId_; }
    const Signals &signals() const { return signals_; }

  private:
    uint8_t portId_; // low byte of the cage's number
    VundaGenericXcvrCPLD *device_;
    Signals signals_;
};

class VundaGenericXcvrCPLD::SfpXcvr final : public Component::LogicalDevice::SfpXcvr {
  public:
    struct Signals {
        Signal presence;
        Signal rxLos;
        bool txFaultSupported;
        Signal txFault;
        Signal getTxDisable;
        Signal setTxDisable;
    };

    SfpXcvr( VundaGenericXcvrCPLD *device, unsigned int number, const Signals &signals );

    int getPresence() override;
    pl_status getTxFault( int *fault ) override;
    pl_status getRxLos( int *lossOfSignal ) override;
    pl_status getTxDisable( int *disabled ) override;
    pl_status setTxDisable( int disabled ) override;

    uint8_t portId() const { return portId_; }
    const Signals &signals() const { return signals_; }

  private:
    uint8_t portId_;
    VundaGenericXcvrCPLD *device_;
    Signals signals_;
};

} // namespace Drivers
