#pragma once

#include "EmulatedBoard/SupplyModel.h"

namespace EmulatedBoard {

/// What the status registers of a supply remember. A bit stays until it is cleared, also when its
/// cause has gone.
struct PmbusStatus {
    /// @name Bits of STATUS_CML
    /// @{
    static constexpr unsigned badCommand = 0x80; ///< not supported, or protected
    static constexpr unsigned badData = 0x40;    ///< not supported, or too many bytes
    static constexpr unsigned packetError = 0x20;
    static constexpr unsigned otherFault = 0x02; ///< too few bytes written, too many read
    /// @}

    unsigned input = 0;         ///< STATUS_INPUT
    unsigned temperature = 0;   ///< STATUS_TEMPERATURE
    unsigned communication = 0; ///< STATUS_CML
    unsigned fans = 0;          ///< STATUS_FANS_1_2

    /// The faults and warnings of this moment.
    static PmbusStatus of( const SupplyWorld &world, const SupplyState &state );

    void add( const PmbusStatus &more );
    /// STATUS_WORD, with STATUS_BYTE as its low byte.
    unsigned word( bool outputOn ) const;
};

} // namespace EmulatedBoard
