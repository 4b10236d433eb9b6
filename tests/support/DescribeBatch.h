#pragma once

#include "KavraUtil/Smbus.pb.h"

#include <string>

/// A batch as one line, its requests in order with " | " between them, all numbers in hexadecimal:
///
///     70=01           send byte 01 to chip 70
///     48[]            receive byte
///     48[00]x2        read of 2 bytes from register 00
///     48[01]=6080     write of the bytes 60 80
///     58[99]xB        block read
///     58[99]=B:4142   block write
///     58[30]P=3412    process call with the bytes 34 12
///
/// Bus, master and the other bits of the address are left out: look at the message for them.
std::string describe( const Smbus::TransactionRequest &batch );
