#pragma once

#include "HostTool/Check/Kind.h"
#include "HostTool/Check/Values.h"

#include <span>
#include <string_view>

namespace HostTool::Check {

/// The objects that documents are made of, as far as a schema has a definition for them.
enum class Node {
    topology,
    medium,
    accelerator,
    bus,
    mux,
    device,
    component,
    arguments,
    address,
    multiDeviceArgs,
    driverArgs,
    devices,
    entry,
    thresholds,
    emulation,
    emulatedBus,
    chip,
    channel,
    cage,
};

/// A key whose value, or each element of whose value, is a node of its own.
struct ChildRow {
    std::string_view key; ///< empty: the elements of an array that is no member
    Node node;
    bool isList;
    bool ( *applies )( const Value &parent ); ///< null: always
};

struct NodeRow {
    Node node;
    const char *schema;
    const char *definition;
    /// Picks the definition by what the object says it is, so that what is wrong with it is told
    /// and not that it is none of several; null: there is nothing to pick.
    const char *( *pick )( const Value &value );
    std::span<const ChildRow> children;
    bool lastCounts;   ///< of two equal keys the last one counts, not the first
    bool refusesTwins; ///< the host refuses two equal keys
};

const NodeRow &rowOf( Node node );
Node rootOf( Kind kind );

/// Whether a device of a topology is device arguments as well.
bool hasDriver( const Value &device );

} // namespace HostTool::Check
