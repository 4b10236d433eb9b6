// What check passes never makes the library stop the process or throw while the devices are added,
// and check refuses next to nothing for its shape or settings that the library would take.
#include "HostTool/Check/Check.h"
#include "HostTool/Check/Report.h"
#include "tests/HostTool/Check/LibraryTrial.h"
#include "tests/HostTool/Check/Mutation.h"
#include "tests/support/Sanitized.h"

#include <gtest/gtest.h>
#include <rapidjson/pointer.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>

using HostTool::Check::DocumentSet;
using HostTool::Check::Family;
using HostTool::Check::Finding;
using HostTool::Check::Findings;
using HostTool::Check::Kind;
using HostTool::Check::Outcome;
using HostTool::Check::Severity;

// What is kept after it was freed makes each fork slower.
extern "C" const char *__asan_default_options() {
    return "detect_leaks=0:handle_segv=0:handle_abort=0:quarantine_size_mb=4";
}

namespace {

struct KindFile {
    Kind kind;
    const char *file;
    std::string BoardTexts::*text;
};
constexpr KindFile kindFiles[] = {
    { Kind::topology, "topology.json", &BoardTexts::topology },
    { Kind::devices, "devices.json", &BoardTexts::devices },
    { Kind::emulation, "emulation.json", &BoardTexts::emulation },
};

BoardTexts textsIn( const std::string &folder ) {
    BoardTexts texts;
    for ( const KindFile &row : kindFiles ) {
        std::ostringstream text;
        text << std::ifstream( folder + "/" + row.file ).rdbuf();
        texts.*row.text = text.str();
    }
    return texts;
}

// Refusals that say that the library would not take the document; others say that it would do
// something else than the document says, or are about the board and not about a value.
bool isRefusalOfValue( const Finding &finding ) {
    const HostTool::Check::Rule &rule = *finding.rule;
    const bool isOfValue = rule.family == Family::shape || rule.family == Family::argument ||
                           rule.family == Family::document || rule.family == Family::address;
    return rule.severity == Severity::error && isOfValue && rule.outcome != Outcome::taken;
}

// The same sets in every run, so that a change is judged by what it did. Long runs take other
// seeds.
constexpr size_t usualSeed = 1;

// Has no divisor in common with the numbers of changes that a value has, so that each kind comes
// up. Other builds try what the sanitized ones have no time for.
constexpr size_t usualStep = isSanitized ? 47 : 9;
constexpr size_t usualSets = isSanitized ? 400 : 2000;

size_t countFrom( const char *variable, size_t otherwise ) {
    const char *text = getenv( variable );
    return text ? strtoul( text, nullptr, 10 ) : otherwise;
}

/// Holds check to the library, set by set.
class PromiseTest : public testing::Test {
  protected:
    void compare( const BoardTexts &texts, const std::string &what ) {
        trial_.start( texts );
        DocumentSet documents;
        for ( const KindFile &row : kindFiles ) {
            documents.add( row.kind, row.file, texts.*row.text );
        }
        const Findings findings = check( documents );
        const TrialResult trial = trial_.result();
        ++sets_;
        const bool passes = findings.count( Severity::error ) == 0;
        passed_ += passes ? 1 : 0;
        if ( passes && trial.fate != Fate::taken ) {
            ADD_FAILURE() << "check passes what the library "
                          << ( trial.fate == Fate::stopped ? "stops over" : "refuses" ) << ": "
                          << what << "\n"
                          << trial.why;
        }
        if ( !passes && trial.fate == Fate::taken ) {
            countRefusal( findings, what );
        }
    }

    void countRefusal( const Findings &findings, const std::string &what ) {
        ++taken_;
        for ( const Finding &finding : findings.all() ) {
            if ( isRefusalOfValue( finding ) ) {
                ++refusedInVain_;
                std::cout << "refused in vain: " << what << ": " << finding.text << " ["
                          << finding.rule->name << "]\n";
                return;
            }
        }
    }

    void expectFewRefusalsInVain() const {
        std::cout << sets_ << " sets: check passes " << passed_ << "; the library takes " << taken_
                  << " that check refuses, " << refusedInVain_
                  << " of them for a shape or setting that it takes\n";
        constexpr size_t oneIn = 1000;
        EXPECT_LE( refusedInVain_ * oneIn, sets_ );
    }

    LibraryTrial trial_{ PLATFORM_LIBRARY };
    size_t sets_ = 0;
    size_t passed_ = 0;
    size_t taken_ = 0;
    size_t refusedInVain_ = 0;
};

/// A set whose documents can be changed.
class Draft {
  public:
    explicit Draft( const BoardTexts &texts ) {
        for ( size_t i = 0; i < std::size( kindFiles ); ++i ) {
            const std::string &text = texts.*kindFiles[i].text;
            documents_[i].Parse( text.c_str() );
        }
    }

    rapidjson::Document &document( size_t index ) { return documents_[index]; }

    BoardTexts texts() const {
        BoardTexts texts;
        for ( size_t i = 0; i < std::size( kindFiles ); ++i ) {
            texts.*kindFiles[i].text = textOfDocument( documents_[i] );
        }
        return texts;
    }

  private:
    std::array<rapidjson::Document, std::size( kindFiles )> documents_;
};

void collectMuxes( const rapidjson::Value &value, const rapidjson::Pointer &pointer, bool areMuxes,
                   std::vector<rapidjson::Pointer> &muxes ) {
    if ( value.IsObject() ) {
        if ( areMuxes ) {
            muxes.push_back( pointer );
        }
        for ( const auto &member : value.GetObject() ) {
            const auto &name = member.name;
            collectMuxes( member.value, pointer.Append( name.GetString(), name.GetStringLength() ),
                          name == "muxes", muxes );
        }
    } else if ( value.IsArray() ) {
        for ( rapidjson::SizeType i = 0; i < value.Size(); ++i ) {
            collectMuxes( value[i], pointer.Append( i ), areMuxes, muxes );
        }
    }
}

std::vector<rapidjson::Pointer> muxesOf( const rapidjson::Document &topology ) {
    std::vector<rapidjson::Pointer> muxes;
    collectMuxes( topology, rapidjson::Pointer(), false, muxes );
    return muxes;
}

constexpr const char *boards[] = {
    "/tests/data/check/board",       "/boards/VundaT",
    "/boards/VundaT/variants/wedge", "/boards/VundaT/variants/ipmitool",
    "/boards/VundaT/variants/tlv",   "/boards/VundaT/variants/ipmitool_raw",
};

} // namespace

TEST_F( PromiseTest, TheBoardsAreTaken ) {
    for ( const char *board : boards ) {
        const BoardTexts texts = textsIn( std::string( SOURCE_DIR ) + board );
        compare( texts, board );
    }
    // What check passes and the library does not take has failed already.
    EXPECT_EQ( std::size( boards ), passed_ );
}

// Each change by itself; a part of them unless KAVRA_CHECK_ALL is set.
TEST_F( PromiseTest, HoldsForEachChange ) {
    const BoardTexts texts = textsIn( std::string( SOURCE_DIR ) + boards[0] );
    const size_t step =
        getenv( "KAVRA_CHECK_ALL" ) ? 1 : countFrom( "KAVRA_CHECK_STEP", usualStep );
    const size_t seed = countFrom( "KAVRA_CHECK_SEED", usualSeed );
    std::cout << "KAVRA_CHECK_SEED=" << seed << "\n";
    size_t number = seed % step;
    for ( size_t i = 0; i < std::size( kindFiles ); ++i ) {
        const std::vector<Mutation> mutations = allMutations( Draft( texts ).document( i ) );
        for ( ; number < mutations.size(); number += step ) {
            Draft draft( texts );
            mutations[number].apply( draft.document( i ) );
            compare( draft.texts(), kindFiles[i].file + ( ": " + mutations[number].name ) );
        }
        number -= mutations.size();
    }
    expectFewRefusalsInVain();
}

// A slip of the pen that nobody sees: the chip is a mux, and is not the one of these wires.
TEST_F( PromiseTest, HoldsForMuxesWithAnothersChip ) {
    const BoardTexts texts = textsIn( std::string( SOURCE_DIR ) + boards[1] );
    const std::vector<rapidjson::Pointer> muxes = muxesOf( Draft( texts ).document( 0 ) );
    ASSERT_FALSE( muxes.empty() );
    for ( const rapidjson::Pointer &mine : muxes ) {
        for ( const rapidjson::Pointer &other : muxes ) {
            Draft draft( texts );
            rapidjson::Document &topology = draft.document( 0 );
            const unsigned did = ( *other.Get( topology ) )["did"].GetUint();
            rapidjson::Value &changed = ( *mine.Get( topology ) )["did"];
            const unsigned before = changed.GetUint();
            if ( did == before ) {
                continue;
            }
            changed.SetUint( did );
            compare( draft.texts(),
                     "mux " + std::to_string( before ) + " as " + std::to_string( did ) );
        }
    }
    expectFewRefusalsInVain();
}

TEST_F( PromiseTest, HoldsForRandomChanges ) {
    const size_t count = countFrom( "KAVRA_CHECK_SETS", usualSets );
    const size_t seed = countFrom( "KAVRA_CHECK_SEED", usualSeed );
    std::cout << "KAVRA_CHECK_SEED=" << seed << "\n";
    std::mt19937 random( static_cast<std::mt19937::result_type>( seed ) );
    std::vector<BoardTexts> originals;
    for ( const char *board : boards ) {
        originals.push_back( textsIn( std::string( SOURCE_DIR ) + board ) );
    }
    const auto upTo = [&random]( size_t last ) {
        return std::uniform_int_distribution<size_t>( 0, last )( random );
    };
    for ( size_t set = 0; set < count; ++set ) {
        // The first board has all drivers and is small.
        const size_t board = upTo( 3 ) == 0 ? upTo( originals.size() - 1 ) : 0;
        Draft draft( originals[board] );
        std::string what = boards[board];
        const size_t changes = 1 + std::min( upTo( 3 ), upTo( 3 ) );
        for ( size_t change = 0; change < changes; ++change ) {
            const size_t index = std::min( upTo( 9 ) / 4, std::size( kindFiles ) - 1 );
            const Mutation mutation = anyMutation( draft.document( index ), random );
            mutation.apply( draft.document( index ) );
            what += std::string( "; " ) + kindFiles[index].file + ": " + mutation.name;
        }
        compare( draft.texts(), what );
    }
    expectFewRefusalsInVain();
}
