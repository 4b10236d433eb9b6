#pragma once

#include "SmbusServer/Operation.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace SmbusServer {

/// Which device file of i2c-dev each bus is. docs/formats/i2c-map.md describes the document.
class I2cDevMap {
  public:
    /// Bus N of the master I2C is /dev/i2c-N.
    I2cDevMap() = default;
    struct Bus {
        std::string device;
        std::vector<uint8_t> rootMuxes = {}; ///< addresses of the muxes that nothing leads to
    };
    /// @param busses those that there are.
    explicit I2cDevMap( const std::map<BusName, Bus> &busses );

    /// @return nothing for a bus that the map does not name.
    std::optional<std::string> deviceOf( const BusName &bus ) const;
    /// The same number for busses that share wires; 0 for all that the map does not name.
    size_t laneOf( const BusName &bus ) const;
    /// The device with links followed: equal for busses that share wires, whatever the map. Empty
    /// for a bus that the map does not name.
    std::string wiresOf( const BusName &bus ) const;
    /// Those of all names of the same wires.
    std::vector<uint8_t> rootMuxesOf( const BusName &bus ) const;
    bool severalAccelerators( const BusName &bus ) const;

  private:
    struct Entry {
        Bus bus;
        std::string wires;
        size_t lane;
    };
    std::optional<std::map<BusName, Entry>> entries_;
};

/// @throw EmulatedBoard::DocumentError for the first thing that is wrong, also when the file cannot
///        be read.
I2cDevMap loadI2cDevMap( const std::string &file );
/// The same from a text.
/// @param file names the text in messages.
I2cDevMap parseI2cDevMap( const std::string &text, const std::string &file );

} // namespace SmbusServer
