// What the common class leaves to a board, and another board's answers.
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Drivers/Registry.h"
#include "tests/KavraGeneric/Drivers/Vunda/FanFixture.h"

#include "KavraGeneric/NotImplementedException.h"
#include <gmock/gmock.h>

namespace {

using Drivers::VundaTZCommonFanCpld;
using testing::StrEq;
using testing::ThrowsMessage;

// Fans of 12,000.9 rpm; a 0 in the direction register is front to back.
class OtherBoard final : public VundaTZCommonFanCpld {
  public:
    float getFanMaxRpm() const override { return 12000.9F; }
    bool isFrontToBackActiveHigh() const override { return false; }
    std::string getFanModelName( bool frontToBack ) const override {
        return frontToBack ? "front" : "rear";
    }
};

class BoardWithSlowFans final : public VundaTZCommonFanCpld {
  public:
    float getFanMaxRpm() const override { return 4803.2F; }
};

class VundaTZCommonFanCpldTest : public FanTest {
  protected:
    /// From now on the board's driver is this one; the fixture puts the right one back.
    template <typename Driver>
    void use() {
        Drivers::drivers["VundaTFanCpld"] = []( const Drivers::DriverArgs &, Ham::Ham * ) {
            return new Driver;
        };
        fan = newFan( fanId( 1 ) );
        slot = newSlot( fanId( 1 ) );
        forgetAll();
    }
};

TEST_F( VundaTZCommonFanCpldTest, HooksWithoutABoardThrowTheirNames ) {
    const VundaTZCommonFanCpld cpld;
    EXPECT_THAT( [&] { cpld.getFanMaxRpm(); }, ThrowsMessage<NotImplementedException>(
                                                   StrEq( "Not implemented getFanMaxRpm" ) ) );
    EXPECT_THAT( [&] { cpld.isFrontToBackActiveHigh(); },
                 ThrowsMessage<NotImplementedException>(
                     StrEq( "Not implemented isFrontToBackActiveHigh" ) ) );
    EXPECT_THAT(
        [&] { cpld.getFanModelName( true ); },
        ThrowsMessage<NotImplementedException>( StrEq( "Not implemented getFanModelName" ) ) );
}

TEST_F( VundaTZCommonFanCpldTest, OnlyOperationsThatNeedAHookThrow ) {
    use<VundaTZCommonFanCpld>();
    answer( { bytes( 10 ), bytes( 10 ) } );
    EXPECT_EQ( PL_STATUS_OK, getRpm() );
    EXPECT_THROW( setRpm( 1000 ), NotImplementedException );
    EXPECT_THROW( presence( PL_STATUS_OK ), NotImplementedException );
}

TEST_F( VundaTZCommonFanCpldTest, DirectionMayBeActiveLow ) {
    use<OtherBoard>();
    answer( { bytes( 0xFE ), bytes( 0x00 ) } );
    EXPECT_NE( std::string::npos, presence( PL_STATUS_OK ).find( "modelName = 'front'" ) );
    answer( { bytes( 0xFE ), bytes( 0x01 ) } );
    const std::string rear = presence( PL_STATUS_OK );
    EXPECT_NE( std::string::npos, rear.find( "modelName = 'rear'" ) );
    EXPECT_NE( std::string::npos, rear.find( "'backToFrontAirflow'" ) );
}

TEST_F( VundaTZCommonFanCpldTest, FullSpeedIsCutToAWholeNumber ) {
    use<OtherBoard>();
    answer( { bytes( 0xFE ), bytes( 0x00 ) } );
    EXPECT_NE( std::string::npos, presence( PL_STATUS_OK ).find( "fan.maxRpm = 12000\n" ) );
    setRpm( 12001 );
    EXPECT_EQ( Strings{ "setFanRpm, rpm=12000, dutyCycle= 99.99, regVal=14" }, host().texts( 5 ) );
}

// The exact result is a little less than 14.
TEST_F( VundaTZCommonFanCpldTest, StepsAreComputedInSinglePrecision ) {
    use<BoardWithSlowFans>();
    setRpm( 4503 );
    EXPECT_EQ( "60[11]=0e", lastBatch() );
}

TEST_F( VundaTZCommonFanCpldTest, CommonDriverHasNoNameOfItsOwn ) {
    EXPECT_EQ( 0U, Drivers::drivers.count( "VundaTZCommonFanCpld" ) );
}

} // namespace
