#include "tests/support/FakeSmbusServer.h"
#include "tests/support/RunProgram.h"

#include <gtest/gtest.h>

namespace {

class SeamTest : public testing::Test, protected FakeSmbusServer {
  protected:
    /// Runs the host on the built library; the environment decides on the protocol library.
    static ProgramResult showTemperature( const std::vector<std::string> &environment = {} ) {
        return runProgram( { SEAM_HOST, KAVRA_LIBRARY_FILE }, environment );
    }
};

TEST_F( SeamTest, LibraryReadsThroughTheWireWithItsOwnProtocolLibrary ) {
    answer( { ok } );
    answer( { ok } );
    answer( { bytes( 0x19, 0x80 ) } );
    const ProgramResult shown = showTemperature();
    EXPECT_EQ( 0, shown.status ) << shown.err;
    EXPECT_EQ( "25.5\n", shown.out );
    EXPECT_EQ( "48[00]x2", lastBatch() );
}

TEST_F( SeamTest, SameLibraryReadsThroughAnotherProtocolLibraryPutInItsPlace ) {
    const ProgramResult shown = showTemperature( { "LD_LIBRARY_PATH=" OTHER_PROTOCOL_FOLDER } );
    EXPECT_EQ( 0, shown.status ) << shown.err;
    EXPECT_EQ( "37.5\n", shown.out );
    EXPECT_EQ( 0, connectionCount() );
}

} // namespace
