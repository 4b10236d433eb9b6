#pragma once

#include "KavraGeneric/Drivers/Registry.h"
#include "KavraGeneric/Ham/Ham.h"
#include "tests/support/FakeHost.h"

#include <gtest/gtest.h>

#include <map>
#include <string>

/// The library as a process finds it that has just loaded it: no socket, no topology, no devices,
/// no blinking lamps, simulation undecided and off, FakeHost empty, both registries as built. It is
/// so when a test begins, and again when it ends. Death tests run in the threadsafe style.
///
/// A test over the wire derives from FakeSmbusServer as well, in this order, so that the server is
/// there until the library's socket is gone:
///
///     class MuxTest : protected FakeSmbusServer, public LibraryFixture {};
///
/// A program that uses it lists LibraryFixture, FakeHost and, unless its host lacks that service,
/// FakeHostWatcher among its LIBRARIES.
class LibraryFixture : public testing::Test {
  protected:
    LibraryFixture();
    ~LibraryFixture() override;

    /// Connects the library to the server at SMBUSD_SOCKET and forgets what that traced.
    static void connect();
    /// Makes a document the current topology, without a server, and forgets what that traced.
    static void loadTopology( const std::string &document );
    /// As in a process that was started with SIMULATION_VMID; before anything asked for it.
    static void simulate();

    /// From now on a process that an assertion ends writes its traces to stderr, each as "level
    /// text", so that a death test can look for them. Call it in the statement that dies.
    static void tellTracesWhenDying();

    static FakeHost &host() { return FakeHost::get(); }

    /// The same state, for tests that need it anew halfway.
    static void resetLibrary();

  private:
    const std::map<std::string, Drivers::Factory> drivers_ = Drivers::drivers;
    const std::map<std::string, Ham::Factory> hams_ = Ham::hams;
};
