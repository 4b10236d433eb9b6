#include "HostTool/Check/Kind.h"

#include "HostTool/Check/Values.h"

#include <filesystem>
#include <span>
#include <string>

namespace HostTool::Check {

namespace {

struct KindName {
    Kind kind;
    const char *inFileName;
};
constexpr KindName kindNames[] = {
    { Kind::topology, "topology" },
    { Kind::devices, "devices" },
    { Kind::emulation, "emulation" },
    { Kind::arguments, "arguments" },
};

struct KindKey {
    Kind kind;
    const char *key;
};
constexpr KindKey keysOfElements[] = {
    { Kind::devices, "class" },
    { Kind::topology, "type" },
    { Kind::topology, "ham" },
};
constexpr KindKey keysOfObjects[] = {
    { Kind::emulation, "busses" },
    { Kind::devices, "devices" },
    { Kind::arguments, "driver" },
    { Kind::arguments, "did" },
};

std::optional<Kind> kindByKeys( const Value &object, std::span<const KindKey> keys ) {
    for ( const KindKey &row : keys ) {
        if ( member( object, row.key ) ) {
            return row.kind;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<Kind> kindOf( const JsonFile &document ) {
    const std::string name = std::filesystem::path( document.path() ).filename();
    for ( const KindName &row : kindNames ) {
        if ( name.find( row.inFileName ) != std::string::npos ) {
            return row.kind;
        }
    }
    const Value &root = document.root();
    if ( root.IsArray() && !root.Empty() ) {
        return kindByKeys( root[0], keysOfElements );
    }
    return kindByKeys( root, keysOfObjects );
}

} // namespace HostTool::Check
