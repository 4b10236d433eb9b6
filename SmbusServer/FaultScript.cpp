#include "SmbusServer/FaultScript.h"

#include "SmbusServer/Words.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <fstream>
#include <iterator>
#include <system_error>

namespace SmbusServer {

enum class Place { Bus, Server };

struct KindRow {
    FaultKind kind;
    std::string_view name;
    Place place;
    std::string_view argument; // what stands behind the name; empty: nothing
    uint32_t least, most;      // of the argument
    std::string_view help;
};

constexpr uint32_t longestDelay = 600'000;
constexpr uint32_t mostResponses = 16 * 1024;

// Every kind has its row in docs/formats/faults.md.
static constexpr KindRow kinds[] = {
    { FaultKind::Nack, "nack", Place::Bus, "", 0, 0, "the chip does not acknowledge" },
    { FaultKind::TimeOut, "time-out", Place::Bus, "", 0, 0, "the request times out" },
    { FaultKind::Stuck, "stuck", Place::Bus, "", 0, 0,
      "from this request on every request of the bus times out" },
    { FaultKind::EmptyRead, "empty-read", Place::Bus, "", 0, 0, "a read gives no bytes" },
    { FaultKind::ShortRead, "short-read", Place::Bus, "", 0, 0, "a read gives a byte less" },
    { FaultKind::LongRead, "long-read", Place::Bus, "", 0, 0, "a read gives a byte more" },
    { FaultKind::EmptyBlock, "empty-block", Place::Bus, "", 0, 0, "a block read gives no bytes" },
    { FaultKind::ShortBlock, "short-block", Place::Bus, "", 0, 0, "a block read: a byte less" },
    { FaultKind::LongBlock, "long-block", Place::Bus, "", 0, 0, "a block read: a byte more" },
    { FaultKind::BadCount, "bad-count", Place::Bus, "", 0, 0, "a block read's count is wrong" },
    { FaultKind::Ones, "ones", Place::Bus, "", 0, 0, "every byte read is 0xff" },
    { FaultKind::NoSelect, "no-select", Place::Bus, "", 0, 0,
      "a mux acknowledges a select and does not switch" },
    { FaultKind::NoRelease, "no-release", Place::Bus, "", 0, 0,
      "a mux refuses a deselect and keeps its channel" },
    { FaultKind::HangUp, "hang-up", Place::Server, "", 0, 0,
      "the batch is performed, not answered, and the connection closed" },
    { FaultKind::HangUpAfter, "hang-up-after", Place::Server, "", 0, 0,
      "the connection is closed behind the answer" },
    { FaultKind::Slow, "slow", Place::Server, "MS", 1, longestDelay,
      "the answer comes so many milliseconds late" },
    { FaultKind::Responses, "responses", Place::Server, "N", 0, mostResponses,
      "the answer has so many entries" },
    { FaultKind::Fail, "fail", Place::Server, "", 0, 0,
      "the answer is 'failed', with a TEXT or without" },
};

static constexpr bool inOrder() {
    for ( size_t i = 0; i < std::size( kinds ); ++i ) {
        if ( static_cast<size_t>( kinds[i].kind ) != i ) {
            return false;
        }
    }
    return true;
}
static_assert( inOrder() );

static constexpr std::string_view usage =
    "fault bus N|any [master M] [pci P] [accelerator A] [chip C] [reg R] KIND [at N] [count K]\n"
    "fault server KIND [at N] [count K] [text TEXT]\n";

static std::string quoted( std::string_view word ) {
    return "'" + std::string( word ) + "'";
}

// The words of one line, taken one by one.
class Reader {
  public:
    explicit Reader( std::string_view line ) : line_( line ), words_( splitWords( line ) ) {}

    bool atEnd() const { return next_ == words_.size(); }
    std::string_view take( std::string_view before ) {
        if ( atEnd() ) {
            throw FaultError( quoted( before ) + " needs a value" );
        }
        return words_[next_++];
    }
    // Everything that is left, blanks included.
    std::string_view takeRest() {
        if ( atEnd() ) {
            return {};
        }
        const auto start = static_cast<size_t>( words_[next_].data() - line_.data() );
        next_ = words_.size();
        return line_.substr( start );
    }
    uint32_t takeNumber( std::string_view before, uint32_t least, uint32_t most ) {
        const std::string_view word = take( before );
        const bool isHex = word.starts_with( "0x" );
        const char *start = word.data() + ( isHex ? 2 : 0 );
        const char *end = word.data() + word.size();
        uint32_t value = 0;
        const auto parsed = std::from_chars( start, end, value, isHex ? 16 : 10 );
        if ( parsed.ec != std::errc() || parsed.ptr != end || value < least || value > most ) {
            throw FaultError( quoted( before ) + " takes a number from " + std::to_string( least ) +
                              " to " + std::to_string( most ) + ", not " + quoted( word ) );
        }
        return value;
    }

  private:
    std::string_view line_;
    std::vector<std::string_view> words_;
    size_t next_ = 0;
};

static std::optional<uint32_t> takeBus( Reader &reader ) {
    Reader ahead = reader;
    if ( ahead.take( "bus" ) == "any" ) {
        reader = ahead;
        return std::nullopt;
    }
    return reader.takeNumber( "bus", 0, 127 );
}

static void takeMaster( Fault &fault, Reader &reader ) {
    const std::string word( reader.take( "master" ) );
    Smbus::MasterType master = Smbus::SIMULATED;
    if ( !Smbus::MasterType_Parse( word, &master ) ) {
        throw FaultError( "no master " + quoted( word ) +
                          "; there are: SIMULATED, I2C, SCD, IO_PORT, CELESTICA, PLM, SCC_SPI" );
    }
    fault.master = master;
}

struct Key {
    std::string_view name;
    bool busOnly;
    void ( *take )( Fault &fault, Reader &reader );
};

static constexpr uint32_t anyNumber = std::numeric_limits<uint32_t>::max();

static constexpr Key keys[] = {
    { "master", true, takeMaster },
    { "pci", true, []( Fault &f, Reader &r ) { f.pci = r.takeNumber( "pci", 0, anyNumber ); } },
    { "accelerator", true,
      []( Fault &f, Reader &r ) { f.accelerator = r.takeNumber( "accelerator", 0, 127 ); } },
    { "chip", true, []( Fault &f, Reader &r ) { f.chip = r.takeNumber( "chip", 0, 127 ); } },
    { "reg", true, []( Fault &f, Reader &r ) { f.reg = r.takeNumber( "reg", 0, anyNumber ); } },
    { "at", false, []( Fault &f, Reader &r ) { f.at = r.takeNumber( "at", 1, anyNumber ); } },
    { "count", false,
      []( Fault &f, Reader &r ) { f.count = r.takeNumber( "count", 1, anyNumber ); } },
};

static std::string kindNames( Place place ) {
    std::string names;
    for ( const KindRow &each : kinds ) {
        if ( each.place == place ) {
            names += ( names.empty() ? "" : ", " ) + std::string( each.name );
        }
    }
    return names;
}

static Place takePlace( Fault &fault, Reader &reader ) {
    const std::string_view word = reader.take( "fault" );
    if ( word == "server" ) {
        return Place::Server;
    }
    if ( word != "bus" ) {
        throw FaultError( "a fault is of a 'bus' or of the 'server', not of " + quoted( word ) );
    }
    fault.bus = takeBus( reader );
    return Place::Bus;
}

// A key or the kind. @return whether it was the kind.
static bool takeOne( Fault &fault, Place place, std::string_view word, Reader &reader ) {
    const auto *key = std::ranges::find( keys, word, &Key::name );
    if ( key != std::end( keys ) ) {
        if ( key->busOnly && place == Place::Server ) {
            throw FaultError( quoted( word ) + " has no meaning for a fault of the server" );
        }
        key->take( fault, reader );
        return false;
    }
    const auto *kind = std::ranges::find( kinds, word, &KindRow::name );
    if ( kind == std::end( kinds ) || kind->place != place ) {
        throw FaultError( "no fault " + quoted( word ) + " of a " +
                          ( place == Place::Bus ? "bus" : "server" ) +
                          "; there are: " + kindNames( place ) );
    }
    fault.kind = kind->kind;
    if ( !kind->argument.empty() ) {
        fault.value = reader.takeNumber( word, kind->least, kind->most );
    }
    return true;
}

Fault parseFault( std::string_view line ) {
    Reader reader( line );
    if ( reader.take( "a line" ) != "fault" ) {
        throw FaultError( "a fault's line begins with 'fault'" );
    }
    Fault fault;
    fault.line = Reader( reader ).takeRest();
    const Place place = takePlace( fault, reader );
    bool kindKnown = false;
    while ( !reader.atEnd() ) {
        const std::string_view word = reader.take( "fault" );
        if ( word == "text" && kindKnown && fault.kind == FaultKind::Fail ) {
            fault.text = reader.takeRest();
        } else if ( takeOne( fault, place, word, reader ) ) {
            if ( kindKnown ) {
                throw FaultError( quoted( word ) + " is a second kind; a line has one" );
            }
            kindKnown = true;
        }
    }
    if ( !kindKnown ) {
        throw FaultError( "what goes wrong is missing; there are: " + kindNames( place ) );
    }
    return fault;
}

std::vector<Fault> loadFaults( const std::string &path ) {
    std::ifstream file( path );
    std::vector<Fault> faults;
    if ( !file ) {
        throw FaultError( path + ": cannot be read: " + strerror( errno ) );
    }
    std::string line;
    for ( size_t number = 1; std::getline( file, line ); ++number ) {
        const size_t start = line.find_first_not_of( " \t\r" );
        if ( start == std::string::npos || line[start] == '#' ) {
            continue;
        }
        try {
            faults.push_back( parseFault( line ) );
        } catch ( const FaultError &error ) {
            throw FaultError( path + ":" + std::to_string( number ) + ": " + error.what() );
        }
    }
    if ( file.bad() ) {
        throw FaultError( path + ": cannot be read: " + strerror( errno ) );
    }
    return faults;
}

bool isOfTheServer( FaultKind kind ) {
    return kinds[static_cast<size_t>( kind )].place == Place::Server;
}

std::string faultHelp() {
    std::string text( usage );
    for ( const KindRow &each : kinds ) {
        std::string name( each.name );
        name += each.argument.empty() ? "" : " " + std::string( each.argument );
        name.resize( 14, ' ' );
        text += name + ( each.place == Place::Bus ? " bus     " : " server  " ) +
                std::string( each.help ) + "\n";
    }
    return text;
}

} // namespace SmbusServer
