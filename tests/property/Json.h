#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace Property {

/// A JSON value as a test means it, and printers that share nothing with the library's parser.
struct Json {
    enum class Kind { Literal, Text, Array, Object };
    struct Member;

    static Json literal( std::string text );
    static Json null();
    static Json flag( bool value );
    static Json number( int64_t value );
    static Json text( std::string value );
    static Json array();
    static Json object();

    void add( std::string key, Json value );
    void add( Json item );

    Kind kind;
    std::string words; ///< a literal as it is printed, or the characters of a text
    std::vector<Json> items;
    std::vector<Member> members;
};

struct Json::Member {
    std::string key;
    Json value;
};

/// Without blanks, escaping no more than must be: the form in which JSON is written back.
std::string compact( const Json &json );

/// How a document may look without meaning anything else.
struct Look {
    uint32_t seed = 0;     ///< 0: as compact() prints it
    bool anyOrder = false; ///< the members of an object in any order
};
Look drawLook();
/// With blanks, and characters in any form that JSON has for them.
std::string printed( const Json &json, const Look &look );

/// A value of any kind, a few levels deep. Its objects' keys begin with an x, as no document's do.
Json drawJson( unsigned depth = 2 );

} // namespace Property
