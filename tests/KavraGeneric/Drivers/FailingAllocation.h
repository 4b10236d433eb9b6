#pragma once

/// In a program that links FailingAllocation.cpp, strdup() and asprintf() fail while set.
extern bool allocationFails;
