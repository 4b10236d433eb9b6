// Fan CPLD: six fan trays, each with a front and a rear rotor, behind 8-bit registers.
//
//     0x01          version
//     0x0f          presence, one bit a tray, 0 = present
//     0x10          airflow direction, one bit a tray
//     0x11          PWM code for all fans: 16 steps of 6.25 %, 0 is the first
//     0x12 .. 0x17  front tachometers, 100 rpm a count
//     0x22 .. 0x27  rear tachometers
//     0x33          cleared at start
#include "KavraGeneric/Drivers/Vunda/VundaTZCommonFanCpld.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/HostServices.h"
#include "KavraGeneric/NotImplementedException.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace Drivers {

namespace {

constexpr unsigned versionRegister = 0x01;
constexpr unsigned presenceRegister = 0x0F;
constexpr unsigned directionRegister = 0x10;
constexpr unsigned pwmRegister = 0x11;
constexpr unsigned startRegister = 0x33;

constexpr int rpmPerCount = 100;

// A program in the host's description language, which gets its blanks filled in.
constexpr char fdlTemplate[] = "FruFactoryIds: PLDevice\n"
                               "device.group = 'FanTray'\n"
                               "slotId = %hhu\n"
                               "device.fanTray = ( 'FanTray%%d' %% slotId, )\n"
                               "fanTray = device.fanTray\n"
                               "fanTray.modelName = '%s'\n"
                               "fanTray.serialNum = '%s'\n"
                               "fanTray.slotId = slotId\n"
                               "fan = fanTray.newFan( 'Fan%%d' %% ( slotId ) )\n"
                               "fan.airflowDirection = '%sAirflow'\n"
                               "fan.maxRpm = %u\n"
                               "fan.p = 0\n"
                               "fan.i = 0\n"
                               "fan.libPath = '%s'\n"
                               "fan.devArgs = '%s'\n";

constexpr const char *noSerial = "N/A"; // a tray does not tell it
constexpr const char *noLibrary = "";

bool bitOf( uint8_t content, unsigned char bit ) {
    return ( content >> bit & 1 ) != 0;
}

// Wraps round for speeds that no fan has, in either direction.
int timesHundred( int rpm ) {
    return static_cast<int>( static_cast<unsigned>( rpm ) * 100U );
}

uint8_t fanIdOf( const std::string &text ) {
    return static_cast<uint8_t>( std::stoi( text ) );
}

} // namespace

const uint8_t VundaTZCommonFanCpld::frontFanSpeedRegisters_[6] = { 0x12, 0x13, 0x14,
                                                                   0x15, 0x16, 0x17 };
const uint8_t VundaTZCommonFanCpld::rearFanSpeedRegisters_[6] = {
    0x22, 0x23, 0x24, 0x25, 0x26, 0x27
};

VundaTZCommonFanCpld::~VundaTZCommonFanCpld() = default;

// The write is a batch of its own in the middle of the read's, and takes the read's place in it:
// what is executed then is the write again, and the version is the byte that the server gives for
// a write.
void VundaTZCommonFanCpld::init() {
    access().prepare();
    const Ham::ResponseId version = access().addRead8( versionRegister );
    access().write8( startRegister, 0, false );
    if ( access().execute() != PL_STATUS_OK ) {
        pl_trace( 0, "VundaTZCommonFanCpld failed to initialize" );
        return;
    }
    pl_trace( 0, "Fan CPLD version %02x", access().get8( version ) );
}

float VundaTZCommonFanCpld::getFanMaxRpm() const {
    throw NotImplementedException( "getFanMaxRpm" );
}

bool VundaTZCommonFanCpld::isFrontToBackActiveHigh() const {
    throw NotImplementedException( "isFrontToBackActiveHigh" );
}

std::string VundaTZCommonFanCpld::getFanModelName( bool ) const {
    throw NotImplementedException( "getFanModelName" );
}

pl_status VundaTZCommonFanCpld::getFanRpm( Fan *fan, int *rpm ) {
    access().prepare();
    const Ham::ResponseId frontId = access().addRead8( frontFanSpeedRegisters_[fan->index()] );
    const Ham::ResponseId rearId = access().addRead8( rearFanSpeedRegisters_[fan->index()] );
    const pl_status status = access().execute();
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    const uint8_t front = access().get8( frontId );
    const uint8_t rear = access().get8( rearId );
    if ( front == 0 || rear == 0 ) {
        return PL_STATUS_BAD_READING;
    }
    *rpm = ( ( front + rear ) >> 1 ) * rpmPerCount;
    return PL_STATUS_OK;
}

pl_status VundaTZCommonFanCpld::setFanRpm( Fan *, int rpm ) {
    const float max = getFanMaxRpm();
    if ( static_cast<float>( rpm ) > max ) {
        rpm = static_cast<int>( max );
    }
    const float dutyCycle = static_cast<float>( timesHundred( rpm ) ) / max;
    const int regVal = static_cast<int>( 100.0F * dutyCycle / 625.0F - 1.0F );
    pl_trace( 5, "setFanRpm, rpm=%d, dutyCycle= %.2f, regVal=%d", rpm,
              static_cast<double>( dutyCycle ), regVal );
    return access().write8( pwmRegister, static_cast<uint8_t>( regVal ), false );
}

pl_status VundaTZCommonFanCpld::getFanPresence( unsigned char fanIndex, bool &present,
                                                bool &frontToBack ) {
    access().prepare();
    const Ham::ResponseId presenceId = access().addRead8( presenceRegister );
    const Ham::ResponseId directionId = access().addRead8( directionRegister );
    const pl_status status = access().execute();
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    present = !bitOf( access().get8( presenceId ), fanIndex );
    frontToBack = bitOf( access().get8( directionId ), fanIndex ) == isFrontToBackActiveHigh();
    return PL_STATUS_OK;
}

VundaTZCommonFanCpld::Fan::Fan( VundaTZCommonFanCpld *device, uint8_t index )
    : device_( device ), index_( index ) {}

pl_status VundaTZCommonFanCpld::Fan::getRpm( int *rpm ) {
    return device_->getFanRpm( this, rpm );
}

pl_status VundaTZCommonFanCpld::Fan::setRpm( int rpm ) {
    return device_->setFanRpm( this, rpm );
}

VundaTZCommonFanCpld::FanSlot::FanSlot( VundaTZCommonFanCpld *device, uint8_t fanId,
                                        DriverSpecificArgs args, const char *json )
    : Component::LogicalDevice::Slot( static_cast<uint8_t>( fanId - 1 ), std::move( args ), json ),
      device_( device ), slotId_( fanId ) {}

pl_status VundaTZCommonFanCpld::FanSlot::getPresence( char **fdl ) {
    bool present = false;
    bool frontToBack = false;
    const pl_status status = device_->getFanPresence( slotIndex_, present, frontToBack );
    if ( status != PL_STATUS_OK ) {
        return status;
    }
    if ( !present ) {
        return PL_STATUS_NOT_PRESENT;
    }
    if ( cachedFdl_.empty() || cachedFrontToBack_ != frontToBack ) {
        return describe( frontToBack, fdl );
    }
    char *copy = strdup( cachedFdl_.c_str() );
    if ( !copy ) {
        return PL_STATUS_FAILED;
    }
    *fdl = copy;
    return PL_STATUS_OK;
}

pl_status VundaTZCommonFanCpld::FanSlot::describe( bool frontToBack, char **fdl ) {
    const std::string model = device_->getFanModelName( frontToBack );
    const char *direction = frontToBack ? "frontToBack" : "backToFront";
    const auto maxRpm = static_cast<unsigned>( device_->getFanMaxRpm() );
    char *text = nullptr;
    if ( asprintf( &text, fdlTemplate, slotId_, model.c_str(), noSerial, direction, maxRpm,
                   noLibrary, json_ ? json_ : "" ) < 0 ) {
        return PL_STATUS_FAILED;
    }
    std::unique_ptr<char, decltype( &free )> owned( text, free );
    cachedFdl_ = text;
    cachedFrontToBack_ = frontToBack;
    *fdl = owned.release();
    return PL_STATUS_OK;
}

Component::LogicalDevice::Fan *VundaTZCommonFanCpld::newFan( const DriverArgs &args ) {
    assert( args.driverArgs.find( "fanId" ) != args.driverArgs.end() );
    const uint8_t fanId = fanIdOf( args.driverArgs.at( "fanId" ) );
    pl_trace( 5, "Creating new VundaTZCommonFanCpld Fan id %hhu", fanId );
    assert( fanId >= 1 && fanId <= 6 );
    return new Fan( this, static_cast<uint8_t>( fanId - 1 ) );
}

Component::LogicalDevice::Slot *VundaTZCommonFanCpld::newSlot( const DriverArgs &args ) {
    const auto setting = args.driverArgs.find( "fanId" );
    if ( setting == args.driverArgs.end() ) {
        pl_trace( 0, "Error: expected 'fanId' in driverArgs" );
        return nullptr;
    }
    const uint8_t fanId = fanIdOf( setting->second );
    pl_trace( 5, "Creating new VundaTZFanCpld Slot for Fan id %hhu", fanId );
    assert( fanId >= 1 && fanId <= 6 );
    return new FanSlot( this, fanId, args.driverArgs, args.json );
}

} // namespace Drivers
