#include "HostTool/Check/Shape.h"

#include "HostTool/Check/Definition.h"
#include "HostTool/Check/ShapeText.h"
#include "HostTool/Check/Twins.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

namespace HostTool::Check {

namespace {

using Keys = std::vector<std::string>; // from the judged object down

// To compile them takes longer than to judge a small document.
Definitions &definitions() {
    thread_local Definitions compiled;
    return compiled;
}

class ShapeChecker {
  public:
    ShapeChecker( const Document &document, Findings &findings )
        : document_( document ), findings_( findings ), twins_( document.root() ),
          definitions_( definitions() ) {}

    bool check( Node node, const Value &value ) {
        judge( node, value );
        return isWell_;
    }

    void judge( Node node, const Value &value ) {
        const NodeRow &row = rowOf( node );
        Definition &definition = definitions_.get( row, value );
        hidden_.clear();
        if ( !passes( definition.whole(), row, value ) ) {
            isWell_ = false;
            tellMissing( definition, value );
            tellWrong( definition, row, value );
        }
        if ( twins_.has( value ) ) {
            tellTwins( row, value );
        }
        descend( row, value );
        if ( node == Node::device && hasDriver( value ) ) {
            judge( Node::arguments, value );
        }
    }

  private:
    static const ChildRow *childRow( const NodeRow &row, const Value &parent,
                                     std::string_view key ) {
        for ( const ChildRow &child : row.children ) {
            if ( child.key == key ) {
                return !child.applies || child.applies( parent ) ? &child : nullptr;
            }
        }
        return nullptr;
    }

    /// A member without a name is no element.
    static const ChildRow *memberRow( const NodeRow &row, const Value &parent,
                                      std::string_view key ) {
        return key.empty() ? nullptr : childRow( row, parent, key );
    }

    bool counts( const NodeRow &row, const Value &object, const Value::Member &each ) const {
        if ( !twins_.has( object ) ) {
            return true;
        }
        const std::string_view key = textOf( each.name );
        return &each.value ==
               ( row.lastCounts ? lastMember( object, key ) : member( object, key ) );
    }

    bool passes( Definition::Validator &validator, const NodeRow &row, const Value &value ) {
        validator.Reset();
        if ( value.IsArray() && childRow( row, value, "" ) ) {
            return validator.StartArray() && validator.EndArray( 0 );
        }
        if ( !value.IsObject() ) {
            return value.Accept( validator );
        }
        bool passed = validator.StartObject();
        for ( auto each = value.MemberBegin(); passed && each != value.MemberEnd(); ++each ) {
            const std::string_view key = textOf( each->name );
            if ( !counts( row, value, *each ) ) {
                continue;
            }
            if ( memberRow( row, value, key ) ) {
                passed = isHidden( key ) ||
                         ( pass( validator, each->name ) && bracket( validator, each->value ) );
            } else if ( hidden_.empty() ) {
                passed = pass( validator, each->name ) && each->value.Accept( validator );
            } else {
                passed = parts( validator, *each, {} );
            }
        }
        return passed && validator.EndObject( value.MemberCount() );
    }

    static bool pass( Definition::Validator &validator, const Value &name ) {
        return validator.Key( name.GetString(), name.GetStringLength(), true );
    }

    /// A child is judged by itself: here it counts as an empty one.
    static bool bracket( Definition::Validator &validator, const Value &child ) {
        if ( child.IsObject() ) {
            return validator.StartObject() && validator.EndObject( 0 );
        }
        if ( child.IsArray() ) {
            return validator.StartArray() && validator.EndArray( 0 );
        }
        return child.Accept( validator );
    }

    /// A member with all that is in it, but for what was told already.
    bool parts( Definition::Validator &validator, const Value::Member &member, Keys path ) const {
        path.emplace_back( textOf( member.name ) );
        if ( std::find( hidden_.begin(), hidden_.end(), path ) != hidden_.end() ) {
            return true;
        }
        const Value &value = member.value;
        if ( !value.IsObject() ) {
            return pass( validator, member.name ) && value.Accept( validator );
        }
        bool passed = pass( validator, member.name ) && validator.StartObject();
        for ( auto each = value.MemberBegin(); passed && each != value.MemberEnd(); ++each ) {
            passed = parts( validator, *each, path );
        }
        return passed && validator.EndObject( value.MemberCount() );
    }

    bool isHidden( std::string_view key ) const {
        return std::any_of( hidden_.begin(), hidden_.end(), [key]( const Keys &path ) {
            return path.size() == 1 && path.front() == key;
        } );
    }

    void tellMissing( const Definition &definition, const Value &object ) {
        if ( !object.IsObject() ) {
            return;
        }
        for ( const std::string_view key : definition.requiredKeys() ) {
            if ( !member( object, key ) ) {
                findings_.add( RuleId::missingKey, document_, at( object ),
                               "\"" + std::string( key ) + "\" is missing",
                               descriptionOf( definition.property( key ) ) );
            }
        }
    }

    /// The validator stops at the first fault: each is told, hidden, and the object judged again.
    void tellWrong( Definition &definition, const NodeRow &row, const Value &object ) {
        while ( !passes( definition.parts(), row, object ) ) {
            const Keys path = invalidPath( definition.parts() );
            tellFault( definition, row, object, path );
            if ( path.empty() ||
                 std::find( hidden_.begin(), hidden_.end(), path ) != hidden_.end() ) {
                return;
            }
            hidden_.push_back( path );
        }
    }

    /// Deeper than three keys nothing is told apart.
    static Keys invalidPath( const Definition::Validator &validator ) {
        constexpr size_t deepest = 3;
        const auto pointer = validator.GetInvalidDocumentPointer();
        Keys path;
        for ( size_t i = 0; i < std::min( pointer.GetTokenCount(), deepest ); ++i ) {
            const auto &token = pointer.GetTokens()[i];
            if ( token.index != rapidjson::kPointerInvalidIndex ) {
                break;
            }
            path.emplace_back( token.name, token.length );
        }
        return path;
    }

    void tellFault( Definition &definition, const NodeRow &row, const Value &object,
                    const Keys &path ) {
        const Value *value = &object;
        for ( const std::string &key : path ) {
            const Value *next = row.lastCounts ? lastMember( *value, key ) : member( *value, key );
            value = next ? next : value;
        }
        const Fault fault =
            describe( definition, path, *value, definition.parts().GetInvalidSchemaKeyword() );
        findings_.add( fault.rule, document_,
                       fault.rule == RuleId::unknownKey ? atKeyOf( *value ) : at( *value ),
                       fault.text, fault.hint );
    }

    void tellTwins( const NodeRow &row, const Value &object ) {
        for ( const Value *value : twins_.of( object ) ) {
            const std::string key( twins_.nameOf( object, *value ) );
            if ( row.refusesTwins ) {
                isWell_ = false;
            }
            findings_.add( row.refusesTwins ? RuleId::repeatedKey : RuleId::duplicateKey, document_,
                           atKeyOf( *value ), "\"" + key + "\" is given twice",
                           row.lastCounts ? "the last one counts; remove the others"
                                          : "the first one counts; remove the others" );
        }
    }

    void descend( const NodeRow &row, const Value &value ) {
        if ( value.IsArray() ) {
            if ( const ChildRow *child = childRow( row, value, "" ) ) {
                judgeEach( child->node, value );
            }
        } else if ( value.IsObject() ) {
            for ( const auto &each : value.GetObject() ) {
                const ChildRow *child = memberRow( row, value, textOf( each.name ) );
                if ( child && counts( row, value, each ) ) {
                    descendInto( *child, each.value );
                }
            }
        }
    }

    void descendInto( const ChildRow &child, const Value &value ) {
        if ( child.isList && value.IsArray() ) {
            judgeEach( child.node, value );
        } else if ( !child.isList && value.IsObject() ) {
            judge( child.node, value );
        }
    }

    void judgeEach( Node node, const Value &list ) {
        for ( const Value &element : list.GetArray() ) {
            judge( node, element );
        }
    }

    const Document &document_;
    Findings &findings_;
    Twins twins_;
    Definitions &definitions_;
    std::vector<Keys> hidden_;
    bool isWell_ = true;
};

} // namespace

bool checkShape( const Document &document, Kind kind, Findings &findings ) {
    return ShapeChecker( document, findings ).check( rootOf( kind ), document.root() );
}

} // namespace HostTool::Check
