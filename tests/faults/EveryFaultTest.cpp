// Every fault at every place: each allocation, each system call, each request on the wires and each
// service of the host that a call asks for fails once, and from there on for ever, in every entry
// point and callback of the board, over the real client.
//
// Of the allocations usually every seventh is tried, all of them with KAVRA_FAULTS_ALL.
#include "tests/faults/Host.h"
#include "tests/faults/Sweep.h"
#include "tests/support/SimulationFolder.h"

#include "KavraGeneric/Drivers/Helpers.h"
#include "tests/support/Sanitized.h"

#include <PlatformLibrary/pl.h>

#include <climits>
#include <cstring>
#include <map>
#include <tuple>
#include <utility>

using Faults::Kind;

// What is kept after it was freed makes each fork slower.
extern "C" const char *__asan_default_options() {
    return "handle_segv=0:handle_abort=0:detect_leaks=0:allocator_may_return_null=1:"
           "quarantine_size_mb=4";
}

namespace {

constexpr unsigned stepOfFew = 7; // where an operation or two are tried
constexpr unsigned stepOfCalls = isSanitized ? Sweep::usualStep : 1;
// A device has as many callbacks as another of its class and driver, each of which forks at least
// once.
constexpr int devicesOfAKind = isSanitized ? 2 : INT_MAX;

class EveryFaultTest : public Sweep {
  protected:
    void meetAll( Kind kind );
    void meetTheRest();
};

Operation tickOf( const char *type, size_t timer ) {
    return { std::string( type ) + " tick", type, [timer]( Result &result ) {
                result.status = Host::tick( timer ) ? 0 : -1;
                result.value = Host::isArmed( timer );
            } };
}

/// A text that has an argument put in, and is told as a status: 1 for done.
Operation insertion() {
    return { "insertDriverArg", "insertDriverArg", []( Result &result ) {
                char *text = nullptr;
                result.status = Drivers::insertDriverArg( R"({"did":1,"driverArgs":{"a":1}})",
                                                          &text, "psuId", "2" );
                if ( text != nullptr ) {
                    strncpy( result.text.data(), text, result.text.size() - 1 );
                }
                free( text );
            } };
}

// The poll of the cages and the blinking of a lamp, then what a host may call at any time.
void EveryFaultTest::meetTheRest() {
    meet( tickOf( "poll", 0 ) );
    for ( const HostTool::Entry &entry : entries() ) {
        if ( entry.deviceClass == HostTool::DeviceClass::led ) {
            pl_led *const led = pl_led_add( entry.arguments.c_str() );
            led->ops->setLightSetting( led, PL_LED_BEACON );
        }
    }
    meet( tickOf( "blink", 1 ) );
    meet( insertion() );
}

void EveryFaultTest::meetAll( Kind kind ) {
    powerOn( kind, board );
    for ( const Operation &init : initialisations() ) {
        meet( init );
    }
    perform( initialisations().front() );
    std::map<std::pair<HostTool::DeviceClass, std::string>, int> met;
    for ( const HostTool::Entry &each : entries() ) {
        if ( met[{ each.deviceClass, each.driver }]++ < devicesOfAKind ) {
            meetEntry( each );
        }
    }
    meetTheRest();
}

} // namespace

TEST_F( EveryFaultTest, Allocations ) {
    meetAll( Kind::allocation );
}

TEST_F( EveryFaultTest, SystemCalls ) {
    stepIs( stepOfCalls );
    meetAll( Kind::systemCall );
}

TEST_F( EveryFaultTest, BusRequests ) {
    stepIs( stepOfCalls );
    meetAll( Kind::busRequest );
}

TEST_F( EveryFaultTest, HostServices ) {
    stepIs( 1 );
    meetAll( Kind::hostService );
}

namespace {

/// The slots of boards whose supplies are identified in other ways.
class OtherSupplies : public Sweep,
                      public testing::WithParamInterface<std::tuple<const char *, Kind>> {
  protected:
    OtherSupplies() {
        setenv( "PATH", ( SOURCE_DIR "/tests/support/tools:" + path_ ).c_str(), 1 );
        setenv( "QXIPMI_PSU_1", "1 DPS550AB6A GTVD1615001656", 1 );
        setenv( "QXIPMI_PSU_2", "1 DPS550AB6A GTVD1615001657", 1 );
    }
    ~OtherSupplies() override {
        setenv( "PATH", path_.c_str(), 1 );
        unsetenv( "QXIPMI_PSU_1" );
        unsetenv( "QXIPMI_PSU_2" );
    }

  private:
    const std::string path_ = getenv( "PATH" );
};

} // namespace

TEST_P( OtherSupplies, EveryFault ) {
    const auto &[variant, kind] = GetParam();
    stepIs( stepOfFew );
    powerOn( kind, board + "/variants/" + variant );
    perform( initialisations().front() );
    for ( const char *slot : { "psu1-slot", "psu2-slot" } ) {
        meetEntry( entry( slot ) );
    }
}

static std::string nameOf( const testing::TestParamInfo<OtherSupplies::ParamType> &test ) {
    constexpr const char *kindNames[] = { "Allocations", "SystemCalls", "BusRequests" };
    return std::get<0>( test.param ) +
           std::string( kindNames[static_cast<int>( std::get<1>( test.param ) )] );
}

INSTANTIATE_TEST_SUITE_P(
    Variants, OtherSupplies,
    testing::Combine( testing::Values( "tlv", "ipmitool", "ipmitool_raw", "wedge" ),
                      testing::Values( Kind::allocation, Kind::systemCall, Kind::busRequest ) ),
    nameOf );

namespace {

/// Devices whose registers are files.
class Simulated : public Sweep {
  protected:
    void meetSome( Kind kind ) {
        stepIs( stepOfFew );
        setenv( "SIMULATION_VMID", "", 1 );
        SimulationFolder::path();
        isSimulated();
        powerOn( kind, board );
        perform( initialisations().front() );
        for ( const char *name : { "inlet", "psu1", "psu1-fan1", "psu1-slot", "fan1", "system-led",
                                   "Ethernet1", "psu1-empty" } ) {
            meetEntry( entry( name ) );
        }
    }
};

} // namespace

TEST_F( Simulated, Allocations ) {
    meetSome( Kind::allocation );
}

TEST_F( Simulated, SystemCalls ) {
    meetSome( Kind::systemCall );
}
