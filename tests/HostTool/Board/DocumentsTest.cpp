#include "HostTool/Board/Documents.h"
#include "HostTool/Failure.h"
#include "tests/HostTool/BoardFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <unistd.h>

using namespace HostTool;

class DocumentsTest : public testing::Test {
  protected:
    Board board( const std::string &devices ) const {
        folder.devices( devices );
        return readBoard( folder.path() );
    }
    /// One entry that the board accepts, read.
    Entry entry( const std::string &text ) const {
        return board( "[" + text + "]" ).entries.at( 0 );
    }

    /// What is said about devices.json, without the file's path in front.
    std::string refusal( const std::string &devices ) const {
        try {
            board( devices );
        } catch ( const Failure &failure ) {
            EXPECT_EQ( ExitCode::badInput, failure.code() );
            const std::string path = folder.file( "devices.json" );
            const std::string text = failure.what();
            EXPECT_TRUE( text.starts_with( path ) ) << text;
            return text.substr( path.size() );
        }
        return "";
    }

    BoardFolder folder;
};

TEST_F( DocumentsTest, SensorEntryIsReadWhole ) {
    const Entry sensor = entry( R"(
        { "class": "temp_sensor", "name": "inlet",
          "arguments": { "did": 1, "driver": "LM75",  "address": { "address": 72 } },
          "thresholds": { "alert": 45.5, "critical": 55 } })" );
    EXPECT_EQ( DeviceClass::tempSensor, sensor.deviceClass );
    EXPECT_EQ( "inlet", sensor.name );
    EXPECT_EQ( folder.file( "devices.json" ) + ":2", sensor.place );
    EXPECT_EQ( R"({"did":1,"driver":"LM75","address":{"address":72}})", sensor.arguments );
    EXPECT_EQ( "LM75", sensor.driver );
    EXPECT_EQ( 1u, sensor.did );
    EXPECT_FLOAT_EQ( 45.5F, sensor.thresholds->alert );
    EXPECT_FLOAT_EQ( 55, sensor.thresholds->critical );
}

TEST_F( DocumentsTest, ObjectWithDevicesIsTheSame ) {
    EXPECT_EQ( 1u,
               board( R"({ "devices": [ { "class": "system", "name": "s" } ] })" ).entries.size() );
}

TEST_F( DocumentsTest, EveryClassHasItsName ) {
    for ( const ClassName &row : classNames ) {
        const std::string thresholds = row.deviceClass == DeviceClass::tempSensor
                                           ? R"(, "thresholds": { "alert": 1, "critical": 2 })"
                                           : "";
        const Entry read = entry( R"({ "class": ")" + std::string( row.name ) +
                                  R"(", "name": "x", "arguments": {})" + thresholds + " }" );
        EXPECT_EQ( row.deviceClass, read.deviceClass ) << row.name;
        EXPECT_STREQ( row.name, nameOf( read.deviceClass ) );
    }
}

TEST_F( DocumentsTest, ProxyMayNameBusAndAddress ) {
    for ( const std::string address : { "74", R"("0x4a")" } ) {
        const Entry proxy = entry(
            R"({ "class": "smbus", "name": "p", "bus": "cpu-bus", "address": )" + address + "}" );
        EXPECT_EQ( "cpu-bus", proxy.bus );
        EXPECT_EQ( 0x4au, proxy.address );
        EXPECT_EQ( "SmbusProxyDriver", proxy.driver );
    }
}

TEST_F( DocumentsTest, SystemNeedsNoArguments ) {
    EXPECT_EQ( "{}", entry( R"({ "class": "system", "name": "s" })" ).arguments );
}

TEST_F( DocumentsTest, ArgumentsOfAnyShapeAreTheLibrarysBusiness ) {
    const Entry led =
        entry( R"({ "class": "led", "name": "l", "arguments": { "did": "x", "driver": 1 } })" );
    EXPECT_EQ( R"({"did":"x","driver":1})", led.arguments );
    EXPECT_EQ( "", led.driver );
    EXPECT_FALSE( led.did.has_value() );
}

TEST_F( DocumentsTest, TopologyIsKeptByteForByteAndCheckedForSyntax ) {
    folder.topology( "[ ]\n" );
    EXPECT_EQ( "[ ]\n", board( "[]" ).topology );
    folder.topology( "[\n{" );
    EXPECT_THROW( board( "[]" ), Failure );
}

struct BadDevices {
    const char *devices;
    const char *message;
};

class BadDevicesTest : public DocumentsTest, public testing::WithParamInterface<BadDevices> {};

TEST_P( BadDevicesTest, NamesFileLineEntryAndKey ) {
    EXPECT_EQ( GetParam().message, refusal( GetParam().devices ) );
}

INSTANTIATE_TEST_SUITE_P(
    Shapes, BadDevicesTest,
    testing::Values(
        BadDevices{ "[\n{ \"class\": ]", ":2:12: Invalid value." },
        BadDevices{ "1", ":1: the devices must be an array, not a number" },
        BadDevices{ "{}", ":1: \"devices\" is missing" },
        BadDevices{ "{\n\"devices\": true }", ":2: the devices must be an array, not true" },
        BadDevices{ "[\n1 ]", ":2: entry 1: must be an object, not a number" },
        BadDevices{ "[\n{} ]", ":2: entry 1: \"name\" is missing" },
        BadDevices{ "[ {\n\"name\": 7 } ]", ":2: entry 1: \"name\" must be a text, not a number" },
        BadDevices{ "[ { \"name\": \"a b\" } ]",
                    ":1: entry 1: \"name\" must be one word of printable ASCII that does not start "
                    "with '-'" },
        BadDevices{ "[ { \"name\": \"\" } ]",
                    ":1: entry 1: \"name\" must be one word of printable ASCII that does not start "
                    "with '-'" },
        BadDevices{ "[ { \"name\": \"-x\" } ]",
                    ":1: entry 1: \"name\" must be one word of printable ASCII that does not start "
                    "with '-'" },
        BadDevices{ "[ { \"name\": \"a\" } ]", ":1: 'a': \"class\" is missing" },
        BadDevices{ "[ { \"name\": \"a\",\n\"class\": \"temp_senso\" } ]",
                    ":2: 'a': \"class\" 'temp_senso' is none of the nine classes; did you mean "
                    "'temp_sensor'?" },
        BadDevices{ "[ { \"name\": \"a\", \"class\": \"fan\" } ]",
                    ":1: 'a': \"arguments\" is missing" },
        BadDevices{ "[ { \"name\": \"a\", \"class\": \"fan\",\n\"arguments\": \"x\" } ]",
                    ":2: 'a': \"arguments\" must be an object, not a text" },
        BadDevices{ "[ { \"name\": \"a\", \"class\": \"smbus\" } ]",
                    ":1: 'a': \"arguments\", or \"bus\" and \"address\", are missing" },
        BadDevices{
            "[ { \"name\": \"a\", \"class\": \"fan\", \"arguments\": {},\n\"argument\": 1 } ]",
            ":2: 'a': unknown key \"argument\"; did you mean 'arguments'?" },
        BadDevices{
            "[ { \"name\": \"a\", \"class\": \"fan\", \"arguments\": {},\n\"arguments\": {} } ]",
            ":2: 'a': \"arguments\" is given twice" },
        BadDevices{ "[ { \"name\": \"a\", \"class\": \"fan\", \"arguments\": {},\n"
                    "\"thresholds\": {} } ]",
                    ":2: 'a': unknown key \"thresholds\"" },
        BadDevices{ "[ { \"name\": \"a\", \"class\": \"smbus\", \"bus\": \"b\" } ]",
                    ":1: 'a': \"address\" is missing" },
        BadDevices{ "[ { \"name\": \"a\", \"class\": \"smbus\", \"bus\": \"{\", \"address\": 1 } ]",
                    ":1: 'a': \"bus\" must be the label of a bus" } ) );

TEST_F( DocumentsTest, SecondEntryOfANameIsRefusedAndBothAreNamed ) {
    const std::string system = "{ \"class\": \"system\", \"name\": \"a\" }";
    EXPECT_EQ( ":3: 'a': \"name\" is taken by the entry at " + folder.file( "devices.json" ) + ":2",
               refusal( "[\n" + system + ",\n" + system + "]" ) );
}

class BadAddressTest : public DocumentsTest, public testing::WithParamInterface<const char *> {};

TEST_P( BadAddressTest, IsRefused ) {
    EXPECT_EQ( ":1: 'a': \"address\" must be a 7-bit chip address: 0 to 127, or \"0x00\" to "
               "\"0x7f\"",
               refusal( R"([ { "name": "a", "class": "smbus", "bus": "b", "address": )" +
                        std::string( GetParam() ) + " } ]" ) );
}

INSTANTIATE_TEST_SUITE_P( Values, BadAddressTest,
                          testing::Values( "128", "-1", "1.5", R"("74")", R"("0x80")", R"("0x")",
                                           R"("0x4g")", R"("0x-1")", "null", "99999999999" ) );

class BadThresholdsTest : public DocumentsTest, public testing::WithParamInterface<BadDevices> {};

TEST_P( BadThresholdsTest, AreNamed ) {
    EXPECT_EQ( std::string( ":1: 'a': " ) + GetParam().message,
               refusal( R"([ { "name": "a", "class": "temp_sensor", "arguments": {} )" +
                        std::string( GetParam().devices ) + " } ]" ) );
}

INSTANTIATE_TEST_SUITE_P(
    Values, BadThresholdsTest,
    testing::Values(
        BadDevices{ "", "\"thresholds\" is missing" },
        BadDevices{ R"(, "thresholds": 1)",
                    "\"thresholds\" must be an object with \"alert\" and \"critical\", not a "
                    "number" },
        BadDevices{ R"(, "thresholds": { "alert": 1 })", "\"thresholds\" lacks \"critical\"" },
        BadDevices{ R"(, "thresholds": { "alert": "hot", "critical": 1 })",
                    "\"thresholds\": \"alert\" must be a number of degrees Celsius, not a text" },
        BadDevices{ R"(, "thresholds": { "alert": 1, "critical": 1e300 })",
                    "\"thresholds\": \"critical\" is no temperature" },
        BadDevices{ R"(, "thresholds": { "alert": 1, "critcal": 2 })",
                    "unknown key \"critcal\"; did you mean 'critical'?" } ) );

class SelectTest : public DocumentsTest {
  protected:
    std::string selected( const std::vector<std::string> &names ) const {
        const Board read = board( R"([ { "class": "system", "name": "one" },
                                       { "class": "system", "name": "two" },
                                       { "class": "system", "name": "three" } ])" );
        std::string text;
        for ( const Entry *each : selectEntries( read, names ) ) {
            text += each->name + " ";
        }
        return text;
    }
};

TEST_F( SelectTest, NoNameIsEveryEntry ) {
    EXPECT_EQ( "one two three ", selected( {} ) );
}

TEST_F( SelectTest, OrderIsThatOfTheDocumentAndEachComesOnce ) {
    EXPECT_EQ( "one three ", selected( { "three", "one", "three" } ) );
}

TEST_F( SelectTest, UnknownNameIsAnsweredWithTheNearest ) {
    try {
        selected( { "one", "thre" } );
        FAIL();
    } catch ( const Failure &failure ) {
        EXPECT_EQ( "no device 'thre' in " + folder.path() + "/devices.json; did you mean 'three'?",
                   std::string( failure.what() ) );
    }
}

TEST( BoardFolderTest, OptionComesBeforeEnvironment ) {
    setenv( "KAVRA_BOARD", "/from/environment", 1 );
    EXPECT_EQ( "/asked/for", findBoardFolder( "/asked/for" ) );
    EXPECT_EQ( "/from/environment", findBoardFolder( "" ) );
}

TEST( BoardFolderTest, LastResortsAreNamedWhenNoneIsThere ) {
    unsetenv( "KAVRA_BOARD" );
    const BoardFolder empty;
    ASSERT_EQ( 0, chdir( empty.path().c_str() ) );
    try {
        findBoardFolder( "" );
        FAIL();
    } catch ( const Failure &failure ) {
        EXPECT_NE( std::string::npos,
                   std::string( failure.what() ).find( "neither boards/VundaT nor " ) );
    }
}

TEST( BoardFolderTest, BoardOfTheWorkingFolderIsFound ) {
    unsetenv( "KAVRA_BOARD" );
    ASSERT_EQ( 0, chdir( SOURCE_DIR ) );
    EXPECT_EQ( "boards/VundaT", findBoardFolder( "" ) );
}
