#pragma once

#include "EmulatedBoard/Board.h"
#include "EmulatedBoard/DocumentReader.h"
#include "EmulatedBoard/XcvrCpld.h"

#include <functional>
#include <utility>
#include <vector>

namespace EmulatedBoard {

/// Reads the key "cages" of a chip: which modules are in its cages, and in which bits of its
/// registers their lines are. docs/formats/emulation.md describes it.
class CageReader {
  public:
    /// Finds the chip that a value names. It throws DocumentError when there is none.
    using FindChip = std::function<Chip &( const JsonValue &name )>;

    /// All must outlive the object.
    CageReader( const DocumentReader &reader, XcvrCpld &cpld, FindChip findChip )
        : reader_( reader ), cpld_( cpld ), findChip_( std::move( findChip ) ) {}

    /// @param object the chip's entry, which has the key.
    /// @throw DocumentError
    void read( const JsonValue &object );

  private:
    void readGroup( const JsonValue &group );
    std::vector<XcvrModule *> modules( const JsonValue &group );
    XcvrModule &module( const JsonValue &name );
    void connect( const JsonValue::Member &entry, const std::vector<XcvrModule *> &modules ) const;
    const XcvrModule::Line &findLine( const JsonValue::Member &entry,
                                      const XcvrModule &module ) const;
    bool isActiveHigh( const JsonValue &entry ) const;

    const DocumentReader &reader_;
    XcvrCpld &cpld_;
    FindChip findChip_;
    std::vector<XcvrModule *> inCages_;
};

} // namespace EmulatedBoard
