// The identity of SFF-8472, without its diagnostics.
#include "EmulatedBoard/SfpModule.h"

namespace EmulatedBoard {

static constexpr XcvrModule::FixedByte fixedBytes[] = {
    { 0, 0x03 },                // identifier: SFP, SFP+
    { 1, 0x04 },                // identified by these bytes alone
    { 2, 0x07 },                // connector: LC
    { 3, 0x10 },                // compliance: 10GBASE-SR
    { 11, 0x06 },               // encoding: 64B/66B
    { 12, 103 },                // nominal rate, 100 Mb/s
    { 19, 30 },                 // reach over OM3, 10 m
    { 60, 0x03 },               // wavelength: 850 nm
    { 61, 0x52 }, { 65, 0x1a }, // has the lines for loss of signal, fault and disable
};
static constexpr XcvrModule::CheckCode checkCodes[] = { { 0, 62, 63 }, { 64, 94, 95 } };
static constexpr XcvrModule::Layout layout = {
    .fixed = fixedBytes,
    .manufacturer = { 20, 16 },
    .model = { 40, 16 },
    .revision = { 56, 4 },
    .serial = { 68, 16 },
    .checkCodes = checkCodes,
};

static const SfpModule &sfp( const XcvrModule &module ) {
    return static_cast<const SfpModule &>( module );
}

const XcvrModule::Line SfpModule::lines_[] = {
    { "presence", []( const XcvrModule &module ) { return module.present(); }, nullptr },
    { "rx_los", []( const XcvrModule &module ) { return sfp( module ).seesNoSignal(); }, nullptr },
    { "tx_fault", []( const XcvrModule &module ) { return sfp( module ).reportsFault(); },
      nullptr },
    { "tx_disable", []( const XcvrModule &module ) { return sfp( module ).txDisable_; },
      []( XcvrModule &module, bool asserted ) {
          static_cast<SfpModule &>( module ).txDisable_ = asserted;
      } },
    { "tx_disable_status", []( const XcvrModule &module ) { return sfp( module ).txDisable_; },
      nullptr },
};

SfpModule::SfpModule( uint8_t address ) : XcvrModule( address, layout ) {}

std::span<const XcvrModule::Line> SfpModule::lines() const {
    return lines_;
}

// The lines of an empty cage are pulled up, where these two are asserted.
bool SfpModule::seesNoSignal() const {
    return !present() || rxLos_;
}

bool SfpModule::reportsFault() const {
    return !present() || ( txFault_ && !txDisable_ );
}

std::vector<Knob> SfpModule::lineKnobs() {
    return { worldKnob( "rx_los", "1: no light comes in", rxLos_ ),
             worldKnob( "tx_fault", "1: the laser fails whenever it is on", txFault_ ),
             drivenKnob( "tx_disable", "1: the board turns the cage's transmitter off",
                         txDisable_ ) };
}

} // namespace EmulatedBoard
