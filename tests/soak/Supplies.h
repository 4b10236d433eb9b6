#pragma once

#include "tests/soak/Device.h"

#include "EmulatedBoard/SupplyModel.h"

#include <array>

namespace Soak {

/// One supply slot, and what is in it.
struct Supply {
    std::string name;         ///< of the chip whose knobs are the supply's
    std::string identityName; ///< of the chip whose knobs say who it is
    bool present = true;
    bool outputOff = false;
    std::string model = "DPS550AB6A";
    std::string serial = "S0";
    EmulatedBoard::SupplyWorld world = {};
    /// Fan faults that STATUS_FANS shows: they stay until they are cleared.
    std::array<bool, 2> shownFanFaults = {};

    EmulatedBoard::SupplyState state() const { return stateIn( world ); }
    bool powerGood() const { return present && state().outputOn; }
    /// The status bits become those of the moment.
    void faultsAreCleared() { shownFanFaults = world.fanFault; }
    void worldHasChanged( bool wasOn );

    static EmulatedBoard::SupplyState stateIn( const EmulatedBoard::SupplyWorld &world ) {
        return EmulatedBoard::SupplyModel::stateIn( world );
    }
};

/// The two supplies with their fans, sensors and slots, and the lines of the slot register.
class Supplies : public Part {
  public:
    Supplies();

    std::unique_ptr<Device> device( const Entry &entry, void *record ) override;
    void begin( World &world ) override;
    void change( Random &random, World &world, std::string_view turn ) override;
    void setByHost( Random &random, Judge &judge ) override;

  private:
    std::unique_ptr<Device> lineOf( const Supply &supply, const std::string &line, pl_gpio *gpio );
    void replace( Supply &supply, Random &random, World &world );

    std::array<Supply, 2> supplies_;
    struct Fan {
        pl_fan *record;
        size_t number;
    };
    std::array<std::vector<Fan>, 2> fans_; // of each supply
};

} // namespace Soak
