#pragma once

#include "KavraGeneric/Library.h"
#include "tests/support/LibraryFixture.h"
#include "tests/support/ServerProcess.h"

#include <PlatformLibrary/pl.h>

#include <fstream>
#include <sstream>
#include <string>

/// Keeps a server running, with the arguments given, until the library's socket is gone.
class WithServer {
  protected:
    explicit WithServer( std::vector<std::string> arguments = {} )
        : server( {}, std::move( arguments ) ) {}
    ServerProcess server;
};

/// The library in this process, on a server's board.
class BoardFixture : protected WithServer, public LibraryFixture {
  protected:
    explicit BoardFixture( std::vector<std::string> arguments = {} )
        : WithServer( std::move( arguments ) ) {
        std::ifstream file( SOURCE_DIR "/boards/VundaT/topology.json" );
        std::stringstream text;
        text << file.rdbuf();
        topology_ = text.str();
        EXPECT_EQ( PL_STATUS_OK, pl_temp_sensor_init( topology_.c_str() ) );
    }

    // The texts are literals: a device keeps a pointer to its own.
    static pl_temp_sensor *leftSensor() {
        return pl_temp_sensor_add( R"({"driver":"LM75","did":2,"address":{"address":72}})", 80,
                                   90 );
    }
    static pl_temp_sensor *rightSensor() {
        return pl_temp_sensor_add( R"({"driver":"LM75","did":3,"address":{"address":72}})", 80,
                                   90 );
    }

    /// The board says 41 on the left and 43.5 on the right.
    static float celsiusOf( pl_temp_sensor *sensor ) {
        float celsius = -273;
        EXPECT_EQ( PL_STATUS_OK, sensor->ops->getTemperature( sensor, &celsius ) );
        return celsius;
    }
    static pl_status statusOf( pl_temp_sensor *sensor ) {
        float celsius = 0;
        return sensor->ops->getTemperature( sensor, &celsius );
    }

  private:
    std::string topology_;
};
