#include "HostTool/Check/ClassRules.h"

#include "HostTool/Check/SettingRules.h"
#include "HostTool/Check/SlotRules.h"
#include "HostTool/Output/Nearest.h"

#include <algorithm>
#include <vector>

namespace HostTool::Check {

namespace {

struct Words {
    RuleId rule;
    const char *key;
    std::vector<std::string> allowed;
};

void checkWord( const Words &words, const Arguments &arguments, const std::string &owner,
                Findings &findings ) {
    const Value *value = arguments.setting( words.key );
    if ( !value ) {
        return;
    }
    const std::string text = settingText( *value );
    const auto &allowed = words.allowed;
    if ( std::find( allowed.begin(), allowed.end(), text ) == allowed.end() ) {
        const std::string meant = didYouMean( text, allowed );
        findings.add( words.rule, *arguments.document, at( *value ),
                      owner + "\"" + words.key + "\" cannot be " + shown( *value ),
                      meant.empty() ? "" : meant.substr( 2 ) );
    }
}

void checkXcvr( const Arguments &arguments, const std::string &owner, Findings &findings ) {
    checkWord( { RuleId::xcvrType, "type", { "sfp", "sfp+", "qsfp", "qsfp+" } }, arguments, owner,
               findings );
}

void checkPortLed( const Arguments &arguments, const std::string &owner, Findings &findings ) {
    checkWord( { RuleId::ledName, "ledName", { "Ethernet33", "Ethernet34" } }, arguments, owner,
               findings );
}

void checkSystemLed( const Arguments &arguments, const std::string &owner, Findings &findings ) {
    constexpr int64_t onlyRegister = 65;
    constexpr int64_t byteMask = 0xff;
    const Value *value = arguments.setting( "reg" );
    const auto number = value ? numberOf( settingText( *value ) ) : std::nullopt;
    if ( number && number->fits && ( number->value & byteMask ) != onlyRegister ) {
        findings.add( RuleId::ledRegister, *arguments.document, at( *value ),
                      owner + "there is no light in register " + std::to_string( number->value ) );
    }
}

struct ClassCheck {
    const char *driver;
    DeviceClass deviceClass;
    void ( *check )( const Arguments &, const std::string &, Findings & );
};
constexpr ClassCheck checks[] = {
    { "PsuSlot", DeviceClass::slot, checkSupplySlot },
    { "VundaGenericXcvrCPLD", DeviceClass::xcvr, checkXcvr },
    { "VundaTXcvrLedCPLD", DeviceClass::led, checkPortLed },
    { "VundaTSystemLedCPLD", DeviceClass::led, checkSystemLed },
};

struct Field {
    const char *key;
    uint32_t largest;
};
constexpr Field fields[] = {
    { "address", 0x7f }, { "accel", 0x7f },   { "busTimeout", 7 }, { "writeDelay", 3 },
    { "readDelay", 3 },  { "extraDelay", 1 }, { "addrSize", 3 },
};

const std::vector<std::string> &keysOfAddress() {
    static const std::vector<std::string> keys = [] {
        std::vector<std::string> names = { "writeNoStopReadCurrent" };
        for ( const Field &field : fields ) {
            names.emplace_back( field.key );
        }
        return names;
    }();
    return keys;
}

void checkKeys( const Value &address, const Arguments &arguments, const std::string &owner,
                Findings &findings ) {
    if ( !address.IsObject() ) {
        return;
    }
    const std::vector<std::string> &known = keysOfAddress();
    for ( const auto &each : address.GetObject() ) {
        const std::string key( wholeText( each.name ) );
        if ( std::find( known.begin(), known.end(), key ) == known.end() ) {
            const std::string meant = didYouMean( key, known );
            std::string text = owner;
            text.append( "an address has no \"" ).append( key ).append( "\"" );
            findings.add( RuleId::addressUnread, *arguments.document, atKeyOf( each.value ), text,
                          meant.empty() ? "" : meant.substr( 2 ) );
        }
    }
}

void checkWidth( const Value &address, const Arguments &arguments, const std::string &owner,
                 Findings &findings ) {
    constexpr uint32_t keptBits = 3;
    const auto width = numberIn( address, "addrSize" );
    if ( width && ( *width & keptBits ) != 1 && ( *width & keptBits ) != 2 ) {
        findings.add(
            RuleId::addressSize, *arguments.document, at( *member( address, "addrSize" ) ),
            owner + "\"addrSize\" is " + std::to_string( *width ) + " and must be 1 or 2" );
    }
}

} // namespace

void checkClass( const DriverRow &driver, DeviceClass deviceClass, const Arguments &arguments,
                 const std::string &owner, Findings &findings ) {
    for ( const ClassCheck &row : checks ) {
        if ( row.deviceClass == deviceClass && row.driver == std::string_view( driver.name ) ) {
            row.check( arguments, owner, findings );
        }
    }
}

void checkAddressNumbers( const Arguments &arguments, const std::string &owner,
                          Findings &findings ) {
    const Value *address = member( *arguments.json, "address" );
    if ( !address || arguments.isMultiple ) {
        return;
    }
    for ( const Field &field : fields ) {
        const auto number = numberIn( *address, field.key );
        if ( number && *number > field.largest ) {
            findings.add( RuleId::addressRange, *arguments.document,
                          at( *member( *address, field.key ) ),
                          owner + "\"" + field.key + "\" is " + std::to_string( *number ) +
                              " and is read as " + std::to_string( *number & field.largest ) );
        }
    }
    checkWidth( *address, arguments, owner, findings );
    checkKeys( *address, arguments, owner, findings );
}

void checkSimulationName( const Arguments &arguments, const std::string &owner,
                          Findings &findings ) {
    const Value *name = member( *arguments.json, "name" );
    if ( name && !name->IsString() ) {
        findings.add( RuleId::simulationName, *arguments.document, at( *name ),
                      owner + "\"name\" is " + typeOf( *name ) + " and no text" );
    }
}

} // namespace HostTool::Check
