// A field failure, recorded on one server and run again on another.
#include "tests/integration/BoardFixture.h"
#include "tests/support/RunProgram.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <memory>
#include <string>

namespace {

constexpr const char *smbusd = BINARY_DIR "/bin/kavra-smbusd";

/// A folder for the recording that outlives the servers.
class RecordingPlace {
  protected:
    RecordingPlace() {
        std::string pattern = std::filesystem::temp_directory_path() / "kavra-recording-XXXXXX";
        folder = mkdtemp( pattern.data() );
    }
    ~RecordingPlace() {
        std::error_code ignored;
        std::filesystem::remove_all( folder, ignored );
    }
    std::filesystem::path folder;
    std::string recording() const { return folder / "field.rec"; }
};

class RecordReplayTest : protected RecordingPlace, public BoardFixture {
  protected:
    RecordReplayTest() : BoardFixture( { "--record", recording() } ) {}

    /// The same topology and chips on a server that has nothing but the recording.
    void replay() {
        server.stop();
        replayed = std::make_unique<ServerProcess>(
            std::string(), std::vector<std::string>{ "--replay", recording() } );
        connect();
    }

    std::unique_ptr<ServerProcess> replayed;
};

} // namespace

TEST_F( RecordReplayTest, ReplayGivesWhatTheBoardGave ) {
    pl_temp_sensor *left = leftSensor();
    pl_temp_sensor *right = rightSensor();
    celsiusOf( left );
    celsiusOf( right );
    server.control( "set asic-left.temperature 50" );
    celsiusOf( left );
    server.control( "fault bus 1 chip 0x48 nack" );
    statusOf( right );
    replay();
    EXPECT_FLOAT_EQ( 41.0F, celsiusOf( left ) );
    EXPECT_FLOAT_EQ( 43.5F, celsiusOf( right ) );
    EXPECT_FLOAT_EQ( 50.0F, celsiusOf( left ) );
    EXPECT_EQ( PL_STATUS_FAILED, statusOf( right ) );
    EXPECT_TRUE( host().traced( 3, "execute: failure in response accelerator 0 bus 1 mux 0x70=02 "
                                   "chip 0x48 reg 0x00: no acknowledge" ) );
}

TEST_F( RecordReplayTest, BatchThatWasNotRecordedIsAClearError ) {
    celsiusOf( leftSensor() );
    pl_temp_sensor *right = rightSensor();
    replay();
    host().lines.clear();
    EXPECT_EQ( PL_STATUS_FAILED, statusOf( right ) );
    EXPECT_TRUE( host().traced(
        3, "execute: failure in response not in the recording: SCD pci 0x00000300 accelerator 0 "
           "bus 1: 70=02 | 48[00]x2 | 70=00; the nearest there, entry 3: SCD pci 0x00000300 "
           "accelerator 0 bus 1: 70=01 | 48[00]x2 | 70=00" ) )
        << testing::PrintToString( host().lines );
}

TEST_F( RecordReplayTest, SighupStartsTheReplayAgain ) {
    pl_temp_sensor *left = leftSensor();
    celsiusOf( left );
    server.control( "set asic-left.temperature 50" );
    celsiusOf( left );
    replay();
    EXPECT_FLOAT_EQ( 41.0F, celsiusOf( left ) );
    EXPECT_FLOAT_EQ( 50.0F, celsiusOf( left ) );
    replayed->signal( SIGHUP );
    ASSERT_TRUE( replayed->waitForLog( "the documents were read again" ) );
    EXPECT_FLOAT_EQ( 41.0F, celsiusOf( left ) );
}

TEST_F( RecordReplayTest, PrintShowsALineABatch ) {
    celsiusOf( leftSensor() );
    const ProgramResult result = runProgram( { smbusd, "--print", recording() } );
    EXPECT_EQ( 0, result.status );
    EXPECT_NE( std::string::npos,
               result.out.find( "us SCD pci 0x00000300 accelerator 0 bus 1: 70=01 | 48[00]x2 -> "
                                "2900 | 70=00\n" ) )
        << result.out;
}

TEST_F( RecordReplayTest, ReplayHasNoKnobs ) {
    replay();
    EXPECT_EQ( "error: the busses are real or recorded: there are no knobs",
               replayed->control( "list" ) );
}

TEST_F( RecordReplayTest, KilledServerLeavesWholeEntries ) {
    pl_temp_sensor *left = leftSensor();
    celsiusOf( left );
    celsiusOf( left );
    server.kill(); // after two limits and two temperatures
    const ProgramResult result = runProgram( { smbusd, "--print", recording() } );
    EXPECT_EQ( 4, std::count( result.out.begin(), result.out.end(), '\n' ) ) << result.out;
    EXPECT_EQ( "", result.err ) << result.out;
}

TEST( RecordingOptionsTest, FileThatIsNoRecordingIsRefused ) {
    for ( const char *option : { "--print", "--replay" } ) {
        const ProgramResult result = runProgram( { smbusd, option, smbusd } );
        EXPECT_EQ( 2, result.status );
        EXPECT_EQ( std::string( "kavra-smbusd: " ) + smbusd + ": no recording\n", result.err );
    }
}
