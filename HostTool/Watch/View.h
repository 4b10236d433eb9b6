#pragma once

#include "HostTool/Set/Setting.h"

#include <optional>
#include <string>

namespace HostTool::Watch {

/// What a key means to the view.
enum class KeyCode {
    character,
    up,
    down,
    left,
    right,
    nextClass,
    previousClass,
    first,
    last,
    enter,
    escape,
    backspace,
};

struct Key {
    KeyCode code;
    char character = 0;
};

/// A device is to be told something.
struct Command {
    size_t item;
    Order order;
};

enum class Mode {
    browse,
    help,
    askSpeed, ///< a speed is being typed
    askLight, ///< a letter is awaited
    confirm,  ///< a yes is awaited
};

/// What the user is doing.
struct View {
    size_t selected = 0;
    Mode mode = Mode::browse;
    size_t target = 0;              ///< what is being asked about
    std::string typed;              ///< so far
    std::optional<Command> pending; ///< what a yes will do
    std::string question;
    std::string message; ///< what came of the last order
    bool isTrouble = false;
    bool isOver = false;
};

} // namespace HostTool::Watch
