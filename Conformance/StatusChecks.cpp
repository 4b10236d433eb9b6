// What callbacks answer when something is wrong, and when it is right again.
#include "Conformance/Answers.h"
#include "Conformance/Check.h"
#include "Conformance/HostServices.h"
#include "Conformance/Subject.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <cxxabi.h>
#include <stdexcept>
#include <typeinfo>

namespace Conformance {

namespace {

bool isKnown( pl_status status ) {
    return status >= PL_STATUS_OK && status <= PL_STATUS_FAILED;
}

/// @throw Skipped unless the slot is there.
void requireSlot( bool isThere, const Device &device, const char *operation ) {
    if ( !isThere ) {
        throw Skipped( device.entry->name + ": " + operation + " is null" );
    }
}

bool isFailedAccess( pl_status status ) {
    return status == PL_STATUS_IO_ERROR || status == PL_STATUS_FAILED;
}

void boardAsDocumentedReads( Subject &subject ) {
    settle( subject.devices() );
    for ( const Device &device : subject.devices() ) {
        for ( const Answer &answer : read( device ) ) {
            const bool mayBeEmpty = device.entry->deviceClass == DeviceClass::slot ||
                                    device.entry->deviceClass == DeviceClass::xcvr;
            require( answer.status == PL_STATUS_OK || answer.status == PL_STATUS_NOT_SUPPORTED ||
                         ( mayBeEmpty && answer.status == PL_STATUS_NOT_PRESENT ),
                     statusText( answer ) );
        }
    }
}

// Slots and cages answer from what they know; supplies and sensors ask the chip.
constexpr DeviceClass asksTheChip[] = { DeviceClass::tempSensor, DeviceClass::psu,
                                        DeviceClass::gpio };

/// Whether a device answers that its access fails, at once or, when the library polls, behind the
/// next poll. That one is not forced on a library whose answer is right without it.
void requireFailedAccess( const Device &device, const std::string &why ) {
    const auto answersIt = [&] {
        const std::vector<Answer> answers = read( device );
        return std::all_of( answers.begin(), answers.end(), []( const Answer &answer ) {
            return isFailedAccess( answer.status );
        } );
    };
    if ( answersIt() ) {
        return;
    }
    HostServices::fireTimers();
    for ( const Answer &answer : read( device ) ) {
        require( isFailedAccess( answer.status ),
                 why + "; " + statusText( answer ) + " and neither 4 nor 6" );
    }
}

void failedBusIsAnswered( Subject &subject ) {
    subject.devices();
    subject.world().command( "fault bus any nack" );
    for ( const DeviceClass deviceClass : asksTheChip ) {
        for ( const Device &device : subject.devices( deviceClass ) ) {
            requireFailedAccess( device, "no chip acknowledges" );
        }
    }
    for ( const Device &device : subject.devices() ) {
        for ( const Answer &answer : read( device ) ) {
            require( isKnown( answer.status ),
                     statusText( answer ) + ", which the contract does not have" );
        }
    }
}

void busComesBack( Subject &subject ) {
    subject.devices();
    subject.world().command( "fault bus any time-out" );
    for ( const Device &device : subject.devices() ) {
        read( device );
    }
    subject.world().command( "clear" );
    boardAsDocumentedReads( subject );
}

void lostServerIsAnswered( Subject &subject ) {
    const Device sensor = subject.first( DeviceClass::tempSensor );
    readOne( sensor );
    subject.world().command( "fault server hang-up" );
    requireFailedAccess( sensor, "the server hangs up" );
    subject.world().command( "clear" );
    settle( { sensor } );
    valueOf( readOne( sensor ) );
}

void absentChipIsAnswered( Subject &subject ) {
    bool isTried = false;
    for ( const Device &device : subject.devices( DeviceClass::tempSensor ) ) {
        const std::string knob = device.entry->name + ".present";
        if ( !subject.world().get( knob ) ) {
            continue;
        }
        readOne( device );
        isTried = true;
        subject.world().set( knob, "0" );
        requireFailedAccess( device, "its chip is not there" );
        subject.world().set( knob, "1" );
        settle( { device } );
        valueOf( readOne( device ) );
    }
    if ( !isTried ) {
        throw Skipped( "no temperature sensor of the board is a chip of its own name" );
    }
}

void unknownLightIsRefused( Subject &subject ) {
    const Device lamp = subject.first( DeviceClass::led );
    const auto setLight = lamp.as<pl_led>()->ops->setLightSetting;
    requireSlot( setLight != nullptr, lamp, "setLightSetting" );
    for ( const unsigned setting : { 7U, 1000U } ) {
        const pl_status status =
            setLight( lamp.as<pl_led>(), static_cast<pl_led_status>( setting ) );
        require( status == PL_STATUS_INVALID, lamp.entry->name + ": setLightSetting( " +
                                                  std::to_string( setting ) + " ): status " +
                                                  std::to_string( status ) + " and not 3" );
    }
}

// To ask a library for a power cycle would be to switch the machine off that it really drives.
void reloadCauseIsAnswered( Subject &subject ) {
    const Device system = subject.first( DeviceClass::system );
    requireSlot( system.as<pl_system>()->ops->get_reload_cause != nullptr, system,
                 "get_reload_cause" );
    constexpr char untouched = '\x7f';
    std::array<char, 101> cause;
    std::array<char, 501> detail;
    cause.fill( untouched );
    detail.fill( untouched );
    long when = untouched;
    const pl_status status = system.as<pl_system>()->ops->get_reload_cause(
        system.as<pl_system>(), cause.data(), &when, detail.data() );
    require( status == PL_STATUS_OK || status == PL_STATUS_NOT_SUPPORTED,
             "get_reload_cause: status " + std::to_string( status ) + " and neither 0 nor 5" );
    if ( status == PL_STATUS_OK ) {
        require( memchr( cause.data(), 0, cause.size() ) != nullptr &&
                     memchr( detail.data(), 0, detail.size() ) != nullptr,
                 "get_reload_cause: a text does not end in its buffer" );
    } else {
        require( cause[0] == untouched && detail[0] == untouched && when == untouched,
                 "get_reload_cause: status 5, and an output was written" );
    }
}

void failedBlockHasNoLength( Subject &subject, const Device &chip ) {
    auto *const smbus = chip.as<pl_smbus>();
    std::array<unsigned char, 256> data = {};
    constexpr unsigned untouched = 77;
    unsigned length = untouched;
    subject.world().command( "fault bus any nack" );
    const pl_status block = smbus->ops->blockRead( smbus, 0, data.data(), &length );
    require( isFailedAccess( block ), chip.entry->name +
                                          ": blockRead: no chip acknowledges; status " +
                                          std::to_string( block ) );
    require( length == 0, chip.entry->name + ": a blockRead that fails gives the length " +
                              std::to_string( length ) + " and not 0" );
    subject.world().command( "clear" );
}

void shortBlockIsAnswered( Subject &subject, const Device &chip ) {
    auto *const smbus = chip.as<pl_smbus>();
    std::array<unsigned char, 256> data = {};
    subject.world().command( "fault bus any short-read" );
    const pl_status exact = smbus->ops->i2cBlockRead( smbus, 0, data.data(), 4 );
    require( exact == PL_STATUS_IO_ERROR, chip.entry->name +
                                              ": i2cBlockRead of 4 bytes that gets 3: status " +
                                              std::to_string( exact ) + " and not 4" );
}

void blockLengthsAreKept( Subject &subject ) {
    const Device chip = subject.first( DeviceClass::smbus );
    const pl_smbus_ops *const ops = chip.as<pl_smbus>()->ops;
    requireSlot( ops->blockRead != nullptr || ops->i2cBlockRead != nullptr, chip,
                 "what reads a block" );
    if ( ops->blockRead != nullptr ) {
        failedBlockHasNoLength( subject, chip );
    }
    if ( ops->i2cBlockRead != nullptr ) {
        shortBlockIsAnswered( subject, chip );
    }
}

std::string thrownName() {
    const std::type_info *const type = abi::__cxa_current_exception_type();
    return type != nullptr ? type->name() : "";
}

/// The name of what an entry point throws, as the compiler writes it; empty when it returns.
std::string thrownBy( Subject &subject, DeviceClass deviceClass, const char *arguments ) {
    try {
        subject.add( deviceClass, arguments );
        return {};
    } catch ( const Broken & ) {
        throw;
    } catch ( const std::exception & ) {
        return thrownName();
    }
}

void missingOperationIsThrown( Subject &subject ) {
    subject.init();
    const Entry &sensor = subject.firstEntry( DeviceClass::tempSensor );
    for ( const DeviceClass deviceClass :
          { DeviceClass::led, DeviceClass::psu, DeviceClass::slot, DeviceClass::smbus } ) {
        const std::string name =
            entryPointName( deviceClass, "_add" ) + " with the arguments of " + sensor.name;
        try {
            require( subject.add( deviceClass, sensor.arguments.c_str() ) != nullptr,
                     name + " gives null and throws nothing" );
        } catch ( const Broken & ) {
            throw;
        } catch ( const std::exception & ) {
            require( thrownName().find( "NotImplementedException" ) != std::string::npos,
                     name + " throws " + thrownName() );
        }
    }
}

void wrongNumberIsThrown( Subject &subject ) {
    subject.init();
    const Entry &cage = subject.firstEntry( DeviceClass::xcvr );
    const struct {
        const char *id;
        const char *thrown;
    } rows[] = { { "ten", "invalid_argument" }, { "99999999999", "out_of_range" } };
    for ( const auto &row : rows ) {
        const std::string name =
            thrownBy( subject, DeviceClass::xcvr, subject.altered( cage, "id", row.id, true ) );
        require( name.find( row.thrown ) != std::string::npos,
                 "pl_xcvr_add with the id '" + std::string( row.id ) + "' " +
                     ( name.empty() ? "throws nothing" : "throws " + name ) );
    }
}

} // namespace

Checks statusChecks() {
    return {
        { "status.documented", "every reading of the board as its document describes it succeeds",
          "what works on the desk is the least", boardAsDocumentedReads },
        { "status.failed-bus", "a chip that does not acknowledge is answered with 4 or 6",
          "a host tells a lost chip from a bad value", failedBusIsAnswered },
        { "status.recovers", "readings succeed again when the bus does",
          "a glitch on a bus must not cost a restart", busComesBack },
        { "status.lost-server", "a batch without an answer fails, and the next one is served",
          "a server may be restarted below the host", lostServerIsAnswered },
        { "status.absent-chip", "a chip that is taken away fails, and reads when it is back",
          "parts are replaced while the switch runs", absentChipIsAnswered },
        { "status.unknown-light", "a lamp answers a setting that it does not know with 3",
          "hosts of a newer contract have more settings", unknownLightIsRefused },
        { "status.reload-cause", "the reload cause is given or answered with 5",
          "hosts ask every platform for it", reloadCauseIsAnswered },
        { "status.lengths",
          "a block that fails has the length 0, one that is too short is answered with 4",
          "callers go by the length when they look into the buffer", blockLengthsAreKept },
        { "status.missing-operation",
          "an operation that a driver does not have leaves as NotImplementedException",
          "a host catches it and says which document is wrong", missingOperationIsThrown },
        { "status.bad-number", "an argument that is no number leaves as the standard's exceptions",
          "a host catches it and says which document is wrong", wrongNumberIsThrown },
    };
}

} // namespace Conformance
