#pragma once

#include "KavraUtil/PLSocket.h"

#include <PlatformLibrary/pl.h>

/// The one connection to the SMBus server. Null until an initialisation succeeded; the process's
/// from then on. Every access method sends through it.
extern PlatformLibrary::PLSocket *_plSock;

/// Attempts of every pl_<class>_init() to connect.
constexpr int connectAttempts = 30;

/// Connects to the SMBus server, once per process.
/// @param name    of the entry point, for the trace
/// @param retries attempts; each one that fails is followed by a second of sleep
/// @return PL_STATUS_OK or PL_STATUS_IO_ERROR
pl_status plSockInit( const char *name, int retries );

/// What every pl_<class>_init() does: connects, then loads the topology. Without a server the
/// topology is not looked at.
pl_status kavraLibraryInit( const char *name, const char *topology, int retries );
