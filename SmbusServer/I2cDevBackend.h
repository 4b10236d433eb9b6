#pragma once

#include "SmbusServer/Backend.h"
#include "SmbusServer/I2cAdapter.h"
#include "SmbusServer/I2cDevMap.h"
#include "SmbusServer/Wiring.h"

#include <cerrno>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace SmbusServer {

/// The adapters of the kernel as a back end. An adapter is opened when its bus is used first, and
/// again after it has gone: adapters on a cable come and go.
class I2cDevBackend : public Backend, public Wiring {
  public:
    /// @param kernel must outlive the back end.
    I2cDevBackend( I2cKernel &kernel, I2cDevMap map );

    /// Only behind open(), which says whether the bus has its adapter.
    Cause perform( const Operation &operation, std::string &read ) override;
    bool severalAccelerators( const BusName &bus ) const override;

    bool startsOff() const override { return false; }
    std::string wiresOf( const BusName &bus ) const override { return map_.wiresOf( bus ); }
    uint64_t open( const BusName &bus ) override;
    std::vector<uint8_t> rootMuxesOf( const BusName &bus ) const override;

    const I2cDevMap &map() const { return map_; }
    /// Only while nothing is performed. Every adapter is opened anew when it is used next.
    void mapIs( I2cDevMap map );

  private:
    struct Adapter {
        std::unique_ptr<I2cAdapter> opened; // null when it is not
        unsigned long functions = 0;
        int error = ENODEV; // why it is not
        int told = -1;      // the result of opening that the log knows
    };

    Adapter &adapterOf( const std::string &device );
    void openAnew( const std::string &device, Adapter &adapter );
    bool hasLeft( const std::string &device, Adapter &adapter );

    I2cKernel &kernel_;
    I2cDevMap map_;
    std::mutex mutex_; // guards what follows; each adapter has one thread at a time
    std::map<std::string, Adapter> adapters_;  // by device
    std::map<std::string, uint64_t> openings_; // by wires
    uint64_t lastOpening_ = 0;
};

} // namespace SmbusServer
