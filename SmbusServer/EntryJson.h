#pragma once

#include "SmbusServer/Recording.pb.h"

#include <cstddef>
#include <string>

namespace SmbusServer {

/// A recorded batch as a JSON object in one line, without the line end. The keys are in
/// docs/formats/recording.md.
/// @param offset of the entry in its file, in bytes
std::string entryJson( const Recording::Entry &entry, size_t offset );

} // namespace SmbusServer
