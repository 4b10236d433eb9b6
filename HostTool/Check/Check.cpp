#include "HostTool/Check/Check.h"

#include "HostTool/Check/AddressRules.h"
#include "HostTool/Check/BoardTree.h"
#include "HostTool/Check/ClassRules.h"
#include "HostTool/Check/EmulatedMap.h"
#include "HostTool/Check/EmulatedText.h"
#include "HostTool/Check/Rehearsal.h"
#include "HostTool/Check/Shape.h"
#include "HostTool/Check/UnusedRules.h"
#include "HostTool/Failure.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <utility>

namespace HostTool::Check {

namespace {

constexpr const char *filesOfBoard[] = { "topology.json", "devices.json", "emulation.json" };

constexpr const char *kindNames[] = { "topology", "list of devices", "device arguments",
                                      "emulated board" };

struct FlawRule {
    Flaw::What what;
    RuleId rule;
};
constexpr FlawRule flawRules[] = {
    { Flaw::What::syntax, RuleId::syntax },
    { Flaw::What::tooDeep, RuleId::tooDeep },
    { Flaw::What::tooLarge, RuleId::tooLarge },
};

void tellFlaw( const JsonFile &document, Findings &findings ) {
    for ( const FlawRule &row : flawRules ) {
        if ( row.what == document.flaw()->what ) {
            findings.add( row.rule, document, { nullptr, false, document.flaw()->offset, {} },
                          document.flaw()->message );
        }
    }
}

void checkInlineArguments( const BoardTree &tree, Findings &findings ) {
    for ( const DeviceNode &node : tree.devices() ) {
        if ( node.arguments ) {
            checkAddressNumbers( *node.arguments, "device " + std::to_string( node.did ) + ": ",
                                 findings );
        }
    }
}

} // namespace

void DocumentSet::add( Kind kind, std::unique_ptr<JsonFile> document ) {
    if ( const JsonFile *other = find( kind ); other && kind != Kind::arguments ) {
        throw Failure( ExitCode::badInput,
                       document->path() + " and " + other->path() + " are both a " +
                           kindNames[static_cast<size_t>( kind )] + "; check one board at a time" );
    }
    documents_.push_back( { kind, std::move( document ) } );
}

void DocumentSet::add( Kind kind, std::string path, std::string text ) {
    add( kind, std::make_unique<JsonFile>( std::move( path ), std::move( text ) ) );
}

void DocumentSet::addFile( const std::string &path ) {
    auto document = std::make_unique<JsonFile>( path, JsonFile::textOfFile( path ) );
    const std::optional<Kind> kind = kindOf( *document );
    if ( !kind && !document->flaw() ) {
        throw Failure( ExitCode::badInput,
                       "cannot tell what " + path +
                           " is; name it so that topology, devices, emulation or arguments is in "
                           "its name" );
    }
    add( kind.value_or( Kind::arguments ), std::move( document ) );
}

void DocumentSet::addFolder( const std::string &path ) {
    const size_t before = documents_.size();
    for ( const char *file : filesOfBoard ) {
        const std::string each = path + "/" + file;
        std::error_code ignored;
        if ( std::filesystem::exists( each, ignored ) ) {
            addFile( each );
        }
    }
    if ( documents_.size() == before ) {
        throw Failure( ExitCode::badInput,
                       "no topology.json, devices.json or emulation.json in " + path );
    }
}

const JsonFile *DocumentSet::find( Kind kind ) const {
    const auto found = std::find_if( documents_.begin(), documents_.end(),
                                     [kind]( const Typed &each ) { return each.kind == kind; } );
    return found == documents_.end() ? nullptr : found->document.get();
}

Findings check( const DocumentSet &documents ) {
    Findings findings;
    for ( const DocumentSet::Typed &each : documents.all() ) {
        if ( each.document->flaw() ) {
            tellFlaw( *each.document, findings );
        } else {
            checkShape( *each.document, each.kind, findings );
        }
    }
    const auto sound = [&]( Kind kind ) {
        const JsonFile *document = documents.find( kind );
        return document && !document->flaw() ? document : nullptr;
    };
    const JsonFile *topology = sound( Kind::topology );
    const JsonFile *devices = sound( Kind::devices );
    const JsonFile *emulation = sound( Kind::emulation );

    std::optional<BoardTree> tree;
    std::optional<EmulatedMap> board;
    if ( topology ) {
        tree.emplace( *topology, findings );
        checkInlineArguments( *tree, findings );
    }
    if ( emulation ) {
        checkEmulatedText( *emulation, findings );
        board.emplace( *emulation, findings );
    }
    Rehearsal rehearsal( tree ? &*tree : nullptr, board ? &*board : nullptr, findings );
    for ( const DocumentSet::Typed &each : documents.all() ) {
        if ( each.kind == Kind::arguments && !each.document->flaw() ) {
            rehearsal.addArguments( *each.document );
        }
    }
    if ( devices ) {
        rehearsal.addEntries( *devices );
    }
    if ( tree ) {
        checkAddresses( *tree, rehearsal, findings );
    }
    if ( tree && devices ) {
        checkUnused( *tree, board ? &*board : nullptr, findings );
    }
    return findings;
}

} // namespace HostTool::Check
