// Reads a temperature a number of times, for a tool that counts instructions below the callback.
#include "benchmarks/support/AnsweringServer.h"
#include "benchmarks/support/Boards.h"

#include <cstdio>
#include <cstdlib>
#include <PlatformLibrary/pl.h>

int main( int argumentCount, char **arguments ) {
    const int reads = argumentCount > 1 ? atoi( arguments[1] ) : 1'000;
    const AnsweringServer server;
    const std::string board = boardOfSensors( 1 );
    const std::string sensorText = sensorArguments( 0 );
    if ( pl_temp_sensor_init( board.c_str() ) != PL_STATUS_OK ) {
        return EXIT_FAILURE;
    }
    pl_temp_sensor *sensor = pl_temp_sensor_add( sensorText.c_str(), 80, 90 );
    for ( int i = 0; i < reads; ++i ) {
        float celsius = 0;
        if ( sensor->ops->getTemperature( sensor, &celsius ) != PL_STATUS_OK ) {
            return EXIT_FAILURE;
        }
    }
    return EXIT_SUCCESS;
}
