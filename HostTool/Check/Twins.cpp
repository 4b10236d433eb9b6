#include "HostTool/Check/Twins.h"

#include <unordered_set>

namespace HostTool::Check {

Twins::Twins( const Value &root ) {
    collect( root );
}

void Twins::collect( const Value &value ) {
    constexpr rapidjson::SizeType few = 16;
    if ( value.IsArray() ) {
        for ( const Value &element : value.GetArray() ) {
            collect( element );
        }
    } else if ( value.IsObject() ) {
        value.MemberCount() <= few ? collectFew( value ) : collectMany( value );
        for ( const auto &each : value.GetObject() ) {
            if ( each.value.IsObject() || each.value.IsArray() ) {
                collect( each.value );
            }
        }
    }
}

void Twins::collectFew( const Value &object ) {
    for ( auto later = object.MemberBegin(); later != object.MemberEnd(); ++later ) {
        for ( auto first = object.MemberBegin(); first != later; ++first ) {
            if ( wholeText( first->name ) == wholeText( later->name ) ) {
                twins_[&object].push_back( &later->value );
                break;
            }
        }
    }
}

void Twins::collectMany( const Value &object ) {
    std::unordered_set<std::string_view> met;
    for ( const auto &each : object.GetObject() ) {
        if ( !met.insert( wholeText( each.name ) ).second ) {
            twins_[&object].push_back( &each.value );
        }
    }
}

std::string_view Twins::nameOf( const Value &object, const Value &member ) {
    for ( const auto &each : object.GetObject() ) {
        if ( &each.value == &member ) {
            return wholeText( each.name );
        }
    }
    return {};
}

} // namespace HostTool::Check
