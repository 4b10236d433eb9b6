#include "HostTool/Snapshot/Origin.h"

#include "HostTool/Board/JsonFile.h"
#include "HostTool/Host/HostServices.h"
#include "HostTool/Host/Server.h"

#include <dlfcn.h>
#include <link.h>
#include <zlib.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>

namespace HostTool::Snapshot {

namespace {

std::string utcNow() {
    const time_t now = time( nullptr );
    tm parts = {};
    gmtime_r( &now, &parts );
    std::array<char, 32> text;
    const size_t length = strftime( text.data(), text.size(), "%Y-%m-%dT%H:%M:%SZ", &parts );
    return { text.data(), length };
}

std::string lastNameOf( const std::filesystem::path &path ) {
    std::error_code failed;
    const std::filesystem::path real = std::filesystem::canonical( path, failed );
    return failed ? path.filename() : real.filename();
}

std::string sonameOf( const link_map &loaded ) {
    const char *names = nullptr;
    const ElfW( Dyn ) *soname = nullptr;
    for ( const ElfW( Dyn ) *each = loaded.l_ld; each->d_tag != DT_NULL; ++each ) {
        if ( each->d_tag == DT_STRTAB ) {
            names = reinterpret_cast<const char *>( each->d_un.d_ptr );
        } else if ( each->d_tag == DT_SONAME ) {
            soname = each;
        }
    }
    return names && soname ? names + soname->d_un.d_val : "";
}

void describeLibrary( const std::string &path, Origin &origin ) {
    origin.libraryFile = printable( std::filesystem::path( path ).filename() );
    void *handle = dlopen( path.c_str(), RTLD_NOW | RTLD_NOLOAD );
    if ( !handle ) {
        return;
    }
    link_map *loaded = nullptr;
    if ( dlinfo( handle, RTLD_DI_LINKMAP, &loaded ) == 0 && loaded ) {
        origin.libraryFile = printable( lastNameOf( loaded->l_name ) );
        origin.librarySoname = sonameOf( *loaded );
    }
    dlclose( handle );
}

} // namespace

std::string checksum( const std::string &text ) {
    const auto *bytes = reinterpret_cast<const Bytef *>( text.data() );
    const uLong sum = crc32_z( 0, bytes, text.size() );
    std::array<char, 32> digits;
    snprintf( digits.data(), digits.size(), "crc32:%08lx", sum );
    return digits.data();
}

Origin originOf( const Options &options, const Board &board, const Library &library ) {
    Origin origin;
    origin.tool = KAVRA_VERSION;
    origin.taken = utcNow();
    origin.board = printable( lastNameOf( board.folder ) );
    origin.topology = checksum( board.topology );
    origin.devices = checksum( JsonFile::textOfFile( board.folder + "/devices.json" ) );
    // The library simulates when this is set, whatever its value.
    origin.isSimulated = options.simulate || getenv( "SIMULATION_VMID" ) != nullptr;
    describeLibrary( library.path(), origin );
    origin.serverIsDownFor = whyNoServer( serverSocket() );
    origin.serverIsUp = origin.serverIsDownFor.empty();
    return origin;
}

} // namespace HostTool::Snapshot
