// Which names leave the library and which it wants from its host.
#include "tests/contract/Symbols.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

template <typename Wanted>
std::vector<std::string> namesOf( const std::vector<Symbols::Symbol> &symbols, Wanted wanted ) {
    std::vector<std::string> names;
    for ( const Symbols::Symbol &symbol : symbols ) {
        if ( wanted( symbol ) ) {
            names.push_back( symbol.name );
        }
    }
    return names;
}

// Our own namespaces and entry points, as the compiler writes them; tables, type descriptions and
// thunks of classes have letters in front.
bool isOurs( const std::string &name ) {
    static const std::regex ours(
        "pl_\\w+|_plSock|_Z16kavraLibraryInit.*|_Z10plSockInit.*|_Z\\d+pl_system_.*|"
        "_Z(T[ISV]|Th\\w*?_)?(NK?)?"
        "(8Topology|7Drivers|3Ham|9Component|5Utils|23NotImplementedException).*" );
    return std::regex_match( name, ours );
}

TEST( SymbolsTest, EveryExportIsOfOurNamespacesOrAnEntryPoint ) {
    const auto all = Symbols::exported();
    EXPECT_GT( all.size(), 100U );
    EXPECT_THAT( namesOf( all, []( auto &symbol ) { return !isOurs( symbol.name ); } ), IsEmpty() );
}

TEST( SymbolsTest, NamesOfOtherLibrariesAreToldFromOurs ) {
    for ( const char *foreign :
          { "_ZNSt6vectorIPN8Topology3BusEE9push_backEv", "_ZSt4moveIN3Ham3HamEEvv",
            "_ZNK9rapidjson12GenericValueE", "_ZN5Smbus7RequestC1Ev", "_ZTVN6google8protobufE",
            "_ZNKSt8functionIFPN9Component10DeviceBaseEvEEclEv", "_ZTISt9exception", "main" } ) {
        EXPECT_FALSE( isOurs( foreign ) ) << foreign;
    }
}

TEST( SymbolsTest, HostServicesInUseAreWeakImports ) {
    const auto ofHost = namesOf( Symbols::imported(), []( auto &symbol ) {
        return symbol.name.starts_with( "pl_" ) && symbol.kind != 'U';
    } );
    EXPECT_THAT( ofHost, ElementsAre( "pl_fd_watcher_delete", "pl_timer_add", "pl_timer_delete",
                                      "pl_timer_set", "pl_trace" ) );
}

TEST( SymbolsTest, NothingOfTheHostIsAStrongImport ) {
    const auto strong = namesOf( Symbols::imported(), []( auto &symbol ) {
        return symbol.name.find( "pl_" ) != std::string::npos && symbol.kind == 'U';
    } );
    EXPECT_THAT( strong, IsEmpty() );
}

TEST( SymbolsTest, StrongExportsAreThoseOfTheList ) {
    if ( !EXPORTS_ARE_COMPARED ) {
        GTEST_SKIP() << "the list is that of a plain g++ release build";
    }
    EXPECT_EQ( Symbols::linesOfFile( SOURCE_DIR "/tests/contract/exports.txt" ),
               Symbols::strongExportsForPeople() )
        << "if the change is meant, make the list anew: scripts/exports";
}

TEST( SymbolsTest, ImportsAreThoseOfTheList ) {
    if ( !EXPORTS_ARE_COMPARED ) {
        GTEST_SKIP() << "the list is that of a plain g++ release build";
    }
    EXPECT_EQ( Symbols::linesOfFile( SOURCE_DIR "/tests/contract/imports.txt" ),
               Symbols::importsForPeople() )
        << "if the change is meant, make the list anew: scripts/imports";
}

} // namespace
