#pragma once

#include "KavraGeneric/Topology/Topology.h"
#include "tests/property/Json.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace Property {

enum class NodeKind { Component, Device, Mux, Bus, Other };

/// A node as a visitor meets it.
struct Visit {
    std::string words; ///< its class and everything that it holds itself
    NodeKind kind = NodeKind::Other;
    uint32_t did = 0;           ///< of a device
    std::size_t serial = 0;     ///< of the model; a node of the library has none
    std::size_t parent = 0;     ///< place of the parent's visit; the topology's own is its own
    const void *node = nullptr; ///< of the library: the Topology::Node; null in the model
    bool operator==( const Visit &other ) const { return words == other.words; }
};

/// A topology as a document draws it, and what the library is to make of it.
struct TopologyModel {
    Json document;
    std::vector<Visit> walk;             ///< in the order of a walk that nothing ends
    std::map<std::string, Visit> labels; ///< also of nodes that a later one took the place of
};

TopologyModel drawTopology();

/// Walks the library's current topology; ended by the visit at this place, if any.
std::vector<Visit> walkOfLibrary( std::optional<std::size_t> stopAt = {} );

/// What a walk visits that is ended at this place: the rest is that node's ancestors.
std::vector<Visit> stoppedWalk( const std::vector<Visit> &walk, std::size_t stopAt );

std::string linesOf( const std::vector<Visit> &walk );

} // namespace Property
