#pragma once

#include <string>

/// A topology of one I2C medium with a number of labelled LM75 sensors on it.
std::string boardOfSensors( int sensors );

/// Device arguments of the sensor with an identifier.
std::string sensorArguments( int did );
