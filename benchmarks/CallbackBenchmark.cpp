// A callback that touches no bus: the trampoline, a trace that the host drops, and the virtual
// call.
#include "KavraGeneric/Components/Fan.h"

#include <benchmark/benchmark.h>

namespace {

class StoppedFan final : public Component::LogicalDevice::Fan {
  public:
    pl_status getRpm( int *rpm ) override {
        *rpm = 0;
        return PL_STATUS_OK;
    }
    pl_status setRpm( int ) override { return PL_STATUS_OK; }
};

void CallbackWithoutBus( benchmark::State &state ) {
    StoppedFan fan;
    pl_fan *record = fan.record();
    int rpm = 1;
    for ( auto _ : state ) {
        benchmark::DoNotOptimize( record->ops->getRpm( record, &rpm ) );
        benchmark::DoNotOptimize( rpm );
    }
}
BENCHMARK( CallbackWithoutBus );

} // namespace

BENCHMARK_MAIN();
