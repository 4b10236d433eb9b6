#include "tests/soak/Options.h"

#include <algorithm>
#include <charconv>
#include <iterator>
#include <string_view>

namespace Soak {

namespace {

uint64_t numberIn( std::string_view option, std::string_view text ) {
    uint64_t value = 0;
    const auto parsed = std::from_chars( text.data(), text.data() + text.size(), value );
    if ( parsed.ec != std::errc() || parsed.ptr != text.data() + text.size() || value == 0 ) {
        throw CallError( std::string( option ) + " takes a number from 1 on, not '" +
                         std::string( text ) + "'" );
    }
    return value;
}

struct SabotageName {
    std::string_view name;
    Sabotage kind;
};
constexpr SabotageName sabotages[] = {
    { "truth", Sabotage::Truth },
    { "descriptor", Sabotage::Descriptor },
    { "mapping", Sabotage::Mapping },
    { "memory", Sabotage::Memory },
};

void sabotageIs( Options &options, std::string_view, std::string_view text ) {
    const auto *found = std::ranges::find( sabotages, text, &SabotageName::name );
    if ( found == std::end( sabotages ) ) {
        throw CallError( "no sabotage '" + std::string( text ) +
                         "'; there are: truth, descriptor, mapping, memory" );
    }
    options.sabotage = found->kind;
}

template <uint64_t Options::*field>
void numberIs( Options &options, std::string_view option, std::string_view text ) {
    options.*field = numberIn( option, text );
}

template <std::string Options::*field>
void textIs( Options &options, std::string_view, std::string_view text ) {
    options.*field = text;
}

template <bool Options::*field>
void switchIs( Options &options, std::string_view, std::string_view ) {
    options.*field = true;
}

void yearIs( Options &options, std::string_view, std::string_view ) {
    options.polls = secondsOfYear;
}

struct Row {
    std::string_view name;
    bool takesValue;
    void ( *set )( Options &options, std::string_view option, std::string_view text );
};
constexpr Row rows[] = {
    { "--transactions", true, numberIs<&Options::transactions> },
    { "--polls", true, numberIs<&Options::polls> },
    { "--year", false, yearIs },
    { "--simulation", false, switchIs<&Options::simulation> },
    { "--accesses", true, numberIs<&Options::accesses> },
    { "--seed", true, numberIs<&Options::seed> },
    { "--sabotage", true, sabotageIs },
    { "--json", true, textIs<&Options::jsonFile> },
    { "--library", true, textIs<&Options::library> },
    { "--server", true, textIs<&Options::server> },
    { "--board", true, textIs<&Options::board> },
    { "--help", false, switchIs<&Options::help> },
};

} // namespace

Options parseOptions( int count, char **words ) {
    Options options;
    for ( int i = 1; i < count; ++i ) {
        const auto *row = std::ranges::find( rows, std::string_view( words[i] ), &Row::name );
        if ( row == std::end( rows ) ) {
            throw CallError( "no option '" + std::string( words[i] ) + "'; --help lists them" );
        }
        if ( row->takesValue && i + 1 == count ) {
            throw CallError( std::string( row->name ) + " needs a value" );
        }
        row->set( options, row->name, row->takesValue ? words[++i] : "" );
    }
    return options;
}

const char *helpText() {
    return R"(usage: soak [OPTION...]

Polls the whole emulated board for a long time of its own, in virtual time, while things go wrong
on the wires, values change, and modules, trays and supplies come and go. Every reading is compared
with the truth, and the host's and the server's memory, mappings, descriptors and threads have to
stay flat.

  --transactions N   end after that many batches on the socket; 1000000 unless something is said
  --polls N          end after that many polls: seconds of virtual time, a device each
  --year             31536000 polls
  --simulation       soak the simulated hardware in files in place of the board
  --accesses N       with --simulation: end after that many accesses; 200000 unless it is said
  --seed N           everything that happens by chance comes from it; 1 unless it is said
  --json FILE        write the results there too
  --sabotage KIND    make the run fail, to see that it does: truth, descriptor, mapping, memory
  --library FILE     the library; the built one unless it is said
  --server FILE      kavra-smbusd; the built one unless it is said
  --board FOLDER     the board's documents; boards/VundaT of the sources unless it is said
  --help             print this and end

examples:
  soak --polls 86400 --seed 7         a day
  soak --year --json year.json        a year, with progress on stderr
  soak --simulation --accesses 10000000

exit codes:
  0   every reading was right and everything stayed flat
  1   a reading was wrong, or something grew; stderr says what, with second and seed
  2   wrong call
  3   the library or the server cannot be had, or was lost in the middle
An assertion of the library ends the run with its text.
)";
}

} // namespace Soak
