#include "KavraGeneric/Ham/SimHam.h"

#include "KavraGeneric/Assert.h"
#include "KavraGeneric/HostServices.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ham {

namespace {

constexpr const char *defaultDirectory = "/tmp/KavraSimulationDevices";

// The environment is asked until it has an answer, which then holds for the rest of the process.
std::string simulationDirectory() {
    static std::optional<std::string> found;
    if ( !found ) {
        if ( const char *directory = std::getenv( "KAVRALIB_SIMDIR" ) ) {
            found = directory;
        }
    }
    return found.value_or( defaultDirectory );
}

// A value too wide for its field is written in full.
std::string hexDigits( unsigned long value, uint64_t size ) {
    char text[2 * sizeof value + 1];
    snprintf( text, sizeof text, "%lx", value );
    const std::string digits = text;
    return std::string( 2 * size - std::min<uint64_t>( 2 * size, digits.size() ), '0' ) + digits;
}

uint64_t fieldLength( const Utils::ExpectedVal &val ) {
    return val.isNumeric() ? 2 * val.size() : val.size();
}

std::string fieldText( const Utils::ExpectedVal &val ) {
    if ( val.isNumeric() ) {
        return hexDigits( val.value(), val.size() );
    }
    ASSERT_TEXT( val.size() == val.valStr().length(), "size == val.valStr().length()" );
    return val.valStr();
}

// The simulation file, open, locked and mapped for one access. The mapping stays when the access is
// over, and the next one of its kind is laid over it: a process holds two of them a device however
// long it runs.
class Access {
  public:
    Access( const std::string &path, int openMode, int protection, int sharing, uint64_t size,
            void *&window )
        : fd_( open( path.c_str(), openMode | O_CLOEXEC ) ), size_( size ) {
        lock( openMode == O_RDONLY ? F_RDLCK : F_WRLCK, F_SETLKW );
        void *mm = mmap( window, size, protection,
                         sharing | MAP_POPULATE | ( window ? MAP_FIXED : 0 ), fd_, 0 );
        ASSERT_TEXT( mm != MAP_FAILED, "mm != ((void *) -1)" );
        window = mm;
        bytes_ = static_cast<char *>( mm );
    }
    Access( const Access & ) = delete;
    Access &operator=( const Access & ) = delete;
    ~Access() {
        lock( F_UNLCK, F_SETLK );
        close( fd_ );
    }

    // Another process may have cut the file short: touching the mapping behind its end is a fault.
    bool complete() const { return fileLength() >= size_; }

    // Where writing has to stop: with the file, whose newline is behind the register text, or with
    // the last page of the mapping.
    uint64_t end() const {
        const auto page = static_cast<uint64_t>( sysconf( _SC_PAGESIZE ) );
        return std::min( fileLength(), ( size_ + page - 1 ) / page * page );
    }

    char *at( uint64_t offset ) const { return bytes_ + offset; }

  private:
    uint64_t fileLength() const {
        struct stat status {};
        return fstat( fd_, &status ) == 0 ? static_cast<uint64_t>( status.st_size ) : 0;
    }

    void lock( short type, int command ) const {
        struct flock whole {};
        whole.l_type = type;
        whole.l_whence = SEEK_SET;
        whole.l_pid = getpid();
        fcntl( fd_, command, &whole );
    }

    int fd_;
    uint64_t size_;
    char *bytes_;
};

} // namespace

SimHam *SimHam::create( const Topology::Topology &, const Drivers::DriverArgs & ) {
    return new SimHam;
}

void SimHam::init() {}

void SimHam::prepare() {}

int SimHam::execute() {
    if ( !simFileExists_ ) {
        return PL_STATUS_OK;
    }
    struct stat status {};
    const bool cutShort = stat( simFileName_.c_str(), &status ) == 0 &&
                          static_cast<uint64_t>( status.st_size ) < fileSize;
    return isAddrSimulated() && !cutShort ? PL_STATUS_OK : PL_STATUS_IO_ERROR;
}

ResponseId SimHam::saveReg( unsigned reg ) {
    savedReg = reg;
    return 0;
}

ResponseId SimHam::addRecvByte() {
    return 0;
}

ResponseId SimHam::addRead8( unsigned reg ) {
    return saveReg( reg );
}

ResponseId SimHam::addRead16( unsigned reg ) {
    return saveReg( reg );
}

ResponseId SimHam::addRead( unsigned reg, unsigned, bool ) {
    return saveReg( reg );
}

ResponseId SimHam::addReadBlock( unsigned reg ) {
    return saveReg( reg );
}

ResponseId SimHam::addProcessCall( unsigned reg, uint16_t ) {
    return saveReg( reg );
}

void SimHam::addSendByte( uint8_t, bool ) {}

void SimHam::addWrite8( unsigned, uint8_t value, bool ) {
    if ( !savedRegHasValue() ) {
        warnNoValue();
    } else if ( expected_->at( savedReg ).size() == 1 ) {
        writeToFile( hexDigits( value, 1 ) );
    }
}

void SimHam::addWrite16( unsigned, uint16_t value, bool ) {
    if ( !savedRegHasValue() ) {
        warnNoValue();
    } else if ( expected_->at( savedReg ).size() == 2 ) {
        writeToFile( hexDigits( value, 2 ) );
    }
}

void SimHam::addWrite( unsigned, const void *data, unsigned length, bool ) {
    addWriteText( data, length );
}

void SimHam::addWriteBlock( unsigned, const void *data, unsigned length, bool ) {
    addWriteText( data, length );
}

void SimHam::addWriteText( const void *data, unsigned length ) {
    if ( !savedRegHasValue() ) {
        warnNoValue();
    } else if ( expected_->at( savedReg ).size() == length ) {
        writeToFile( *static_cast<const std::string *>( data ) );
    }
}

unsigned long SimHam::readNumber( size_t digits ) {
    std::string text;
    if ( !savedRegHasValue() || !readFromFile( digits, text ) ) {
        warnNoValue();
        return 0;
    }
    return strtoul( text.c_str(), nullptr, 16 );
}

uint8_t SimHam::get8( ResponseId ) {
    return static_cast<uint8_t>( readNumber( 2 ) );
}

uint16_t SimHam::get16( ResponseId ) {
    return static_cast<uint16_t>( readNumber( 4 ) );
}

std::string SimHam::getBlock( ResponseId, size_t length ) {
    std::string text;
    if ( !savedRegHasValue() || !readFromFile( length, text ) ) {
        warnNoValue();
        throw std::logic_error( "basic_string::_S_construct null not valid" );
    }
    return text;
}

void SimHam::setDriverName( std::string driver, std::string name ) {
    driverName_ = std::move( driver );
    simFileName_ = simulationDirectory() + "/" + driverName_;
    if ( !name.empty() ) {
        deviceName_ = std::move( name );
        simFileName_ += "-" + deviceName_;
    }
}

void SimHam::setExpected( Utils::ExpectedValues *table ) {
    expected_ = table;
    if ( !table->empty() ) {
        createSimFile();
    }
}

bool SimHam::isAddrSimulated() const {
    return expected_ && expected_->contains( savedReg );
}

bool SimHam::savedRegHasValue() const {
    return simFileExists_ && isAddrSimulated();
}

void SimHam::warnNoValue() const {
    pl_trace( 0,
              "WARNING: Simulated Driver %s doesn't yet have expectedVal set for register 0x%x "
              "using SIMULATION_HAM()\n",
              driverName_.c_str(), savedReg );
}

void SimHam::createSimFile() {
    assert( !simFileName_.empty() );
    const std::string directory = simulationDirectory();
    if ( DIR *handle = opendir( directory.c_str() ) ) {
        closedir( handle );
    } else {
        mkdir( directory.c_str(), 0755 );
    }

    std::ofstream file( simFileName_, std::ios::trunc );
    uint64_t offset = 0;
    for ( const auto &[reg, val] : *expected_ ) {
        offsets_.emplace( reg, static_cast<uint32_t>( offset ) );
        file << fieldText( val );
        offset += fieldLength( val );
    }
    file << '\n' << std::flush;
    simFileExists_ = true;
    fileSize = offset;
    readWindow_ = writeWindow_ = nullptr; // a larger file must not be laid over other mappings
    pl_trace( 5, "Created %s", simFileName_.c_str() );
}

bool SimHam::readFromFile( size_t length, std::string &text ) {
    assert( simFileExists_ );
    assert( isAddrSimulated() );
    const Utils::ExpectedVal &val = expected_->at( savedReg );
    const size_t stored = std::min<size_t>( length, fieldLength( val ) );
    const char fill = val.isNumeric() ? 'f' : '\xFF';
    {
        const Access access( simFileName_, O_RDONLY, PROT_READ, MAP_PRIVATE, fileSize,
                             readWindow_ );
        if ( !access.complete() ) {
            return false;
        }
        text.assign( access.at( offsets_[savedReg] ), stored );
    }
    text.append( length - stored, fill );
    pl_trace( 5, "%s - Read %s from register 0x%x", simFileName_.c_str(), text.c_str(), savedReg );
    return true;
}

void SimHam::writeToFile( const std::string &text ) {
    assert( simFileExists_ );
    assert( isAddrSimulated() );
    {
        const Access access( simFileName_, O_RDWR, PROT_READ | PROT_WRITE, MAP_SHARED, fileSize,
                             writeWindow_ );
        if ( !access.complete() ) {
            warnNoValue();
            return;
        }
        // A text longer than its field runs into the fields behind it and over the newline.
        const uint64_t offset = offsets_[savedReg];
        memcpy( access.at( offset ), text.data(), std::min( text.size(), access.end() - offset ) );
    }
    pl_trace( 5, "%s - Wrote %s to register 0x%x", simFileName_.c_str(), text.c_str(), savedReg );
}

} // namespace Ham
