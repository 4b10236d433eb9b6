#pragma once

#include "HostTool/Board/Documents.h"

#include <array>
#include <functional>
#include <string>
#include <vector>

/// What a host gets from a call.
struct Result {
    int status = 0;
    bool isRecord = false; ///< the status is whether there is one
    double value = 0;
    std::array<char, 1024> text = {};

    bool operator==( const Result & ) const = default;
};

/// One call that a host makes, again and again with the same arguments. It allocates nothing
/// itself.
struct Operation {
    std::string name; ///< "getRpm of fan1"
    std::string type; ///< what decides what it may come to: "fan VundaTFanCpld getRpm"
    std::function<void( Result & )> call;
    std::function<void()> before = {}; ///< puts the chip where a call finds it
};

/// The call that adds an entry, and what works on the record of the last that it made.
struct EntryOperations {
    Operation add;
    std::vector<Operation> callbacks; ///< the first is a reading, unless the class has none
};

EntryOperations operationsOf( const HostTool::Entry &entry );

/// The nine initialisation entry points with a topology document.
std::vector<Operation> initialisations( const char *topology );
