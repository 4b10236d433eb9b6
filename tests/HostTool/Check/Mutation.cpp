#include "tests/HostTool/Check/Mutation.h"

#include <rapidjson/pointer.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

using rapidjson::Document;
using rapidjson::Pointer;
using rapidjson::Value;

namespace {

constexpr const char *otherValues[] = { "null", "true",     "false", "7",    "\"x\"", "\"\"",
                                        "[]",   "[ 1, 2 ]", "{}",    "-0.5", "\"7\"" };

constexpr const char *edges[] = {
    "0",          "1",           "2",          "3",          "4",
    "7",          "8",           "64",         "65",         "127",
    "128",        "200",         "255",        "256",        "257",
    "-1",         "65535",       "65536",      "2147483647", "2147483648",
    "4294967295", "-2147483648", "4294967296", "1e400",      "18446744073709551616",
    "1.5",        "\"0x10\"",    "\"12abc\"",  "\" 7\"",     "1000000",
};

struct Spot {
    Pointer pointer;
    const Value *value;
};

void collect( const Value &value, const Pointer &pointer, std::vector<Spot> &spots ) {
    spots.push_back( { pointer, &value } );
    if ( value.IsObject() ) {
        for ( const auto &member : value.GetObject() ) {
            collect( member.value,
                     pointer.Append( member.name.GetString(), member.name.GetStringLength() ),
                     spots );
        }
    } else if ( value.IsArray() ) {
        for ( rapidjson::SizeType i = 0; i < value.Size(); ++i ) {
            collect( value[i], pointer.Append( i ), spots );
        }
    }
}

std::vector<Spot> spotsOf( const Document &document ) {
    std::vector<Spot> spots;
    collect( document, Pointer(), spots );
    return spots;
}

std::string nameOf( const Pointer &pointer ) {
    rapidjson::StringBuffer buffer;
    pointer.Stringify( buffer );
    return buffer.GetString();
}

/// The value that a text says; numbers too big for a parser become texts.
Value valueOf( const std::string &text, Document::AllocatorType &allocator ) {
    Document parsed;
    parsed.Parse( text.c_str() );
    Value value;
    if ( parsed.HasParseError() ) {
        value.SetString( text.c_str(), allocator );
    } else {
        value.CopyFrom( parsed, allocator );
    }
    return value;
}

Mutation replaced( const Pointer &pointer, const std::string &text ) {
    return { nameOf( pointer ) + " = " + text, [pointer, text]( Document &document ) {
                if ( Value *value = pointer.Get( document ) ) {
                    *value = valueOf( text, document.GetAllocator() );
                }
            } };
}

Value *parentOf( const Pointer &pointer, Document &document ) {
    return Pointer( pointer.GetTokens(), pointer.GetTokenCount() - 1 ).Get( document );
}

Mutation removed( const Pointer &pointer ) {
    return { "without " + nameOf( pointer ),
             [pointer]( Document &document ) { pointer.Erase( document ); } };
}

/// An element stands twice; a key stands twice, the second time with another value.
Mutation duplicated( const Pointer &pointer, const std::string &other ) {
    return { nameOf( pointer ) + " twice, " + other, [pointer, other]( Document &document ) {
                Value *parent = parentOf( pointer, document );
                const Value *value = pointer.Get( document );
                if ( !parent || !value ) {
                    return;
                }
                auto &allocator = document.GetAllocator();
                const auto &token = pointer.GetTokens()[pointer.GetTokenCount() - 1];
                if ( parent->IsArray() ) {
                    Value copy( *value, allocator );
                    parent->PushBack( copy, allocator );
                } else if ( parent->IsObject() ) {
                    parent->AddMember( Value( token.name, token.length, allocator ),
                                       valueOf( other, allocator ), allocator );
                }
            } };
}

template <class Range>
auto pick( const Range &range, std::mt19937 &random ) {
    const size_t index =
        std::uniform_int_distribution<size_t>( 0, std::size( range ) - 1 )( random );
    return *( std::begin( range ) + static_cast<std::ptrdiff_t>( index ) );
}

std::string lastKey( const Pointer &pointer ) {
    for ( size_t i = pointer.GetTokenCount(); i > 0; --i ) {
        const auto &token = pointer.GetTokens()[i - 1];
        if ( token.index == rapidjson::kPointerInvalidIndex ) {
            return { token.name, token.length };
        }
    }
    return {};
}

std::string textOfValue( const Value &value ) {
    rapidjson::StringBuffer buffer;
    rapidjson::Writer<rapidjson::StringBuffer> writer( buffer );
    value.Accept( writer );
    return buffer.GetString();
}

/// The value of the same key elsewhere: another driver, another did, another bus.
Mutation swapped( const Spot &spot, const std::vector<Spot> &spots, std::mt19937 &random ) {
    std::vector<const Value *> others;
    for ( const Spot &other : spots ) {
        if ( other.value != spot.value && lastKey( other.pointer ) == lastKey( spot.pointer ) ) {
            others.push_back( other.value );
        }
    }
    return others.empty() ? removed( spot.pointer )
                          : replaced( spot.pointer, textOfValue( *pick( others, random ) ) );
}

} // namespace

std::vector<Mutation> allMutations( const Document &document ) {
    std::vector<Mutation> mutations;
    for ( const Spot &spot : spotsOf( document ) ) {
        for ( const char *other : otherValues ) {
            mutations.push_back( replaced( spot.pointer, other ) );
        }
        if ( spot.value->IsNumber() || spot.value->IsString() ) {
            for ( const char *edge : edges ) {
                mutations.push_back( replaced( spot.pointer, edge ) );
            }
        }
        if ( spot.pointer.GetTokenCount() > 0 ) {
            mutations.push_back( removed( spot.pointer ) );
            mutations.push_back( duplicated( spot.pointer, "null" ) );
            mutations.push_back( duplicated( spot.pointer, textOfValue( *spot.value ) ) );
        }
    }
    return mutations;
}

Mutation anyMutation( const Document &document, std::mt19937 &random ) {
    const std::vector<Spot> spots = spotsOf( document );
    const Spot spot = pick( spots, random );
    constexpr int kinds = 10;
    const int kind = std::uniform_int_distribution( 0, kinds - 1 )( random );
    if ( spot.pointer.GetTokenCount() == 0 || kind < 4 ) {
        return spot.value->IsObject() || spot.value->IsArray() || kind == 0
                   ? swapped( spot, spots, random )
                   : replaced( spot.pointer, pick( edges, random ) );
    }
    if ( kind < 7 ) {
        return swapped( spot, spots, random );
    }
    if ( kind == 7 ) {
        return replaced( spot.pointer, pick( otherValues, random ) );
    }
    return kind == 8 ? removed( spot.pointer )
                     : duplicated( spot.pointer, textOfValue( *spot.value ) );
}

std::string textOfDocument( const Document &document ) {
    return textOfValue( document );
}
