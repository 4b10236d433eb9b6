#pragma once

#include "SmbusServer/Backend.h"
#include "SmbusServer/I2cAdapter.h"
#include "SmbusServer/I2cDevMap.h"

#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace SmbusServer {

/// The adapters of the kernel as a back end. An adapter is opened when its bus is used first, and
/// again after it has gone: adapters on a cable come and go.
class I2cDevBackend : public Backend {
  public:
    /// @param kernel must outlive the back end.
    I2cDevBackend( I2cKernel &kernel, I2cDevMap map );

    Cause perform( const Operation &operation, std::string &read ) override;
    bool severalAccelerators( const BusName &bus ) const override;
    const I2cDevMap &map() const { return map_; }
    /// Only while nothing is performed.
    void mapIs( I2cDevMap map ) { map_ = std::move( map ); }

  private:
    struct Adapter {
        std::unique_ptr<I2cAdapter> opened; // null when it is not
        unsigned long functions = 0;
        int told = -1; // the result of opening that the log knows
    };

    Adapter &adapterOf( const std::string &device );
    int open( const std::string &device, Adapter &adapter );

    I2cKernel &kernel_;
    I2cDevMap map_;
    std::mutex mutex_; // guards adapters_; each adapter has one thread at a time
    std::map<std::string, Adapter> adapters_;
};

} // namespace SmbusServer
