#pragma once

#include "EmulatedBoard/Chip.h"
#include "EmulatedBoard/Clock.h"
#include "EmulatedBoard/FanTray.h"

#include <array>

namespace EmulatedBoard {

/// The logic of six fan bays: presence, airflow, two tachometers a tray, and one duty for all.
/// Time passes for the rotors whenever somebody looks.
class FanCpld : public Chip {
  public:
    explicit FanCpld( uint8_t address );
    FanCpld( uint8_t address, Clock clock );

    bool write( std::span<const uint8_t> bytes ) override;
    uint8_t read( size_t position ) override;

  protected:
    void powerOn() override;
    std::vector<Knob> ownKnobs() override;

  private:
    uint8_t registerContent( size_t number ) const;
    /// The lines of all bays, bay 1 in bit 0.
    uint8_t lines( bool ( *isHigh )( const FanTray & ) ) const;
    void registerIs( size_t number, uint8_t content );
    /// Brings the rotors to this moment. Comes before everything that looks at or changes them.
    void catchUp();
    void letRun( double seconds );
    std::vector<Knob> boardKnobs();
    void addTrayKnobs( std::vector<Knob> &knobs, size_t tray );
    void addRotorKnobs( std::vector<Knob> &knobs, const std::string &name, Rotor &rotor );

    Clock clock_;
    double lastLook_;
    double advanced_ = 0; // s, in all
    double inertia_ = 1.5;
    uint8_t version_ = 0x03;
    uint8_t pointer_ = 0;
    uint8_t dutyCode_ = 0;
    uint8_t control_ = 0;
    std::array<FanTray, 6> trays_;
};

} // namespace EmulatedBoard
