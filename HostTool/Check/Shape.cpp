#include "HostTool/Check/Shape.h"

#include "HostTool/Check/Definition.h"
#include "HostTool/Check/ShapeText.h"
#include "HostTool/Check/Twins.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace HostTool::Check {

namespace {

class ShapeChecker {
  public:
    ShapeChecker( const JsonFile &document, Findings &findings )
        : document_( document ), findings_( findings ), twins_( document.root() ),
          definitions_( definitions() ) {}

    bool check( Node node ) {
        judge( node, document_.root() );
        return isWell_;
    }

  private:
    void judge( Node node, const Value &value ) {
        const NodeRow &row = rowOf( node );
        Definition &definition = definitions_.get( row, value );
        if ( value.IsArray() && !row.children.empty() && row.children.front().key.empty() ) {
            judgeEach( row.children.front().node, value );
        } else {
            judgeBy( definition, row, value, {} );
        }
        if ( !twins_.empty() ) {
            tellTwins( row, value, row.refusesTwins );
        }
        if ( node == Node::device && hasDriver( value ) ) {
            judge( Node::arguments, value );
        }
    }

    void judgeEach( Node node, const Value &list ) {
        for ( const Value &element : list.GetArray() ) {
            judge( node, element );
        }
    }

    /// @param key that the value has; empty: none
    void judgeBy( Definition &definition, const NodeRow &row, const Value &value,
                  std::string_view key ) {
        if ( definition.isObject() && value.IsObject() ) {
            judgeMembers( definition, row, value );
            return;
        }
        if ( const char *keyword = definition.leaf().brokenKeyword( value ) ) {
            tell( describe( definition.schema(), key, value, keyword ), at( value ) );
            return;
        }
        if ( Definition *elements = value.IsArray() ? definition.elements() : nullptr ) {
            for ( const Value &element : value.GetArray() ) {
                judgeBy( *elements, row, element, {} );
            }
        }
    }

    void judgeMembers( Definition &definition, const NodeRow &row, const Value &object ) {
        size_t required = 0;
        for ( const auto &each : object.GetObject() ) {
            if ( !counts( row, object, each ) ) {
                continue;
            }
            if ( Definition::Property *property = definition.property( wholeText( each.name ) ) ) {
                required += property->isRequired() ? 1U : 0U;
                judgeProperty( *property, row, object, each.value );
            } else {
                judgeOther( definition, row, each );
            }
        }
        if ( required < definition.requiredCount() ) {
            tellMissing( definition, object );
        }
    }

    void judgeProperty( Definition::Property &property, const NodeRow &row, const Value &object,
                        const Value &value ) {
        const ChildRow *child = property.childOf( object );
        if ( !child ) {
            judgeBy( property.definition(), row, value, property.key() );
        } else if ( child->isList ? !value.IsArray() : !value.IsObject() ) {
            tell( wrongType( property.schema(), property.key(), value,
                             child->isList ? "an array" : "an object" ),
                  at( value ) );
        } else if ( child->isList ) {
            judgeEach( child->node, value );
        } else {
            judge( child->node, value );
        }
    }

    void judgeOther( Definition &definition, const NodeRow &row, const Value::Member &member ) {
        if ( definition.refusesOtherKeys() ) {
            tell( unknownKey( wholeText( member.name ), definition.knownKeys() ),
                  atKeyOf( member.value ) );
        } else if ( Definition *others = definition.others() ) {
            judgeBy( *others, row, member.value, wholeText( member.name ) );
        }
    }

    void tellMissing( Definition &definition, const Value &object ) {
        for ( const Definition::Property &property : definition.properties() ) {
            if ( property.isRequired() && !member( object, property.key() ) ) {
                tell( missingKey( property.key(), property.schema() ),
                      lacking( object, property.key() ) );
            }
        }
    }

    void tell( const Fault &fault, Spot spot ) {
        isWell_ = false;
        findings_.add( fault.rule, document_, spot, fault.text, fault.hint );
    }

    bool counts( const NodeRow &row, const Value &object, const Value::Member &each ) const {
        if ( twins_.empty() || !twins_.has( object ) ) {
            return true;
        }
        const std::string_view key = wholeText( each.name );
        return &each.value ==
               ( row.lastCounts ? lastMember( object, key ) : member( object, key ) );
    }

    /// In the object, and in those below it that are no nodes.
    void tellTwins( const NodeRow &row, const Value &object, bool areRefused ) {
        if ( !object.IsObject() ) {
            return;
        }
        if ( twins_.has( object ) ) {
            tellTwinsOf( row, object, areRefused );
        }
        for ( const auto &each : object.GetObject() ) {
            if ( each.value.IsObject() && !isNode( row, wholeText( each.name ) ) ) {
                tellTwins( row, each.value, false );
            }
        }
    }

    static bool isNode( const NodeRow &row, std::string_view key ) {
        return std::any_of( row.children.begin(), row.children.end(),
                            [key]( const ChildRow &child ) { return child.key == key; } );
    }

    void tellTwinsOf( const NodeRow &row, const Value &object, bool areRefused ) {
        for ( const Value *value : twins_.of( object ) ) {
            const std::string key( twins_.nameOf( object, *value ) );
            if ( areRefused ) {
                isWell_ = false;
            }
            findings_.add( areRefused ? RuleId::repeatedKey : RuleId::duplicateKey, document_,
                           atKeyOf( *value ), "\"" + key + "\" is given twice",
                           row.lastCounts ? "the last one counts; remove the others"
                                          : "the first one counts; remove the others" );
        }
    }

    const JsonFile &document_;
    Findings &findings_;
    Twins twins_;
    Definitions &definitions_;
    bool isWell_ = true;
};

} // namespace

bool checkShape( const JsonFile &document, Kind kind, Findings &findings ) {
    return ShapeChecker( document, findings ).check( rootOf( kind ) );
}

} // namespace HostTool::Check
