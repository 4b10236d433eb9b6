#pragma once

#include "SmbusServer/Descriptor.h"
#include "SmbusServer/Recording.pb.h"

#include <cstddef>
#include <fstream>
#include <stdexcept>
#include <string>

namespace SmbusServer {

struct RecordingError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads a recording, an entry at a time. What the file says is believed only as far as it can be
/// true.
class RecordingReader {
  public:
    /// @throw RecordingError when the file cannot be read or is no recording.
    explicit RecordingReader( const std::string &path );

    /// @return false at the end, and where the last entry was cut off: cutOff() tells.
    /// @throw RecordingError naming the entry that is none.
    bool next( Recording::Entry &entry );
    bool cutOff() const { return cutOff_; }
    /// Bytes up to the end of the last whole entry.
    size_t goodBytes() const { return goodBytes_; }
    /// Entries read so far.
    size_t count() const { return count_; }

  private:
    std::string path_;
    std::ifstream file_;
    size_t goodBytes_ = 0;
    size_t count_ = 0;
    bool cutOff_ = false;
};

/// Appends entries to a recording. Each is written with one system call: a process that is killed
/// leaves whole entries.
class RecordingWriter {
  public:
    /// A file that exists is continued behind its last whole entry.
    /// @throw RecordingError when it cannot be written, or is no recording.
    explicit RecordingWriter( const std::string &path );

    /// After a failure, such as a full disk, one line in the log tells, and nothing more is
    /// written.
    void write( const Recording::Entry &entry );

  private:
    void stop( const char *reason );

    std::string path_;
    Descriptor file_;
    std::string buffer_;
};

/// Says what would go wrong with a writer; the file stays as it is, and is not made.
/// @throw RecordingError as the writer does.
void checkRecording( const std::string &path );

/// Whether two paths are one file; false when either is not there.
bool sameFile( const std::string &one, const std::string &other );

/// Prints a recording on stdout, a line a batch, for a person or as JSON; a file that was cut off
/// is told of on stderr.
/// @throw RecordingError
void printRecording( const std::string &path, bool asJson );

} // namespace SmbusServer
