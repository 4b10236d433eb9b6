#include "KavraGeneric/Components/Psu.h"

#include "KavraGeneric/Components/AddDevice.h"
#include "KavraGeneric/HostServices.h"

#include <cstddef>

namespace Component::LogicalDevice {

Psu::Psu() : host_( &ops_, this ) {}

Psu::~Psu() = default;

pl_status Psu::get_power_ok_callback( pl_psu *psu, int *good ) {
    pl_trace( 4, "get_power_ok_callback" );
    return HostRecord<pl_psu, Psu>::deviceOf( psu ).get_power_ok( good );
}

pl_status Psu::get_input_current_callback( pl_psu *psu, float *amperes ) {
    pl_trace( 4, "get_input_current_callback" );
    return HostRecord<pl_psu, Psu>::deviceOf( psu ).get_input_current( amperes );
}

pl_status Psu::get_output_current_callback( pl_psu *psu, float *amperes ) {
    pl_trace( 4, "get_output_current_callback" );
    return HostRecord<pl_psu, Psu>::deviceOf( psu ).get_output_current( amperes );
}

pl_status Psu::get_input_voltage_callback( pl_psu *psu, float *volts ) {
    pl_trace( 4, "get_input_voltage_callback" );
    return HostRecord<pl_psu, Psu>::deviceOf( psu ).get_input_voltage( volts );
}

pl_status Psu::get_output_voltage_callback( pl_psu *psu, float *volts ) {
    pl_trace( 4, "get_output_voltage_callback" );
    return HostRecord<pl_psu, Psu>::deviceOf( psu ).get_output_voltage( volts );
}

pl_status Psu::get_input_power_callback( pl_psu *psu, float *watts ) {
    pl_trace( 4, "get_input_power_callback" );
    return HostRecord<pl_psu, Psu>::deviceOf( psu ).get_input_power( watts );
}

pl_status Psu::get_output_power_callback( pl_psu *psu, float *watts ) {
    pl_trace( 4, "get_output_power_callback" );
    return HostRecord<pl_psu, Psu>::deviceOf( psu ).get_output_power( watts );
}

const pl_psu_ops Psu::ops_ = {
    .size = sizeof( pl_psu_ops ),
    .reserved = 0,
    .unused = nullptr,
    .get_power_ok = get_power_ok_callback,
    .get_input_current = get_input_current_callback,
    .get_output_current = get_output_current_callback,
    .get_input_voltage = get_input_voltage_callback,
    .get_output_voltage = get_output_voltage_callback,
    .get_input_power = get_input_power_callback,
    .get_output_power = get_output_power_callback,
};
static_assert( sizeof( pl_psu_ops ) == 72 );
static_assert( offsetof( pl_psu_ops, get_power_ok ) == 16 );
static_assert( offsetof( pl_psu_ops, get_input_current ) == 24 );
static_assert( offsetof( pl_psu_ops, get_output_current ) == 32 );
static_assert( offsetof( pl_psu_ops, get_input_voltage ) == 40 );
static_assert( offsetof( pl_psu_ops, get_output_voltage ) == 48 );
static_assert( offsetof( pl_psu_ops, get_input_power ) == 56 );
static_assert( offsetof( pl_psu_ops, get_output_power ) == 64 );

} // namespace Component::LogicalDevice

pl_psu *pl_psu_add( const char *arguments ) {
    auto *psu = Component::addDevice( arguments, 2, "newPsu", &Component::DeviceBase::newPsu );
    return psu ? psu->record() : nullptr;
}
