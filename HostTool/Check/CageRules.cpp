#include "HostTool/Check/CageRules.h"

#include <algorithm>
#include <cstdlib>

namespace HostTool::Check {

namespace {

struct LineNames {
    std::string_view type;
    std::vector<std::string_view> names;
    const char *listed;
};

const LineNames *linesOf( std::string_view type ) {
    static const LineNames rows[] = {
        { "QsfpModule",
          { "presence", "reset", "reset_status", "interrupt" },
          "presence, reset, reset_status and interrupt" },
        { "SfpModule",
          { "presence", "rx_los", "tx_fault", "tx_disable", "tx_disable_status" },
          "presence, rx_los, tx_fault, tx_disable and tx_disable_status" },
    };
    for ( const LineNames &row : rows ) {
        if ( row.type == type ) {
            return &row;
        }
    }
    return nullptr;
}

} // namespace

void CageRules::tell( const Value &value, const std::string &text, std::string hint ) {
    findings_.add( RuleId::emulatedReference, document_, at( value ), text, std::move( hint ) );
}

void CageRules::check( const Value &cages ) {
    for ( const Value &group : elements( &cages ) ) {
        checkGroup( group );
    }
}

void CageRules::checkGroup( const Value &group ) {
    std::string_view type;
    size_t count = 0;
    for ( const Value &name : elements( lastMember( group, "modules" ) ) ) {
        const EmulatedChip *module = find_( name );
        if ( !module ) {
            continue;
        }
        ++count;
        type = type.empty() ? module->type : type;
        if ( !linesOf( module->type ) ) {
            tell( name, quoted( module->name ) + " is no module" );
        } else if ( module->type != type ) {
            tell( name, quoted( module->name ) + " does not fit into the cages of this group" );
        }
        if ( !inCages_.insert( module ).second ) {
            tell( name, quoted( module->name ) + " is in another cage" );
        }
    }
    const Value *lines = lastMember( group, "lines" );
    if ( lines && lines->IsObject() && linesOf( type ) ) {
        for ( const auto &line : lines->GetObject() ) {
            checkLine( line.value, textOf( line.name ), type, count );
        }
    }
}

void CageRules::checkLine( const Value &line, std::string_view name, std::string_view type,
                           size_t count ) {
    constexpr uint32_t bitsPerRegister = 8;
    constexpr uint32_t bits = 256 * bitsPerRegister;
    const LineNames &known = *linesOf( type );
    if ( std::find( known.names.begin(), known.names.end(), name ) == known.names.end() ) {
        findings_.add( RuleId::emulatedReference, document_, atKeyOf( line ),
                       "these cages have no line " + quoted( name ),
                       std::string( "there are " ) + known.listed );
        return;
    }
    const uint32_t first =
        emulatedNumber( lastMember( line, "register" ) ).value_or( 0 ) * bitsPerRegister +
        emulatedNumber( lastMember( line, "bit" ) ).value_or( 0 );
    for ( uint32_t bit = first; bit < first + count; ++bit ) {
        if ( bit >= bits ) {
            tell( line, "the last of " + quoted( name ) + " is behind register 0xff" );
            return;
        }
        if ( !takenBits_.insert( bit ).second ) {
            tell( line, "bit " + std::to_string( bit % bitsPerRegister ) + " of register " +
                            hexText( bit / bitsPerRegister ) + " has a line already" );
        }
    }
}

} // namespace HostTool::Check
