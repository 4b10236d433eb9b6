#include "tests/KavraGeneric/Drivers/Vunda/XcvrFixture.h"

#include <gmock/gmock.h>

#include <stdexcept>

namespace {

using testing::StrEq;
using testing::ThrowsMessage;

class XcvrArgumentsTest : public XcvrTest {
  protected:
    XcvrArgumentsTest() {
        addQsfp(); // the device
        forgetAll();
    }

    static Settings with( Settings settings, const std::string &key, const std::string &json ) {
        settings[key] = json;
        return settings;
    }
    static Settings without( Settings settings, const std::string &key ) {
        settings.erase( key );
        return settings;
    }

    /// Each port type with its settings.
    struct Port {
        const char *type;
        Settings settings;
    };
    const Port ports[2] = { { "qsfp", qsfpSettings() }, { "sfp", sfpSettings() } };

    static std::string keyEnd( const std::string &key ) {
        return key.substr( key.find_last_of( "RBA" ) );
    }

    static Strings creations() { return host().texts( 5 ); }

    /// A key of a port, and where the cage keeps what it says: bytes behind the record.
    struct Key {
        Port port;
        std::string name;
        size_t place;
    };

    /// The keys of every signal that end so; the place within a signal is that of the end.
    std::vector<Key> keysEnding( const std::string &end, size_t placeInSignal ) const {
        const struct {
            const Port &port;
            const char *signal;
            size_t place;
        } rows[] = {
            { ports[0], "getPresence", 40 },  { ports[0], "getReset", 43 },
            { ports[0], "setReset", 46 },     { ports[0], "getInterrupt", 49 },
            { ports[1], "getPresence", 40 },  { ports[1], "getRxLos", 43 },
            { ports[1], "getTxFault", 47 },   { ports[1], "getTxDisable", 50 },
            { ports[1], "setTxDisable", 53 },
        };
        std::vector<Key> keys;
        for ( const auto &row : rows ) {
            keys.push_back( { row.port, row.signal + end, row.place + placeInSignal } );
        }
        return keys;
    }

    /// The byte that the cage keeps when the key says this.
    static unsigned kept( const Key &key, const std::string &json ) {
        const pl_xcvr *made = add( key.port.type, with( key.port.settings, key.name, json ), 1 );
        return reinterpret_cast<const uint8_t *>( made )[key.place];
    }
};

TEST_F( XcvrArgumentsTest, EveryKeyIsRequired ) {
    for ( const Port &port : ports ) {
        for ( const auto &[key, json] : port.settings ) {
            SCOPED_TRACE( port.type + ( " without " + key ) );
            const Settings settings = without( port.settings, key );
            EXPECT_THAT( [&] { add( port.type, settings, 1 ); },
                         ThrowsMessage<std::out_of_range>( StrEq( "map::at" ) ) );
        }
    }
    EXPECT_EQ( Strings{}, creations() );
}

TEST_F( XcvrArgumentsTest, EveryNumberMustBeOne ) {
    for ( const Port &port : ports ) {
        for ( const auto &[key, json] : port.settings ) {
            if ( keyEnd( key ) == "ActiveHigh" ) {
                continue;
            }
            for ( const char *broken : { "\"\"", "\"x\"", "\" \"", "\"-\"", "null", "true" } ) {
                SCOPED_TRACE( key + " " + broken );
                const Settings settings = with( port.settings, key, broken );
                EXPECT_THAT( [&] { add( port.type, settings, 1 ); },
                             ThrowsMessage<std::invalid_argument>( StrEq( "stoi" ) ) );
            }
        }
    }
    EXPECT_EQ( Strings{}, creations() );
}

TEST_F( XcvrArgumentsTest, EveryNumberMustFitAnInt ) {
    for ( const Port &port : ports ) {
        for ( const auto &[key, json] : port.settings ) {
            if ( keyEnd( key ) == "ActiveHigh" ) {
                continue;
            }
            for ( const char *broken : { "2147483648", "\"-2147483649\"", "\"99999999999\"" } ) {
                SCOPED_TRACE( key + " " + broken );
                const Settings settings = with( port.settings, key, broken );
                EXPECT_THAT( [&] { add( port.type, settings, 1 ); },
                             ThrowsMessage<std::out_of_range>( StrEq( "stoi" ) ) );
            }
        }
    }
    EXPECT_EQ( Strings{}, creations() );
}

TEST_F( XcvrArgumentsTest, NumbersAreDecimalAndCutToAByte ) {
    const struct {
        const char *json;
        unsigned number;
    } rows[] = {
        { "7", 7 },        { "\"7\"", 7 },    { "\" 7\"", 7 },       { "\"\\t7\"", 7 },
        { "\"7abc\"", 7 }, { "\"7 \"", 7 },   { "\"+7\"", 7 },       { "\"007\"", 7 },
        { "\"0x20\"", 0 }, { "\"-1\"", 255 }, { "-1", 255 },         { "256", 0 },
        { "\"263\"", 7 },  { "7.9", 7 },      { "2147483647", 255 }, { "-2147483648", 0 },
        { "255", 255 },
    };
    for ( const auto &[end, place] : { std::pair( "Reg", 0U ), { "Bit", 1U } } ) {
        for ( const Key &key : keysEnding( end, place ) ) {
            for ( const auto &row : rows ) {
                EXPECT_EQ( row.number, kept( key, row.json ) ) << key.name << ' ' << row.json;
            }
        }
    }
}

TEST_F( XcvrArgumentsTest, OnlyTheWordTrueIsTrue ) {
    for ( const Key &key : keysEnding( "ActiveHigh", 2 ) ) {
        SCOPED_TRACE( key.name );
        for ( const char *json : { "true", "\"true\"" } ) {
            EXPECT_EQ( 1U, kept( key, json ) ) << json;
        }
        for ( const char *json : { "false", "\"True\"", "\"TRUE\"", "1", "\"1\"", "\"\"",
                                   "\" true\"", "\"true \"", "\"yes\"", "null" } ) {
            EXPECT_EQ( 0U, kept( key, json ) ) << json;
        }
    }
}

// Each key is broken in another way than the one before it, and the error tells which was met. A
// number can be no number; any key can be missing.
TEST_F( XcvrArgumentsTest, KeysAreReadInOrder ) {
    const Strings signals[] = {
        { "getPresence", "getReset", "setReset", "getInterrupt" },
        { "getPresence", "getRxLos", "getTxFault", "getTxDisable", "setTxDisable" },
    };
    for ( size_t port = 0; port < std::size( ports ); ++port ) {
        Strings keys;
        for ( const std::string &signal : signals[port] ) {
            keys.insert( keys.end(), { signal + "Reg", signal + "Bit", signal + "ActiveHigh" } );
        }
        for ( size_t key = 1; key < keys.size(); ++key ) {
            SCOPED_TRACE( keys[key - 1] + " before " + keys[key] );
            const bool isNumber = keyEnd( keys[key - 1] ) != "ActiveHigh";
            const std::string &broken = keys[isNumber ? key - 1 : key];
            const std::string &missing = keys[isNumber ? key : key - 1];
            const Settings settings =
                without( with( ports[port].settings, broken, "\"x\"" ), missing );
            try {
                add( ports[port].type, settings, 1 );
                ADD_FAILURE();
            } catch ( const std::logic_error &error ) {
                EXPECT_STREQ( isNumber ? "stoi" : "map::at", error.what() );
            }
        }
    }
}

TEST_F( XcvrArgumentsTest, SupportedFaultLineNeedsItsKeys ) {
    const Settings settings = without( sfpSettings(), "getTxFaultBit" );
    EXPECT_THROW( addSfp( with( settings, "txFaultSupported", "true" ) ), std::out_of_range );
    EXPECT_THROW( addSfp( with( settings, "txFaultSupported", "\"true\"" ) ), std::out_of_range );
}

TEST_F( XcvrArgumentsTest, UnsupportedFaultLineHasItsKeysIgnored ) {
    Settings settings = without( sfpSettings(), "getTxFaultBit" );
    settings.erase( "getTxFaultActiveHigh" );
    settings["getTxFaultReg"] = "\"not read\"";
    for ( const char *no : { "false", "\"no\"", "\"\"", "\"True\"", "1", "null" } ) {
        SCOPED_TRACE( no );
        addSfp( with( settings, "txFaultSupported", no ) );
        EXPECT_EQ( PL_STATUS_OK, sfpOps().getTxFault( sfp, &value ) );
        EXPECT_EQ( 0, value );
        const uint8_t *behind = reinterpret_cast<const uint8_t *>( sfp ) + 40;
        EXPECT_EQ( ( std::vector<uint8_t>{ 0, 0, 0, 1 } ),
                   std::vector<uint8_t>( behind + 6, behind + 10 ) );
    }
}

TEST_F( XcvrArgumentsTest, CreationIsTraced ) {
    addQsfp( qsfpSettings(), 3 );
    addSfp( sfpSettings(), 34 );
    EXPECT_EQ( ( Strings{ "creating new QsfpXcvr with id=3", "creating new SfpXcvr with id=34" } ),
               creations() );
}

TEST_F( XcvrArgumentsTest, EachAddIsANewCageOfTheOneCpld ) {
    const pl_xcvr *first = qsfp;
    addQsfp();
    EXPECT_NE( first, qsfp );
    EXPECT_EQ( 1U, Component::DeviceBase::devices.count( 7 ) );
}

} // namespace
