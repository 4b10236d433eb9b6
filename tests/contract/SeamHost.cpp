// A host of one sensor: loads the library that the command line names and prints a temperature.
#include <PlatformLibrary/pl.h>

#include <cstdio>
#include <dlfcn.h>

namespace {

constexpr const char *topology =
    R"([ { "type": "I2C", "ham": "KavraSmbus", "id": 2, "devices": [ { "did": 6 } ] } ])";
constexpr const char *sensor = R"({ "did": 6, "driver": "LM75", "address": { "address": 72 } })";

pl_temp_sensor *added = nullptr; // a record lives for the process, and so does our hold on it

int failed( const char *what ) {
    std::fprintf( stderr, "%s failed\n", what );
    return 1;
}

} // namespace

int main( int argc, char **argv ) {
    void *library = argc == 2 ? ::dlopen( argv[1], RTLD_NOW | RTLD_LOCAL ) : nullptr;
    if ( library == nullptr ) {
        return failed( "dlopen" );
    }
    const auto init = reinterpret_cast<decltype( &pl_temp_sensor_init )>(
        ::dlsym( library, "pl_temp_sensor_init" ) );
    const auto add = reinterpret_cast<decltype( &pl_temp_sensor_add )>(
        ::dlsym( library, "pl_temp_sensor_add" ) );
    if ( init == nullptr || add == nullptr ) {
        return failed( "dlsym" );
    }
    if ( init( topology ) != PL_STATUS_OK ) {
        return failed( "init" );
    }
    added = add( sensor, 75.0F, 80.0F );
    if ( added == nullptr ) {
        return failed( "add" );
    }
    float celsius = 0;
    if ( added->ops->getTemperature( added, &celsius ) != PL_STATUS_OK ) {
        return failed( "getTemperature" );
    }
    std::printf( "%.1f\n", static_cast<double>( celsius ) );
    return 0;
}
