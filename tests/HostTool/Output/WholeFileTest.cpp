#include "HostTool/Output/WholeFile.h"

#include "HostTool/Failure.h"
#include "tests/HostTool/BoardFolder.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

using HostTool::Failure;
using HostTool::WholeFile;

namespace {

/// While it lives no file grows beyond a size: what is written more fails, as on a full disk.
class FullDisk {
  public:
    explicit FullDisk( rlim_t size ) {
        signal( SIGXFSZ, SIG_IGN );
        getrlimit( RLIMIT_FSIZE, &before_ );
        const rlimit limit = { size, before_.rlim_max };
        setrlimit( RLIMIT_FSIZE, &limit );
    }
    ~FullDisk() { setrlimit( RLIMIT_FSIZE, &before_ ); }
    FullDisk( const FullDisk & ) = delete;
    FullDisk &operator=( const FullDisk & ) = delete;

  private:
    rlimit before_ = {};
};

class WholeFileTest : public testing::Test {
  protected:
    static std::string contents( const std::string &path ) {
        std::ifstream file( path );
        return { std::istreambuf_iterator<char>( file ), {} };
    }
    static std::string refusalOf( const std::string &path ) {
        try {
            WholeFile{ path };
        } catch ( const Failure &failure ) {
            EXPECT_EQ( HostTool::ExitCode::badInput, failure.code() );
            return failure.what();
        }
        return "none";
    }
    size_t filesInFolder() const {
        const std::filesystem::directory_iterator all( folder.path() );
        return static_cast<size_t>( std::distance( begin( all ), end( all ) ) );
    }

    const BoardFolder folder;
    const std::string path = folder.file( "out.json" );
};

TEST_F( WholeFileTest, EverybodyMayReadIt ) {
    const mode_t old = umask( 077 );
    WholeFile( path ).write( "text" );
    umask( old );
    struct stat status = {};
    ASSERT_EQ( 0, stat( path.c_str(), &status ) );
    EXPECT_EQ( 0644U, status.st_mode & 07777U );
    EXPECT_EQ( "text", contents( path ) );
}

TEST_F( WholeFileTest, TakesThePlaceOfTheOldOne ) {
    folder.write( "out.json", "a longer text of before" );
    const size_t before = filesInFolder();
    WholeFile( path ).write( "new" );
    EXPECT_EQ( "new", contents( path ) );
    EXPECT_EQ( before, filesInFolder() );
}

TEST_F( WholeFileTest, WhoHasTheOldOneOpenGoesOnReadingIt ) {
    WholeFile( path ).write( "old" );
    std::ifstream reader( path );
    WholeFile( path ).write( "new" );
    EXPECT_EQ( "old", std::string( std::istreambuf_iterator<char>( reader ), {} ) );
}

TEST_F( WholeFileTest, FullDiskLeavesTheOldOne ) {
    const WholeFile file( path );
    file.write( "old" );
    const size_t before = filesInFolder();
    {
        constexpr rlim_t room = 100;
        const FullDisk disk( room );
        EXPECT_THROW( file.write( std::string( 1000, 'x' ) ), Failure );
    }
    EXPECT_EQ( "old", contents( path ) );
    EXPECT_EQ( before, filesInFolder() );
}

TEST_F( WholeFileTest, NothingIsThereBeforeTheText ) {
    const size_t before = filesInFolder();
    const WholeFile file( path );
    EXPECT_EQ( before, filesInFolder() );
}

TEST_F( WholeFileTest, OldFileStaysWhenTheNewOneCannotTakeItsPlace ) {
    const WholeFile file( path );
    std::filesystem::create_directory( path );
    const size_t before = filesInFolder();
    EXPECT_THROW( file.write( "text" ), Failure );
    EXPECT_TRUE( std::filesystem::is_directory( path ) );
    EXPECT_EQ( before, filesInFolder() );
}

TEST_F( WholeFileTest, FolderThatIsNotThereIsRefusedAtOnce ) {
    const std::string missing = folder.file( "none/out.json" );
    EXPECT_EQ( "cannot write " + missing + ": No such file or directory", refusalOf( missing ) );
}

TEST_F( WholeFileTest, FolderAndDeviceAreNoPlaces ) {
    EXPECT_EQ( "cannot write " + folder.path() + ": Is a directory", refusalOf( folder.path() ) );
    EXPECT_EQ( "cannot write /dev/null: not a regular file", refusalOf( "/dev/null" ) );
}

TEST_F( WholeFileTest, FileIsNoFolder ) {
    folder.write( "file", "" );
    const std::string below = folder.file( "file/out.json" );
    EXPECT_EQ( "cannot write " + below + ": Not a directory", refusalOf( below ) );
}

} // namespace
