#pragma once

#include "tests/soak/Device.h"

#include <array>

namespace Soak {

/// The six fan trays behind the fan CPLD, with one speed for all.
class Trays : public Part {
  public:
    std::unique_ptr<Device> device( const Entry &entry, void *record ) override;
    void begin( World &world ) override;
    void change( Random &random, World &world, std::string_view turn ) override;
    void setByHost( Random &random, Judge &judge ) override;

  private:
    struct Rotor {
        double fullSpeed;
        int wear = 0;
        bool blocked = false;
    };
    struct Tray {
        bool present = true;
        bool frontToBack = true;
        Rotor front{ 20950 };
        Rotor rear{ 18650 };
    };

    int count( const Tray &tray, const Rotor &rotor ) const;
    Truth<int> speed( const Tray &tray ) const;
    static Truth<std::string> description( const Tray &tray, size_t number,
                                           const std::string &arguments );

    std::array<Tray, 6> trays_;
    int dutyCode_ = 7;
    pl_fan *anyFan_ = nullptr;
};

} // namespace Soak
