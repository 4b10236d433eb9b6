// A recording: read, shown, replayed and continued.
#include "SmbusServer/Recording.h"

#include "fuzz/Contract.h"
#include "fuzz/MemoryFile.h"
#include "fuzz/Targets.h"
#include "SmbusServer/EntryJson.h"
#include "SmbusServer/EntryText.h"
#include "SmbusServer/ReplayBackend.h"
#include "SmbusServer/Transaction.h"

#include <vector>

using namespace SmbusServer;

namespace {

std::vector<Recording::Entry> entriesOf( const std::string &path ) {
    RecordingReader reader( path );
    std::vector<Recording::Entry> entries;
    for ( Recording::Entry entry; reader.next( entry ); ) {
        entries.push_back( entry );
    }
    return entries;
}

void replay( const std::string &path, const std::vector<Recording::Entry> &entries ) {
    ReplayBackend backend( path );
    Fuzz::require( backend.count() == entries.size(), "every entry is replayed" );
    Transaction transaction( backend );
    for ( const Recording::Entry &entry : entries ) {
        Smbus::TransactionResponse response;
        transaction.perform( entry.request(), response );
    }
}

void continueWith( const std::string &path, const std::vector<Recording::Entry> &entries ) {
    Recording::Entry more;
    more.set_time( 1 );
    RecordingWriter( path ).write( more );
    Fuzz::require( entriesOf( path ).size() == entries.size() + 1,
                   "an entry is appended behind the last whole one" );
}

} // namespace

void Fuzz::recording( std::string_view input ) {
    const MemoryFile file( input );
    try {
        const std::vector<Recording::Entry> entries = entriesOf( file.path() );
        for ( const Recording::Entry &entry : entries ) {
            entryText( entry );
            entryJson( entry, 0 );
        }
        replay( file.path(), entries );
        continueWith( file.path(), entries );
    } catch ( const RecordingError & ) {
    }
}
