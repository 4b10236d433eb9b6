#pragma once

#include <string>

/// A topology of one I2C medium with a transceiver CPLD on it.
std::string boardOfCages();

/// Device arguments of a QSFP port, from 1: 8 ports share a register of each signal.
std::string qsfpArguments( int port );
/// The same of an SFP+ port, from 1.
std::string sfpArguments( int port );
