#pragma once

#include <fstream>
#include <sched.h>
#include <sstream>
#include <string>

inline constexpr const char *vundaT = SOURCE_DIR "/boards/VundaT";

/// One of the board's documents.
inline std::string vundaTDocument( const std::string &name ) {
    const std::ifstream file( vundaT + ( "/" + name ) );
    std::stringstream text;
    text << file.rdbuf();
    return text.str();
}

/// Whoever is measured shares one CPU with the server that it talks to: see AnsweringServer.
inline void stayOnOneCpu() {
    cpu_set_t cpus;
    CPU_ZERO( &cpus );
    CPU_SET( 0, &cpus );
    sched_setaffinity( 0, sizeof cpus, &cpus );
}
