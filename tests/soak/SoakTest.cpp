// A short soak in the usual run, and that a soak fails when it should.
#include "tests/soak/Footprint.h"
#include "tests/support/RunProgram.h"
#include "tests/support/Sanitized.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using testing::HasSubstr;

static ProgramResult soak( std::vector<std::string> options ) {
    options.insert( options.begin(), SOAK_PROGRAM );
    return runProgram( options );
}

TEST( SoakTest, EveryReadingOfSomeThousandTransactionsIsRightAndNothingGrows ) {
    const ProgramResult result = soak( { "--transactions", "4000", "--seed", "11" } );
    EXPECT_EQ( 0, result.status ) << result.err << result.out;
    EXPECT_THAT( result.out, HasSubstr( "wrong readings           0\n" ) );
}

TEST( SoakTest, EveryReadingOfSimulatedHardwareIsRightAndNothingGrows ) {
    const ProgramResult result = soak( { "--simulation", "--accesses", "5000", "--seed", "11" } );
    EXPECT_EQ( 0, result.status ) << result.err << result.out;
    EXPECT_THAT( result.out, HasSubstr( "wrong readings           0\n" ) );
}

TEST( SoakTest, ATruthThatIsFalsifiedIsFound ) {
    const ProgramResult result = soak( { "--polls", "300", "--sabotage", "truth" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.err, HasSubstr( "rear: getTemperature: status 0, output 101.5" ) );
}

TEST( SoakTest, ASimulationFileThatIsFalsifiedIsFound ) {
    const ProgramResult result =
        soak( { "--simulation", "--accesses", "2000", "--sabotage", "truth" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.err, HasSubstr( "rear: getTemperature: status 0, output -1" ) );
}

TEST( SoakTest, ADescriptorThatLeaksIsFound ) {
    const ProgramResult result = soak( { "--polls", "600", "--sabotage", "descriptor" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.err, HasSubstr( "host: descriptors: " ) );
    EXPECT_THAT( result.out, HasSubstr( "wrong readings           0\n" ) );
}

TEST( SoakTest, AMappingThatLeaksIsFound ) {
    const ProgramResult result =
        soak( { "--simulation", "--accesses", "2000", "--sabotage", "mapping" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.err, HasSubstr( "host: mappings: " ) );
}

TEST( SoakTest, MemoryThatLeaksIsFound ) {
    if ( isSanitized ) {
        GTEST_SKIP() << "resident memory is not judged";
    }
    const ProgramResult result = soak( { "--polls", "1000", "--sabotage", "memory" } );
    EXPECT_EQ( 1, result.status );
    EXPECT_THAT( result.err, HasSubstr( "host: resident" ) );
}

TEST( SoakTest, OneSeedIsOneRun ) {
    const auto counts = []( const ProgramResult &result ) {
        return result.out.substr( 0, result.out.find( "wall seconds" ) );
    };
    const std::vector<std::string> options = { "--polls", "250", "--seed", "5" };
    const ProgramResult first = soak( options );
    const ProgramResult second = soak( options );
    EXPECT_EQ( 0, first.status ) << first.err;
    EXPECT_EQ( 0, second.status ) << second.err;
    EXPECT_EQ( counts( first ), counts( second ) );
}

TEST( SoakTest, AWrongCallIsTold ) {
    const ProgramResult result = soak( { "--pols", "3" } );
    EXPECT_EQ( 2, result.status );
    EXPECT_THAT( result.err, HasSubstr( "no option '--pols'; --help lists them" ) );
}
