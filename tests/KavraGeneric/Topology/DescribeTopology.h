#pragma once

#include "KavraGeneric/Topology/Topology.h"

#include <string>

/// The current tree as text: a line a node, children indented below it, labels in brackets as the
/// index has them; then the labels whose node is no longer in the tree.
///
///     SCD ham=KavraSmbus pci=768 [scd0]
///       accelerator 0
///         bus 3 [fanbus]
///           device 7 [fan-cpld]
std::string describeTopology();

/// One node without what is below it: "SCD", "bus 3", "device 7".
std::string nameOf( const Topology::Node &node );
