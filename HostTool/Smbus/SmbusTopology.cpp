#include "HostTool/Smbus/SmbusTopology.h"

#include "HostTool/Failure.h"
#include "HostTool/Output/Json.h"
#include "HostTool/Output/Nearest.h"

#include <rapidjson/document.h>

#include <array>
#include <cstdio>
#include <set>
#include <string_view>

namespace HostTool {

namespace {

using rapidjson::Document;
using rapidjson::Value;

/// Goes through a topology document of whatever shape: the library is the judge of its schema.
class TopologyDocument {
  public:
    explicit TopologyDocument( const std::string &text ) { document_.Parse( text.c_str() ); }

    Value *findBus( const std::string &label ) {
        for ( Value &medium : arrayOf( document_ ) ) {
            visit( medium, isBusLike( medium ) );
        }
        for ( const auto &[name, bus] : busses_ ) {
            if ( name == label ) {
                return bus;
            }
        }
        return nullptr;
    }

    std::vector<std::string> busLabels() const {
        std::vector<std::string> labels;
        for ( const auto &[name, bus] : busses_ ) {
            labels.push_back( name );
        }
        return labels;
    }

    bool hasLabel( const std::string &label ) const { return labels_.contains( label ); }

    /// @return false when the bus's devices are no list
    bool addProxy( Value &bus, const std::string &label, unsigned address ) {
        auto &allocator = document_.GetAllocator();
        Value chip( rapidjson::kObjectType );
        chip.AddMember( "address", address, allocator );
        Value device( rapidjson::kObjectType );
        device.AddMember( "did", freeDid(), allocator );
        device.AddMember( "label", Value( label.c_str(), allocator ), allocator );
        device.AddMember( "driver", "SmbusProxyDriver", allocator );
        device.AddMember( "address", chip, allocator );
        if ( !bus.HasMember( "devices" ) ) {
            bus.AddMember( "devices", Value( rapidjson::kArrayType ), allocator );
        }
        if ( !bus["devices"].IsArray() ) {
            return false;
        }
        bus["devices"].PushBack( device, allocator );
        return true;
    }

    std::string text() const {
        rapidjson::StringBuffer buffer;
        JsonWriter writer( buffer );
        document_.Accept( writer );
        return buffer.GetString();
    }

  private:
    static rapidjson::Value::Array arrayOf( Value &value ) {
        static Value none( rapidjson::kArrayType );
        return value.IsArray() ? value.GetArray() : none.GetArray();
    }

    /// A medium that is itself a bus.
    static bool isBusLike( const Value &medium ) {
        constexpr std::array<std::string_view, 5> types = { "I2C", "IOPort", "PLM", "SccSpi",
                                                            "FbDomFpga" };
        if ( !medium.IsObject() || !medium.HasMember( "type" ) || !medium["type"].IsString() ) {
            return false;
        }
        for ( const std::string_view type : types ) {
            if ( type == medium["type"].GetString() ) {
                return true;
            }
        }
        return false;
    }

    void visit( Value &node, bool isBus ) {
        if ( !node.IsObject() ) {
            return;
        }
        // By distance: the iterators' own != is ambiguous with itself in C++20.
        const Value::ConstMemberIterator end = node.MemberEnd();
        for ( Value::MemberIterator member = node.MemberBegin(); end - member > 0; ++member ) {
            const std::string_view key = member->name.GetString();
            if ( key == "label" && member->value.IsString() ) {
                labels_.insert( member->value.GetString() );
                if ( isBus ) {
                    busses_.emplace_back( member->value.GetString(), &node );
                }
            } else if ( key == "did" && member->value.IsUint() ) {
                dids_.insert( member->value.GetUint() );
            }
            for ( Value &child : arrayOf( member->value ) ) {
                visit( child, key == "busses" );
            }
        }
    }

    unsigned freeDid() {
        constexpr unsigned firstTried = 0x40000000;
        unsigned did = firstTried;
        while ( !dids_.insert( did ).second ) {
            ++did;
        }
        return did;
    }

    Document document_;
    std::vector<std::pair<std::string, Value *>> busses_;
    std::set<std::string> labels_;
    std::set<unsigned> dids_;
};

} // namespace

std::string topologyWithProxies( const Board &board, const std::string &bus,
                                 const std::vector<unsigned> &addresses ) {
    TopologyDocument document( board.topology );
    Value *found = document.findBus( bus );
    if ( found == nullptr ) {
        throw Failure( ExitCode::badInput, "no bus '" + bus + "' in " + board.topologyPath +
                                               didYouMean( bus, document.busLabels() ) );
    }
    for ( const unsigned address : addresses ) {
        std::array<char, 8> suffix;
        snprintf( suffix.data(), suffix.size(), "<0x%02x>", address );
        const std::string label = bus + suffix.data();
        if ( !document.hasLabel( label ) && !document.addProxy( *found, label, address ) ) {
            throw Failure( ExitCode::badInput, board.topologyPath + ": \"devices\" of bus '" + bus +
                                                   "' must be an array" );
        }
    }
    return document.text();
}

} // namespace HostTool
