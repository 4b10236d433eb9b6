#include "tests/soak/SimulatedDevices.h"

#include "EmulatedBoard/PmbusFormat.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <iterator>

namespace Soak {

using EmulatedBoard::fromLinear11;

namespace {

constexpr size_t byteWidth = 2; // hexadecimal digits
constexpr size_t wordWidth = 4;

/// A sensor's field holds one byte. As a word it is filled with ones behind, so that the low byte,
/// the degrees, is -1, and the byte's own top bit is the half degree.
class SimulatedSensor : public SimulatedPart {
  public:
    SimulatedSensor( const std::string &folder, std::string name )
        : SimulatedPart( folder + "/LM75-" + name, { { 0, 2 }, { 2, 2 }, { 3, 2 } } ),
          name_( std::move( name ) ) {}

    std::unique_ptr<Device> device( const Entry &entry, void *record ) override {
        if ( entry.name != name_ ) {
            return nullptr;
        }
        return deviceOf( [this, own = static_cast<pl_temp_sensor *>( record )]( Judge &judge ) {
            const float celsius = file_.number( 0 ) < 0x80 ? -1.0F : -1.5F;
            judge.read( "getTemperature", own, &pl_temp_sensor_ops::getTemperature,
                        Truth<float>{ 0, celsius } );
            ++accesses_;
        } );
    }

    void change( Random &random ) override {
        file_.writeNumber( 0, static_cast<unsigned>( random.below( 256 ) ) );
    }

  private:
    std::string name_;
};

/// A supply's words are LINEAR11 values. A write goes to the register that was read last, if that
/// has its width.
class SimulatedSupply : public SimulatedPart {
  public:
    SimulatedSupply( const std::string &folder, std::string name )
        : SimulatedPart( folder + "/Pmbus-" + name, fields() ), name_( std::move( name ) ) {}

    std::unique_ptr<Device> device( const Entry &entry, void *record ) override;
    void change( Random &random ) override;

  private:
    enum Register : unsigned {
        Page = 0x00,
        VoutMode = 0x20,
        FanCommand1 = 0x3b,
        FanCommand2 = 0x3c,
        StatusWord = 0x79,
        StatusFans = 0x81,
        Vin = 0x88,
        Iin = 0x89,
        Vout = 0x8b,
        Iout = 0x8c,
        Temperature1 = 0x8d,
        Temperature2 = 0x8e,
        Temperature3 = 0x8f,
        FanSpeed1 = 0x90,
        FanSpeed2 = 0x91,
        Pout = 0x96,
        Pin = 0x97,
    };
    static std::vector<SimulatedField> fields();

    double linear( unsigned reg ) {
        return fromLinear11( static_cast<uint16_t>( fetched( reg ) ) );
    }
    unsigned fetched( unsigned reg ) {
        readLast_ = reg;
        ++accesses_;
        return file_.number( reg );
    }
    void readPsu( pl_psu *psu, Judge &judge );
    void readGood( pl_psu *psu, Judge &judge );
    Truth<float> outputVoltage();
    void readFan( pl_fan *fan, unsigned number, Judge &judge );

    std::string name_;
    unsigned readLast_ = Page;
    unsigned turns_ = 0;
};

std::vector<SimulatedField> SimulatedSupply::fields() {
    std::vector<SimulatedField> fields = { { Page, byteWidth }, { VoutMode, byteWidth } };
    for ( const unsigned word : { FanCommand1, FanCommand2, StatusWord } ) {
        fields.push_back( { word, wordWidth } );
    }
    fields.push_back( { StatusFans, byteWidth } );
    for ( const unsigned word : { Vin, Iin, Vout, Iout, Temperature1, Temperature2, Temperature3,
                                  FanSpeed1, FanSpeed2, Pout, Pin } ) {
        fields.push_back( { word, wordWidth } );
    }
    // Behind them who makes it, in text.
    fields.push_back( { 0x9a, 10 } );
    fields.push_back( { 0x9e, 14 } );
    return fields;
}

std::unique_ptr<Device> SimulatedSupply::device( const Entry &entry, void *record ) {
    if ( !entry.name.starts_with( name_ ) ) {
        return nullptr;
    }
    if ( entry.deviceClass == "psu" ) {
        return deviceOf( [this, psu = static_cast<pl_psu *>( record )]( Judge &judge ) {
            readPsu( psu, judge );
        } );
    }
    if ( entry.deviceClass == "fan" ) {
        const unsigned number = entry.name.ends_with( '1' ) ? 0 : 1;
        return deviceOf( [this, number, fan = static_cast<pl_fan *>( record )]( Judge &judge ) {
            readFan( fan, number, judge );
        } );
    }
    if ( entry.deviceClass != "temp_sensor" ) {
        return nullptr;
    }
    const unsigned reg = entry.name.ends_with( "-inlet" )      ? Temperature1
                         : entry.name.ends_with( "-hot-spot" ) ? Temperature2
                                                               : Temperature3;
    return deviceOf( [this, reg, own = static_cast<pl_temp_sensor *>( record )]( Judge &judge ) {
        const auto celsius = static_cast<float>( std::max( linear( reg ), 0.0 ) );
        judge.read( "getTemperature", own, &pl_temp_sensor_ops::getTemperature,
                    Truth<float>{ 0, celsius } );
    } );
}

void SimulatedSupply::readPsu( pl_psu *psu, Judge &judge ) {
    const auto reads = [&]( const char *callback, auto slot, unsigned reg ) {
        judge.read( callback, psu, slot, Truth<float>{ 0, static_cast<float>( linear( reg ) ) } );
    };
    readGood( psu, judge );
    reads( "get_input_voltage", &pl_psu_ops::get_input_voltage, Vin );
    reads( "get_input_current", &pl_psu_ops::get_input_current, Iin );
    reads( "get_input_power", &pl_psu_ops::get_input_power, Pin );
    judge.read( "get_output_voltage", psu, &pl_psu_ops::get_output_voltage, outputVoltage() );
    reads( "get_output_current", &pl_psu_ops::get_output_current, Iout );
    reads( "get_output_power", &pl_psu_ops::get_output_power, Pout );
}

// It begins by writing a 0 where write protection would be. psu2 then asks the slot register, which
// has no file: its lines read as 0, which is good.
void SimulatedSupply::readGood( pl_psu *psu, Judge &judge ) {
    accesses_ += file_.written( readLast_, 0, byteWidth );
    Truth<int> truth = { PL_STATUS_OK, 1 };
    if ( name_ == "psu1" ) {
        const unsigned status = fetched( StatusWord );
        const bool isBad = ( status & 0x0800 ) != 0;
        const bool isOff = ( status & 0x0040 ) != 0;
        truth = { isBad && !isOff ? PL_STATUS_BAD_READING : PL_STATUS_OK, !isBad };
    }
    judge.read( "get_power_ok", psu, &pl_psu_ops::get_power_ok, truth );
}

// Both reads of the batch give the register that was queued last: the word's first byte stands in
// for the mode. In a mode that is neither, the output is left alone.
Truth<float> SimulatedSupply::outputVoltage() {
    const unsigned word = fetched( Vout );
    fetched( Vout );
    const unsigned mode = word >> 8;
    if ( mode == 0xff ) {
        return { PL_STATUS_OK,
                 static_cast<float>( fromLinear11( static_cast<uint16_t>( word ) ) ) };
    }
    if ( mode >> 5 != 0 ) {
        return { PL_STATUS_OK, untouched<float>() };
    }
    const int exponent = static_cast<int>( mode & 0x1f ) - ( ( mode & 0x10 ) != 0 ? 32 : 0 );
    return { PL_STATUS_OK, std::ldexp( static_cast<float>( word ), exponent ) };
}

// Every fourth turn asks for a speed first: the word goes where the last read was.
void SimulatedSupply::readFan( pl_fan *fan, unsigned number, Judge &judge ) {
    if ( ++turns_ % 4 == 0 ) {
        const unsigned duty = turns_ % 101;
        judge.checkStatus( "setRpm", fan->ops->setRpm( fan, static_cast<int>( duty ) * 200 ) );
        accesses_ += file_.written( readLast_, duty, wordWidth );
    }
    Truth<int> rpm;
    if ( ( fetched( StatusFans ) & ( number == 0 ? 0x80U : 0x40U ) ) != 0 ) {
        rpm.status = PL_STATUS_BAD_READING;
    } else {
        rpm.value = static_cast<int>( linear( number == 0 ? FanSpeed1 : FanSpeed2 ) );
    }
    judge.read( "getRpm", fan, &pl_fan_ops::getRpm, rpm );
}

// A negative speed would be left in the output of a failed call: none is written.
void SimulatedSupply::change( Random &random ) {
    static constexpr unsigned words[] = { StatusWord, Vin,          Iin,          Vout,
                                          Iout,       Temperature1, Temperature2, Temperature3,
                                          FanSpeed1,  FanSpeed2,    Pout,         Pin };
    const uint64_t index = random.below( std::size( words ) + 1 );
    if ( index == std::size( words ) ) {
        file_.writeNumber( StatusFans, static_cast<unsigned>( random.below( 4 ) * 0x40 ) );
        return;
    }
    const unsigned reg = words[index];
    const bool isSpeed = reg == FanSpeed1 || reg == FanSpeed2;
    const unsigned mask = isSpeed ? 0x23ffU : 0xffffU; // up to 2^4 a count, and not below 0
    file_.writeNumber( reg, static_cast<unsigned>( random.below( 0x10000 ) ) & mask );
}

/// In simulation a supply's serial number is its model too: both reads give what was queued last.
/// The "0D" in front is the count of the rest, and its first character goes as the count's byte.
class SimulatedSlot : public SimulatedPart {
  public:
    explicit SimulatedSlot( const std::string &folder )
        : SimulatedPart( folder + "/PsuSlot-psu1-slot",
                         { { 0x08, 2 }, { 0x9a, 10 }, { 0x9e, 14 } } ) {}

    std::unique_ptr<Device> device( const Entry &entry, void *record ) override {
        if ( entry.name != "psu1-slot" ) {
            return nullptr;
        }
        return deviceOf( [this, slot = static_cast<pl_slot *>( record )]( Judge &judge ) {
            readSlot( slot, judge );
        } );
    }

    void change( Random &random ) override {
        file_.write( 0x9e, random.oneIn( 3 ) ? "0DXS550AB6A   " : "0DPS550AB6A   " );
    }

  private:
    // An unknown model is asked for three times, by four fields each time.
    void readSlot( pl_slot *slot, Judge &judge ) {
        const std::string serial = file_.text( 0x9e ).substr( 1 );
        const bool isKnown = serial.starts_with( "DPS550AB6A " );
        Truth<std::string> truth = { PL_STATUS_NOT_PRESENT };
        if ( isKnown ) {
            truth = { PL_STATUS_OK, "PowerSupply DPS550AB6A { serialNumber '" + serial + "' }" };
        }
        char *text = nullptr;
        const pl_status status = slot->ops->getPresence( slot, &text );
        const std::string got = text ? text : "";
        free( text );
        judge.check( "getPresence", status, got, truth );
        accesses_ += isKnown ? 4 : 12;
    }
};

} // namespace

std::vector<std::unique_ptr<SimulatedPart>> simulatedParts( const std::string &folder ) {
    std::vector<std::unique_ptr<SimulatedPart>> parts;
    for ( const char *sensor :
          { "inlet", "asic-left", "asic-right", "outlet", "rear", "cpu-board" } ) {
        parts.push_back( std::make_unique<SimulatedSensor>( folder, sensor ) );
    }
    parts.push_back( std::make_unique<SimulatedSlot>( folder ) );
    for ( const char *supply : { "psu1", "psu2" } ) {
        parts.push_back( std::make_unique<SimulatedSupply>( folder, supply ) );
    }
    return parts;
}

} // namespace Soak
