#include "fuzz/Board.h"

#include "fuzz/Contract.h"
#include "fuzz/Files.h"
#include "fuzz/Host.h"
#include "KavraGeneric/Components/Fan.h"
#include "KavraGeneric/Components/Gpio.h"
#include "KavraGeneric/Components/Led.h"
#include "KavraGeneric/Components/Psu.h"
#include "KavraGeneric/Components/Slot.h"
#include "KavraGeneric/Components/SmbusProxy.h"
#include "KavraGeneric/Components/TempSensor.h"
#include "KavraGeneric/Components/Xcvr.h"
#include "KavraGeneric/Json.h"

#include <PlatformLibrary/pl.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#include <span>

namespace Fuzz {

namespace {

using namespace Component::LogicalDevice;

template <typename Record>
using Call = void ( * )( Record *, Bytes & );

// The most calls of one input: the bytes that name them also answer the batches.
constexpr int mostCalls = 24;

template <typename Record>
void call( Record *record, std::span<const Call<Record>> calls, Bytes &bytes ) {
    for ( const Call<Record> each : calls ) {
        each( record, bytes );
    }
    for ( int count = 0; !bytes.empty() && count < mostCalls; ++count ) {
        const size_t which = bytes.byte() % ( calls.size() + 1 );
        if ( which == calls.size() ) {
            Host::tick();
        } else {
            calls[which]( record, bytes );
        }
    }
}

// A logical device lives as long as the process: here it goes with the input.
template <typename Device, typename Record, size_t count>
void callAll( Record *record, const std::array<Call<Record>, count> &calls, Bytes &bytes ) {
    if ( record ) {
        const std::unique_ptr<Device> device( &HostRecord<Record, Device>::deviceOf( record ) );
        call<Record>( record, calls, bytes );
    }
}

// A callback that gives one number, as a call.
template <auto slot, typename Number, typename Record>
void get( Record *record, Bytes & ) {
    Number value{};
    ( record->ops->*slot )( record, &value );
}

template <auto slot, typename Record>
void run( Record *record, Bytes & ) {
    ( record->ops->*slot )( record );
}

void useFan( const std::string &arguments, Bytes &bytes ) {
    static constexpr std::array<Call<pl_fan>, 3> calls{
        get<&pl_fan_ops::getRpm, int, pl_fan>,
        []( pl_fan *fan, Bytes & ) {
            char *text = nullptr;
            fan->ops->debugInfo( fan, &text );
            free( text );
        },
        []( pl_fan *fan, Bytes &from ) { fan->ops->setRpm( fan, int16_t( from.word() ) ); },
    };
    callAll<Fan>( pl_fan_add( arguments.c_str() ), calls, bytes );
}

void useGpio( const std::string &arguments, Bytes &bytes ) {
    static constexpr std::array<Call<pl_gpio>, 3> calls{
        get<&pl_gpio_ops::bitRead, unsigned, pl_gpio>,
        run<&pl_gpio_ops::bitSet, pl_gpio>,
        run<&pl_gpio_ops::bitClear, pl_gpio>,
    };
    callAll<Gpio>( pl_gpio_add( arguments.c_str() ), calls, bytes );
}

void useLed( const std::string &arguments, Bytes &bytes ) {
    static constexpr std::array<Call<pl_led>, 1> calls{
        []( pl_led *led, Bytes &from ) {
            led->ops->setLightSetting( led, static_cast<pl_led_status>( from.byte() % 9 ) );
        },
    };
    callAll<Led>( pl_led_add( arguments.c_str() ), calls, bytes );
}

void usePsu( const std::string &arguments, Bytes &bytes ) {
    static constexpr std::array<Call<pl_psu>, 7> calls{
        get<&pl_psu_ops::get_power_ok, int, pl_psu>,
        get<&pl_psu_ops::get_input_current, float, pl_psu>,
        get<&pl_psu_ops::get_output_current, float, pl_psu>,
        get<&pl_psu_ops::get_input_voltage, float, pl_psu>,
        get<&pl_psu_ops::get_output_voltage, float, pl_psu>,
        get<&pl_psu_ops::get_input_power, float, pl_psu>,
        get<&pl_psu_ops::get_output_power, float, pl_psu>,
    };
    callAll<Psu>( pl_psu_add( arguments.c_str() ), calls, bytes );
}

void useSlot( const std::string &arguments, Bytes &bytes ) {
    static constexpr std::array<Call<pl_slot>, 1> calls{
        []( pl_slot *slot, Bytes & ) {
            char *text = nullptr;
            slot->ops->getPresence( slot, &text );
            free( text );
        },
    };
    callAll<Slot>( pl_slot_add( arguments.c_str() ), calls, bytes );
}

// Exactly as large as the host is told to make it.
constexpr size_t largestBlock = 255;
std::unique_ptr<unsigned char[]> newBlock( size_t size = largestBlock ) {
    return std::make_unique<unsigned char[]>( size );
}

const unsigned char *bytesOf( const std::string &text ) {
    return reinterpret_cast<const unsigned char *>( text.data() );
}

constexpr std::array<Call<pl_smbus>, 13> smbusCalls{
    get<&pl_smbus_ops::receiveByte, unsigned char, pl_smbus>,
    []( pl_smbus *bus, Bytes &from ) { bus->ops->quickCommand( bus, from.byte() & 1 ); },
    []( pl_smbus *bus, Bytes &from ) { bus->ops->sendByte( bus, from.byte() ); },
    []( pl_smbus *bus, Bytes &from ) {
        unsigned char value = 0;
        bus->ops->readByte( bus, from.byte(), &value );
    },
    []( pl_smbus *bus, Bytes &from ) {
        const uint8_t command = from.byte();
        bus->ops->writeByte( bus, command, from.byte() );
    },
    []( pl_smbus *bus, Bytes &from ) {
        unsigned short value = 0;
        bus->ops->readWord( bus, from.byte(), &value );
    },
    []( pl_smbus *bus, Bytes &from ) {
        const uint8_t command = from.byte();
        bus->ops->writeWord( bus, command, from.word() );
    },
    []( pl_smbus *bus, Bytes &from ) {
        const auto block = newBlock();
        unsigned length = 0;
        bus->ops->blockRead( bus, from.byte(), block.get(), &length );
        require( length <= largestBlock, "a block has at most 255 bytes" );
    },
    []( pl_smbus *bus, Bytes &from ) {
        const uint8_t command = from.byte();
        const std::string data( from.take( from.byte() ) );
        bus->ops->blockWrite( bus, command, bytesOf( data ), static_cast<unsigned>( data.size() ) );
    },
    []( pl_smbus *bus, Bytes &from ) {
        const uint8_t command = from.byte();
        const unsigned length = from.byte();
        bus->ops->i2cBlockRead( bus, command, newBlock( length ).get(), length );
    },
    []( pl_smbus *bus, Bytes &from ) {
        const uint8_t command = from.byte();
        const std::string data( from.take( from.byte() ) );
        bus->ops->i2cBlockWrite( bus, command, bytesOf( data ),
                                 static_cast<unsigned>( data.size() ) );
    },
    []( pl_smbus *bus, Bytes &from ) {
        const uint8_t command = from.byte();
        unsigned short result = 0;
        bus->ops->processCall( bus, command, from.word(), &result );
    },
    []( pl_smbus *bus, Bytes &from ) {
        const uint8_t command = from.byte();
        const std::string data( from.take( from.byte() ) );
        unsigned char length = 0;
        bus->ops->blockProcessCall( bus, command, bytesOf( data ),
                                    static_cast<unsigned char>( data.size() ), newBlock().get(),
                                    &length );
    },
};

void useSmbus( const std::string &arguments, Bytes &bytes ) {
    constexpr unsigned addressOnBus = 0x4a;
    callAll<SmbusProxy>( pl_smbus_add( arguments.c_str(), addressOnBus ), smbusCalls, bytes );
}

void useTempSensor( const std::string &arguments, Bytes &bytes ) {
    static constexpr std::array<Call<pl_temp_sensor>, 1> calls{
        get<&pl_temp_sensor_ops::getTemperature, float, pl_temp_sensor>,
    };
    const float alert = bytes.byte();
    const float critical = bytes.byte();
    callAll<TempSensor>( pl_temp_sensor_add( arguments.c_str(), alert, critical ), calls, bytes );
}

template <auto slot>
void getSfp( pl_xcvr *port, Bytes & ) {
    int value = 0;
    ( port->ops->u.sfp.*slot )( port, &value );
}

template <auto slot>
void getQsfp( pl_xcvr *port, Bytes & ) {
    int value = 0;
    ( port->ops->u.qsfp.*slot )( port, &value );
}

template <auto slot>
void setQsfp( pl_xcvr *port, Bytes &from ) {
    ( port->ops->u.qsfp.*slot )( port, from.byte() );
}

constexpr std::array<Call<pl_xcvr>, 5> sfpCalls{
    []( pl_xcvr *port, Bytes & ) { port->ops->u.sfp.getPresence( port ); },
    getSfp<&pl_sfp_ops::getTxFault>,
    getSfp<&pl_sfp_ops::getRxLos>,
    getSfp<&pl_sfp_ops::getTxDisable>,
    []( pl_xcvr *port, Bytes &from ) { port->ops->u.sfp.setTxDisable( port, from.byte() ); },
};

constexpr std::array<Call<pl_xcvr>, 8> qsfpCalls{
    []( pl_xcvr *port, Bytes & ) { port->ops->u.qsfp.getPresence( port ); },
    getQsfp<&pl_qsfp_ops::getModSel>,
    setQsfp<&pl_qsfp_ops::setModSel>,
    getQsfp<&pl_qsfp_ops::getLpMode>,
    setQsfp<&pl_qsfp_ops::setLpMode>,
    getQsfp<&pl_qsfp_ops::getReset>,
    setQsfp<&pl_qsfp_ops::setReset>,
    getQsfp<&pl_qsfp_ops::getInterrupt>,
};

void useXcvr( const std::string &arguments, Bytes &bytes ) {
    pl_xcvr *port = pl_xcvr_add( arguments.c_str() );
    if ( port && port->ops->type == PL_XCVR_SFP ) {
        callAll<SfpXcvr>( port, sfpCalls, bytes );
    } else {
        callAll<QsfpXcvr>( port, qsfpCalls, bytes );
    }
}

void useSystem( const std::string &arguments, Bytes & ) {
    const std::unique_ptr<pl_system> system( pl_system_add( arguments.c_str() ) );
    system->ops->powercycle( system.get() );
}

constexpr DeviceClass classes[] = {
    { "fan", useFan },   { "gpio", useGpio },     { "led", useLed },
    { "psu", usePsu },   { "slot", useSlot },     { "smbus", useSmbus },
    { "xcvr", useXcvr }, { "system", useSystem }, { "temp_sensor", useTempSensor },
};

std::string argumentsOf( const rapidjson::Value &entry ) {
    if ( entry.HasMember( "bus" ) ) {
        return entry["bus"].GetString();
    }
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer( text );
    entry["arguments"].Accept( writer );
    return text.GetString();
}

BoardDocuments readBoard() {
    const std::string folder = FUZZ_DIR "/../tests/data/check/board/";
    BoardDocuments documents;
    documents.topology = textOfFile( folder + "topology.json" );
    rapidjson::Document entries;
    entries.Parse( textOfFile( folder + "devices.json" ).c_str() );
    for ( const rapidjson::Value &entry : entries.GetArray() ) {
        const std::string_view name = entry["class"].GetString();
        const auto *found = std::find_if( std::begin( classes ), std::end( classes ),
                                          [&]( const auto &each ) { return each.name == name; } );
        require( found != std::end( classes ), "every class of the board is known" );
        documents.entries.push_back( { found, argumentsOf( entry ) } );
    }
    return documents;
}

} // namespace

const DeviceClass &classAt( size_t number ) {
    return classes[number % std::size( classes )];
}

const BoardDocuments &board() {
    static const BoardDocuments documents = readBoard();
    return documents;
}

} // namespace Fuzz
