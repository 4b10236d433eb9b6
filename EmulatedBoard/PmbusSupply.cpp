// Commands, status bits and formats are those of the PMBus Power System Management Protocol, part
// II.
#include "EmulatedBoard/PmbusSupply.h"

#include "EmulatedBoard/PmbusFormat.h"

#include <algorithm>

namespace EmulatedBoard {

namespace {

enum Code : uint8_t {
    Page = 0x00,
    Operation = 0x01,
    ClearFaults = 0x03,
    WriteProtect = 0x10,
    Capability = 0x19,
    VoutMode = 0x20,
    FanConfig12 = 0x3a,
    FanCommand1 = 0x3b,
    FanCommand2 = 0x3c,
    StatusByte = 0x78,
    StatusWord = 0x79,
    StatusVout = 0x7a,
    StatusIout = 0x7b,
    StatusInput = 0x7c,
    StatusTemperature = 0x7d,
    StatusCml = 0x7e,
    StatusFans12 = 0x81,
    ReadVin = 0x88,
    ReadIin = 0x89,
    ReadVout = 0x8b,
    ReadIout = 0x8c,
    ReadTemperature1 = 0x8d,
    ReadTemperature2 = 0x8e,
    ReadTemperature3 = 0x8f,
    ReadFanSpeed1 = 0x90,
    ReadFanSpeed2 = 0x91,
    ReadPout = 0x96,
    ReadPin = 0x97,
    PmbusRevision = 0x98,
    MfrId = 0x99,
    MfrModel = 0x9a,
    MfrRevision = 0x9b,
    MfrSerial = 0x9e,
};

constexpr uint8_t operationOn = 0x80;
constexpr unsigned operationOnMask = 0xf0;  // the margins, which this supply has not, are not set
constexpr unsigned operationOffMask = 0x80; // clear: off, with or without a sequence
constexpr uint8_t allPages = 0xff;

constexpr uint8_t protectAll = 0x80;          // but WRITE_PROTECT
constexpr uint8_t protectButOperation = 0x40; // and PAGE
constexpr uint8_t protectButVout = 0x20;      // and VOUT_COMMAND, which this supply has not

constexpr uint8_t capability = 0xa0; // packet error codes, 400 kHz, no alert line
constexpr uint8_t voutMode = 0x17;   // linear, 2^-9 V
constexpr int voutExponent = -9;
constexpr uint8_t fanConfig = 0x99;     // two fans, set in %, two pulses a turn
constexpr uint8_t pmbusRevision = 0x22; // 1.2
constexpr uint8_t noByte = 0xff;        // nobody drives the wire

constexpr double highestDuty = 100;
constexpr size_t longestBlock = 32;

std::vector<uint8_t> byte( unsigned value ) {
    return { static_cast<uint8_t>( value ) };
}

std::vector<uint8_t> word( unsigned value ) {
    return { static_cast<uint8_t>( value ), static_cast<uint8_t>( value >> 8 ) };
}

std::vector<uint8_t> linear( double value ) {
    return word( toLinear11( value ) );
}

std::vector<uint8_t> vout( double volts ) {
    return word( toLinear16( volts, voutExponent ) );
}

std::vector<uint8_t> block( const std::string &text ) {
    std::vector<uint8_t> bytes( 1 + text.size(), static_cast<uint8_t>( text.size() ) );
    std::copy( text.begin(), text.end(), bytes.begin() + 1 );
    return bytes;
}

} // namespace

/// A command, what it answers and what it takes.
struct PmbusSupply::Command {
    uint8_t code;
    Bytes ( *get )( const PmbusSupply &supply );            ///< null: nothing to read
    size_t length = 0;                                      ///< bytes of a write
    bool ( PmbusSupply::*set )( unsigned value ) = nullptr; ///< null: read only
};

// clang-format off
const PmbusSupply::Command PmbusSupply::commands[] = {
    { Page, []( const PmbusSupply &s ) { return byte( s.page_ ); },
      1, &PmbusSupply::setPage },
    { Operation, []( const PmbusSupply &s ) { return byte( s.operation_ ); },
      1, &PmbusSupply::setOperation },
    { ClearFaults, nullptr, 0, &PmbusSupply::clearFaults },
    { WriteProtect, []( const PmbusSupply &s ) { return byte( s.writeProtect_ ); },
      1, &PmbusSupply::setWriteProtect },
    { Capability, []( const PmbusSupply & ) { return byte( capability ); } },
    { VoutMode, []( const PmbusSupply & ) { return byte( voutMode ); } },
    { FanConfig12, []( const PmbusSupply & ) { return byte( fanConfig ); } },
    { FanCommand1, []( const PmbusSupply &s ) { return word( s.fanCommands_[0] ); },
      2, &PmbusSupply::setFanDuty<0> },
    { FanCommand2, []( const PmbusSupply &s ) { return word( s.fanCommands_[1] ); },
      2, &PmbusSupply::setFanDuty<1> },
    { StatusByte, []( const PmbusSupply &s ) { return byte( s.statusWord() ); } },
    { StatusWord, []( const PmbusSupply &s ) { return word( s.statusWord() ); } },
    { StatusVout, []( const PmbusSupply & ) { return byte( 0 ); },
      1, &PmbusSupply::clearNothing },
    { StatusIout, []( const PmbusSupply & ) { return byte( 0 ); },
      1, &PmbusSupply::clearNothing },
    { StatusInput, []( const PmbusSupply &s ) { return byte( s.status_.input ); },
      1, &PmbusSupply::clearBits<&PmbusStatus::input> },
    { StatusTemperature, []( const PmbusSupply &s ) { return byte( s.status_.temperature ); },
      1, &PmbusSupply::clearBits<&PmbusStatus::temperature> },
    { StatusCml, []( const PmbusSupply &s ) { return byte( s.status_.communication ); },
      1, &PmbusSupply::clearBits<&PmbusStatus::communication> },
    { StatusFans12, []( const PmbusSupply &s ) { return byte( s.status_.fans ); },
      1, &PmbusSupply::clearBits<&PmbusStatus::fans> },
    { ReadVin, []( const PmbusSupply &s ) { return linear( s.world_.inputVoltage ); } },
    { ReadIin, []( const PmbusSupply &s ) { return linear( s.state_.inputCurrent ); } },
    { ReadVout, []( const PmbusSupply &s ) { return vout( s.state_.outputVoltage ); } },
    { ReadIout, []( const PmbusSupply &s ) { return linear( s.state_.outputCurrent ); } },
    { ReadTemperature1, []( const PmbusSupply &s ) { return linear( s.state_.temperatures[0] ); } },
    { ReadTemperature2, []( const PmbusSupply &s ) { return linear( s.state_.temperatures[1] ); } },
    { ReadTemperature3, []( const PmbusSupply &s ) { return linear( s.state_.temperatures[2] ); } },
    { ReadFanSpeed1, []( const PmbusSupply &s ) { return linear( s.state_.fanSpeeds[0] ); } },
    { ReadFanSpeed2, []( const PmbusSupply &s ) { return linear( s.state_.fanSpeeds[1] ); } },
    { ReadPout, []( const PmbusSupply &s ) { return linear( s.state_.outputPower ); } },
    { ReadPin, []( const PmbusSupply &s ) { return linear( s.state_.inputPower ); } },
    { PmbusRevision, []( const PmbusSupply & ) { return byte( pmbusRevision ); } },
    { MfrId, []( const PmbusSupply &s ) { return block( s.identity_.manufacturer ); } },
    { MfrModel, []( const PmbusSupply &s ) { return block( s.identity_.model ); } },
    { MfrRevision, []( const PmbusSupply &s ) { return block( s.identity_.revision ); } },
    { MfrSerial, []( const PmbusSupply &s ) { return block( s.identity_.serial ); } },
};
// clang-format on

const PmbusSupply::Command *PmbusSupply::findCommand( uint8_t code ) {
    const auto *found = std::ranges::find( commands, code, &Command::code );
    return found == std::end( commands ) ? nullptr : found;
}

PmbusSupply::PmbusSupply( uint8_t address ) : Chip( address ) {
    PmbusSupply::powerOn();
}

void PmbusSupply::powerOn() {
    page_ = 0;
    operation_ = operationOn;
    writeProtect_ = 0;
    status_ = {};
    fanCommands_ = {};
    world_.fanDuty = {};
    command_ = Page;
    answer_ = byte( page_ );
    settle();
}

// An output that is told to go off and then on again starts without old faults.
void PmbusSupply::settle() {
    const bool wasOn = world_.outputOn;
    world_.outputOn = ( operation_ & operationOnMask ) == operationOn && !outputOffLine_;
    if ( world_.outputOn && !wasOn ) {
        status_ = {};
    }
    state_ = SupplyModel::stateIn( world_ );
    status_.add( PmbusStatus::of( world_, state_ ) );
}

bool PmbusSupply::fail( unsigned communicationFault ) {
    status_.communication |= communicationFault;
    return false;
}

// Other settings of WRITE_PROTECT are never stored.
bool PmbusSupply::protects( uint8_t code ) const {
    const bool isOperation = code == Operation || code == Page;
    return code != WriteProtect && writeProtect_ != 0 &&
           ( writeProtect_ == protectAll || !isOperation );
}

bool PmbusSupply::setPage( unsigned value ) {
    if ( value != 0 && value != allPages ) {
        return false;
    }
    page_ = static_cast<uint8_t>( value );
    return true;
}

bool PmbusSupply::setOperation( unsigned value ) {
    if ( ( value & operationOffMask ) != 0 && ( value & operationOnMask ) != operationOn ) {
        return false;
    }
    operation_ = static_cast<uint8_t>( value );
    settle();
    return true;
}

bool PmbusSupply::setWriteProtect( unsigned value ) {
    if ( value != 0 && value != protectAll && value != protectButOperation &&
         value != protectButVout ) {
        return false;
    }
    writeProtect_ = static_cast<uint8_t>( value );
    return true;
}

template <size_t fan>
bool PmbusSupply::setFanDuty( unsigned value ) {
    const double duty = fromLinear11( static_cast<uint16_t>( value ) );
    if ( duty < 0 || duty > highestDuty ) {
        return false;
    }
    fanCommands_[fan] = static_cast<uint16_t>( value );
    world_.fanDuty[fan] = duty;
    settle();
    return true;
}

// A fault whose cause is still there comes back at once.
bool PmbusSupply::clearFaults( unsigned ) {
    status_ = PmbusStatus::of( world_, state_ );
    return true;
}

template <unsigned PmbusStatus::*bits>
bool PmbusSupply::clearBits( unsigned value ) {
    status_.*bits &= ~value;
    settle();
    return true;
}

bool PmbusSupply::clearNothing( unsigned ) {
    return true;
}

// Data that is not taken is acknowledged all the same; STATUS_CML tells.
bool PmbusSupply::take( const Command &command, std::span<const uint8_t> data ) {
    if ( protects( command.code ) ) {
        fail( PmbusStatus::badCommand );
        return true;
    }
    unsigned value = 0;
    for ( size_t at = data.size(); at > 0; ) {
        value = value << 8 | data[--at];
    }
    if ( !( this->*command.set )( value ) ) {
        fail( PmbusStatus::badData );
    }
    return true;
}

bool PmbusSupply::write( std::span<const uint8_t> bytes ) {
    if ( bytes.empty() ) {
        return true;
    }
    const Command *command = findCommand( bytes[0] );
    if ( command == nullptr ) {
        answer_.clear();
        return fail( PmbusStatus::badCommand );
    }
    command_ = command->code;
    answer_ = command->get == nullptr ? Bytes() : command->get( *this );
    std::span<const uint8_t> data = bytes.subspan( 1 );
    const bool isOnlyCommand = command->set != nullptr && command->length == 0;
    if ( data.empty() && !isOnlyCommand ) {
        return true;
    }
    if ( command->set == nullptr ) {
        return fail( PmbusStatus::badCommand );
    }
    if ( data.size() == command->length + 1 ) {
        const uint8_t start = static_cast<uint8_t>( address() << 1 );
        const uint8_t crc =
            packetErrorCode( bytes.first( bytes.size() - 1 ), packetErrorCode( { &start, 1 } ) );
        if ( crc != data.back() ) {
            return fail( PmbusStatus::packetError );
        }
        data = data.first( command->length );
    }
    if ( data.size() == command->length ) {
        return take( *command, data );
    }
    const bool tooFew = data.size() < command->length;
    return fail( tooFew ? PmbusStatus::otherFault : PmbusStatus::badData );
}

uint8_t PmbusSupply::read( size_t position ) {
    if ( position < answer_.size() ) {
        return answer_[position];
    }
    if ( position > answer_.size() || answer_.empty() ) {
        fail( PmbusStatus::otherFault );
        return noByte;
    }
    const std::array<uint8_t, 3> sent = { static_cast<uint8_t>( address() << 1 ), command_,
                                          static_cast<uint8_t>( address() << 1 | 1 ) };
    return packetErrorCode( answer_, packetErrorCode( sent ) );
}

Knob PmbusSupply::worldKnob( const char *name, const char *unit, const char *help, double lowest,
                             double highest, double &value ) {
    return numberKnob(
        name, unit, help, lowest, highest, [&value] { return value; },
        [this, &value]( double newValue ) {
            value = newValue;
            settle();
        } );
}

Knob PmbusSupply::worldSwitch( const char *name, const char *help, bool &value ) {
    return switchKnob(
        name, help, [&value] { return value; },
        [this, &value]( bool newValue ) {
            value = newValue;
            settle();
        } );
}

Knob PmbusSupply::identityKnob( const char *name, const char *help, std::string &text ) {
    return textKnob(
        name, help, longestBlock, [&text] { return text; },
        [&text]( std::string newText ) { text = std::move( newText ); } );
}

std::vector<Knob> PmbusSupply::ownKnobs() {
    const auto duty = [this]( const char *name, const char *help, size_t fan ) {
        return readOnlyKnob( name, "%", help,
                             [this, fan] { return numberText( world_.fanDuty[fan] ); } );
    };
    return {
        worldKnob( "input_voltage", "V", "at the inlet; below 85 the supply is off", 0, 264,
                   world_.inputVoltage ),
        worldKnob( "load", "W", "what the switch draws from this supply", 0,
                   SupplyModel::ratedPower, world_.load ),
        worldKnob( "ambient", "°C", "air that comes in", -40, 70, world_.ambient ),
        worldSwitch( "output_off", "1: the board's line turns the output off", outputOffLine_ ),
        worldSwitch( "fan1_fault", "1: fan 1 stands still", world_.fanFault[0] ),
        worldSwitch( "fan2_fault", "1: fan 2 stands still", world_.fanFault[1] ),
        identityKnob( "manufacturer", "MFR_ID", identity_.manufacturer ),
        identityKnob( "model", "MFR_MODEL", identity_.model ),
        identityKnob( "revision", "MFR_REVISION", identity_.revision ),
        identityKnob( "serial", "MFR_SERIAL", identity_.serial ),
        duty( "fan1_command", "duty of fan 1 as written to the supply", 0 ),
        duty( "fan2_command", "duty of fan 2 as written to the supply", 1 ),
        readOnlyKnob( "write_protect", "", "WRITE_PROTECT as written to the supply",
                      [this] { return registerText( writeProtect_, 2 ); } ),
        readOnlyKnob( "status", "", "STATUS_WORD as it reads at this moment",
                      [this] { return registerText( statusWord(), 4 ); } ),
    };
}

} // namespace EmulatedBoard
