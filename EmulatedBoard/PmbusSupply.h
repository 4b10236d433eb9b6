#pragma once

#include "EmulatedBoard/Chip.h"
#include "EmulatedBoard/PmbusStatus.h"
#include "EmulatedBoard/SupplyModel.h"

#include <array>
#include <string>
#include <vector>

namespace EmulatedBoard {

/// A power supply after the PMBus Power System Management Protocol 1.2: telemetry, status, fans,
/// protection from writes and who made it. The other supply of the board keeps its controller
/// alive, so that it answers without input power too.
///
/// A write of one byte more than its command takes ends in a packet error code, which is checked; a
/// read of one byte more than there is gives one.
class PmbusSupply : public Chip {
  public:
    explicit PmbusSupply( uint8_t address );

    /// The signal at the connector.
    bool powerGood() const { return state_.outputOn; }

    bool write( std::span<const uint8_t> bytes ) override;
    uint8_t read( size_t position ) override;

  protected:
    void powerOn() override;
    std::vector<Knob> ownKnobs() override;

  private:
    using Bytes = std::vector<uint8_t>;

    struct Identity {
        std::string manufacturer = "KAVRA";
        std::string model = "NONE";
        std::string revision = "00";
        std::string serial = "0";
    };

    struct Command;
    static const Command commands[];
    static const Command *findCommand( uint8_t code );

    bool fail( unsigned communicationFault );
    bool protects( uint8_t code ) const;
    bool take( const Command &command, std::span<const uint8_t> data );
    void settle();
    unsigned statusWord() const { return status_.word( state_.outputOn ); }

    // False: the data is none that the command takes.
    bool setOperation( unsigned value );
    bool setPage( unsigned value );
    bool setWriteProtect( unsigned value );
    template <size_t fan>
    bool setFanDuty( unsigned value );
    bool clearFaults( unsigned value );
    template <unsigned PmbusStatus::*bits>
    bool clearBits( unsigned value );
    bool clearNothing( unsigned value );

    Knob worldKnob( const char *name, const char *unit, const char *help, double lowest,
                    double highest, double &value );
    Knob worldSwitch( const char *name, const char *help, bool &value );
    Knob identityKnob( const char *name, const char *help, std::string &text );

    SupplyWorld world_;
    bool outputOffLine_ = false;
    Identity identity_;

    uint8_t page_ = 0;
    uint8_t operation_ = 0;
    uint8_t writeProtect_ = 0;
    std::array<uint16_t, 2> fanCommands_ = {}; // as written
    PmbusStatus status_;

    SupplyState state_;
    uint8_t command_ = 0;
    Bytes answer_; // of the command that was sent last
};

} // namespace EmulatedBoard
