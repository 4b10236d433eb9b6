#include "Conformance/Report.h"

#include <algorithm>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

namespace Conformance {

namespace {

using Writer = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

// What a library says may be anything; a line of the protocol and a text of JSON stay what they
// are.
std::string printable( std::string text ) {
    while ( text.ends_with( '\n' ) ) {
        text.pop_back();
    }
    for ( char &c : text ) {
        c = c == '\n' || c == '\t' ? ' ' : c >= ' ' && c <= '~' ? c : '?';
    }
    return text;
}

void member( Writer &writer, const char *key, const std::string &text ) {
    writer.Key( key );
    writer.String( text.c_str() );
}

const char *wordOf( Verdict verdict ) {
    constexpr const char *words[] = { "passed", "failed", "skipped" };
    return words[static_cast<size_t>( verdict )];
}

size_t countOf( const std::vector<Result> &results, Verdict verdict ) {
    return static_cast<size_t>(
        std::count_if( results.begin(), results.end(),
                       [&]( const Result &each ) { return each.outcome.verdict == verdict; } ) );
}

void writeCheck( Writer &writer, const Check &check ) {
    member( writer, "id", check.id );
    member( writer, "sentence", check.sentence );
    member( writer, "reason", check.reason );
}

std::string finished( const rapidjson::StringBuffer &buffer ) {
    return std::string( buffer.GetString() ) + "\n";
}

} // namespace

std::string resultText( const Result &result, size_t number ) {
    const bool isFailed = result.outcome.verdict == Verdict::failed;
    std::string text = std::string( isFailed ? "not ok " : "ok " ) + std::to_string( number ) +
                       " - " + result.check.id + ": " + result.check.sentence;
    if ( result.outcome.verdict == Verdict::skipped ) {
        text += " # SKIP " + printable( result.outcome.text );
    }
    text += "\n";
    if ( isFailed ) {
        text += "# " + printable( result.outcome.text ) +
                "\n# why it matters: " + result.check.reason + "\n";
    }
    return text;
}

std::string summaryText( const std::vector<Result> &results ) {
    return "# " + std::to_string( results.size() ) +
           " checks: " + std::to_string( countOf( results, Verdict::passed ) ) + " passed, " +
           std::to_string( countOf( results, Verdict::failed ) ) + " failed, " +
           std::to_string( countOf( results, Verdict::skipped ) ) + " skipped\n";
}

std::string resultsJson( const std::vector<Result> &results, const std::string &library,
                         const std::string &board ) {
    rapidjson::StringBuffer buffer;
    Writer writer( buffer );
    writer.StartObject();
    member( writer, "library", library );
    member( writer, "board", board );
    writer.Key( "conforms" );
    writer.Bool( conforms( results ) );
    for ( const Verdict verdict : { Verdict::passed, Verdict::failed, Verdict::skipped } ) {
        writer.Key( wordOf( verdict ) );
        writer.Uint64( countOf( results, verdict ) );
    }
    writer.Key( "checks" );
    writer.StartArray();
    for ( const Result &result : results ) {
        writer.StartObject();
        writeCheck( writer, result.check );
        member( writer, "verdict", wordOf( result.outcome.verdict ) );
        writer.Key( "seen" );
        if ( result.outcome.text.empty() ) {
            writer.Null();
        } else {
            writer.String( printable( result.outcome.text ).c_str() );
        }
        writer.Key( "milliseconds" );
        writer.Int64( result.milliseconds );
        writer.EndObject();
    }
    writer.EndArray();
    writer.EndObject();
    return finished( buffer );
}

std::string listText( const Checks &checks ) {
    std::string text;
    for ( const Check &check : checks ) {
        text +=
            std::string( check.id ) + "\n    " + check.sentence + "\n    " + check.reason + "\n";
    }
    return text;
}

std::string listJson( const Checks &checks ) {
    rapidjson::StringBuffer buffer;
    Writer writer( buffer );
    writer.StartArray();
    for ( const Check &check : checks ) {
        writer.StartObject();
        writeCheck( writer, check );
        writer.EndObject();
    }
    writer.EndArray();
    return finished( buffer );
}

bool conforms( const std::vector<Result> &results ) {
    return countOf( results, Verdict::failed ) == 0;
}

} // namespace Conformance
