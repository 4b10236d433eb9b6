// Slot of a power supply: which supply it holds. How a supply tells its serial number and model is
// in the file of each identification type, PsuSlotPmbus.cpp and its neighbours.
#include "KavraGeneric/Drivers/PsuSlot.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Drivers/Helpers.h"
#include "KavraGeneric/HostServices.h"

#include <cstring>
#include <stdexcept>

namespace Drivers {

namespace {

using Type = PsuSlot::Slot::IdentificationType;

struct Identification {
    const char *name; // in the documents
    Type type;
    pl_status ( PsuSlot::Slot::*read )( std::string &serial, std::string &model );
};
constexpr Identification identifications[] = {
    { "pmbus", Type::pmbus, &PsuSlot::Slot::readSerialAndModelPmbus },
    { "ipmi", Type::ipmi, &PsuSlot::Slot::readSerialAndModelIpmi },
    { "ipmitool", Type::ipmitool, &PsuSlot::Slot::readSerialAndModelIpmitool },
    { "ipmitool_raw", Type::ipmitool_raw, &PsuSlot::Slot::readSerialAndModelIpmitool },
    { "wedge", Type::wedge, &PsuSlot::Slot::readSerialAndModelWedge },
    { "tlv", Type::tlv, &PsuSlot::Slot::readSerialAndModelTlv },
};

constexpr int identificationAttempts = 3;

constexpr const char *serialKey = "serialNum"; // of the templates

pl_status handOut( const char *text, char **fdl ) {
    char *copy = strdup( text );
    if ( !copy ) {
        return PL_STATUS_FAILED;
    }
    *fdl = copy;
    return PL_STATUS_OK;
}

} // namespace

// In simulation both results of a batch come from the register that was queued last, so a supply's
// serial number is also its model. The text begins with the block's count: get8() takes "0D" for
// 13, the count byte is then the "0", and the blanks make up the 13.
// clang-format off
Utils::ExpectedValues PsuSlot::values = {
    { 0x08, { 0, 1 } },                   // wedge: both supplies are there
    { 0x9A, { "DPS550AB6A", 10 } },
    { 0x9E, { "0DPS550AB6A   ", 14 } },
};
// clang-format on

PsuSlot::~PsuSlot() = default;

Utils::ExpectedValues &PsuSlot::expectedValues() {
    return values;
}

PsuSlot::Slot::Slot( PsuSlot *device, uint8_t index, DriverSpecificArgs args, const char *json )
    : Component::LogicalDevice::Slot( index, std::move( args ), json ), device_( device ),
      formatter_( {} ) {
    readIdentificationType();
    readToolCommand();
    readModels();
    readGpios();
    assertOnUnknownModelName_ = flag( "assertOnUnknownModelName", false );
    allowInvalidCommonHeaderChecksum_ = flag( "allowInvalidCommonHeaderChecksum", true );
}

PsuSlot::Slot::~Slot() = default;

void PsuSlot::Slot::readIdentificationType() {
    const std::string &name = slotArgs_["identificationType"];
    pl_trace( 1, "PsuSlot identification type: %s", name.c_str() );
    for ( const Identification &identification : identifications ) {
        if ( name == identification.name ) {
            identificationType_ = identification.type;
            return;
        }
    }
    pl_trace( 0, "Invalid identification type: '%s'", name.c_str() );
}

const std::string &PsuSlot::Slot::requiredArg( const char *key, const char *missing ) const {
    const auto it = slotArgs_.find( key );
    if ( it == slotArgs_.end() ) {
        pl_trace( 0, "%s", missing );
        assert( it != slotArgs_.end() );
    }
    return it->second;
}

void PsuSlot::Slot::readToolCommand() {
    if ( identificationType_ == Type::ipmitool ) {
        command_ = slotArgs_.contains( "useApi" ) ? "qxIpmi api " : "qxIpmi ";
        const auto ipmiId = slotArgs_.find( "ipmiId" );
        if ( ipmiId == slotArgs_.end() ) {
            pl_trace( 0, "PsuSlot identification type is ipmi but ipmiId not found" );
            return;
        }
        command_ += "psuSlot " + ipmiId->second;
    } else if ( identificationType_ == Type::ipmitool_raw ) {
        const std::string &ipmiId =
            requiredArg( "ipmiId", "PsuSlot identification type is ipmi but ipmiId not found" );
        const std::string &model =
            requiredArg( "ipmiRawModel",
                         "PsuSlot identification type is ipmitool_raw but ipmiRawModel not found" );
        const std::string &serial = requiredArg(
            "ipmiRawSerialNumber",
            "PsuSlot identification type is ipmitool_raw but ipmiRawSerialNumber not found" );
        command_ = "qxIpmi raw psuSlot " + ipmiId;
        command_ += " ModelNumber=" + model;
        command_ += " SerialNumber=" + serial;
    } else {
        return;
    }
    pl_trace( 0, "psuSlot ipmi command: '%s'", command_.c_str() );
}

void PsuSlot::Slot::readModels() {
    for ( int number = 1;; ++number ) {
        const auto model = slotArgs_.find( "model_" + std::to_string( number ) );
        if ( model == slotArgs_.end() ) {
            return;
        }
        const std::string psuFdlKey = "psuFdl_" + std::to_string( number );
        assert( slotArgs_.find( psuFdlKey ) != slotArgs_.end() );
        modelFdls_[model->second] = slotArgs_.at( psuFdlKey );
    }
}

void PsuSlot::Slot::readGpios() {
    const auto gpioDevice = slotArgs_.find( "gpioDevice" );
    if ( gpioDevice == slotArgs_.end() ) {
        return;
    }
    const auto number = [this]( const char *key ) {
        return static_cast<uint32_t>( std::stoi( slotArgs_.at( key ) ) );
    };
    const uint32_t presenceReg = number( "presenceReg" );
    const uint32_t presenceBit = number( "presenceBit" );
    const uint32_t powerOkReg = number( "powerOkReg" );
    const uint32_t powerOkBit = number( "powerOkBit" );
    const char *label = gpioDevice->second.c_str();
    presenceGpio_.reset( getRegGpioForDevice( label, presenceReg, presenceBit ) );
    powerOkGpio_.reset( getRegGpioForDevice( label, powerOkReg, powerOkBit ) );
    presenceActiveLow_ = flag( "presenceActiveLow", true );
    powerOkActiveLow_ = flag( "powerOkActiveLow", true );
}

// An argument that is there is true exactly when it says "true".
bool PsuSlot::Slot::flag( const char *key, bool absent ) const {
    const auto it = slotArgs_.find( key );
    return it == slotArgs_.end() ? absent : it->second == "true";
}

pl_status PsuSlot::Slot::readSerialAndModel_( std::string &serial, std::string &model ) {
    pl_trace( 7, "%s", "readSerialAndModel_" );
    for ( const Identification &identification : identifications ) {
        if ( identification.type != identificationType_ ) {
            continue;
        }
        const pl_status status = ( this->*identification.read )( serial, model );
        if ( status == PL_STATUS_OK && !serial.empty() && !model.empty() ) {
            return PL_STATUS_OK;
        }
        pl_trace( 7, "Failed to read PSU info '%s' '%s'", serial.c_str(), model.c_str() );
        return PL_STATUS_NOT_PRESENT;
    }
    throw std::runtime_error( "unknown identification type for psu" );
}

pl_status PsuSlot::Slot::getPresence( char **fdl ) {
    pl_trace( 7, "%s", "getPresence" );
    if ( presenceGpio_ && powerOkGpio_ ) {
        unsigned present = 0;
        if ( const pl_status status = presenceGpio_->bitRead( &present ); status != PL_STATUS_OK ) {
            return status;
        }
        unsigned powerOk = 0;
        if ( const pl_status status = powerOkGpio_->bitRead( &powerOk ); status != PL_STATUS_OK ) {
            return status;
        }
        if ( ( present != 0 ) == presenceActiveLow_ ) {
            return PL_STATUS_NOT_PRESENT;
        }
        // Without good power a supply may not be readable: it is not asked who it is.
        if ( ( powerOk != 0 ) == powerOkActiveLow_ ) {
            return unmanaged();
        }
    }
    for ( int attempt = 0; attempt < identificationAttempts; ++attempt ) {
        std::string serial;
        std::string model;
        if ( readSerialAndModel_( serial, model ) != PL_STATUS_OK ) {
            return forget();
        }
        if ( const auto known = modelFdls_.find( model ); known != modelFdls_.end() ) {
            return describe( serial, model, known->second, fdl );
        }
    }
    return unmanaged();
}

pl_status PsuSlot::Slot::unmanaged() {
    assert( !assertOnUnknownModelName_ );
    pl_trace( 0, "Unknown modelName. PSU is unmanaged" );
    return forget();
}

pl_status PsuSlot::Slot::forget() {
    cachedFdl_.reset();
    cachedSerial_.clear();
    cachedModel_.clear();
    return PL_STATUS_NOT_PRESENT;
}

pl_status PsuSlot::Slot::describe( const std::string &serial, const std::string &model,
                                   const std::string &text, char **fdl ) {
    if ( cachedFdl_ && serial == cachedSerial_ && model == cachedModel_ ) {
        pl_trace( 7, "Using cached fdl" );
        return handOut( cachedFdl_.get(), fdl );
    }
    formatter_ = FormatFdl( text );
    // What a supply says of itself must not keep the host in the template.
    if ( !formatter_.comesToAnEnd( serialKey, serial ) ) {
        pl_trace( 7, "Failed to read PSU info '%s' '%s'", serial.c_str(), model.c_str() );
        return forget();
    }
    pl_trace( 0, "PSU serialNum = '%s'", serial.c_str() );
    pl_trace( 0, "PSU modelName = '%s'", model.c_str() );
    formatter_.start();
    formatter_.set( serialKey, serial );
    const char *described = formatter_.charPtr();
    cachedFdl_.reset(); // the serial and model beside it are about to change
    cachedSerial_ = serial;
    cachedModel_ = model;
    cachedFdl_.reset( strdup( described ) );
    return handOut( described, fdl );
}

Component::LogicalDevice::Slot *PsuSlot::newSlot( const DriverArgs &args ) {
    const auto it = args.driverArgs.find( "psuId" );
    if ( it == args.driverArgs.end() ) {
        pl_trace( 0, "Error: expected 'psuId' in slot driverArgs" );
        return nullptr;
    }
    const auto psuId = static_cast<uint8_t>( std::stoi( it->second ) );
    assert( psuId == 1 || psuId == 2 );
    pl_trace( 5, "Creating new PsuSlot for Psu id %hhu", psuId );
    return new Slot( this, static_cast<uint8_t>( psuId - 1 ), args.driverArgs, args.json );
}

Component::DeviceBase *PsuSlot::create( const DriverArgs &, Ham::Ham * ) {
    pl_trace( 0, "Creating Pmbus Device" ); // hosts know this text of both drivers
    return new PsuSlot;
}

} // namespace Drivers
