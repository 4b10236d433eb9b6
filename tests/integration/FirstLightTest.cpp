// The whole path as a host takes it: the built library through dlopen, the real server, the board.
#include "tests/integration/LoadedLibraryFixture.h"

#include <vector>

// What the library makes lives as long as the process: the leak check would report all of it.
extern "C" const char *__asan_default_options() {
    return "detect_leaks=0";
}

namespace {

class FirstLightTest : public LoadedLibraryFixture {
  protected:
    void SetUp() override {
        LoadedLibraryFixture::SetUp();
        ASSERT_EQ( PL_STATUS_OK, initialise( "pl_temp_sensor_init" ) );
    }

    // The texts are literals: a device keeps a pointer to its own. Nobody gives a device back, so a
    // host keeps all of them, and a leak check finds what else is lost.
    pl_temp_sensor *sensor( const char *arguments ) const {
        static auto &kept = *new std::vector<pl_temp_sensor *>;
        kept.push_back(
            function<decltype( pl_temp_sensor_add )>( "pl_temp_sensor_add" )( arguments, 80, 90 ) );
        return kept.back();
    }

    static float celsiusOf( pl_temp_sensor *sensor ) {
        float celsius = -273;
        EXPECT_EQ( PL_STATUS_OK, sensor->ops->getTemperature( sensor, &celsius ) );
        return celsius;
    }
};

constexpr const char *inlet = R"({"driver":"LM75","did":1,"address":{"address":72}})";
constexpr const char *asicLeft = R"({"driver":"LM75","did":2,"address":{"address":72}})";
constexpr const char *asicRight = R"({"driver":"LM75","did":3,"address":{"address":72}})";
constexpr const char *outlet = R"({"driver":"LM75","did":4,"address":{"address":72}})";

TEST_F( FirstLightTest, SensorOnTheBusReadsAndFollows ) {
    pl_temp_sensor *direct = sensor( inlet );
    EXPECT_FLOAT_EQ( 24.5F, celsiusOf( direct ) );
    server.control( "set inlet.temperature -3.5" );
    EXPECT_FLOAT_EQ( -4.5F, celsiusOf( direct ) ); // the half degree moves away from zero
}

TEST_F( FirstLightTest, EqualAddressesBehindOneMuxAreToldApart ) {
    pl_temp_sensor *left = sensor( asicLeft );
    pl_temp_sensor *right = sensor( asicRight );
    EXPECT_FLOAT_EQ( 41.0F, celsiusOf( left ) );
    EXPECT_FLOAT_EQ( 43.5F, celsiusOf( right ) );
    EXPECT_FLOAT_EQ( 41.0F, celsiusOf( left ) );
}

TEST_F( FirstLightTest, SensorBehindTwoMuxesReads ) {
    EXPECT_FLOAT_EQ( 35.0F, celsiusOf( sensor( outlet ) ) );
}

TEST_F( FirstLightTest, ServerThatRestartsBetweenTwoReadsIsNotSeen ) {
    pl_temp_sensor *far = sensor( outlet );
    celsiusOf( far );
    server.restart();
    EXPECT_FLOAT_EQ( 35.0F, celsiusOf( far ) );
}

TEST_F( FirstLightTest, ChipThatLeavesFailsAndComesBack ) {
    pl_temp_sensor *left = sensor( asicLeft );
    server.control( "set asic-left.present 0" );
    float celsius = 7;
    EXPECT_EQ( PL_STATUS_FAILED, left->ops->getTemperature( left, &celsius ) );
    EXPECT_FLOAT_EQ( 7, celsius );
    server.control( "set asic-left.present 1" );
    EXPECT_FLOAT_EQ( 41.0F, celsiusOf( left ) );
}

TEST_F( FirstLightTest, ServerThatIsGoneIsAnIoError ) {
    pl_temp_sensor *direct = sensor( inlet );
    server.stop();
    float celsius = 7;
    EXPECT_EQ( PL_STATUS_IO_ERROR, direct->ops->getTemperature( direct, &celsius ) );
    EXPECT_FLOAT_EQ( 7, celsius );
}

} // namespace
