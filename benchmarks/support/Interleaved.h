#pragma once

#include <algorithm>
#include <chrono>
#include <limits>

/// Compares two pieces of work within one run. Slices of the base, of the work under test and of
/// the base again take turns, and the fastest slice of each counts: what disturbs the machine hits
/// all three alike. The two bases must agree, or the run says nothing.
struct Interleaved {
    double baseNs;  ///< fastest slice of the base, per iteration
    double testNs;  ///< fastest slice of the work under test, per iteration
    double control; ///< second base over first base
    double ratio() const { return testNs / baseNs; }
};

template <typename Work>
double sliceNs( int iterations, const Work &work ) {
    const auto start = std::chrono::steady_clock::now();
    for ( int i = 0; i < iterations; ++i ) {
        work();
    }
    const std::chrono::duration<double, std::nano> time = std::chrono::steady_clock::now() - start;
    return time.count() / iterations;
}

template <typename Base, typename Test>
Interleaved interleave( int slices, int iterations, const Base &base, const Test &test ) {
    constexpr int attempts = 10;
    Interleaved result{};
    for ( int attempt = 0; attempt < attempts; ++attempt ) {
        double first = std::numeric_limits<double>::max();
        double second = first;
        double tested = first;
        for ( int slice = 0; slice < slices; ++slice ) {
            first = std::min( first, sliceNs( iterations, base ) );
            tested = std::min( tested, sliceNs( iterations, test ) );
            second = std::min( second, sliceNs( iterations, base ) );
        }
        result = { std::min( first, second ), tested, second / first };
        if ( result.control > 0.95 && result.control < 1.05 ) {
            break;
        }
    }
    return result;
}
