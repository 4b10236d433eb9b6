// In a program of its own, because its library brings a host along.
#include "fuzz/Targets.h"
#include "tests/fuzz/Replay.h"

static constexpr ReplayTarget targets[] = {
    { "linter", Fuzz::linter },
};

std::span<const ReplayTarget> replayTargets() {
    return targets;
}
