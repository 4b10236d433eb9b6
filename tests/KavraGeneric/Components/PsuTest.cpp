#include "KavraGeneric/Components/Psu.h"

#include "tests/KavraGeneric/Components/DeviceClassTest.h"
#include "tests/KavraGeneric/Components/Layout.h"

namespace {

using Component::LogicalDevice::Psu;
using testing::ElementsAre;
using testing::IsEmpty;

class RecordingPsu final : public Psu {
  public:
    pl_status get_power_ok( int *good ) override {
        *good = 1;
        return -70;
    }
    pl_status get_input_current( float *amperes ) override { return give( 1, amperes ); }
    pl_status get_output_current( float *amperes ) override { return give( 2, amperes ); }
    pl_status get_input_voltage( float *volts ) override { return give( 3, volts ); }
    pl_status get_output_voltage( float *volts ) override { return give( 4, volts ); }
    pl_status get_input_power( float *watts ) override { return give( 5, watts ); }
    pl_status get_output_power( float *watts ) override { return give( 6, watts ); }

  private:
    static pl_status give( int number, float *value ) {
        *value = static_cast<float>( number );
        return -70 - number;
    }
};

class PsuTest : public DeviceClassTest {
  protected:
    RecordingPsu psu;
    pl_psu *const record = psu.record();
};

/// The readings in the order of the table; each has a value and a status of its own.
struct Reading {
    const char *trace;
    pl_status ( *pl_psu_ops::*slot )( pl_psu *, float * );
    pl_status ( *callback )( pl_psu *, float * );
    pl_status ( Psu::*operation )( float * );
};
constexpr Reading readings[] = {
    { "4 get_input_current_callback", &pl_psu_ops::get_input_current,
      Psu::get_input_current_callback, &Psu::get_input_current },
    { "4 get_output_current_callback", &pl_psu_ops::get_output_current,
      Psu::get_output_current_callback, &Psu::get_output_current },
    { "4 get_input_voltage_callback", &pl_psu_ops::get_input_voltage,
      Psu::get_input_voltage_callback, &Psu::get_input_voltage },
    { "4 get_output_voltage_callback", &pl_psu_ops::get_output_voltage,
      Psu::get_output_voltage_callback, &Psu::get_output_voltage },
    { "4 get_input_power_callback", &pl_psu_ops::get_input_power, Psu::get_input_power_callback,
      &Psu::get_input_power },
    { "4 get_output_power_callback", &pl_psu_ops::get_output_power, Psu::get_output_power_callback,
      &Psu::get_output_power },
};

TEST_F( PsuTest, RecordFollowsTheVirtualTablePointer ) {
    EXPECT_EQ( 8, Layout::offsetIn( &psu, record ) );
    EXPECT_EQ( &Psu::ops_, Layout::operationsOf( record ) );
    EXPECT_EQ( &psu, Layout::deviceBehind( record ) );
    EXPECT_EQ( 32u, sizeof( Psu ) );
}

TEST_F( PsuTest, ConstructorLeavesTheHostsWordAlone ) {
    const Layout::MadeOverPattern<RecordingPsu> made;
    EXPECT_EQ( made.pattern, made.hostWord() );
}

TEST_F( PsuTest, TableHasItsSizeAnEmptySlotAndSevenMore ) {
    EXPECT_EQ( 72u, Layout::tableSize( &Psu::ops_ ) );
    EXPECT_EQ( 0u, Layout::tableSecondWord( &Psu::ops_ ) );
    EXPECT_EQ( 0u, Layout::slot( &Psu::ops_, 0 ) );
    EXPECT_EQ( Layout::addressOf( Psu::get_power_ok_callback ), Layout::slot( &Psu::ops_, 1 ) );
    size_t place = 2;
    for ( const Reading &reading : readings ) {
        SCOPED_TRACE( reading.trace );
        EXPECT_EQ( Layout::addressOf( reading.callback ), Layout::slot( &Psu::ops_, place++ ) );
    }
}

TEST_F( PsuTest, OperationsComeBeforeTheDestructor ) {
    EXPECT_EQ( 0u, Layout::virtualSlot( &Psu::get_power_ok ) );
    size_t place = 1;
    for ( const Reading &reading : readings ) {
        SCOPED_TRACE( reading.trace );
        EXPECT_EQ( place++, Layout::virtualSlot( reading.operation ) );
    }
}

TEST_F( PsuTest, PowerOkIsTracedAndForwarded ) {
    int good = 0;
    EXPECT_EQ( -70, record->ops->get_power_ok( record, &good ) );
    EXPECT_EQ( 1, good );
    EXPECT_THAT( traces(), ElementsAre( "4 get_power_ok_callback" ) );
}

TEST_F( PsuTest, EachReadingIsTracedByNameAloneAndForwarded ) {
    int number = 0;
    for ( const Reading &reading : readings ) {
        SCOPED_TRACE( reading.trace );
        FakeHost::get().lines.clear();
        ++number;
        float value = 0;
        EXPECT_EQ( -70 - number, ( record->ops->*reading.slot )( record, &value ) );
        EXPECT_FLOAT_EQ( static_cast<float>( number ), value );
        EXPECT_THAT( traces(), ElementsAre( reading.trace ) );
    }
}

TEST_F( PsuTest, EntryPointGivesTheRecordAndTracesNoMore ) {
    offer.psu = &psu;
    EXPECT_EQ( record, pl_psu_add( testDevice ) );
    EXPECT_THAT( tracesAfter( "Test device created" ), IsEmpty() );
}

} // namespace
