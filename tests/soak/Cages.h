#pragma once

#include "tests/soak/Device.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Soak {

/// The lines of a cage, each as a person would say it: asserted or not.
struct CageLines {
    bool present = false;
    bool driven = false; ///< reset of a QSFP cage, transmitter disable of an SFP one
    bool first = false;  ///< interrupt of a QSFP cage, loss of signal of an SFP one
    bool fault = false;  ///< transmitter fault of an SFP cage
    bool operator==( const CageLines & ) const = default;
};

/// One cage of the front panel with its module.
struct Cage {
    std::string name;
    bool isQsfp = true;
    bool present = false;
    bool driven = false;
    bool signal = false; ///< the module's interrupt, or that it sees no light
    bool laserFails = false;
    std::string model = "KQ40-SR4";
    std::string serial = "0";

    pl_xcvr *xcvr = nullptr;
    CageLines polled = {}; ///< as the library's last poll met them

    CageLines lines() const;
    /// A module that is held in reset does not answer.
    bool moduleAnswers() const { return present && !( isQsfp && driven ); }
    /// Bytes of the module's memory map.
    unsigned char statusByte() const;
};

/// The 34 cages behind the transceiver CPLD, whose lines the library polls once a second, and their
/// modules, which it reads raw.
class Cages : public Part {
  public:
    Cages();

    std::unique_ptr<Device> device( const Entry &entry, void *record ) override;
    void begin( World &world ) override;
    void change( Random &random, World &world, std::string_view turn ) override;
    void setByHost( Random &random, Judge &judge ) override;

    /// The library has polled: what it answers from now on is what is so now.
    void polled();
    /// Asks for every line once: the library polls a register from its first question on.
    void askOnce();

    /// Readings that were right by the last poll, while the lines had changed since.
    uint64_t staleReadings() const { return staleReadings_; }

  private:
    Cage &cage( const std::string &name );
    void readLines( const Cage &cage, Judge &judge );

    std::vector<Cage> cages_;
    uint64_t staleReadings_ = 0;
};

} // namespace Soak
