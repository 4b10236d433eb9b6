// The files of simulated devices, which other processes may write. The first byte chooses the
// device; then the length of what is written over its file and the bytes of that; then the calls.
#include "fuzz/Board.h"
#include "fuzz/Bytes.h"
#include "fuzz/Contract.h"
#include "fuzz/LibraryState.h"
#include "fuzz/Targets.h"
#include "fuzz/TemporaryFolder.h"

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <sys/mman.h>

namespace {

// The first use makes a device and its file, the second one uses the device on the file as it then
// is: a device stays in the library's table.
void useOnFile( const Fuzz::BoardDocuments::Entry &entry, const std::string &content,
                const std::filesystem::path &folder, Fuzz::Bytes &calls ) {
    Fuzz::Bytes none( {} );
    entry.deviceClass->addAndUse( entry.arguments, none );
    for ( const auto &file : std::filesystem::directory_iterator( folder ) ) {
        std::ofstream( file.path(), std::ios::trunc | std::ios::binary ) << content;
    }
    entry.deviceClass->addAndUse( entry.arguments, calls );
}

// The library keeps what it maps for as long as the process lives, and a process has some 65,000
// mappings.
void unmapFilesIn( const std::string &folder ) {
    std::ifstream maps( "/proc/self/maps" );
    for ( std::string line; std::getline( maps, line ); ) {
        if ( line.find( folder ) != std::string::npos ) {
            char *end = nullptr;
            const uintptr_t first = std::strtoul( line.c_str(), &end, 16 );
            const uintptr_t behind = std::strtoul( end + 1, nullptr, 16 );
            munmap( reinterpret_cast<void *>( first ), behind - first );
        }
    }
}

} // namespace

void Fuzz::simulationFile( std::string_view input ) {
    static const TemporaryFolder folder;
    folder.clear();
    setenv( "KAVRALIB_SIMDIR", folder.path().c_str(), 1 );
    Bytes bytes( input );
    const LibraryState state( board().topology, LibraryState::Hardware::simulated );
    const auto &entries = board().entries;
    const BoardDocuments::Entry &entry = entries[bytes.byte() % entries.size()];
    const std::string content( bytes.take( bytes.word() ) );
    underContract( [&] { useOnFile( entry, content, folder.path(), bytes ); }, "simulation" );
    unmapFilesIn( folder.path() );
}
