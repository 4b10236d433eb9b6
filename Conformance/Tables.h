#pragma once

#include "Conformance/Subject.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Conformance {

/// What the contract says of one slot of an operation table.
struct SlotRule {
    /// promised: there is an operation. allowed: there may be one. empty: the slot is null.
    enum class Rule { promised, allowed, empty };

    const char *name;
    size_t offset; ///< in bytes
    Rule rule;
};

/// What the contract says of one operation table.
struct TableRule {
    const char *name;
    size_t size; ///< in bytes
    std::vector<SlotRule> slots;
};

/// The rules of a record's table. A transceiver's depends on its kind.
const TableRule &ruleOf( const Device &device );

/// The table that word 1 of a record points to. @throw Broken when it points to none
const unsigned char *tableOf( const Device &device );

/// "inlet: pl_temp_sensor_ops".
std::string tableText( const Device &device );

/// Words of a table, which may lie anywhere.
uint32_t word32( const unsigned char *table, size_t offset );
uint64_t word64( const unsigned char *table, size_t offset );

} // namespace Conformance
