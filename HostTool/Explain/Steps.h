#pragma once

#include "HostTool/Board/Documents.h"
#include "HostTool/Explain/Traffic.h"

#include <cstdint>
#include <string>
#include <vector>

namespace HostTool::Explain {

/// What a host does with a device, a step at a time.
enum class StepKind {
    init,    ///< its class is initialised
    add,     ///< it is added
    reading, ///< a callback that a host calls again and again
    poll,    ///< the library's own timer
    order,   ///< a callback that tells the device something, or a raw access
};

const char *nameOf( StepKind kind );

/// What reads is called twice. When it asks for something else the second time, there is a step for
/// each, and the further one is what a host sees again and again.
enum class Turn { every, first, further };

const char *nameOf( Turn turn );

struct Step {
    StepKind kind;
    std::string name;
    std::string trouble = {}; ///< what the call returned or threw; empty when it was fine
    unsigned periodMs = 0;    ///< of a poll
    uint64_t from = 0;        ///< where the recording stood before
    uint64_t to = 0;          ///< and behind
    Turn turn = Turn::every;
    std::vector<Transaction> transactions = {};
};

struct DeviceSteps {
    const Entry *entry;
    std::string refusal = {}; ///< why the library does not have it; empty when it does
    std::vector<Step> steps = {};
};

/// Gives each step what was recorded while it ran.
void attribute( std::vector<Transaction> recorded, std::vector<DeviceSteps> &devices );

/// Makes one step of each two turns that asked for the same.
void uniteTurns( std::vector<Step> &steps );

} // namespace HostTool::Explain
