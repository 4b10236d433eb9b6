#pragma once

#include "HostTool/Host/Library.h"

#include <PlatformLibrary/pl.h>

#include <optional>
#include <string>
#include <vector>

namespace HostTool {

/// What an access is asked to do; the numbers are those behind bus and chip on the command line.
struct SmbusCall {
    std::string bus;
    unsigned address;
    std::vector<unsigned> numbers;
};

/// What came of it.
struct SmbusResult {
    pl_status status = PL_STATUS_OK;
    std::optional<unsigned> value = {}; ///< of the reads of one number
    int digits = 0;                     ///< hexadecimal ones of the value
    std::optional<std::vector<unsigned char>> block = {};
    std::string reason = {}; ///< why it failed; empty when it did not
};

/// An access by its name on the command line.
struct SmbusOperation {
    const char *name;
    const char *operands; ///< behind bus and chip, as the usage shows them
    size_t leastNumbers;
    size_t mostNumbers;
    std::vector<unsigned> limits; ///< the largest number at each place; the last for all behind it
    /// What will be written, for the user to confirm, up to the name of the chip; empty when it
    /// only reads.
    std::string ( *writes )( const SmbusCall &call );
    SmbusResult ( *run )( pl_smbus *chip, const SmbusCall &call );
};

const std::vector<SmbusOperation> &smbusOperations();

/// Gets the chip from the library and performs the operation. A failure has the library's own
/// reason.
SmbusResult perform( const Library &library, const SmbusOperation &operation,
                     const SmbusCall &call );

/// "chip 0x48 on bus 'cpu-bus'"
std::string describe( const SmbusCall &call );

} // namespace HostTool
