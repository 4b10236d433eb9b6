#include "tests/HostTool/Watch/WatchedBoard.h"

#include "HostTool/Board/EntryParser.h"

#include <algorithm>

using namespace HostTool;
using namespace HostTool::Watch;

namespace {

// Records as a library hands them out; nothing is called through them.
pl_status setRpm( pl_fan *, int ) {
    return PL_STATUS_OK;
}
pl_status setLight( pl_led *, pl_led_status ) {
    return PL_STATUS_OK;
}
pl_status setSignal( pl_xcvr *, int ) {
    return PL_STATUS_OK;
}
pl_status setLine( pl_gpio * ) {
    return PL_STATUS_OK;
}

const pl_fan_ops fanOps = { sizeof( pl_fan_ops ), 0, nullptr, nullptr, setRpm };
const pl_led_ops ledOps = { sizeof( pl_led_ops ), 0, setLight };
const pl_gpio_ops gpioOps = { sizeof( pl_gpio_ops ), 0, setLine, setLine, nullptr };

pl_xcvr_ops xcvrOps( unsigned type ) {
    pl_xcvr_ops ops = {};
    ops.size = sizeof( ops );
    ops.type = type;
    if ( type == PL_XCVR_QSFP ) {
        ops.u.qsfp.size = sizeof( pl_qsfp_ops );
        ops.u.qsfp.setReset = setSignal;
    } else {
        ops.u.sfp.size = sizeof( pl_sfp_ops );
        ops.u.sfp.setTxDisable = setSignal;
    }
    return ops;
}

void *recordOf( const Entry &entry ) {
    static const pl_xcvr_ops qsfp = xcvrOps( PL_XCVR_QSFP );
    static const pl_xcvr_ops sfp = xcvrOps( PL_XCVR_SFP );
    static pl_fan fan = { 0, &fanOps };
    static pl_led led = { 0, &ledOps };
    static pl_gpio gpio = { 0, &gpioOps };
    static pl_xcvr qsfpCage = { 0, &qsfp };
    static pl_xcvr sfpCage = { 0, &sfp };
    static int other;
    switch ( entry.deviceClass ) {
    case DeviceClass::fan:
        return &fan;
    case DeviceClass::led:
        return &led;
    case DeviceClass::gpio:
        return &gpio;
    case DeviceClass::xcvr:
        return entry.arguments.find( "sfp+" ) == std::string::npos ? &qsfpCage : &sfpCage;
    default:
        return &other;
    }
}

DeviceClass classOf( const std::string &name ) {
    return std::find_if( std::begin( classNames ), std::end( classNames ),
                         [&]( const ClassName &row ) { return name == row.name; } )
        ->deviceClass;
}

std::vector<Reading> wellReadings( const Entry &entry ) {
    switch ( entry.deviceClass ) {
    case DeviceClass::tempSensor:
        return { good( 24.5F ) };
    case DeviceClass::fan:
        return { good( 12000 ), none() };
    case DeviceClass::psu:
        return { good( true ),   good( 230.0F ), good( 1.1F ),  good( 255.75F ),
                 good( 12.11F ), good( 19.81F ), good( 240.0F ) };
    case DeviceClass::slot:
        return { good( true ), good( "text" ), good( "PWR-500" ), good( "A1" ) };
    case DeviceClass::xcvr:
        return { good( "qsfp" ), good( true ),  none(),        none(),       none(),
                 good( false ),  good( false ), good( false ), good( false ) };
    case DeviceClass::gpio:
        return { good( 0 ) };
    default:
        return {};
    }
}

} // namespace

void WatchedBoard::add( const std::string &deviceClass, const std::string &name,
                        const std::string &driverArguments ) {
    Entry entry = {};
    entry.deviceClass = classOf( deviceClass );
    entry.name = name;
    entry.place = "devices.json:1";
    entry.arguments = R"({"driverArgs":)" + driverArguments + "}";
    rapidjson::Document arguments;
    arguments.Parse( entry.arguments.c_str() );
    entry.settings = settingsIn( arguments );
    entry.driver = "X";
    entry.did = 1;
    if ( entry.deviceClass == DeviceClass::tempSensor ) {
        entry.thresholds = Thresholds{ 45, 55 };
    }
    board_.entries.push_back( entry );
}

void WatchedBoard::addEverything() {
    for ( const char *name :
          { "inlet", "asic-left", "asic-right", "outlet", "rear", "cpu-board", "psu1-inlet",
            "psu1-hot-spot", "psu1-outlet", "psu2-inlet", "psu2-hot-spot", "psu2-outlet" } ) {
        add( "temp_sensor", name );
    }
    for ( int i = 1; i <= 6; ++i ) {
        add( "fan", "fan" + std::to_string( i ), R"({"maxFanRpm":20000})" );
        add( "slot", "fan" + std::to_string( i ) + "-slot" );
    }
    for ( const std::string psu : { "psu1", "psu2" } ) {
        add( "psu", psu );
        add( "fan", psu + "-fan1", R"({"maxFanRpm":20000})" );
        add( "fan", psu + "-fan2", R"({"maxFanRpm":20000})" );
        add( "slot", psu + "-slot" );
    }
    for ( int i = 1; i <= 34; ++i ) {
        add( "xcvr", "Ethernet" + std::to_string( i ), i > 32 ? R"({"kind":"sfp+"})" : "{}" );
    }
    add( "led", "Ethernet33-led" );
    add( "led", "lamp34", R"({"ledName":"Ethernet34"})" );
    add( "led", "status" );
    for ( int i = 1; i <= 4; ++i ) {
        add( "gpio", "line" + std::to_string( i ) );
    }
    add( "smbus", "raw" );
}

Model &WatchedBoard::model() {
    if ( !model_ ) {
        std::vector<Device> devices;
        for ( const Entry &entry : board_.entries ) {
            devices.push_back(
                { &entry, &rowOf( entry.deviceClass ), recordOf( entry ), "", {}, {} } );
        }
        model_ = std::make_unique<Model>( std::move( devices ), board_ );
    }
    return *model_;
}

size_t WatchedBoard::indexOf( const std::string &name ) {
    const auto &items = model().items();
    return static_cast<size_t>(
        std::find_if( items.begin(), items.end(),
                      [&]( const Item &each ) { return each.entry().name == name; } ) -
        items.begin() );
}

void WatchedBoard::reads( const std::string &name, std::vector<Reading> readings ) {
    const size_t index = indexOf( name );
    Device &device = model().device( index );
    device.readings = std::move( readings );
    device.state = judge( *device.entry, device.readings );
    changes = model().update( index, now_ );
}

void WatchedBoard::fails( const std::string &name, const std::string &reason ) {
    const size_t columns = model().device( indexOf( name ) ).row->columns.size();
    reads( name, allFailed( columns, PL_STATUS_FAILED, reason ) );
}

void WatchedBoard::readsWell() {
    const auto readAll = [&] {
        for ( const Entry &entry : board_.entries ) {
            reads( entry.name, wellReadings( entry ) );
        }
    };
    readAll();
    pass( 2 ); // what is answered from a poll takes one
    readAll();
}

Canvas WatchedBoard::canvas( Size size ) {
    return layOut( model(), view, { look, now_, "VundaT", "13:05:12", "" }, size );
}

std::vector<std::string> WatchedBoard::screen( Size size ) {
    const Canvas drawn = canvas( size );
    std::vector<std::string> rows;
    for ( int row = 0; row < size.rows; ++row ) {
        rows.push_back( drawn.rowText( row ) );
    }
    return rows;
}
