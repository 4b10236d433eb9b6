#pragma once

#include "KavraGeneric/Json.h"
#include "KavraGeneric/Topology/TopologyVisitor.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace Drivers {
struct DriverArgs;
}

/// The board as its document draws it: media, accelerators, busses, muxes, devices, components. The
/// tree is immutable once built; a parent owns its children, and no node knows its parent. Each
/// fromJSON() builds its node and everything below it from the node's entry in the document, enters
/// the labels in the index, and asserts what the entry must have.
namespace Topology {

class Node {
  public:
    Node() = default;
    Node( const Node & ) = delete;
    Node &operator=( const Node & ) = delete;
    virtual ~Node() = default;

    /// Walks the subtree, children first, then visits this node.
    /// @return false when a visit ended the walk.
    virtual bool accept( TopologyVisitor *visitor ) const = 0;

    /// Enters the node under its entry's "label", if it has one. The latest node with a label wins.
    static void init( std::shared_ptr<Node> node, const rapidjson::Value &json );
};

/// How a part of the board is reached: the root of a subtree.
class MediumNode : public Node {
  public:
    std::string ham; ///< name of the access method that serves everything below
};

class Component : public Node {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<Component> fromJSON( const rapidjson::Value &json );

    uint32_t uid = 0;
};

class Device : public Node {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<Device> fromJSON( const rapidjson::Value &json );
    /// Builds the device in a place that is made for it already.
    static std::shared_ptr<Device> fromJSON( const rapidjson::Value &json,
                                             std::shared_ptr<Device> device );

    uint32_t did = 0;
    std::shared_ptr<Drivers::DriverArgs> driverArgs; ///< empty unless the entry has a "driver" key
    std::vector<std::shared_ptr<Component>> components;
};

class Mux;

class Bus : public Node {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<Bus> fromJSON( const rapidjson::Value &json );
    /// Fills a bus, or the bus part of a medium that is itself one bus.
    static void init( std::shared_ptr<Bus> bus, const rapidjson::Value &json );

    uint32_t id = 0; ///< behind a mux: the control byte that selects this channel
    std::vector<std::shared_ptr<Device>> devices;
    std::vector<std::shared_ptr<Mux>> muxes;
};

class Mux : public Node {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<Mux> fromJSON( const rapidjson::Value &json );

    uint32_t did = 0; ///< of the mux chip, which is also a device on the bus above
    std::map<uint32_t, std::shared_ptr<Bus>> busses;
};

class Accelerator : public Node {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<Accelerator> fromJSON( const rapidjson::Value &json );

    uint32_t id = 0;
    std::map<uint32_t, std::shared_ptr<Bus>> busses;
};

class SCD : public MediumNode {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<SCD> fromJSON( const rapidjson::Value &json );

    uint32_t pci = 0;
    std::map<uint32_t, std::shared_ptr<Accelerator>> accelerators;
};

class Celestica : public MediumNode {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<Celestica> fromJSON( const rapidjson::Value &json );

    std::map<uint32_t, std::shared_ptr<Accelerator>> accelerators;
};

class LinuxFs : public MediumNode {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<LinuxFs> fromJSON( const rapidjson::Value &json );

    std::vector<std::shared_ptr<Device>> devices;
};

// The media below are one bus each. They hold two Nodes; the label index has their bus part, and a
// visitor sees them first as a Bus and then as themselves.

class I2C : public MediumNode, public Bus {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<I2C> fromJSON( const rapidjson::Value &json );

    bool simulated = false;
};

class IOPort : public MediumNode, public Bus {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<IOPort> fromJSON( const rapidjson::Value &json );
};

class PLM : public MediumNode, public Bus {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<PLM> fromJSON( const rapidjson::Value &json );
};

class SccSpi : public MediumNode, public Bus {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<SccSpi> fromJSON( const rapidjson::Value &json );
};

class FbDomFpga : public MediumNode, public Bus {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    static std::shared_ptr<FbDomFpga> fromJSON( const rapidjson::Value &json );

    uint32_t pci = 0;
};

/// The whole board.
class Topology : public Node {
  public:
    bool accept( TopologyVisitor *visitor ) const override;
    /// @return a new tree, the caller's.
    static Topology *fromJSON( const rapidjson::Document &json );

    std::vector<std::shared_ptr<MediumNode>> roots;
};

/// The current tree; null until the first successful load.
extern Topology *_topology;
/// Every node whose entry has a label. A medium that is itself a bus stands here as its bus part.
extern std::map<std::string, std::shared_ptr<Node>> _topology_index;
/// The text that the current tree was loaded from.
extern std::string _topology_json;

} // namespace Topology
