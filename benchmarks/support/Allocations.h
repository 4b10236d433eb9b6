#pragma once

#include <cstdint>

/// How often this process has allocated through operator new so far.
uint64_t allocations();
