#pragma once

#include "KavraGeneric/Components/HostRecord.h"

#include <PlatformLibrary/pl.h>

namespace Component::LogicalDevice {

class Fan {
  public:
    Fan();
    Fan( const Fan & ) = delete;
    Fan &operator=( const Fan & ) = delete;
    virtual ~Fan();

    /// A fan without such a text leaves the pointer alone and returns PL_STATUS_OK, as here.
    virtual pl_status debugInfo( char **text ) const;
    /// @param[out] rpm revolutions per minute
    virtual pl_status getRpm( int *rpm ) = 0;
    virtual pl_status setRpm( int rpm ) = 0;

    pl_fan *record() { return &host_.record; }

    static pl_status debugInfoCallback( const pl_fan *fan, char **text );
    static pl_status getRpmCallback( pl_fan *fan, int *rpm );
    static pl_status setRpmCallback( pl_fan *fan, int rpm );
    static const pl_fan_ops ops_;

  private:
    HostRecord<pl_fan, Fan> host_;
};

} // namespace Component::LogicalDevice
