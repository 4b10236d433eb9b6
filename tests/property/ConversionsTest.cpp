// Numbers on the wire and back, against whole-number arithmetic. Where there are few enough words,
// every one is tried.
#include "EmulatedBoard/PmbusFormat.h"
#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Drivers/LM75.h"
#include "KavraGeneric/Drivers/Pmbus.h"
#include "KavraGeneric/Drivers/Vunda/VundaTFanCpld.h"
#include "KavraGeneric/Ham/Ham.h"
#include "tests/property/Formats.h"
#include "tests/property/Property.h"
#include "tests/support/LibraryFixture.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <memory>
#include <vector>

namespace {

using namespace Property;

/// A chip right behind its access method: a word a register, kept as it is written.
class WordHam final : public Ham::Ham {
  public:
    using ResponseId = ::Ham::ResponseId;

    void prepare() override { results_.clear(); }
    int execute() override { return PL_STATUS_OK; }
    ResponseId addRead8( unsigned reg ) override { return addRead16( reg ); }
    ResponseId addRead16( unsigned reg ) override {
        results_.push_back( words.at( reg ) );
        return static_cast<ResponseId>( results_.size() - 1 );
    }
    void addSendByte( uint8_t, bool ) override {}
    void addWrite8( unsigned reg, uint8_t value, bool ) override {
        words.at( reg ) = value;
        results_.push_back( value );
    }
    void addWrite16( unsigned reg, uint16_t value, bool ) override { words.at( reg ) = value; }
    uint8_t get8( ResponseId id ) override { return static_cast<uint8_t>( results_.at( id ) ); }
    uint16_t get16( ResponseId id ) override { return results_.at( id ); }

    std::array<uint16_t, 256> words{};

  private:
    std::vector<uint16_t> results_;
};

class ConversionsProperty : public LibraryFixture {
  protected:
    ConversionsProperty() { host().traceDropped = true; }

    /// The driver of the chip, as the framework makes it.
    template <typename Driver>
    std::unique_ptr<Driver> make( const char *name,
                                  const std::map<std::string, std::string> &settings = {} ) {
        Drivers::DriverArgs args;
        args.driver = name;
        args.driverArgs = settings;
        Component::DeviceBase::devices.clear();
        return std::unique_ptr<Driver>(
            dynamic_cast<Driver *>( Component::HardwareDevice::create( args, &chip ) ) );
    }

    uint16_t &word( unsigned reg ) { return chip.words.at( reg ); }

    WordHam chip;
};

template <typename Function>
void forAllWords( const Function &function ) {
    for ( unsigned word = 0; word < 0x10000; ++word ) {
        function( static_cast<uint16_t>( word ) );
        if ( testing::Test::HasFatalFailure() ) {
            FAIL() << "word " << word;
        }
    }
}

TEST_F( ConversionsProperty, EveryLinear11WordReadsAsItsNumberAndGoesBack ) {
    const auto supply = make<Drivers::Pmbus>( "Pmbus" );
    forAllWords( [&]( uint16_t raw ) {
        word( 0x88 ) = raw;
        float value = 0;
        ASSERT_EQ( PL_STATUS_OK, supply->get_input_voltage( &value ) );
        ASSERT_EQ( fromLinear( linear11( raw ) ), static_cast<double>( value ) );
        const uint16_t back = EmulatedBoard::toLinear11( static_cast<double>( value ) );
        ASSERT_EQ( linear11( raw ), linear11( back ) );
    } );
}

TEST_F( ConversionsProperty, EverySupplyTemperatureIsItsNumberOrZero ) {
    const auto supply = make<Drivers::Pmbus>( "Pmbus" );
    forAllWords( [&]( uint16_t raw ) {
        word( 0x8E ) = raw;
        float celsius = -1;
        ASSERT_EQ( PL_STATUS_OK, supply->getTemperature( 0x8E, &celsius ) );
        ASSERT_EQ( fromLinear( std::max( linear11( raw ), int64_t{ 0 } ) ),
                   static_cast<double>( celsius ) );
    } );
}

TEST_F( ConversionsProperty, EverySupplyFanSpeedIsCutToAWholeNumber ) {
    const auto supply = make<Drivers::Pmbus>( "Pmbus" );
    Drivers::Pmbus::Fan fan( supply.get(), 1, 20'000, false );
    forAllWords( [&]( uint16_t raw ) {
        word( 0x91 ) = raw;
        int rpm = -1;
        const int64_t expected = linear11( raw ) / 65536;
        ASSERT_EQ( expected < 0 ? PL_STATUS_IO_ERROR : PL_STATUS_OK, fan.getRpm( &rpm ) );
        ASSERT_EQ( expected, rpm );
    } );
}

TEST_F( ConversionsProperty, ReadingOfASupplyIsWhatItMeasuresToHalfAStep ) {
    const auto supply = make<Drivers::Pmbus>( "Pmbus" );
    forAll( [&] {
        const double measured =
            static_cast<double>( static_cast<int32_t>( drawWord() ) ) / ( 1U << drawBelow( 24 ) );
        return Case{ std::to_string( measured ), [&, measured] {
                        const double limit = fromLinear( linear( 1023, 15 ) );
                        word( 0x8C ) = EmulatedBoard::toLinear11( measured );
                        float value = 0;
                        require( supply->get_output_current( &value ) == PL_STATUS_OK, "status" );
                        const double read = static_cast<double>( value );
                        const int exponent = signedBits( word( 0x8C ) >> 11U, 5 );
                        require( std::abs( measured ) > limit ||
                                     std::abs( read - measured ) <= std::ldexp( 0.5, exponent ),
                                 "read as " + std::to_string( read ) );
                    } };
    } );
}

TEST_F( ConversionsProperty, OutputVoltageFollowsItsMode ) {
    forAll( [&] {
        const uint32_t mode = drawRarely( 4 )   ? 0xFF
                              : drawRarely( 4 ) ? drawBelow( 256 )
                                                : drawBelow( 32 );
        const auto raw = static_cast<uint16_t>( drawBelow( 0x10000 ) );
        const uint32_t override = drawBool() ? drawBelow( 512 ) : 255;
        const std::string text = "mode " + std::to_string( mode ) + ", word " +
                                 std::to_string( raw ) + ", voutExponent " +
                                 std::to_string( override );
        return Case{ text, [=, this] {
                        const auto supply = make<Drivers::Pmbus>(
                            "Pmbus", { { "voutExponent", std::to_string( override ) } } );
                        word( 0x20 ) = static_cast<uint16_t>( mode );
                        word( 0x8B ) = raw;
                        float volts = -1;
                        require( supply->get_output_voltage( &volts ) == PL_STATUS_OK, "status" );
                        const uint32_t own = override % 256 == 255 ? mode : override;
                        double expected = -1;
                        if ( mode < 32 ) {
                            expected =
                                fromLinear( linear( signedBits( raw, 16 ), signedBits( own, 5 ) ) );
                        } else if ( mode == 0xFF ) {
                            expected = fromLinear( linear11( raw ) );
                        }
                        requireSame( std::to_string( expected ),
                                     std::to_string( static_cast<double>( volts ) ), "volts" );
                    } };
    } );
}

TEST_F( ConversionsProperty, DutyIsWholePercentsOfTheMaximum ) {
    const auto supply = make<Drivers::Pmbus>( "Pmbus" );
    forAll( [&] {
        const int rpm = static_cast<int32_t>( drawWord() );
        const int maximum = static_cast<int>( 1 + drawWord() % 0x7FFF'FFFF );
        return Case{ std::to_string( rpm ) + " of " + std::to_string( maximum ),
                     [=, this, &supply] {
                         Drivers::Pmbus::Fan fan( supply.get(), 0, maximum, true );
                         require( fan.setRpm( rpm ) == PL_STATUS_OK, "status" );
                         const auto percent =
                             static_cast<uint16_t>( int64_t{ rpm } * 100 / maximum );
                         requireSame( std::to_string( std::min<unsigned>( percent, 100 ) ),
                                      std::to_string( word( 0x3B ) ), "duty" );
                     } };
    } );
}

TEST_F( ConversionsProperty, EveryTemperatureWordReadsInHalfDegrees ) {
    const auto sensor = make<Drivers::LM75>( "LM75" );
    forAllWords( [&]( uint16_t raw ) {
        word( 0 ) = raw;
        float celsius = 0;
        ASSERT_EQ( PL_STATUS_OK, sensor->getTemperature( &celsius ) );
        ASSERT_EQ( static_cast<float>( halfDegrees( raw ) ) / 2, celsius );
    } );
}

TEST_F( ConversionsProperty, EveryLimitIsWrittenInHalfDegrees ) {
    const auto sensor = make<Drivers::LM75>( "LM75" );
    using Threshold = Drivers::LM75::Threshold;
    for ( int parts = -40'000; parts <= 40'000; ++parts ) {
        const float celsius = static_cast<float>( parts ) / 256;
        ASSERT_EQ( PL_STATUS_OK, sensor->setThreshold( Threshold::Overheat, celsius ) );
        ASSERT_EQ( limitWord( parts ), word( 3 ) ) << celsius;
    }
}

TEST_F( ConversionsProperty, HalfDegreesFromZeroUpwardsAreReadAsTheyWereWritten ) {
    const auto sensor = make<Drivers::LM75>( "LM75" );
    using Threshold = Drivers::LM75::Threshold;
    for ( int halves = 0; halves < 256; ++halves ) {
        float celsius = 0;
        sensor->setThreshold( Threshold::Alert, static_cast<float>( halves ) / 2 );
        ASSERT_EQ( PL_STATUS_OK, sensor->getThreshold( Threshold::Alert, &celsius ) );
        ASSERT_EQ( static_cast<float>( halves ) / 2, celsius );
    }
}

TEST_F( ConversionsProperty, EveryPairOfTachometersIsItsMeanInHundreds ) {
    const auto cpld = make<Drivers::VundaTFanCpld>( "VundaTFanCpld" );
    const std::unique_ptr<Component::LogicalDevice::Fan> fan( [&] {
        Drivers::DriverArgs args;
        args.driverArgs["fanId"] = "4";
        return cpld->newFan( args );
    }() );
    forAllWords( [&]( uint16_t counts ) {
        const int front = counts >> 8;
        const int rear = counts & 0xFF;
        word( 0x15 ) = static_cast<uint16_t>( front );
        word( 0x25 ) = static_cast<uint16_t>( rear );
        int rpm = -1;
        const bool stands = front == 0 || rear == 0;
        ASSERT_EQ( stands ? PL_STATUS_BAD_READING : PL_STATUS_OK, fan->getRpm( &rpm ) );
        ASSERT_EQ( stands ? -1 : ( front + rear ) / 2 * 100, rpm );
    } );
}

TEST_F( ConversionsProperty, EverySpeedIsWrittenAsItsSixteenth ) {
    const auto cpld = make<Drivers::VundaTFanCpld>( "VundaTFanCpld" );
    constexpr int maximum = 19'750;
    for ( int rpm = -1'000; rpm <= 30'000; ++rpm ) {
        const int code = ( std::min( rpm, maximum ) * 16 - maximum ) / maximum;
        ASSERT_EQ( PL_STATUS_OK, cpld->setFanRpm( nullptr, rpm ) );
        ASSERT_EQ( static_cast<uint8_t>( code ), word( 0x11 ) ) << rpm;
    }
}

} // namespace
