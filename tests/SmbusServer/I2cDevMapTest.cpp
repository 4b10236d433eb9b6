#include "SmbusServer/I2cDevMap.h"

#include "EmulatedBoard/DocumentReader.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <unistd.h>

using namespace SmbusServer;

namespace {

constexpr const char *twoBusses = R"({ "busses": [
    { "master": "SCD", "pci": 768, "accelerator": 0, "bus": 0, "device": "/dev/i2c-3" },
    { "master": "SCD", "pci": 768, "accelerator": 1, "bus": 0, "device": "/dev/i2c-4" },
    { "master": "I2C", "bus": 2, "device": "/dev/i2c-3" }
] })";

constexpr BusName first = { .master = Smbus::SCD, .pci = 768 };
constexpr BusName second = { .master = Smbus::SCD, .pci = 768, .accelerator = 1 };
constexpr BusName third = { .master = Smbus::I2C, .bus = 2 };

std::string errorOf( const std::string &text ) {
    try {
        parseI2cDevMap( text, "map.json" );
        return "";
    } catch ( const EmulatedBoard::DocumentError &error ) {
        return error.what();
    }
}

} // namespace

TEST( I2cDevMapTest, WithoutADocumentBusNIsDeviceN ) {
    const I2cDevMap map;
    EXPECT_EQ( "/dev/i2c-7", map.deviceOf( { .master = Smbus::I2C, .bus = 7 } ) );
    EXPECT_EQ( std::nullopt, map.deviceOf( { .master = Smbus::SCD, .bus = 7 } ) );
    EXPECT_EQ( std::nullopt, map.deviceOf( { .master = Smbus::I2C, .pci = 1 } ) );
    EXPECT_EQ( std::nullopt, map.deviceOf( { .master = Smbus::I2C, .accelerator = 1 } ) );
    EXPECT_FALSE( map.severalAccelerators( { .master = Smbus::I2C } ) );
}

TEST( I2cDevMapTest, WithoutADocumentEachBusHasALaneOfItsOwn ) {
    const I2cDevMap map;
    EXPECT_NE( map.laneOf( { .master = Smbus::I2C } ),
               map.laneOf( { .master = Smbus::I2C, .bus = 1 } ) );
    EXPECT_EQ( 0u, map.laneOf( { .master = Smbus::SCD } ) );
    EXPECT_NE( 0u, map.laneOf( { .master = Smbus::I2C } ) );
}

TEST( I2cDevMapTest, DocumentNamesTheDevices ) {
    const I2cDevMap map = parseI2cDevMap( twoBusses, "map.json" );
    EXPECT_EQ( "/dev/i2c-3", map.deviceOf( first ) );
    EXPECT_EQ( "/dev/i2c-4", map.deviceOf( second ) );
    EXPECT_EQ( std::nullopt, map.deviceOf( { .master = Smbus::I2C } ) );
    EXPECT_TRUE( map.severalAccelerators( first ) );
    EXPECT_FALSE( map.severalAccelerators( third ) );
}

TEST( I2cDevMapTest, BussesOfOneDeviceShareALane ) {
    const I2cDevMap map = parseI2cDevMap( twoBusses, "map.json" );
    EXPECT_EQ( map.laneOf( first ), map.laneOf( third ) );
    EXPECT_NE( map.laneOf( first ), map.laneOf( second ) );
    EXPECT_EQ( 0u, map.laneOf( { .master = Smbus::I2C } ) );
}

TEST( I2cDevMapTest, LinkSharesTheLaneOfItsDevice ) {
    const std::string link = testing::TempDir() + "i2c-link-" + std::to_string( getpid() );
    std::filesystem::create_symlink( "/dev/null", link );
    const I2cDevMap map( { { first, { "/dev/null" } }, { second, { link } } } );
    EXPECT_EQ( map.laneOf( first ), map.laneOf( second ) );
    EXPECT_EQ( "/dev/null", map.wiresOf( second ) );
    std::filesystem::remove( link );
}

TEST( I2cDevMapTest, RootMuxesAreThoseOfAllNamesOfTheWires ) {
    const I2cDevMap map = parseI2cDevMap( R"({ "busses": [
        { "master": "I2C", "bus": 0, "device": "/dev/i2c-3", "muxes": [ "0x70", 113 ] },
        { "master": "I2C", "bus": 1, "device": "/dev/i2c-3", "muxes": [ "0x72" ] },
        { "master": "I2C", "bus": 2, "device": "/dev/i2c-4", "muxes": [] } ] })",
                                          "map.json" );
    const std::vector<uint8_t> shared = { 0x70, 0x71, 0x72 };
    EXPECT_EQ( shared, map.rootMuxesOf( { .master = Smbus::I2C } ) );
    EXPECT_EQ( shared, map.rootMuxesOf( { .master = Smbus::I2C, .bus = 1 } ) );
    EXPECT_TRUE( map.rootMuxesOf( { .master = Smbus::I2C, .bus = 2 } ).empty() );
    EXPECT_TRUE( map.rootMuxesOf( { .master = Smbus::I2C, .bus = 3 } ).empty() );
    EXPECT_TRUE( I2cDevMap().rootMuxesOf( { .master = Smbus::I2C } ).empty() );
}

TEST( I2cDevMapTest, WrongMuxesArePointedAt ) {
    const auto errorWith = []( const std::string &muxes ) {
        return errorOf( R"({ "busses": [
{ "master": "I2C", "bus": 1, "device": "/dev/a",
  "muxes": )" + muxes + " } ] }" );
    };
    const std::string entry = "each entry of 'muxes' must be a whole number from 3 to 119 "
                              "(0x03 to 0x77)";
    EXPECT_EQ( "map.json:3:12: 'muxes' must be an array of addresses", errorWith( "\"0x70\"" ) );
    EXPECT_EQ( "map.json:3:14: " + entry, errorWith( "[ 2 ]" ) );
    EXPECT_EQ( "map.json:3:17: " + entry, errorWith( "[ 3, \"0x78\" ]" ) );
    EXPECT_EQ( "map.json:3:14: " + entry, errorWith( "[ \"left\" ]" ) );
    EXPECT_EQ( "map.json:3:22: 'muxes' names 0x70 twice", errorWith( "[ \"0x70\", 112 ]" ) );
    EXPECT_EQ( "map.json:3:3: unknown key 'mux'; known are master, pci, accelerator, bus, device, "
               "muxes",
               errorOf( "{ \"busses\": [\n{ \"master\": \"I2C\", \"bus\": 1, \"device\": "
                        "\"/dev/a\",\n  \"mux\": [] } ] }" ) );
}

TEST( I2cDevMapTest, ExampleOfThePageIsRight ) {
    std::ostringstream text;
    text << std::ifstream( SOURCE_DIR "/docs/formats/i2c-map.md" ).rdbuf();
    const std::string page = text.str();
    const std::string mark = "```json\n";
    const size_t start = page.find( mark ) + mark.size();
    const I2cDevMap map =
        parseI2cDevMap( page.substr( start, page.find( "```", start ) - start ), "page" );
    EXPECT_EQ( "/dev/i2c-3", map.deviceOf( { .master = Smbus::SCD, .pci = 768 } ) );
    EXPECT_EQ( ( std::vector<uint8_t>{ 0x70, 0x71 } ),
               map.rootMuxesOf( { .master = Smbus::SCD, .pci = 768, .bus = 1 } ) );
}

TEST( I2cDevMapTest, WrongDocumentsArePointedAt ) {
    EXPECT_EQ( "map.json:1:1: key 'busses' is missing", errorOf( "{}" ) );
    EXPECT_EQ( "map.json:1:15: key 'device' is missing",
               errorOf( R"({ "busses": [ { "master": "I2C", "bus": 1 } ] })" ) );
    EXPECT_EQ( "map.json:1:54: 'device' must be the path of a device file, from the root",
               errorOf( R"({ "busses": [ { "master": "I2C", "bus": 1, "device": "i2c-1" } ] })" ) );
    EXPECT_EQ( "map.json:2:1: this master, pci, accelerator and bus were described before",
               errorOf( R"({ "busses": [ { "master": "I2C", "bus": 1, "device": "/dev/a" },
{ "master": "I2C", "bus": 1, "device": "/dev/b" } ] })" ) );
    EXPECT_THROW( loadI2cDevMap( "/nowhere/map.json" ), EmulatedBoard::DocumentError );
}
