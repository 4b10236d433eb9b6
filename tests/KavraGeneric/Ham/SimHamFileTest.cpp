#include "tests/KavraGeneric/Ham/LockHolder.h"
#include "tests/KavraGeneric/Ham/SimHamFixture.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <vector>

namespace {

using Lines = std::vector<FakeHost::Line>;

// Fetches and writes look before they touch the file, so what the file's routines assert is only
// seen from behind those checks.
bool readFile( Ham::SimHam &ham, size_t length, std::string &text );
void writeFile( Ham::SimHam &ham, const std::string &text );
template <auto Read, auto Write>
struct BehindTheChecks {
    friend bool readFile( Ham::SimHam &ham, size_t length, std::string &text ) {
        return ( ham.*Read )( length, text );
    }
    friend void writeFile( Ham::SimHam &ham, const std::string &text ) { ( ham.*Write )( text ); }
};
template struct BehindTheChecks<&Ham::SimHam::readFromFile, &Ham::SimHam::writeToFile>;

class SimHamFileTest : public SimHamTest {};
using SimHamFileDeathTest = SimHamFileTest;

TEST_F( SimHamFileTest, HoldsTheRegistersInAscendingOrder ) {
    device( { { 3, number( 110 ) }, { 0, number( 39 ) }, { 2, number( 110 ) } } );
    EXPECT_EQ( "276e6e\n", fileText() );
}

TEST_F( SimHamFileTest, EachEntryTakesTheWidthOfItsField ) {
    const struct {
        Table table;
        std::string text;
    } cases[] = {
        { { { 0, number( 0 ) } }, "00\n" },
        { { { 0, number( 0xAB ) } }, "ab\n" },
        { { { 0, number( 5, 2 ) } }, "0005\n" },
        { { { 0, number( 0xDEADBEEF, 4 ) } }, "deadbeef\n" },
        { { { 0, number( 0xDEADBEEF, 8 ) } }, "00000000deadbeef\n" },
        { { { 0, number( 0x123, 1 ) } }, "123\n" },
        { { { 0, text( "Ab 9" ) } }, "Ab 9\n" },
        { { { 0, text( "" ) }, { 1, number( 1 ) } }, "01\n" },
        { { { 0, number( 1 ) }, { 1, text( "xyz" ) }, { 2, number( 2, 2 ) } }, "01xyz0002\n" },
    };
    for ( const auto &each : cases ) {
        SCOPED_TRACE( each.text );
        device( each.table );
        EXPECT_EQ( each.text, fileText() );
    }
}

TEST_F( SimHamFileTest, FieldsOfAllKindsAreFoundAgain ) {
    device( { { 1, text( "xyz" ) }, { 7, number( 0x1234, 2 ) }, { 300, number( 0x56 ) } } );
    EXPECT_EQ( "xyz", read( 1, 3 ) );
    EXPECT_EQ( 0x1234, read16( 7 ) );
    EXPECT_EQ( 0x56, read8( 300 ) );
}

// Tables keep values within their width; one that does not moves the text and not the offsets.
TEST_F( SimHamFileTest, NumberTooWideShiftsTheFieldsBehindIt ) {
    device( { { 0, number( 0x123 ) }, { 1, number( 0x45 ) } } );
    EXPECT_EQ( "12345\n", fileText() );
    EXPECT_EQ( 0x34, read8( 1 ) );
}

TEST_F( SimHamFileTest, CreationIsTraced ) {
    table_ = example;
    ham_ = newSimHam();
    ham_->setDriverName( "LM75", "board-temp" );
    ham_->setExpected( &table_ );
    EXPECT_EQ( ( Lines{ { 5, "Created " + path() } } ), host().lines );
}

TEST_F( SimHamFileTest, DeviceWithoutANameHasTheDriversName ) {
    table_ = example;
    ham_ = newSimHam();
    ham_->setDriverName( "LM75", "" );
    ham_->setExpected( &table_ );
    EXPECT_EQ( "276e6e\n", SimulationFolder::read( "LM75" ) );
}

TEST_F( SimHamFileTest, NewDeviceResetsTheRegisters ) {
    device( example );
    ham().write8( 0, 0x99, false );
    device( example );
    EXPECT_EQ( "276e6e\n", fileText() );
}

TEST_F( SimHamFileTest, SecondTableKeepsTheOffsetsOfRegistersAlreadyKnown ) {
    device( example );
    table_ = { { 2, number( 0x5566, 2 ) } };
    ham().setExpected( &table_ );
    EXPECT_EQ( "5566\n", fileText() );
    EXPECT_EQ( 0x66, read8( 2 ) );
}

TEST_F( SimHamFileTest, OtherProcessesMayChangeTheFile ) {
    device( example );
    read8( 0 );
    fileTextIs( "2a6f70\n" );
    EXPECT_EQ( 0x2A, read8( 0 ) );
    EXPECT_EQ( 0x70, read8( 3 ) );
}

TEST_F( SimHamFileTest, FileLargerThanAPageIsReachedToItsEnd ) {
    Table table;
    for ( unsigned reg = 0; reg < 5000; ++reg ) {
        table.emplace( reg, number( reg & 0xFF ) );
    }
    device( table );
    EXPECT_EQ( 4999 & 0xFF, read8( 4999 ) );
    ham().write8( 0, 0xEE, false );
    EXPECT_EQ( 0xEE, read8( 4999 ) );
    EXPECT_EQ( 4998 & 0xFF, read8( 4998 ) );
}

// A file cut short by somebody else is a failed read, not the end of the process.

TEST_F( SimHamFileTest, ReadOfACutFileFails ) {
    device( example );
    fileTextIs( "276e6" );
    uint8_t value = 0x55;
    EXPECT_EQ( PL_STATUS_IO_ERROR, ham().read8( 0, &value ) );
    EXPECT_EQ( 0x55, value );
}

TEST_F( SimHamFileTest, FetchFromACutFileWarnsAndGivesZero ) {
    device( example );
    ham().addRead8( 0 );
    fileTextIs( "" );
    EXPECT_EQ( 0, ham().get8( 0 ) );
    EXPECT_THROW( ham().getBlock( 0, 2 ), std::logic_error );
    EXPECT_EQ( Lines( 2, { 0, warning( "0x0" ) } ), host().lines );
}

TEST_F( SimHamFileTest, WriteToACutFileWarnsAndChangesNothing ) {
    device( example );
    fileTextIs( "276e" );
    EXPECT_EQ( PL_STATUS_IO_ERROR, ham().write8( 0, 1, false ) );
    EXPECT_EQ( "276e", fileText() );
    EXPECT_EQ( ( Lines{ { 0, warning( "0x0" ) } } ), host().lines );
}

TEST_F( SimHamFileTest, CutFileThatIsWholeAgainIsReadAgain ) {
    device( example );
    fileTextIs( "2" );
    uint8_t value = 0;
    EXPECT_EQ( PL_STATUS_IO_ERROR, ham().read8( 0, &value ) );
    fileTextIs( "2b6e6e" ); // the newline counts for nothing
    EXPECT_EQ( 0x2B, read8( 0 ) );
}

// The other process holds its lock until it sees us wait for one, then changes the file.

TEST_F( SimHamFileTest, ReadWaitsForAnotherProcesssWriteLock ) {
    device( example );
    LockHolder other( path(), F_WRLCK );
    other.changeOnceWaitedFor( "READ", "2c6e6e\n" );
    EXPECT_EQ( 0x2C, read8( 0 ) );
    EXPECT_TRUE( other.release() );
}

TEST_F( SimHamFileTest, WriteWaitsForAnotherProcesssReadLock ) {
    device( example );
    LockHolder other( path(), F_RDLCK );
    other.changeOnceWaitedFor( "WRITE", "2c6e6e\n" );
    ham().write8( 0, 0x11, false );
    EXPECT_TRUE( other.release() );
    EXPECT_EQ( "116e6e\n", fileText() );
}

TEST_F( SimHamFileTest, ReadSharesAnotherProcesssReadLock ) {
    device( example );
    LockHolder other( path(), F_RDLCK );
    EXPECT_EQ( 39, read8( 0 ) );
    EXPECT_TRUE( other.release() );
}

TEST_F( SimHamFileTest, NothingIsHeldBetweenAccesses ) {
    device( example );
    const auto descriptors = [] {
        return std::distance( std::filesystem::directory_iterator( "/proc/self/fd" ), {} );
    };
    const auto before = descriptors();
    read8( 0 );
    ham().write8( 0, 0x11, false );
    EXPECT_EQ( before, descriptors() );
    EXPECT_TRUE( LockHolder::isFree( path() ) );
}

// A process that runs for ever keeps one mapping a direction, not one an access.

TEST_F( SimHamFileTest, MappingsStayFlatOver200000Accesses ) {
    const auto mappings = [] {
        std::ifstream maps( "/proc/self/maps" );
        int count = 0;
        for ( std::string line; std::getline( maps, line ); ) {
            count += line.find( path() ) != std::string::npos ? 1 : 0;
        }
        return count;
    };
    const auto pages = [] {
        long total = 0;
        std::ifstream( "/proc/self/statm" ) >> total;
        return total;
    };
    device( example );
    host().traceDropped = true;
    const int unused = mappings();
    read8( 0 );
    ham().write8( 0, 1, false );
    EXPECT_EQ( unused + 2, mappings() );
    const long before = pages();
    for ( int access = 0; access < 100'000; ++access ) {
        read8( 0 );
        ham().write8( 0, static_cast<uint8_t>( access ), false );
    }
    EXPECT_EQ( unused + 2, mappings() );
    EXPECT_LT( pages() - before, 1000 );
}

// The folder. Its name is looked for until it is found, once a process: each test has its own.

void unsetFolder() {
    unsetenv( "KAVRALIB_SIMDIR" );
}

void printCreated( const char *driver, const char *name ) {
    static Utils::ExpectedValues table = { { 0, { 39, 1 } } };
    const Topology::Topology topology;
    Ham::SimHam *ham = Ham::SimHam::create( topology, Drivers::DriverArgs() );
    ham->setDriverName( driver, name );
    ham->setExpected( &table );
    for ( const std::string &text : FakeHost::get().texts( 5 ) ) {
        fprintf( stderr, "%s\n", text.c_str() );
    }
    FakeHost::get().lines.clear();
}

// The default folder has one name for every process. Tests of two runs take turns in it: one's
// removal of the empty folder would come between the other's making of folder and file.
class DefaultFolder {
  public:
    DefaultFolder() : parent_( open( "/tmp", O_RDONLY | O_DIRECTORY | O_CLOEXEC ) ) {
        flock( parent_, LOCK_EX );
    }
    DefaultFolder( const DefaultFolder & ) = delete;
    DefaultFolder &operator=( const DefaultFolder & ) = delete;

    /// Other programs may use it at the same time: only what is ours is removed.
    ~DefaultFolder() {
        std::error_code ignored;
        for ( const char *file : { "LM75-board-temp-of-a-test", "LM75OfATest" } ) {
            std::filesystem::remove( std::filesystem::path( path ) / file, ignored );
        }
        rmdir( path );
        close( parent_ );
    }

  private:
    static constexpr const char *path = "/tmp/KavraSimulationDevices";
    int parent_;
};

TEST_F( SimHamFileDeathTest, DefaultFolderIsUsedWithoutTheVariable ) {
    EXPECT_EXIT(
        {
            unsetFolder();
            {
                const DefaultFolder folder;
                printCreated( "LM75", "board-temp-of-a-test" );
                printCreated( "LM75OfATest", "" );
            }
            exit( 0 );
        },
        testing::ExitedWithCode( 0 ),
        "Created /tmp/KavraSimulationDevices/LM75-board-temp-of-a-test\n"
        "Created /tmp/KavraSimulationDevices/LM75OfATest\n" );
}

TEST_F( SimHamFileDeathTest, FolderIsAskedForUntilItIsSetAndThenKept ) {
    const std::string first = SimulationFolder::path() / "first";
    EXPECT_EXIT(
        {
            unsetFolder();
            {
                const DefaultFolder folder;
                printCreated( "LM75OfATest", "" );
            }
            setenv( "KAVRALIB_SIMDIR", first.c_str(), 1 );
            printCreated( "LM75", "b" );
            setenv( "KAVRALIB_SIMDIR", "/nowhere", 1 );
            printCreated( "LM75", "c" );
            unsetFolder();
            printCreated( "LM75", "d" );
            exit( 0 );
        },
        testing::ExitedWithCode( 0 ),
        "Created /tmp/KavraSimulationDevices/LM75OfATest\n"
        "Created .*/first/LM75-b\nCreated .*/first/LM75-c\nCreated .*/first/LM75-d\n" );
    EXPECT_EQ( "27\n", SimulationFolder::read( "first/LM75-d" ) );
}

TEST_F( SimHamFileDeathTest, MissingFolderIsMade ) {
    const std::string made = SimulationFolder::path() / "made";
    EXPECT_EXIT(
        {
            umask( 0 );
            setenv( "KAVRALIB_SIMDIR", made.c_str(), 1 );
            printCreated( "LM75", "" );
            exit( 0 );
        },
        testing::ExitedWithCode( 0 ), "Created .*/made/LM75\n" );
    struct stat status {};
    ASSERT_EQ( 0, stat( made.c_str(), &status ) );
    EXPECT_EQ( S_IFDIR | 0755U, status.st_mode );
}

TEST_F( SimHamFileDeathTest, TextOfAnotherLengthThanItsSizeStops ) {
    EXPECT_DEATH( device( { { 0, { "123456789", 10 } } } ),
                  "Assertion `size == val.valStr\\(\\).length\\(\\)'" );
}

TEST_F( SimHamFileDeathTest, TableWithoutADriverNameStops ) {
    table_ = example;
    ham_ = newSimHam();
    EXPECT_DEATH( ham_->setExpected( &table_ ), "Assertion `!simFileName_.empty\\(\\)'" );
}

TEST_F( SimHamFileDeathTest, FileRoutinesStopWithoutAFile ) {
    device( {} );
    std::string value;
    EXPECT_DEATH( readFile( ham(), 2, value ), "Assertion `simFileExists_'" );
    EXPECT_DEATH( writeFile( ham(), "12" ), "Assertion `simFileExists_'" );
}

TEST_F( SimHamFileDeathTest, FileRoutinesStopAtAMissingRegister ) {
    device( example );
    ham().addRead8( 7 );
    std::string value;
    EXPECT_DEATH( readFile( ham(), 2, value ), "Assertion `isAddrSimulated\\(\\)'" );
    EXPECT_DEATH( writeFile( ham(), "12" ), "Assertion `isAddrSimulated\\(\\)'" );
}

TEST_F( SimHamFileDeathTest, ReadOfARemovedFileStops ) {
    device( example );
    std::filesystem::remove( path() );
    EXPECT_DEATH( read8( 0 ), "Assertion `mm != \\(\\(void \\*\\) -1\\)'" );
}

TEST_F( SimHamFileDeathTest, WriteToARemovedFileStops ) {
    device( example );
    std::filesystem::remove( path() );
    EXPECT_DEATH( ham().write8( 0, 1, false ), "Assertion `mm != \\(\\(void \\*\\) -1\\)'" );
}

} // namespace
