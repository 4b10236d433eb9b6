#include "SmbusServer/Recording.h"
#include "SmbusServer/EntryText.h"
#include "SmbusServer/FaultLayer.h"
#include "SmbusServer/FaultScript.h"
#include "SmbusServer/RecordLayer.h"
#include "SmbusServer/Transaction.h"
#include "tests/SmbusServer/TemporaryFile.h"
#include "tests/support/DescribeBatch.h"
#include "tests/support/Requests.h"

#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>
#include <vector>

using namespace Requests;
using namespace SmbusServer;

namespace {

constexpr const char *mark = "kavra-smbusd recording 1\n";

/// Every read gives 0x19 0x80 ….
class SteadyBackend : public Backend {
  public:
    Cause perform( const Operation &operation, std::string &read ) override {
        if ( operation.isRead() ) {
            read = "\x19\x80";
            read.resize( operation.length );
        }
        return Cause::None;
    }
    bool severalAccelerators( const BusName & ) const override { return false; }
};

class RecordingTest : public testing::Test {
  protected:
    /// Performs a batch with a record layer of its own, as a server that is started for it.
    void record( Smbus::TransactionRequest batch ) {
        FaultLayer layer( steady, faults );
        RecordLayer recorder( layer, file.path() );
        Transaction transaction( recorder );
        Smbus::TransactionResponse response;
        transaction.perform( batch, response );
    }

    std::vector<Recording::Entry> entries() const {
        std::vector<Recording::Entry> all;
        RecordingReader reader( file.path() );
        for ( Recording::Entry entry; reader.next( entry ); ) {
            all.push_back( entry );
        }
        return all;
    }

    std::string errorOfReading() const {
        try {
            entries();
        } catch ( const RecordingError &error ) {
            return error.what();
        }
        return "none";
    }

    const TemporaryFile file;
    FaultList faults;
    SteadyBackend steady;
};

} // namespace

TEST_F( RecordingTest, EntryHoldsBatchAnswerAndTime ) {
    record( batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 2 ), sendByte( 0x70, 0 ) } ) );
    const auto all = entries();
    ASSERT_EQ( 1u, all.size() );
    EXPECT_EQ( "70=01 | 48[00]x2 | 70=00", describe( all[0].request() ) );
    EXPECT_EQ( "\x19\x80", all[0].response().response( 1 ).data() );
    EXPECT_EQ( 0, all[0].failure_size() );
    EXPECT_GT( all[0].time(), 1'600'000'000'000'000u );
    EXPECT_TRUE( all[0].has_duration() );
}

TEST_F( RecordingTest, FailedAttemptsAreCounted ) {
    faults.add( parseFault( "fault bus 0 chip 0x48 nack count 2" ) );
    record( batch( { readBytes( 0x48, 0, 2 ) } ) );
    const auto all = entries();
    ASSERT_EQ( 1, all[0].failure_size() );
    EXPECT_EQ( "no acknowledge", all[0].failure( 0 ).cause() );
    EXPECT_EQ( 2u, all[0].failure( 0 ).times() );
    EXPECT_FALSE( all[0].response().failed() );
}

TEST_F( RecordingTest, BatchesOfTwoThreadsAreKeptApart ) {
    RecordLayer recorder( steady, file.path() );
    const auto performMany = [&]( unsigned chip ) {
        Transaction transaction( recorder );
        Smbus::TransactionResponse response;
        for ( unsigned i = 0; i < 100; ++i ) {
            transaction.perform( batch( { readBytes( chip, i, chip ) } ), response );
        }
    };
    std::thread one( performMany, 1 );
    std::thread other( performMany, 2 );
    one.join();
    other.join();
    ASSERT_EQ( 200u, entries().size() );
    for ( const Recording::Entry &entry : entries() ) {
        const Operation operation = decode( entry.request().request( 0 ) );
        EXPECT_EQ( operation.chip, entry.response().response( 0 ).data().size() );
    }
}

TEST_F( RecordingTest, SecondServerContinuesTheFile ) {
    record( batch( { readBytes( 0x48, 0, 2 ) } ) );
    record( batch( { readBytes( 0x49, 0, 2 ) } ) );
    ASSERT_EQ( 2u, entries().size() );
    EXPECT_EQ( "49[00]x2", describe( entries()[1].request() ) );
}

TEST_F( RecordingTest, FileCutAnywhereGivesTheWholeEntriesBeforeTheCut ) {
    record( batch( { readBytes( 0x48, 0, 2 ) } ) );
    const size_t first = file.read().size();
    record( batch( { readBytes( 0x49, 0, 2 ) } ) );
    const std::string bytes = file.read();
    for ( size_t size = std::string( mark ).size(); size < bytes.size(); ++size ) {
        file.write( bytes.substr( 0, size ) );
        ASSERT_EQ( size < first ? 0u : 1u, entries().size() ) << size;
    }
}

TEST_F( RecordingTest, EntryThatWasCutOffIsReplacedByTheNext ) {
    record( batch( { readBytes( 0x48, 0, 2 ) } ) );
    const std::string whole = file.read();
    record( batch( { readBytes( 0x49, 0, 2 ) } ) );
    file.write( file.read().substr( 0, whole.size() + 5 ) );
    record( batch( { readBytes( 0x4a, 0, 2 ) } ) );
    ASSERT_EQ( 2u, entries().size() );
    EXPECT_EQ( "4a[00]x2", describe( entries()[1].request() ) );
}

TEST_F( RecordingTest, OtherFilesAreRefusedAndLeftAlone ) {
    file.write( "my thesis" );
    EXPECT_EQ( file.path() + ": no recording", errorOfReading() );
    EXPECT_THROW( RecordingWriter writer( file.path() ), RecordingError );
    EXPECT_EQ( "my thesis", file.read() );
    EXPECT_THROW( RecordingWriter writer( "/dev/null" ), RecordingError );
}

TEST_F( RecordingTest, LengthThatNoEntryHasIsRefused ) {
    file.write( mark + std::string( "\xff\xff\xff\xff\x0f" ) );
    EXPECT_EQ( file.path() + ": entry 1 is longer than an entry can be", errorOfReading() );
    file.write( mark + std::string( "\xff\xff\xff\x7f" ) );
    EXPECT_EQ( file.path() + ": entry 1 is longer than an entry can be", errorOfReading() );
}

TEST_F( RecordingTest, EntryLongerThanAReaderTakesStopsTheRecording ) {
    Recording::Entry small;
    small.set_time( 7 );
    Recording::Entry large;
    large.mutable_response()->add_response()->set_data( std::string( 5 << 20, 'x' ) );
    RecordingWriter writer( file.path() );
    writer.write( small );
    testing::internal::CaptureStderr();
    writer.write( large );
    EXPECT_EQ( "kavra-smbusd: " + file.path() + ": recording stops: an entry is too long\n",
               testing::internal::GetCapturedStderr() );
    writer.write( small );
    EXPECT_EQ( 1u, entries().size() );
}

namespace {

/// A file that cannot be made smaller, as one that may only be appended to.
class AppendOnlyRecordingTest : public testing::Test {
  protected:
    ~AppendOnlyRecordingTest() override { close( fd ); }

    void write( std::string_view bytes ) const {
        ASSERT_EQ( std::ssize( bytes ), ::write( fd, bytes.data(), bytes.size() ) );
    }
    void seal() const { ASSERT_EQ( 0, fcntl( fd, F_ADD_SEALS, F_SEAL_SHRINK ) ); }

    const int fd = memfd_create( "recording", MFD_CLOEXEC | MFD_ALLOW_SEALING );
    const std::string path = "/proc/self/fd/" + std::to_string( fd );
};

} // namespace

TEST_F( AppendOnlyRecordingTest, EntryThatWasCutOffIsInTheWay ) {
    write( std::string( mark ) + "\x05" + "abc" );
    seal();
    try {
        const RecordingWriter writer( path );
        FAIL();
    } catch ( const RecordingError &error ) {
        EXPECT_EQ( path + ": cannot be written: Operation not permitted", error.what() );
    }
}

TEST_F( AppendOnlyRecordingTest, EntryThatIsCutOffStaysAndIsTold ) {
    Recording::Entry entry;
    entry.mutable_response()->set_error( std::string( 1000, 'x' ) );
    write( mark );
    RecordingWriter writer( path );
    seal();
    writer.write( entry );
    const auto before = signal( SIGXFSZ, SIG_IGN );
    rlimit usual = {};
    getrlimit( RLIMIT_FSIZE, &usual );
    // More than what goes to stderr, which is a file as well.
    const rlimit small = { std::filesystem::file_size( path ) + 5, usual.rlim_max };
    testing::internal::CaptureStderr();
    setrlimit( RLIMIT_FSIZE, &small );
    writer.write( entry );
    setrlimit( RLIMIT_FSIZE, &usual );
    signal( SIGXFSZ, before );
    const std::string told = "kavra-smbusd: " + path;
    EXPECT_EQ( told + ": its last entry is not whole\n" + told +
                   ": recording stops: File too large\n",
               testing::internal::GetCapturedStderr() );
}

TEST_F( RecordingTest, GarbageIsNamedByItsEntry ) {
    record( batch( { readBytes( 0x48, 0, 2 ) } ) );
    file.write( file.read() + "\x03zzz" );
    EXPECT_EQ( file.path() + ": entry 2 cannot be understood", errorOfReading() );
}

TEST_F( RecordingTest, EveryFlippedByteIsSurvived ) {
    record( batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 2 ), sendByte( 0x70, 0 ) } ) );
    const std::string bytes = file.read();
    for ( size_t i = 0; i < bytes.size(); ++i ) {
        for ( const int flip : { 0x01, 0x80, 0xff } ) {
            std::string changed = bytes;
            changed[i] = static_cast<char>( changed[i] ^ flip );
            file.write( changed );
            try {
                for ( const Recording::Entry &entry : entries() ) {
                    EXPECT_EQ( std::string::npos, entryText( entry ).find( '\n' ) );
                }
            } catch ( const RecordingError & ) {
            }
        }
    }
}

TEST( EntryTextTest, BatchIsOneLineWithItsBusses ) {
    Smbus::Request elsewhere = readBytes( 0x58, 0x8b, 2 );
    elsewhere.set_mastertype( Smbus::SCD );
    elsewhere.set_pci( 0x300 );
    EXPECT_EQ( "I2C pci 0x00000000 accelerator 0 bus 0: 48[] | 48[01]=6080 | 58[99]xB | "
               "58[99]=B:4142 | 58[30]P=3412 | "
               "SCD pci 0x00000300 accelerator 0 bus 0: 58[8b]x2",
               batchText( batch( { receiveByte( 0x48 ), writeBytes( 0x48, 1, "\x60\x80" ),
                                   blockRead( 0x58, 0x99 ), blockWrite( 0x58, 0x99, "AB" ),
                                   processCall( 0x58, 0x30, "\x34\x12" ), elsewhere } ) ) );
}

TEST( EntryTextTest, EntryTellsTimeAnswersAndFailures ) {
    Recording::Entry entry;
    entry.set_time( 1'700'000'000'000'123 );
    entry.set_duration( 450 );
    *entry.mutable_request() =
        batch( { sendByte( 0x70, 1 ), readBytes( 0x48, 0, 2 ), sendByte( 0x70, 0 ) } );
    entry.mutable_response()->add_response();
    entry.mutable_response()->add_response()->set_data( "\x19\x80" );
    entry.mutable_response()->add_response();
    Recording::Failure &failure = *entry.add_failure();
    failure.set_request( 1 );
    failure.set_cause( "time-out" );
    failure.set_times( 2 );
    EXPECT_EQ( "2023-11-14 22:13:20.000123Z +450us I2C pci 0x00000000 accelerator 0 bus 0: 70=01 | "
               "48[00]x2 (time-out, 2 times) -> 1980 | 70=00",
               entryText( entry ) );
}

TEST( EntryTextTest, EveryTimeHasADate ) {
    Recording::Entry entry;
    entry.set_time( UINT64_MAX );
    EXPECT_TRUE( entryText( entry ).starts_with( "586524-01-19 08:01:49.551615Z +0us" ) )
        << entryText( entry );
}

TEST( EntryTextTest, FailedBatchEndsInItsReason ) {
    Recording::Entry entry;
    *entry.mutable_request() = batch( { readBytes( 0x48, 0, 2 ) } );
    entry.mutable_response()->set_failed( true );
    EXPECT_TRUE( entryText( entry ).ends_with( "48[00]x2; failed: no reason given" ) );
    entry.mutable_response()->set_error( "bus 0: no\nacknowledge" );
    EXPECT_TRUE( entryText( entry ).ends_with( "; failed: bus 0: no?acknowledge" ) );
}
