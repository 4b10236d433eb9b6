#include "tests/support/TestDocuments.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace {

std::string contents( const std::filesystem::path &file ) {
    std::ifstream stream( file, std::ios::binary );
    if ( !stream ) {
        throw std::runtime_error( file.string() + " is missing" );
    }
    return { std::istreambuf_iterator<char>( stream ), {} };
}

} // namespace

void PrintTo( const TestDocument &document, std::ostream *stream ) {
    *stream << document.name;
}

std::vector<TestDocument> testDocuments( const std::string &folder, const std::string &extension ) {
    std::vector<TestDocument> documents;
    const std::filesystem::path root = TEST_DATA_DIR;
    for ( const auto &entry : std::filesystem::directory_iterator( root / folder ) ) {
        if ( entry.path().extension() == ".json" ) {
            auto beside = entry.path();
            documents.push_back( { entry.path().stem(), contents( entry.path() ),
                                   contents( beside.replace_extension( extension ) ) } );
        }
    }
    std::ranges::sort( documents, {}, &TestDocument::name );
    return documents;
}

std::string testFile( const std::string &path ) {
    return contents( std::filesystem::path( TEST_DATA_DIR ) / path );
}

bool isSurvived( const TestDocument &document ) {
    return document.expected.starts_with( "trace " );
}

testing::Matcher<const std::string &> assertionOf( const TestDocument &document ) {
    const size_t colon = document.expected.find( ": " );
    const size_t end = document.expected.find( '\n' );
    if ( colon == std::string::npos || end == std::string::npos ) {
        throw std::runtime_error( document.name + ": what is expected is not understood" );
    }
    const std::string function = document.expected.substr( 0, colon );
    const std::string condition = document.expected.substr( colon + 2, end - colon - 2 );
    return testing::AllOf( testing::HasSubstr( function ),
                           testing::HasSubstr( "Assertion `" + condition + "' failed" ) );
}
