#pragma once

#include <rapidjson/document.h>

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

/// One change to a document: a name for messages, and what makes the change. A change that cannot
/// be made, because another one took its place away, leaves the document as it is.
struct Mutation {
    std::string name;
    std::function<void( rapidjson::Document &document )> apply;
};

/// Every change of the systematic kind: each key removed, retyped and duplicated, each element
/// removed and duplicated, each number at its edges.
std::vector<Mutation> allMutations( const rapidjson::Document &document );

/// A change of any kind, also one that swaps a value for another one of the same key.
Mutation anyMutation( const rapidjson::Document &document, std::mt19937 &random );

std::string textOfDocument( const rapidjson::Document &document );
