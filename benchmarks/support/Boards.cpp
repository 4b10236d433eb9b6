#include "benchmarks/support/Boards.h"

#include <cstdio>

std::string boardOfSensors( int sensors ) {
    std::string text = R"([{"type":"I2C","ham":"KavraSmbus","id":1,"label":"bus","devices":[)";
    for ( int did = 0; did < sensors; ++did ) {
        char entry[80];
        snprintf( entry, sizeof entry, R"(%s{"did":%d,"label":"temperature-%05d"})",
                  did == 0 ? "" : ",", did, did );
        text += entry;
    }
    return text + "]}]";
}

std::string sensorArguments( int did ) {
    return R"({"driver":"LM75","did":)" + std::to_string( did ) + R"(,"address":{"address":72}})";
}
