#pragma once

#include "SmbusServer/Recording.pb.h"

#include <string>

namespace SmbusServer {

/// A batch in one line: "SCD pci 0x00000300 accelerator 0 bus 1: 70=01 | 48[00]x2 | 70=00".
std::string batchText( const Smbus::TransactionRequest &batch );

/// A recorded batch in one line, with the time, how long it took, what was read and what failed.
std::string entryText( const Recording::Entry &entry );

} // namespace SmbusServer
