#pragma once

#include "KavraGeneric/Components/HostRecord.h"

#include <PlatformLibrary/pl.h>

namespace Component::LogicalDevice {

/// Currents in amperes, voltages in volts, powers in watts.
class Psu {
  public:
    Psu();
    Psu( const Psu & ) = delete;
    Psu &operator=( const Psu & ) = delete;

    /// @param[out] good 0 or 1
    virtual pl_status get_power_ok( int *good ) = 0;
    virtual pl_status get_input_current( float *amperes ) = 0;
    virtual pl_status get_output_current( float *amperes ) = 0;
    virtual pl_status get_input_voltage( float *volts ) = 0;
    virtual pl_status get_output_voltage( float *volts ) = 0;
    virtual pl_status get_input_power( float *watts ) = 0;
    virtual pl_status get_output_power( float *watts ) = 0;
    virtual ~Psu();

    pl_psu *record() { return &host_.record; }

    static pl_status get_power_ok_callback( pl_psu *psu, int *good );
    static pl_status get_input_current_callback( pl_psu *psu, float *amperes );
    static pl_status get_output_current_callback( pl_psu *psu, float *amperes );
    static pl_status get_input_voltage_callback( pl_psu *psu, float *volts );
    static pl_status get_output_voltage_callback( pl_psu *psu, float *volts );
    static pl_status get_input_power_callback( pl_psu *psu, float *watts );
    static pl_status get_output_power_callback( pl_psu *psu, float *watts );
    static const pl_psu_ops ops_;

  private:
    HostRecord<pl_psu, Psu> host_;
};

} // namespace Component::LogicalDevice
