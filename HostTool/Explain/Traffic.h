#pragma once

#include <compare>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace HostTool::Explain {

/// What a client of the SMBus server addresses a bus by.
struct BusName {
    std::string master; ///< "SCD", "I2C" and so on
    unsigned pci = 0;   ///< location of the controller, 0 for none
    unsigned accelerator = 0;
    unsigned bus = 0;
    auto operator<=>( const BusName & ) const = default;
};

/// "SCD pci 0x00000300 accelerator 0 bus 1".
std::string textOf( const BusName &bus );

enum class Operation { receiveByte, sendByte, read, write, processCall, blockRead, blockWrite };

enum class Outcome {
    done,
    failed,  ///< no attempt succeeded
    skipped, ///< the batch had failed before
};

const char *nameOf( Operation operation );
const char *nameOf( Outcome outcome );

/// One request of a transaction, and what came of it.
struct Request {
    BusName bus;
    unsigned chip = 0; ///< 7-bit address
    Operation operation = Operation::read;
    unsigned reg = 0; ///< register; of a send byte the byte itself
    unsigned registerBytes = 1;
    unsigned length = 0; ///< of the data, in bytes; 0 for a block read
    bool pec = false;
    std::string written = {}; ///< the data, without register and count
    std::string read = {};
    Outcome outcome = Outcome::done;
    unsigned failedAttempts = 0;
    std::string causes = {}; ///< of these, for a person: "no acknowledge, 3 times"

    /// Whether the same was asked, whatever was answered or written.
    bool asksTheSame( const Request &other ) const;
};

/// A batch, which the server performs without another one between its requests on their bus.
struct Transaction {
    uint64_t offset = 0; ///< of its entry in the recording, in bytes
    std::vector<Request> requests;
    std::string error = {}; ///< empty when it did not fail
};

/// What "kavra-smbusd --print FILE --json" printed.
/// @throw Failure (unreachable) for anything else.
std::vector<Transaction> parseRecording( const std::string &lines );

} // namespace HostTool::Explain
