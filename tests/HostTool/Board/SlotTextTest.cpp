#include "HostTool/Board/SlotText.h"
#include "HostTool/Board/EntryParser.h"

#include <gtest/gtest.h>

using namespace HostTool;

/// "MODEL/SERIAL", or "nothing".
static std::string identity( const std::string &description, const std::string &settings ) {
    rapidjson::Document arguments;
    arguments.Parse( ( "{\"driverArgs\":{" + settings + "}}" ).c_str() );
    const auto found = identityIn( description, settingsIn( arguments ) );
    return found ? found->model + "/" + found->serial.value_or( "none" ) : "nothing";
}

constexpr const char *twoModels = R"("psuId":1,"model_1":"A","psuFdl_1":"PS A { '{serialNum}' }",
                                     "model_2":"B","psuFdl_2":"PS B { '{serialNum}' }")";

TEST( SlotTextTest, TemplateThatMakesTheTextTellsTheModel ) {
    EXPECT_EQ( "A/S 1 ", identity( "PS A { 'S 1 ' }", twoModels ) );
    EXPECT_EQ( "B/X", identity( "PS B { 'X' }", twoModels ) );
    EXPECT_EQ( "B/", identity( "PS B { '' }", twoModels ) );
}

TEST( SlotTextTest, TextOfNoTemplateTellsNothing ) {
    for ( const char *other : { "", "PS C { 'X' }", "PS A { 'X }", "S A { 'X' }", "PS A { ' }" } ) {
        EXPECT_EQ( "nothing", identity( other, twoModels ) ) << other;
    }
}

TEST( SlotTextTest, EveryPlaceHasTheSameSerialNumber ) {
    const char *twice = R"("model_1":"A","psuFdl_1":"{serialNum}-{serialNum}")";
    EXPECT_EQ( "A/xy", identity( "xy-xy", twice ) );
    EXPECT_EQ( "nothing", identity( "xy-xz", twice ) );
    EXPECT_EQ( "nothing", identity( "xy-x", twice ) );
    EXPECT_EQ( "A/a-b", identity( "a-b-a-b", twice ) );
}

TEST( SlotTextTest, TemplateWithoutAPlaceIsNeverFilled ) {
    EXPECT_EQ( "nothing", identity( "PS", R"("model_1":"A","psuFdl_1":"PS")" ) );
}

TEST( SlotTextTest, ModelsAreNumberedWithoutGaps ) {
    EXPECT_EQ( "nothing", identity( "-x", R"("model_2":"B","psuFdl_2":"-{serialNum}")" ) );
    EXPECT_EQ( "nothing", identity( "-x", R"("model_1":"B")" ) );
    EXPECT_EQ( "nothing", identity( "-x", R"("model_1":null,"psuFdl_1":"-{serialNum}")" ) );
}

TEST( SlotTextTest, TrayNamesItsModel ) {
    const std::string model = "fanTray = device.fanTray\nfanTray.modelName = 'FAN-1U-F'\n";
    const char *fanId = R"("fanId":1)";
    EXPECT_EQ( "FAN-1U-F/none", identity( model, fanId ) );
    EXPECT_EQ( "FAN-1U-F/none", identity( model + "fanTray.serialNum = 'N/A'\n", fanId ) );
    EXPECT_EQ( "FAN-1U-F/K1", identity( model + "fanTray.serialNum = 'K1'\n", fanId ) );
    EXPECT_EQ( "nothing", identity( "fanTray.modelName = 'FAN", fanId ) );
}

TEST( SlotTextTest, NoSettingsTellNothing ) {
    EXPECT_FALSE( identityIn( "x", {} ) );
    for ( const char *text : { "{}", "{\"driverArgs\":1}" } ) {
        rapidjson::Document arguments;
        arguments.Parse( text );
        EXPECT_TRUE( settingsIn( arguments ).empty() ) << text;
    }
}
