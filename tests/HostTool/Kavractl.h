#pragma once

#include "tests/HostTool/BoardFolder.h"
#include "tests/support/RunProgram.h"

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

/// Runs the built kavractl, on a board folder of the test's own unless the test names another.
class KavractlTest : public testing::Test {
  protected:
    KavractlTest() {
        // What a platform library creates lives as long as the process: those are no leaks.
        constexpr int replace = 1;
        setenv( "ASAN_OPTIONS", "detect_leaks=0", replace );
    }

    ProgramResult kavractl( std::vector<std::string> arguments ) const {
        arguments.insert( arguments.begin(), BINARY_DIR "/bin/kavractl" );
        return run( arguments );
    }

    /// A call with its arguments and a redirection, as a shell takes it.
    ProgramResult kavractlByShell( const std::string &call ) const {
        return run( { "/bin/sh", "-c", "exec " BINARY_DIR "/bin/kavractl " + call } );
    }

    std::string socketPath() const { return folder.file( "s.sock" ); }

    BoardFolder folder;
    std::map<std::string, std::string> environment = { { "KAVRA_BOARD", folder.path() },
                                                       { "SMBUSD_SOCKET", socketPath() },
                                                       { "TERM", "dumb" } };

  private:
    ProgramResult run( const std::vector<std::string> &command ) const {
        std::vector<std::string> assignments;
        for ( const auto &[name, value] : environment ) {
            assignments.push_back( name + "=" + value );
        }
        return runProgram( command, assignments );
    }
};

/// The document in a text that must parse.
inline rapidjson::Document parsed( const std::string &text ) {
    rapidjson::Document document;
    document.Parse( text.c_str() );
    if ( document.HasParseError() ) {
        throw std::runtime_error( "no JSON: " + text );
    }
    return document;
}
