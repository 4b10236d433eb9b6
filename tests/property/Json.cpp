#include "tests/property/Json.h"

#include "tests/property/Property.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <random>

namespace Property {

namespace {

class Printer {
  public:
    explicit Printer( const Look &look ) : look_( look ), random_( look.seed ) {}

    void print( const Json &json ) {
        blanks();
        switch ( json.kind ) {
        case Json::Kind::Literal:
            out += json.words;
            break;
        case Json::Kind::Text:
            printText( json.words );
            break;
        case Json::Kind::Array:
            printArray( json );
            break;
        case Json::Kind::Object:
            printObject( json );
            break;
        }
        blanks();
    }

    std::string out;

  private:
    bool once( unsigned times ) { return look_.seed != 0 && random_() % times == 0; }

    void blanks() {
        while ( once( 5 ) ) {
            out += " \t\n\r"[random_() % 4];
        }
    }

    void printArray( const Json &json ) {
        out += '[';
        for ( size_t i = 0; i < json.items.size(); ++i ) {
            out += i == 0 ? "" : ",";
            print( json.items[i] );
        }
        blanks();
        out += ']';
    }

    void printObject( const Json &json ) {
        std::vector<size_t> order( json.members.size() );
        for ( size_t i = 0; i < order.size(); ++i ) {
            order[i] = i;
        }
        if ( look_.anyOrder ) {
            std::shuffle( order.begin(), order.end(), random_ );
            keepEqualKeysInOrder( json, order );
        }
        out += '{';
        for ( size_t i = 0; i < order.size(); ++i ) {
            const auto &[key, value] = json.members[order[i]];
            out += i == 0 ? "" : ",";
            blanks();
            printText( key );
            blanks();
            out += ':';
            print( value );
        }
        blanks();
        out += '}';
    }

    // Of two members with one name the later one may count.
    static void keepEqualKeysInOrder( const Json &json, std::vector<size_t> &order ) {
        for ( size_t i = 0; i < order.size(); ++i ) {
            for ( size_t j = i + 1; j < order.size(); ++j ) {
                const bool equal = json.members[order[i]].key == json.members[order[j]].key;
                if ( equal && order[i] > order[j] ) {
                    std::swap( order[i], order[j] );
                }
            }
        }
    }

    void printText( const std::string &text ) {
        out += '"';
        for ( size_t i = 0; i < text.size(); ) {
            const size_t size = sizeOfCharacter( text[i] );
            printCharacter( text.substr( i, size ) );
            i += size;
        }
        out += '"';
    }

    static size_t sizeOfCharacter( char first ) {
        const auto lead = static_cast<unsigned char>( first );
        return lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    }

    void printCharacter( const std::string &character ) {
        const auto first = static_cast<unsigned char>( character[0] );
        constexpr char shortForms[][2] = { { '"', '"' },  { '\\', '\\' }, { '\b', 'b' },
                                           { '\f', 'f' }, { '\n', 'n' },  { '\r', 'r' },
                                           { '\t', 't' }, { '/', '/' } };
        if ( once( 4 ) ) {
            printEscaped( character );
            return;
        }
        for ( const auto &[raw, letter] : shortForms ) {
            if ( raw == character[0] && ( raw != '/' || once( 2 ) ) ) {
                out += { '\\', letter };
                return;
            }
        }
        if ( first < 0x20 ) {
            printEscaped( character );
        } else {
            out += character;
        }
    }

    void printEscaped( const std::string &character ) {
        uint32_t point = static_cast<unsigned char>( character[0] );
        if ( character.size() > 1 ) {
            point &= 0x7FU >> character.size();
            for ( size_t i = 1; i < character.size(); ++i ) {
                point = point << 6 | ( static_cast<unsigned char>( character[i] ) & 0x3FU );
            }
        }
        if ( point < 0x10000 ) {
            printUnit( point );
        } else {
            printUnit( 0xD800 + ( ( point - 0x10000 ) >> 10 ) );
            printUnit( 0xDC00 + ( ( point - 0x10000 ) & 0x3FF ) );
        }
    }

    void printUnit( uint32_t unit ) {
        char text[8];
        std::snprintf( text, sizeof text, once( 2 ) ? "\\u%04x" : "\\u%04X", unit & 0xFFFF );
        out += text;
    }

    Look look_;
    std::mt19937 random_;
};

} // namespace

Json Json::literal( std::string text ) {
    return { Kind::Literal, std::move( text ), {}, {} };
}

Json Json::null() {
    return literal( "null" );
}

Json Json::flag( bool value ) {
    return literal( value ? "true" : "false" );
}

Json Json::number( int64_t value ) {
    return literal( std::to_string( value ) );
}

Json Json::text( std::string value ) {
    return { Kind::Text, std::move( value ), {}, {} };
}

Json Json::array() {
    return { Kind::Array, {}, {}, {} };
}

Json Json::object() {
    return { Kind::Object, {}, {}, {} };
}

void Json::add( std::string key, Json value ) {
    members.push_back( { std::move( key ), std::move( value ) } );
}

void Json::add( Json item ) {
    items.push_back( std::move( item ) );
}

std::string compact( const Json &json ) {
    return printed( json, {} );
}

std::string printed( const Json &json, const Look &look ) {
    Printer printer( look );
    printer.print( json );
    return std::move( printer.out );
}

Look drawLook() {
    const uint32_t seed = drawBelow( 1000 );
    return { seed, seed != 0 && drawBool() };
}

Json drawJson( unsigned depth ) {
    switch ( drawBelow( depth == 0 ? 4 : 6 ) ) {
    case 0:
        return Json::null();
    case 1:
        return Json::flag( drawBool() );
    case 2:
        return Json::number( static_cast<int32_t>( drawWord() ) );
    case 3:
        return Json::text( drawText() );
    case 4: {
        Json json = Json::array();
        for ( unsigned i = drawCount( 3 ); i > 0; --i ) {
            json.add( drawJson( depth - 1 ) );
        }
        return json;
    }
    default: {
        Json json = Json::object();
        for ( unsigned i = drawCount( 3 ); i > 0; --i ) {
            json.add( "x" + drawText(), drawJson( depth - 1 ) );
        }
        return json;
    }
    }
}

} // namespace Property
