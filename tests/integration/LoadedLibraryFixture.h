#pragma once

#include "tests/support/ServerProcess.h"

#include <PlatformLibrary/pl.h>

#include <dlfcn.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

/// The whole path as a host takes it: the built library through dlopen, the real server, an
/// emulated board. Define KAVRA_LIBRARY_FILE, and __asan_default_options() with
/// "detect_leaks=0": what the library makes lives as long as the process.
class LoadedLibraryFixture : public testing::Test {
  protected:
    /// @param folder where the board's emulation.json and topology.json are.
    explicit LoadedLibraryFixture( const std::string &folder = SOURCE_DIR "/boards/VundaT" )
        : server( folder + "/emulation.json" ), topologyFile_( folder + "/topology.json" ) {}

    void SetUp() override { ASSERT_NE( nullptr, library_ ) << dlerror(); }

    /// Hands the board's topology to the library, through one of the entry points for that.
    pl_status initialise( const char *entryPoint ) {
        const std::ifstream file( topologyFile_ );
        std::stringstream text;
        text << file.rdbuf();
        topology_ = text.str();
        return function<pl_status( const char * )>( entryPoint )( topology_.c_str() );
    }

    template <typename Function>
    Function *function( const char *name ) const {
        return reinterpret_cast<Function *>( dlsym( library_, name ) );
    }

    ServerProcess server;

  private:
    void *library_ = dlopen( KAVRA_LIBRARY_FILE, RTLD_NOW );
    std::string topologyFile_;
    std::string topology_;
};
