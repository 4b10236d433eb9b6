#include "HostTool/Check/Rehearsal.h"

#include "HostTool/Check/ClassRules.h"
#include "HostTool/Check/SettingRules.h"
#include "HostTool/Output/Nearest.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <unordered_set>

namespace HostTool::Check {

namespace {

Spot spotOf( const Value &object, std::string_view key ) {
    const Value *value = member( object, key );
    return at( value ? *value : object );
}

std::string hintFor( std::string_view word, const std::vector<std::string> &known ) {
    const std::string text = didYouMean( word, known );
    return text.empty() ? "" : text.substr( 2 );
}

std::string nodeText( const DeviceNode &node ) {
    return "device " + std::to_string( node.did );
}

unsigned proxyAddress( const Value &entry ) {
    const Value *address = member( entry, "address" );
    if ( address && address->IsUint() ) {
        return address->GetUint();
    }
    constexpr int hexadecimal = 16;
    return address && address->IsString()
               ? static_cast<unsigned>( strtoul( address->GetString(), nullptr, hexadecimal ) )
               : 0;
}

} // namespace

void Rehearsal::addEntries( const JsonFile &devices ) {
    const Value &root = devices.root();
    const auto entries = elements( root.IsObject() ? member( root, "devices" ) : &root );
    std::unordered_set<std::string_view> names( entries.Size() );
    made_.reserve( entries.Size() );
    for ( const Value &json : entries ) {
        const auto name = textIn( json, "name" );
        const auto className = textIn( json, "class" );
        if ( !name || !className ) {
            continue;
        }
        if ( !names.insert( *name ).second ) {
            findings_.add( RuleId::duplicateName, devices, spotOf( json, "name" ),
                           "name " + quoted( *name ) + " is taken by an entry above" );
        }
        for ( const ClassName &row : classNames ) {
            if ( *className == row.name ) {
                add( { devices, json, row.deviceClass, quoted( *name ) + ": " } );
            }
        }
    }
}

void Rehearsal::add( const Entry &entry ) {
    if ( entry.deviceClass == DeviceClass::system ) {
        return;
    }
    if ( entry.deviceClass == DeviceClass::smbus && member( entry.json, "bus" ) ) {
        addProxy( entry );
        return;
    }
    const Value *json = member( entry.json, "arguments" );
    const auto arguments = json ? Arguments::from( entry.document, *json ) : std::nullopt;
    const Made *device = arguments ? prepare( *arguments, entry.owner ) : nullptr;
    if ( device ) {
        addAs( entry, *arguments, *device );
    }
}

void Rehearsal::addArguments( const JsonFile &document ) {
    if ( const auto arguments = Arguments::from( document, document.root() ) ) {
        prepare( *arguments, "" );
    }
}

// The library finds the chip by a label of its own making, and drives it as a proxy from then on,
// whatever its entry says.
void Rehearsal::addProxy( const Entry &entry ) {
    const auto bus = textIn( entry.json, "bus" );
    if ( !bus || !tree_ ) {
        return;
    }
    std::array<char, 32> suffix;
    snprintf( suffix.data(), suffix.size(), "<0x%02x>", proxyAddress( entry.json ) );
    const std::string label = std::string( *bus ) + suffix.data();
    DeviceNode *node = tree_->byLabel( label );
    if ( !node ) {
        const bool isBus = tree_->isBusLabel( *bus );
        findings_.add( isBus ? RuleId::noProxyDevice : RuleId::unknownBus, entry.document,
                       spotOf( entry.json, isBus ? "address" : "bus" ),
                       entry.owner + "no device of the topology has the label " + quoted( label ),
                       isBus ? "" : hintFor( *bus, tree_->labels() ) );
        return;
    }
    node->isUsed = true;
    if ( !node->arguments ) {
        findings_.add( RuleId::proxyNotInline, tree_->document(), at( *node->json ),
                       quoted( label ) + " names no driver and no address" );
        return;
    }
    node->arguments->driver = "SmbusProxyDriver";
    const Arguments arguments = *node->arguments;
    if ( const Made *device = create( arguments, entry.owner ) ) {
        addAs( entry, arguments, *device );
    }
}

const Made *Rehearsal::prepare( const Arguments &arguments, const std::string &owner ) {
    checkAddressNumbers( arguments, owner, findings_ );
    checkSimulationName( arguments, owner, findings_ );
    if ( const auto met = made_.find( arguments.did ); met != made_.end() ) {
        compareWithFirst( arguments, met->second, owner );
    }
    const Made *device = create( arguments, owner );
    if ( device ) {
        checkUnknownSettings( *device->driver, arguments, owner, findings_ );
    }
    return device;
}

void Rehearsal::compareWithFirst( const Arguments &arguments, const Made &device,
                                  const std::string &owner ) {
    if ( arguments.driver != device.driver->name ) {
        tell( RuleId::sharedDid, arguments, spotOf( *arguments.json, "driver" ),
              owner + "device " + std::to_string( arguments.did ) + " is driven by " +
                  device.driver->name + " already" );
    } else if ( arguments.address != device.arguments.address ) {
        tell( RuleId::sharedDid, arguments, spotOf( *arguments.json, "address" ),
              owner + "device " + std::to_string( arguments.did ) + " is at address " +
                  hexText( device.arguments.address ) + " already" );
    }
}

void Rehearsal::addAs( const Entry &entry, const Arguments &arguments, const Made &device ) {
    const ClassRow *row = findClass( *device.driver, entry.deviceClass );
    if ( !row ) {
        findings_.add( RuleId::classNotOffered, entry.document, spotOf( entry.json, "class" ),
                       entry.owner + "driver " + device.driver->name + " offers no " +
                           nameOf( entry.deviceClass ),
                       "it offers " + classesOf( *device.driver ) );
        return;
    }
    const bool readsChip = entry.deviceClass == DeviceClass::gpio ||
                           ( entry.deviceClass == DeviceClass::slot && !usesOnlyTool( arguments ) );
    if ( readsChip && isExcusedFromAccess( device ) ) {
        tellReadsWithoutAccess( device, arguments, entry.owner );
    }
    checkSettings( row->settings, arguments, entry.owner, findings_ );
    checkClass( *device.driver, entry.deviceClass, arguments, entry.owner, findings_ );
    if ( device.driver->name == std::string_view( "PsuSlot" ) &&
         entry.deviceClass == DeviceClass::slot ) {
        findGpioDevice( arguments, entry.owner );
    }
}

const Made *Rehearsal::create( const Arguments &arguments, const std::string &owner ) {
    if ( const auto met = made_.find( arguments.did ); met != made_.end() ) {
        return &met->second;
    }
    if ( std::find( beingMade_.begin(), beingMade_.end(), arguments.did ) != beingMade_.end() ) {
        tell( RuleId::muxLoop, arguments, at( *arguments.json ),
              "device " + std::to_string( arguments.did ) +
                  " cannot be made before it is made: it is behind itself" );
        return nullptr;
    }
    beingMade_.push_back( arguments.did );
    const Made *device = make( arguments, owner );
    beingMade_.pop_back();
    return device;
}

const Made *Rehearsal::make( const Arguments &arguments, const std::string &owner ) {
    Made device{ arguments, findDriver( arguments.driver ), nullptr, Made::Access::none };
    if ( arguments.providesHam && !arguments.isMultiple && !findAccess( device, owner ) ) {
        return nullptr;
    }
    if ( !device.driver ) {
        const std::string hint = hintFor( arguments.driver, driverNames() );
        tell( RuleId::unknownDriver, arguments, spotOf( *arguments.json, "driver" ),
              owner + "there is no driver " + quoted( arguments.driver ), hint );
        return nullptr;
    }
    if ( DeviceNode *node = tree_ ? tree_->byDid( arguments.did ) : nullptr ) {
        node->isUsed = true;
    }
    checkAccess( device, owner );
    if ( arguments.isMultiple ) {
        tell( RuleId::multiDevice, arguments, spotOf( *arguments.json, "isMultiDevice" ),
              owner + "driver " + device.driver->name + " makes no device of several" );
        return nullptr;
    }
    checkSettings( device.driver->creation, arguments, owner, findings_ );
    if ( device.driver->name == std::string_view( "Pmbus" ) ) {
        findGpioDevice( arguments, owner );
    }
    checkChip( device, owner );
    return &made_.insert_or_assign( arguments.did, device ).first->second;
}

void Rehearsal::checkAccess( const Made &device, const std::string &owner ) {
    if ( device.access != Made::Access::none || isExcusedFromAccess( device ) ) {
        return;
    }
    tell( device.driver->accessesAtOnce ? RuleId::withoutAccess : RuleId::readsWithoutAccess,
          device.arguments, spotOf( *device.arguments.json, "provideHam" ),
          owner + "driver " + device.driver->name + " needs an access method, and gets none" );
}

// Without an access method, and content with it as long as nobody reads its registers.
bool Rehearsal::isExcusedFromAccess( const Made &device ) {
    const std::string_view name = device.driver->name;
    return device.access == Made::Access::none &&
           ( name == "Dummy" || ( name == "PsuSlot" && usesOnlyTool( device.arguments ) ) );
}

void Rehearsal::tellReadsWithoutAccess( const Made &device, const Arguments &arguments,
                                        const std::string &owner ) {
    tell( RuleId::readsWithoutAccess, arguments, spotOf( *arguments.json, "provideHam" ),
          owner + "registers of device " + std::to_string( device.arguments.did ) +
              " are read, and it gets no access method" );
}

bool Rehearsal::findAccess( Made &device, const std::string &owner ) {
    if ( !tree_ ) {
        device.access = Made::Access::smbus;
        return true;
    }
    const Arguments &arguments = device.arguments;
    DeviceNode *node =
        arguments.uid ? tree_->byUid( *arguments.uid ) : tree_->byDid( arguments.did );
    if ( !node ) {
        const char *key = arguments.uid ? "uid" : "did";
        const uint32_t number = arguments.uid.value_or( arguments.did );
        tell( arguments.uid ? RuleId::unknownUid : RuleId::unknownDid, arguments,
              spotOf( *arguments.json, key ),
              owner + "the topology has no " + ( arguments.uid ? "component " : "device " ) +
                  std::to_string( number ) );
        return false;
    }
    node->isUsed = true;
    device.node = node;
    const MediumNode &medium = *node->medium;
    if ( !node->bus ) {
        tell( RuleId::noAccessMethod, arguments, at( *arguments.json ),
              owner + nodeText( *node ) + " is in a medium of type " + std::string( medium.type ) +
                  ", which gives its devices no access method" );
        return false;
    }
    if ( medium.ham == "SimHam" ) {
        findings_.add( RuleId::simulatedAccess, tree_->document(), spotOf( *medium.json, "ham" ),
                       "access method SimHam keeps registers in files and reaches no hardware" );
        device.access = Made::Access::files;
        return true;
    }
    if ( medium.ham != "KavraSmbus" ) {
        findings_.add( RuleId::unknownHam, tree_->document(), spotOf( *medium.json, "ham" ),
                       "there is no access method " + quoted( medium.ham ),
                       hintFor( medium.ham, { "KavraSmbus", "SimHam" } ) );
        return false;
    }
    for ( const MuxNode *mux = node->bus->mux; mux; mux = mux->bus->mux ) {
        passMux( *mux );
    }
    device.access = Made::Access::smbus;
    return true;
}

void Rehearsal::passMux( const MuxNode &mux ) {
    if ( passed_.contains( &mux ) ) {
        return;
    }
    const std::string owner = "mux " + std::to_string( mux.did ) + ": ";
    DeviceNode *node = tree_->byDid( mux.did );
    if ( !node ) {
        findings_.add( RuleId::muxWithoutDevice, tree_->document(), at( *mux.json ),
                       owner + "no device of the topology has this did" );
    } else if ( !node->arguments ) {
        node->isUsed = true;
        findings_.add( RuleId::muxNotInline, tree_->document(), at( *node->json ),
                       owner + "its chip names no driver and no address" );
    } else {
        node->isUsed = true;
        const Arguments arguments = *node->arguments;
        const Made *device = create( arguments, owner );
        if ( device && device->driver->name != std::string_view( "PCA9548" ) ) {
            tell( RuleId::muxDriver, arguments, spotOf( *arguments.json, "driver" ),
                  owner + "driver " + device->driver->name + " drives no mux" );
        } else if ( device && device->access != Made::Access::smbus ) {
            tell( RuleId::withoutAccess, arguments, spotOf( *arguments.json, "provideHam" ),
                  owner + "its chip gets no access method" );
        } else if ( device && &rootOf( *device->node->bus ) != &rootOf( *mux.bus ) ) {
            findings_.add( RuleId::muxElsewhere, tree_->document(), spotOf( *mux.json, "did" ),
                           owner + "its chip is on other wires than the bus that the mux splits" );
        }
    }
    passed_.insert( &mux );
}

void Rehearsal::findGpioDevice( const Arguments &arguments, const std::string &owner ) {
    const Value *setting = arguments.setting( "gpioDevice" );
    if ( !setting || !tree_ ) {
        return;
    }
    const std::string text = settingText( *setting );
    const std::string label = text.substr( 0, text.find( '\0' ) ); // as the library reads it
    DeviceNode *node = tree_->byLabel( label );
    if ( !node ) {
        tell( RuleId::gpioLabel, arguments, at( *setting ),
              owner + ( tree_->hasLabel( label )
                            ? "label " + quoted( label ) + " is not of a device"
                            : "no device has the label " + quoted( label ) ),
              hintFor( label, tree_->labels() ) );
        return;
    }
    node->isUsed = true;
    if ( !node->arguments ) {
        findings_.add( RuleId::gpioNotInline, tree_->document(), at( *node->json ),
                       quoted( label ) + " is asked for its lines and names no driver" );
        return;
    }
    if ( node->arguments->driver.empty() ) {
        node->arguments->driver = "Dummy";
    }
    const std::string lines = quoted( label ) + ": ";
    const Arguments carrier = *node->arguments;
    const Made *device = create( carrier, lines );
    if ( device && isExcusedFromAccess( *device ) ) {
        tellReadsWithoutAccess( *device, carrier, lines );
    }
}

} // namespace HostTool::Check
