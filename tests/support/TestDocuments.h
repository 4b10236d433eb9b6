#pragma once

#include <gmock/gmock.h>

#include <ostream>
#include <string>
#include <vector>

/// A document of tests/data and what is expected of it, which lies beside it under the same name.
struct TestDocument {
    std::string name;
    std::string text;
    std::string expected;
};

/// Test programs print a document as its name.
void PrintTo( const TestDocument &document, std::ostream *stream );

/// Every *.json of a folder below tests/data, by name, with the file of that extension beside it. A
/// document without one fails the test program.
std::vector<TestDocument> testDocuments( const std::string &folder, const std::string &extension );

/// The text of one file below tests/data.
std::string testFile( const std::string &path );

/// The file beside a bad document says how it is refused. Either the document is survived with a
/// trace, or it ends the process with an assertion:
///
///     trace LEVEL: TEXT
///     FUNCTION: CONDITION
///
/// where FUNCTION is any part of the name that the compiler gives the asserting function.
bool isSurvived( const TestDocument &document );
/// Matches what assert() prints, for a document that ends the process.
testing::Matcher<const std::string &> assertionOf( const TestDocument &document );
