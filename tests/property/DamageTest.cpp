// Documents with one damage. What they may lead to is written down: a syntax error is a status, a
// broken schema an assertion. Each runs in a process of its own.
#include "KavraGeneric/Drivers/Helpers.h"
#include "KavraGeneric/Topology/Loader.h"
#include "tests/property/ArgumentsModel.h"
#include "tests/property/Outcome.h"
#include "tests/property/Property.h"
#include "tests/property/TopologyModel.h"
#include "tests/support/LibraryFixture.h"

#include <csignal>
#include <cstdlib>

namespace {

using namespace Property;

constexpr int refused = 3;    // not 1, with which a sanitizer ends a process
constexpr int processes = 10; // one case in so many: each takes a process

class DamageProperty : public LibraryFixture {
  protected:
    DamageProperty() { host().traceDropped = true; }
};

/// Changes one character: another in its place, one more, one less, or nothing behind it.
std::string drawDamaged( const std::string &text ) {
    constexpr char likely[] = { '"', '\\', '{', '}', '[', ']', ',', ':', '-', '.', 'e', '0', 'n' };
    const size_t at = drawWord() % text.size();
    const char other = drawBool() ? drawFrom( likely ) : static_cast<char>( 1 + drawBelow( 255 ) );
    std::string damaged = text;
    switch ( drawBelow( 4 ) ) {
    case 0:
        damaged[at] = other;
        break;
    case 1:
        damaged.insert( at, 1, other );
        break;
    case 2:
        damaged.erase( at, 1 );
        break;
    default:
        damaged.resize( at );
    }
    return damaged;
}

void requireContract( const Outcome &outcome, std::initializer_list<int> exitCodes ) {
    for ( const int code : exitCodes ) {
        if ( outcome.exitCode == code ) {
            return;
        }
    }
    require( outcome.signal == SIGABRT && !outcome.assertion.empty(), describe( outcome ) );
}

TEST_F( DamageProperty, DamagedTopologyIsLoadedOrRefusedOrMeetsAnAssertion ) {
    forAll(
        [] {
            const std::string text = drawDamaged( printed( drawTopology().document, drawLook() ) );
            return Case{
                text,
                [text] {
                    const auto load = [&] { return Topology::loadTopology( text.c_str() ); };
                    requireContract( outcomeOf( load ), { PL_STATUS_OK, PL_STATUS_INVALID } );
                }
            };
        },
        processes );
}

TEST_F( DamageProperty, DamagedArgumentsAreReadOrRefusedOrMeetAnAssertion ) {
    forAll(
        [] {
            const Json json = drawArguments( drawWord() ).json;
            const std::string text = drawDamaged( printed( json, drawLook() ) );
            return Case{ text, [text] {
                            const auto parse = [&] {
                                return Drivers::DriverArgs().parseJSON( text.c_str() ) ? 0
                                                                                       : refused;
                            };
                            requireContract( outcomeOf( parse ), { 0, refused } );
                        } };
        },
        processes );
}

TEST_F( DamageProperty, ArgumentIsInsertedIntoDamagedArgumentsOrRefusedOrMeetsAnAssertion ) {
    forAll(
        [] {
            const Json json = drawArguments( drawWord() ).json;
            const std::string text = drawDamaged( printed( json, drawLook() ) );
            return Case{ text, [text] {
                            const auto insert = [&] {
                                char *rewritten = nullptr;
                                const bool done = Drivers::insertDriverArg(
                                    text.c_str(), &rewritten, "name", "value" );
                                const bool agree = done == ( rewritten != nullptr );
                                std::free( rewritten );
                                return agree ? ( done ? 0 : refused ) : 2;
                            };
                            requireContract( outcomeOf( insert ), { 0, refused } );
                        } };
        },
        processes );
}

/// A key that an entry must have, and what a document without it meets.
struct Requirement {
    Json *entry;
    std::string key;
    std::string assertion;
};

void collect( Json &entry, bool medium, std::vector<Requirement> &found ) {
    const auto isKnown = []( const std::string &key, auto &...keys ) {
        return ( ( key == keys ) || ... );
    };
    bool isDevice = false;
    for ( const auto &[key, value] : entry.members ) {
        isDevice = isDevice || key == "driver";
    }
    for ( auto &[key, value] : entry.members ) {
        if ( isKnown( key, "accelerators", "busses", "devices", "muxes", "components" ) ) {
            for ( Json &item : value.items ) {
                collect( item, false, found );
            }
        } else if ( medium && isKnown( key, "type", "ham" ) ) {
            found.push_back( { &entry, key, "it->HasMember( \"" + key + "\" )" } );
        } else if ( isKnown( key, "id", "did", "pci" ) || ( key == "uid" && !isDevice ) ) {
            found.push_back( { &entry, key, "json.HasMember( \"" + key + "\" )" } );
        }
    }
}

std::vector<Requirement> requirementsOf( Json &document ) {
    std::vector<Requirement> found;
    for ( Json &medium : document.items ) {
        collect( medium, true, found );
    }
    return found;
}

TEST_F( DamageProperty, MissingKeyMeetsItsAssertion ) {
    forAll(
        [] {
            Json document = drawTopology().document;
            std::vector<Requirement> requirements = requirementsOf( document );
            std::string assertion;
            if ( !requirements.empty() ) {
                const Requirement &broken = requirements[drawWord() % requirements.size()];
                std::erase_if( broken.entry->members, [&]( const Json::Member &member ) {
                    return member.key == broken.key;
                } );
                assertion = broken.assertion;
            }
            const std::string text = printed( document, drawLook() );
            return Case{ text, [text, assertion] {
                            const auto load = [&] {
                                return Topology::loadTopology( text.c_str() );
                            };
                            const Outcome outcome = outcomeOf( load );
                            requireSame( assertion, outcome.assertion, "assertion" );
                            require( assertion.empty() ? outcome.exitCode == PL_STATUS_OK
                                                       : outcome.signal == SIGABRT,
                                     describe( outcome ) );
                        } };
        },
        processes );
}

TEST_F( DamageProperty, ValueOfAnotherTypeMeetsAnAssertion ) {
    forAll(
        [] {
            Json document = drawTopology().document;
            std::vector<Requirement> requirements = requirementsOf( document );
            const bool damaged = !requirements.empty();
            if ( damaged ) {
                const Requirement &broken = requirements[drawWord() % requirements.size()];
                const Json others[] = { Json::null(),
                                        Json::flag( true ),
                                        Json::array(),
                                        Json::object(),
                                        Json::literal( "1.5" ),
                                        Json::number( 0x1'0000'0000 ),
                                        Json::number( -0x8000'0001LL ) };
                for ( auto &[key, value] : broken.entry->members ) {
                    value = key == broken.key ? drawFrom( others ) : value;
                }
            }
            const std::string text = printed( document, drawLook() );
            return Case{ text, [text, damaged] {
                            const auto load = [&] {
                                return Topology::loadTopology( text.c_str() );
                            };
                            const Outcome outcome = outcomeOf( load );
                            require( damaged
                                         ? outcome.signal == SIGABRT && !outcome.assertion.empty()
                                         : outcome.exitCode == PL_STATUS_OK,
                                     describe( outcome ) );
                        } };
        },
        processes );
}

} // namespace
