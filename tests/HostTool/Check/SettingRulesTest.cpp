// What drivers make of their settings.
#include "HostTool/Check/SettingRules.h"
#include "tests/HostTool/Check/CheckFixture.h"

#include <stdexcept>

using HostTool::Check::numberOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct Case {
    const char *name;
    const char *deviceClass;
    const char *driver;
    const char *settings;
    const char *rule; ///< the only one that is told; null: none is
};

// clang-format off
const Case cases[] = {
    { "GoodFan",            "fan",  "Pmbus", R"({ "fanId": 2, "maxFanRpm": "20000" })", nullptr },
    { "FanWithoutId",       "fan",  "Pmbus", R"({ "maxFanRpm": 20000 })", "argument-missing" },
    { "FanIdNoNumber",      "fan",  "Pmbus", R"({ "fanId": "one", "maxFanRpm": 1 })", "not-a-number" },
    { "FanIdNull",          "fan",  "Pmbus", R"({ "fanId": null, "maxFanRpm": 1 })", "not-a-number" },
    { "FanIdBeyond32Bits",  "fan",  "Pmbus", R"({ "fanId": 1, "maxFanRpm": 4294967295 })", "not-a-number" },
    { "FanIdOutOfRange",    "fan",  "Pmbus", R"({ "fanId": 3, "maxFanRpm": 1 })", "argument-range" },
    { "FanMaximumZero",     "fan",  "Pmbus", R"({ "fanId": 1, "maxFanRpm": 0 })", "fan-maximum" },
    { "FanMaximumHex",      "fan",  "Pmbus", R"({ "fanId": 1, "maxFanRpm": "12x" })", "number-cut-short" },
    { "FanMaximumScience",  "fan",  "Pmbus", R"({ "fanId": 1, "maxFanRpm": 2e4 })", nullptr },
    { "FanFraction",        "fan",  "Pmbus", R"({ "fanId": 1.5, "maxFanRpm": 1 })", "number-cut-short" },
    { "FanFlag",            "fan",  "Pmbus", R"({ "fanId": 1, "maxFanRpm": 1, "pec": "True" })", "not-a-boolean" },
    { "FanMistyped",        "fan",  "Pmbus", R"({ "fanId": 1, "maxFanRpm": 1, "pecc": true })", "argument-unread" },
    { "SensorById",         "temp_sensor", "Pmbus", R"({ "sensorId": 3 })", nullptr },
    { "SensorIdTooHigh",    "temp_sensor", "Pmbus", R"({ "sensorId": 4 })", "argument-range" },
    { "SensorByCommand",    "temp_sensor", "Pmbus", R"({ "sensorId": 4, "tempSensor": 1 })", nullptr },
    { "SensorCommandZero",  "temp_sensor", "Pmbus", R"({ "sensorId": 1, "tempSensor": 0 })", "argument-range" },
    { "GpioLabel",          "psu",  "Pmbus", R"({ "gpioDevice": "none", "powerOkReg": 1, "powerOkBit": 1 })", "gpio-label" },
    { "GpioLabelOfABus",    "psu",  "Pmbus", R"({ "gpioDevice": "bus", "powerOkReg": 1, "powerOkBit": 1 })", "gpio-label" },
    { "GpioNotInline",      "psu",  "Pmbus", R"({ "gpioDevice": "it", "powerOkReg": 1, "powerOkBit": 1 })", "gpio-not-inline" },
    { "TrayFan",            "fan",  "VundaTFanCpld", R"({ "fanId": 6 })", nullptr },
    { "TrayFanWraps",       "fan",  "VundaTFanCpld", R"({ "fanId": 257 })", "argument-wraps" },
    { "TrayFanTooHigh",     "fan",  "VundaTFanCpld", R"({ "fanId": 7 })", "argument-range" },
    { "TraySlotWithout",    "slot", "VundaTFanCpld", R"({})", "argument-refused" },
    { "GpioHex",            "gpio", "GpioDriver", R"({ "register": "0x10", "bitpos": 1 })", "hex-number" },
    { "GpioBit",            "gpio", "GpioDriver", R"({ "register": 16, "bitpos": 8 })", "bit-range" },
    { "GpioRegister",       "gpio", "GpioDriver", R"({ "register": 256, "bitpos": 1 })", "argument-wraps" },
    { "LedName",            "led",  "VundaTXcvrLedCPLD", R"({ "ledName": "Ethernet35" })", "led-name" },
    { "LedRegister",        "led",  "VundaTSystemLedCPLD", R"({ "reg": 66, "id": 1 })", "led-register" },
    { "LedRegisterWraps",   "led",  "VundaTSystemLedCPLD", R"({ "reg": 321, "id": 1 })", "argument-wraps" },
    { "XcvrType",           "xcvr", "VundaGenericXcvrCPLD", R"({ "id": 1, "type": "QSFP" })", "xcvr-type" },
    { "ProxyDelay",         "smbus", "SmbusProxyDriver", R"({ "localReadDelayMs": "x" })", "not-a-number" },
};
// clang-format on

class SettingTest : public CheckTest, public testing::WithParamInterface<Case> {};

class SlotTest : public CheckTest {
  protected:
    std::vector<std::string> rulesOfSlot( const std::string &settings ) {
        oneDevice( "slot", "PsuSlot", R"({ "psuId": 1, )" + settings + " }" );
        return rules();
    }
};

} // namespace

TEST_P( SettingTest, IsTold ) {
    oneDevice( GetParam().deviceClass, GetParam().driver, GetParam().settings );
    if ( GetParam().rule ) {
        EXPECT_THAT( rules(), ElementsAre( GetParam().rule ) );
    } else {
        EXPECT_THAT( rules(), IsEmpty() );
    }
}

INSTANTIATE_TEST_SUITE_P( Settings, SettingTest, testing::ValuesIn( cases ),
                          []( const auto &each ) { return std::string( each.param.name ); } );

TEST_F( CheckTest, AllSettingsThatAreMissingAreTold ) {
    oneDevice( "gpio", "GpioDriver", "{}" );
    EXPECT_THAT( rules(), ElementsAre( "argument-missing", "argument-missing" ) );
}

TEST_F( SlotTest, ModelsWithTemplates ) {
    EXPECT_THAT( rulesOfSlot( R"("identificationType": "pmbus",
        "model_1": "A", "psuFdl_1": "{serialNum}", "model_2": "B", "psuFdl_2": "{serialNum}")" ),
                 IsEmpty() );
}

TEST_F( SlotTest, ModelWithoutTemplate ) {
    EXPECT_THAT( rulesOfSlot( R"("identificationType": "pmbus", "model_1": "A")" ),
                 ElementsAre( "model-without-template" ) );
}

TEST_F( SlotTest, GapInTheNumbering ) {
    EXPECT_THAT( rulesOfSlot( R"("identificationType": "pmbus",
        "model_1": "A", "psuFdl_1": "{serialNum}", "model_3": "C", "psuFdl_3": "{serialNum}")" ),
                 ElementsAre( "model-gap", "model-gap" ) );
}

TEST_F( SlotTest, TemplateWithoutPlaceholder ) {
    EXPECT_THAT( rulesOfSlot( R"("identificationType": "tlv",
        "model_1": "A", "psuFdl_1": "{serialnum}")" ),
                 ElementsAre( "template-placeholder" ) );
}

TEST_F( SlotTest, ModelTwice ) {
    EXPECT_THAT( rulesOfSlot( R"("identificationType": "tlv", "model_1": "A",
        "psuFdl_1": "{serialNum}", "model_2": "A", "psuFdl_2": "{serialNum}")" ),
                 ElementsAre( "model-replaced" ) );
}

TEST_F( SlotTest, IdentificationType ) {
    EXPECT_THAT( rulesOfSlot( R"("identificationType": "PMBUS")" ),
                 ElementsAre( "identification-type" ) );
    EXPECT_THAT( report(), HasSubstr( "it is one of pmbus, ipmi" ) );
}

TEST_F( SlotTest, CommandsThatTheShellWouldRead ) {
    EXPECT_THAT( rulesOfSlot( R"("identificationType": "ipmitool", "ipmiId": "2; reboot")" ),
                 ElementsAre( "shell-characters" ) );
}

TEST_F( SlotTest, CommandsWithoutTheSupply ) {
    EXPECT_THAT( rulesOfSlot( R"("identificationType": "ipmitool")" ),
                 ElementsAre( "command-incomplete" ) );
}

TEST_F( SlotTest, RawCommandsNeedAllThree ) {
    EXPECT_THAT( rulesOfSlot( R"("identificationType": "ipmitool_raw", "ipmiId": 2,
        "ipmiRawModel": "M")" ),
                 ElementsAre( "argument-missing" ) );
}

// The standard's own conversion, which drivers use, is what ours is held to.
TEST( NumberOf, ReadsAsDriversDo ) {
    for ( const std::string text : { "7",           "-7",
                                     "+7",          " 7",
                                     "\t\n 12",     "0x10",
                                     "12abc",       "",
                                     "x",           "-",
                                     "+",           "+-1",
                                     "- 1",         "2147483647",
                                     "2147483648",  "-2147483648",
                                     "-2147483649", "99999999999999999999",
                                     "1e+20",       "0.5",
                                     ".5",          "--1" } ) {
        SCOPED_TRACE( "'" + text + "'" );
        const auto number = numberOf( text );
        try {
            size_t read = 0;
            const int value = std::stoi( text, &read );
            ASSERT_TRUE( number && number->fits );
            EXPECT_EQ( value, number->value );
            EXPECT_EQ( read == text.size(), number->isWhole );
        } catch ( const std::invalid_argument & ) {
            EXPECT_FALSE( number );
        } catch ( const std::out_of_range & ) {
            EXPECT_TRUE( number && !number->fits );
        }
    }
}
