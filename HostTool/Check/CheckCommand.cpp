#include "HostTool/Check/CheckCommand.h"

#include "HostTool/Check/Check.h"
#include "HostTool/Check/Report.h"
#include "HostTool/Commands.h"

#include <cstdio>
#include <filesystem>

namespace HostTool {

const char *const checkHelp =
    R"(Reads topology.json, devices.json, emulation.json and device arguments and tells
all that is wrong with them, each by itself and with each other. Needs no server
and no library. A FILE may be a board's folder; without any, the board's folder
is checked. Documents that were named together belong together.

  --rules   print the rules, each with what to do and an example

A line a finding, file:line:column: error: what [rule], and a hint below it.
Warnings come behind the errors and leave the exit code alone.

Exit code 0 without errors, 1 with some, 2 when a file cannot be read.

Examples:
  kavractl check boards/VundaT
  kavractl check topology.json devices.json
  kavractl check --json | jq -r '.errors[].rule' | sort | uniq -c
  kavractl check --rules
)";

namespace {

void print( const std::string &text ) {
    fwrite( text.data(), 1, text.size(), stdout );
}

void addOperand( Check::DocumentSet &documents, const std::string &path ) {
    std::error_code ignored;
    if ( std::filesystem::is_directory( path, ignored ) ) {
        documents.addFolder( path );
    } else {
        documents.addFile( path );
    }
}

} // namespace

ExitCode runCheck( Task &task ) {
    if ( task.options.rules ) {
        print( Check::rulesAsText() );
        return ExitCode::fine;
    }
    Check::DocumentSet documents;
    for ( const std::string &path : task.options.operands ) {
        addOperand( documents, path );
    }
    if ( task.options.operands.empty() || !task.options.board.empty() ) {
        documents.addFolder( findBoardFolder( task.options.board ) );
    }
    const Check::Findings findings = Check::check( documents );
    print( task.options.json ? Check::reportAsJson( findings ) : Check::reportAsText( findings ) );
    return findings.count( Check::Severity::error ) == 0 ? ExitCode::fine : ExitCode::boardTrouble;
}

} // namespace HostTool
