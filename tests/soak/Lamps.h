#pragma once

#include "tests/soak/Device.h"

#include <array>

namespace Soak {

/// The lamp of the system and those of two ports. A lamp cannot be read: its turn is to be set, and
/// what counts is the register behind it, also how the blink timer has left it.
class Lamps : public Part {
  public:
    explicit Lamps( World &world ) : world_( world ) {}

    std::unique_ptr<Device> device( const Entry &entry, void *record ) override;
    void change( Random &, World &, std::string_view ) override {}

    /// The library's blink timer has fired.
    void blinked();
    /// What the lamps are set to comes from here.
    void randomIs( Random &random ) { random_ = &random; }

  private:
    struct Lamp {
        const char *name;
        const char *knob;
        unsigned lit;   // bit of a port's lamp
        unsigned amber; // the same
        bool blinks = false;
    };
    class LampDevice;

    unsigned &registerOf( const Lamp &lamp );
    void show( Lamp &lamp, unsigned setting );
    void compare( const Lamp &lamp, Judge &judge );

    World &world_;
    Random *random_ = nullptr;
    unsigned systemRegister_ = 0x83;
    unsigned portRegister_ = 0;
    bool phase_ = false; // handed out with the next tick
    std::array<Lamp, 3> lamps_ = { { { "system-led", "system-leds.lamps", 0, 0 },
                                     { "Ethernet33-led", "port-leds.lamps", 0x40, 0x04 },
                                     { "Ethernet34-led", "port-leds.lamps", 0x80, 0x08 } } };
};

} // namespace Soak
