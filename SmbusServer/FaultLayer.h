#pragma once

#include "SmbusServer/Backend.h"
#include "SmbusServer/FaultList.h"

namespace SmbusServer {

/// Lets requests go wrong that another back end would have performed.
class FaultLayer : public Backend {
  public:
    /// Both must outlive the layer.
    FaultLayer( Backend &below, FaultList &faults );

    std::string begins( const Smbus::TransactionRequest &request ) override;
    void ends( const Smbus::TransactionRequest &request,
               const Smbus::TransactionResponse &response ) override;
    Cause perform( const Operation &operation, std::string &read ) override;
    bool severalAccelerators( const BusName &bus ) const override;

  private:
    Backend &below_;
    FaultList &faults_;
};

} // namespace SmbusServer
