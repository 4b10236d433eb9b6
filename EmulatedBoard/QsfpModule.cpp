// The memory map of SFF-8636: the lower page, and page 00 as the upper one. There is no other page.
#include "EmulatedBoard/QsfpModule.h"

namespace EmulatedBoard {

constexpr uint8_t statusOffset = 2;
constexpr unsigned flatMemory = 0x04;
constexpr unsigned noInterrupt = 0x02; // the pin, which is low when it is asserted

static constexpr XcvrModule::FixedByte fixedBytes[] = {
    { 0, 0x0d },   // identifier: QSFP+
    { 1, 0x06 },   // revision of the map: 2.5
    { 128, 0x0d }, // identifier, again
    { 130, 0x0c }, // connector: MPO
    { 131, 0x04 }, // compliance: 40GBASE-SR4
    { 139, 0x05 }, // encoding: 64B/66B
    { 140, 103 },  // nominal rate of a lane, 100 Mb/s
    { 143, 50 },   // reach over OM3, 2 m
    { 186, 0x42 }, // wavelength, 0.05 nm: 850 nm
    { 187, 0x68 },
};
static constexpr XcvrModule::CheckCode checkCodes[] = { { 128, 190, 191 }, { 192, 222, 223 } };
static constexpr XcvrModule::Layout layout = {
    .fixed = fixedBytes,
    .manufacturer = { 148, 16 },
    .model = { 168, 16 },
    .revision = { 184, 2 },
    .serial = { 196, 16 },
    .checkCodes = checkCodes,
};

static const QsfpModule &qsfp( const XcvrModule &module ) {
    return static_cast<const QsfpModule &>( module );
}

const XcvrModule::Line QsfpModule::lines_[] = {
    { "presence", []( const XcvrModule &module ) { return module.present(); }, nullptr },
    { "reset", []( const XcvrModule &module ) { return qsfp( module ).reset_; },
      []( XcvrModule &module, bool asserted ) {
          static_cast<QsfpModule &>( module ).resetIs( asserted );
      } },
    { "reset_status", []( const XcvrModule &module ) { return qsfp( module ).reset_; }, nullptr },
    { "interrupt", []( const XcvrModule &module ) { return qsfp( module ).interrupts(); },
      nullptr },
};

QsfpModule::QsfpModule( uint8_t address ) : XcvrModule( address, layout ) {}

std::span<const XcvrModule::Line> QsfpModule::lines() const {
    return lines_;
}

bool QsfpModule::answers() const {
    return present() && !reset_;
}

// The line of an empty cage is pulled up, where it is not asserted.
bool QsfpModule::interrupts() const {
    return present() && !reset_ && interrupt_;
}

void QsfpModule::resetIs( bool asserted ) {
    reset_ = asserted;
    if ( asserted ) {
        powerOn();
    }
}

uint8_t QsfpModule::byteAt( uint8_t offset ) const {
    if ( offset == statusOffset ) {
        return static_cast<uint8_t>( flatMemory | ( interrupts() ? 0 : noInterrupt ) );
    }
    return XcvrModule::byteAt( offset );
}

std::vector<Knob> QsfpModule::lineKnobs() {
    return { worldKnob( "interrupt", "1: something has happened that the module reports",
                        interrupt_ ),
             drivenKnob( "reset", "1: the board holds the cage's reset line", reset_ ) };
}

} // namespace EmulatedBoard
