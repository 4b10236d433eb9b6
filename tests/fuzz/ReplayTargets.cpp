#include "fuzz/Targets.h"
#include "tests/fuzz/Replay.h"

static constexpr ReplayTarget targets[] = {
    { "topology", Fuzz::topology },
    { "device-arguments", Fuzz::deviceArguments },
    { "insert-driver-arg", Fuzz::insertDriverArg },
    { "server-frames", Fuzz::serverFrames },
    { "getters", Fuzz::getters },
    { "drivers", Fuzz::drivers },
    { "fru-image", Fuzz::fruImage },
    { "tlv-image", Fuzz::tlvImage },
    { "manufacturer-blocks", Fuzz::manufacturerBlocks },
    { "tool-output", Fuzz::toolOutput },
    { "simulation-file", Fuzz::simulationFile },
    { "fault-script", Fuzz::faultScript },
    { "control-socket", Fuzz::controlSocket },
    { "recording", Fuzz::recording },
};

std::span<const ReplayTarget> replayTargets() {
    return targets;
}
