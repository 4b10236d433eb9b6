// One reading of everything that a power supply offers, over the emulated VundaT: how many
// transactions it takes, and what of its time is the library's own. The base sends the very frames
// that the library sent, over a bare connection to the same server.
#include "benchmarks/support/BoardServer.h"
#include "benchmarks/support/Interleaved.h"
#include "benchmarks/support/SentFrames.h"
#include "benchmarks/support/VundaT.h"

#include <array>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <PlatformLibrary/pl.h>
#include <string>
#include <vector>

namespace {

// The first supply of the board, as its devices.json has it. The texts outlive the devices.
constexpr const char *psuText = R"({"driver":"Pmbus","did":21,"address":{"address":88}})";
constexpr const char *slotText =
    R"({"driver":"PsuSlot","did":31,"address":{"address":88},"driverArgs":{"psuId":1,)"
    R"("identificationType":"pmbus","gpioDevice":"slots","presenceReg":8,"presenceBit":1,)"
    R"("powerOkReg":8,"powerOkBit":3,"model_1":"DPS550AB6A","psuFdl_1":"{serialNum}"}})";
constexpr std::array fanTexts = {
    R"({"driver":"Pmbus","did":21,"address":{"address":88},"driverArgs":{"fanId":1,"maxFanRpm":20000}})",
    R"({"driver":"Pmbus","did":21,"address":{"address":88},"driverArgs":{"fanId":2,"maxFanRpm":20000}})",
};
constexpr std::array sensorTexts = {
    R"({"driver":"Pmbus","did":21,"address":{"address":88},"driverArgs":{"sensorId":1}})",
    R"({"driver":"Pmbus","did":21,"address":{"address":88},"driverArgs":{"sensorId":2}})",
    R"({"driver":"Pmbus","did":21,"address":{"address":88},"driverArgs":{"sensorId":3}})",
};

class Supply {
  public:
    Supply() : psu_( pl_psu_add( psuText ) ), slot_( pl_slot_add( slotText ) ) {
        for ( size_t i = 0; i < fans_.size(); ++i ) {
            fans_[i] = pl_fan_add( fanTexts[i] );
        }
        for ( size_t i = 0; i < sensors_.size(); ++i ) {
            sensors_[i] = pl_temp_sensor_add( sensorTexts[i], 55, 65 );
        }
    }

    /// Presence and identity, power good, six electrical values, temperatures and fans.
    /// @return true when every status was PL_STATUS_OK.
    bool readEverything() const {
        char *fdl = nullptr;
        pl_status failures = slot_->ops->getPresence( slot_, &fdl );
        free( fdl );
        int number = 0;
        failures |= psu_->ops->get_power_ok( psu_, &number );
        float value = 0;
        for ( auto get : { psu_->ops->get_input_current, psu_->ops->get_output_current,
                           psu_->ops->get_input_voltage, psu_->ops->get_output_voltage,
                           psu_->ops->get_input_power, psu_->ops->get_output_power } ) {
            failures |= get( psu_, &value );
        }
        for ( pl_temp_sensor *sensor : sensors_ ) {
            failures |= sensor->ops->getTemperature( sensor, &value );
        }
        for ( pl_fan *fan : fans_ ) {
            failures |= fan->ops->getRpm( fan, &number );
        }
        return failures == PL_STATUS_OK;
    }

  private:
    pl_psu *psu_;
    pl_slot *slot_;
    std::array<pl_fan *, fanTexts.size()> fans_{};
    std::array<pl_temp_sensor *, sensorTexts.size()> sensors_{};
};

void ReadSupply( benchmark::State &state ) {
    stayOnOneCpu();
    const BoardServer server( vundaTDocument( "emulation.json" ) );
    setenv( "SMBUSD_SOCKET", server.path().c_str(), 1 );
    static const std::string topology = vundaTDocument( "topology.json" );
    BareReplay bare( server.path() );
    if ( pl_psu_init( topology.c_str() ) != PL_STATUS_OK ) {
        state.SkipWithError( "no server" );
        return;
    }
    const Supply supply;
    supply.readEverything(); // the first reading makes the description text, the next find it
    SentFrames::start();
    const bool complete = supply.readEverything();
    const std::vector<std::string> frames = SentFrames::stop();
    if ( !complete ) {
        state.SkipWithError( "the supply cannot be read" );
        return;
    }
    for ( auto _ : state ) {
        const Interleaved result = interleave(
            100, 10, [&] { bare.replay( frames ); }, [&] { supply.readEverything(); } );
        state.SetIterationTime( result.testNs * 1e-9 );
        state.counters["transactions"] = static_cast<double>( frames.size() );
        state.counters["control"] = result.control;
        state.counters["library_share_%"] = 100 * ( 1 - result.baseNs / result.testNs );
    }
}
BENCHMARK( ReadSupply )->UseManualTime()->Iterations( 1 );

} // namespace

BENCHMARK_MAIN();
