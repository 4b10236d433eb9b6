// Documents that belong together, each behind a line "=== " and its kind.
#include "fuzz/Bytes.h"
#include "fuzz/Contract.h"
#include "fuzz/Targets.h"
#include "HostTool/Check/Check.h"
#include "HostTool/Check/Report.h"
#include "HostTool/Failure.h"

#include <rapidjson/document.h>

using namespace HostTool;
using Check::Kind;

namespace {

struct KindName {
    std::string_view name;
    Kind kind;
};
constexpr KindName kinds[] = {
    { "topology", Kind::topology },
    { "devices", Kind::devices },
    { "arguments", Kind::arguments },
    { "emulation", Kind::emulation },
};

Kind kindNamed( std::string_view name ) {
    for ( const KindName &row : kinds ) {
        if ( row.name == name ) {
            return row.kind;
        }
    }
    return Kind::topology;
}

} // namespace

void Fuzz::linter( std::string_view input ) {
    Bytes bytes( input );
    Check::DocumentSet documents;
    try {
        bytes.upTo( "=== " );
        while ( !bytes.empty() ) {
            const std::string name( bytes.upTo( "\n" ) );
            documents.add( kindNamed( name ), name, std::string( bytes.upTo( "=== " ) ) );
        }
    } catch ( const Failure & ) {
        return; // two of a kind
    }
    const Check::Findings findings = Check::check( documents );
    Check::reportAsText( findings );
    rapidjson::Document report;
    require( !report.Parse( Check::reportAsJson( findings ).c_str() ).HasParseError(),
             "a report is JSON" );
}
