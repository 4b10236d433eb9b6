#pragma once

#include "KavraGeneric/Drivers/Drivers.h"

#include <string>

/// An address as one line: its fields that are not zero, in the order of the word.
///
///     address=72 addrSize=1
std::string describe( const AhamAddress &address );

/// Parsed device arguments as one line. The pointer to the text is left out.
///
///     driver="LM75" did=1 uid=none address={address=72 addrSize=1} driverArgs={} provideHam
std::string describe( const Drivers::DriverArgs &arguments );
