/// The supplies of the VundaT board and of its variants, as kavractl shows them.
#include "tests/HostTool/Kavractl.h"
#include "tests/support/ServerProcess.h"

#include <gmock/gmock.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <set>

using testing::EndsWith;
using testing::HasSubstr;

static std::string boardOf( const std::string &variant ) {
    return SOURCE_DIR "/boards/VundaT" + ( variant.empty() ? "" : "/variants/" + variant );
}

class SuppliesTest : public KavractlTest {
  protected:
    explicit SuppliesTest( const std::string &variant = "" )
        : server( boardOf( variant ) + "/emulation.json" ) {
        environment["SMBUSD_SOCKET"] = server.socketPath();
        environment["KAVRA_BOARD"] = boardOf( variant );
        // The stand-in for the platform's IPMI tool.
        environment["PATH"] = SOURCE_DIR "/tests/support/tools:/usr/bin:/bin";
        environment["QXIPMI_PSU_1"] = "1 DPS550AB6A GTVD1615001656";
        environment["QXIPMI_PSU_2"] = "1 DPS550AB6A GTVD1615001702";
    }

    void turn( const std::string &knob, const std::string &value ) {
        EXPECT_EQ( "ok", server.control( "set " + knob + " " + value ) );
    }

    std::string show( const std::vector<std::string> &arguments ) const {
        std::vector<std::string> command = { "show" };
        command.insert( command.end(), arguments.begin(), arguments.end() );
        return kavractl( command ).out;
    }

    rapidjson::Document shown( const std::string &device ) const {
        return parsed( kavractl( { "show", "--json", device } ).out );
    }

    double number( const std::string &device, const char *reading ) const {
        const auto document = shown( device );
        const auto &value = document["devices"][0]["readings"][reading]["value"];
        return value.IsNumber() ? value.GetDouble() : -1;
    }

    ServerProcess server;
};

TEST_F( SuppliesTest, ReadingsFollowTheLoadAndTheInput ) {
    turn( "psu2.load", "440" );
    turn( "psu2.input_voltage", "120" );
    EXPECT_DOUBLE_EQ( 440, number( "psu2", "output_power" ) );
    EXPECT_DOUBLE_EQ( 120, number( "psu2", "input_voltage" ) );
    EXPECT_NEAR( 12.04, number( "psu2", "output_voltage" ), 0.001 );
    EXPECT_NEAR( 36.54, number( "psu2", "output_current" ), 0.05 );
    EXPECT_NEAR( 468.2, number( "psu2", "input_power" ), 0.5 );
    EXPECT_NEAR( 3.90, number( "psu2", "input_current" ), 0.01 );
    EXPECT_NEAR( 17200, number( "psu2-fan2", "speed" ), 16 );
    EXPECT_DOUBLE_EQ( 240, number( "psu1", "output_power" ) );
}

TEST_F( SuppliesTest, SupplyWithoutOutputIsBad ) {
    turn( "psu1.output_off", "1" );
    turn( "psu2.input_voltage", "0" );
    const ProgramResult result = kavractl( { "show", "psu1", "psu2" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.out, HasSubstr( "  psu1  no " ) );
    EXPECT_THAT( result.out, HasSubstr( "  psu2  no " ) );
    EXPECT_THAT( result.out, EndsWith( "0.00 W  bad\n" ) );
}

TEST_F( SuppliesTest, FanWithAFaultHasNoSpeed ) {
    turn( "psu1.fan2_fault", "1" );
    EXPECT_EQ( 1, kavractl( { "show", "psu1-fan2" } ).status );
    EXPECT_EQ( -1, number( "psu1-fan2", "speed" ) );
    EXPECT_LT( 0, number( "psu1-fan1", "speed" ) );
}

TEST_F( SuppliesTest, SlotWithoutGoodPowerHoldsNothingThatIsManaged ) {
    turn( "psu2.output_off", "1" );
    EXPECT_THAT( show( { "psu2-slot" } ),
                 EndsWith( "absent  Unknown modelName. PSU is unmanaged\n" ) );
}

TEST_F( SuppliesTest, DescriptionIsShownOnRequest ) {
    EXPECT_EQ( "slot\n"
               "  NAME       PRESENT  MODEL       SERIAL          STATE  REASON\n"
               "  psu1-slot  yes      DPS550AB6A  GTVD1615001656  ok\n",
               show( { "psu1-slot" } ) );
    EXPECT_EQ( "slot\n"
               "  NAME       PRESENT  IDENTITY                                                  "
               "MODEL       SERIAL          STATE  REASON\n"
               "  psu1-slot  yes      PowerSupply DPS550AB6A { serialNumber 'GTVD1615001656' }  "
               "DPS550AB6A  GTVD1615001656  ok\n",
               show( { "--fdl", "psu1-slot" } ) );
}

TEST_F( SuppliesTest, KeysOfASlotKeepTheirOrder ) {
    const auto document = shown( "psu1-slot" );
    std::string keys;
    for ( const auto &member : document["devices"][0]["readings"].GetObject() ) {
        keys += std::string( member.name.GetString() ) + " ";
    }
    EXPECT_EQ( "present identity model serial ", keys );
}

TEST_F( SuppliesTest, OtherModelThatIsPluggedInIsSeen ) {
    turn( "psu2.present", "0" );
    EXPECT_THAT( show( { "psu2-slot" } ), EndsWith( "absent  not present\n" ) );
    EXPECT_EQ( 1, kavractl( { "show", "psu2" } ).status );
    turn( "psu2-eeprom.model", "VPS550F-R" );
    turn( "psu2-eeprom.serial", "VR00042" );
    turn( "psu2.present", "1" );
    EXPECT_THAT( show( { "psu2-slot" } ), EndsWith( "yes      VPS550F-R  VR00042  ok\n" ) );
    EXPECT_EQ( 0, kavractl( { "show", "psu2" } ).status );
}

TEST_F( SuppliesTest, UnknownModelIsUnmanaged ) {
    turn( "psu1.model", "COUNTERFEIT" );
    EXPECT_THAT( show( { "psu1-slot" } ),
                 EndsWith( "absent  Unknown modelName. PSU is unmanaged\n" ) );
}

TEST_F( SuppliesTest, SimulatedSuppliesRead ) {
    const std::string folderOption = "--simulate=" + folder.file( "registers" );
    const ProgramResult result = kavractl( { "show", folderOption, "psu1", "psu1-slot" } );
    EXPECT_EQ( 0, result.status ) << result.err;
    EXPECT_THAT( result.out, HasSubstr( "  psu1  yes            230.00 V" ) );
    EXPECT_THAT( result.out, HasSubstr( "  psu1-slot  yes      DPS550AB6A" ) );
}

struct Variant {
    const char *name;
    const char *model;
    const char *serials[2];
};

class VariantsTest : public SuppliesTest, public testing::WithParamInterface<Variant> {
  protected:
    VariantsTest() : SuppliesTest( GetParam().name ) {}
};

TEST_P( VariantsTest, SlotsHoldTheirSupplies ) {
    const Variant &variant = GetParam();
    const ProgramResult result = kavractl( { "show", "psu1-slot", "psu2-slot" } );
    EXPECT_EQ( 0, result.status ) << result.err;
    EXPECT_THAT( result.out, HasSubstr( "  psu1-slot  yes      " + std::string( variant.model ) +
                                        "  " + variant.serials[0] + " " ) );
    EXPECT_THAT( result.out, HasSubstr( "  psu2-slot  yes      " + std::string( variant.model ) +
                                        "  " + variant.serials[1] + " " ) );
}

TEST_P( VariantsTest, SlotOfASupplyThatIsPulledIsEmpty ) {
    turn( "psu1.present", "0" );
    const std::string text = show( { "psu1-slot", "psu2-slot" } );
    EXPECT_THAT( text, HasSubstr( "  psu1-slot  no " ) );
    EXPECT_THAT( text, HasSubstr( "  psu2-slot  yes " ) );
}

/// The entries of devices.json that are no slots, each as a text.
static std::set<std::string> otherDevices( const std::string &folder ) {
    std::ifstream file( folder + "/devices.json" );
    const std::string text{ std::istreambuf_iterator<char>( file ), {} };
    const auto document = parsed( text );
    std::set<std::string> devices;
    for ( const auto &entry : document.GetArray() ) {
        if ( std::string( "slot" ) != entry["class"].GetString() ) {
            rapidjson::StringBuffer buffer;
            rapidjson::Writer<rapidjson::StringBuffer> writer( buffer );
            entry.Accept( writer );
            devices.insert( buffer.GetString() );
        }
    }
    return devices;
}

TEST_P( VariantsTest, OtherDevicesAreOfTheBoard ) {
    const std::set<std::string> all = otherDevices( boardOf( "" ) );
    const std::set<std::string> some = otherDevices( boardOf( GetParam().name ) );
    EXPECT_LT( 10U, some.size() );
    EXPECT_TRUE( std::includes( all.begin(), all.end(), some.begin(), some.end() ) );
    EXPECT_EQ( 0, kavractl( { "show" } ).status );
}

INSTANTIATE_TEST_SUITE_P(
    Types, VariantsTest,
    testing::Values( Variant{ "tlv", "DPS550AB6A", { "GTVD1615001656", "GTVD1615001702" } },
                     Variant{ "ipmitool", "DPS550AB6A", { "GTVD1615001656", "GTVD1615001702" } },
                     Variant{
                         "ipmitool_raw", "DPS550AB6A", { "GTVD1615001656", "GTVD1615001702" } },
                     Variant{ "wedge", "PWR-WEDGE", { "N/A", "N/A" } } ),
    []( const auto &each ) { return std::string( each.param.name ); } );
