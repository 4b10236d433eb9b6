#pragma once

#include <PlatformLibrary/pl.h>

// The system object of the VundaT. This board keeps no reload cause and cannot cycle its own power.

/// @param cause  room for 100 characters
/// @param detail room for 500 characters
/// @return always PL_STATUS_NOT_SUPPORTED; no argument is touched
pl_status pl_system_get_reload_cause( pl_system *system, char *cause, long *when, char *detail );

/// @return always PL_STATUS_NOT_SUPPORTED
pl_status pl_system_powercycle( pl_system *system );
