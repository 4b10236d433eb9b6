#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/KavraGeneric/Drivers/PsuSlotFixture.h"

#include <gmock/gmock.h>
#include <stdexcept>

namespace {

using Drivers::PsuSlot;
using testing::StrEq;
using testing::ThrowsMessage;
using PsuSlotSettingsTest = PsuSlotTest;

TEST_F( PsuSlotSettingsTest, EachTypeIsTraced ) {
    for ( const char *type : { "pmbus", "ipmi", "ipmitool", "wedge", "tlv" } ) {
        host().lines.clear();
        add( type );
        EXPECT_TRUE( host().traced( 1, std::string( "PsuSlot identification type: " ) + type ) );
        EXPECT_FALSE(
            host().traced( 0, std::string( "Invalid identification type: '" ) + type + "'" ) );
    }
}

TEST_F( PsuSlotSettingsTest, TypeThatIsNoneIsTracedAndPmbusTaken ) {
    for ( const char *type : { "PMBUS", "", "pmbus ", "ipmitool-raw" } ) {
        SCOPED_TRACE( type );
        host().lines.clear();
        add( type );
        const std::string expected = std::string( "Invalid identification type: '" ) + type + "'";
        EXPECT_TRUE( host().traced( 0, expected ) );
        answerBlocks( "MODEL-A", "S1" );
        EXPECT_EQ( PL_STATUS_OK, presence() );
    }
}

TEST_F( PsuSlotSettingsTest, AbsentTypeIsAnEmptyOne ) {
    addBare( R"("psuId": 1)" );
    EXPECT_TRUE( host().traced( 1, "PsuSlot identification type: " ) );
    EXPECT_TRUE( host().traced( 0, "Invalid identification type: ''" ) );
    const auto *kept = reinterpret_cast<const PsuSlot::Slot::DriverSpecificArgs *>(
        reinterpret_cast<const char *>( slot ) + 32 );
    EXPECT_EQ( "", kept->at( "identificationType" ) );
}

TEST_F( PsuSlotSettingsTest, ModelsEndAtTheFirstGap ) {
    addBare( R"("psuId": 1, "model_1": "A", "psuFdl_1": "{serialNum}", "model_3": "C")" );
    answerBlocks( "A", "S" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    for ( int attempt = 0; attempt < 3; ++attempt ) {
        answerBlocks( "C", "S" );
    }
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
}

TEST_F( PsuSlotSettingsTest, LaterModelOfTheSameNameReplacesTheEarlier ) {
    addBare( R"("psuId": 1, "model_1": "A", "psuFdl_1": "one {serialNum}",
                            "model_2": "A", "psuFdl_2": "two {serialNum}")" );
    answerBlocks( "A", "S" );
    presence();
    EXPECT_EQ( "two S", fdl );
}

TEST_F( PsuSlotSettingsTest, SlotWithoutANumberIsRefused ) {
    addBare( R"("identificationType": "pmbus")" );
    EXPECT_EQ( nullptr, slot );
    EXPECT_TRUE( host().traced( 0, "Error: expected 'psuId' in slot driverArgs" ) );
}

TEST_F( PsuSlotSettingsTest, NumberCountsModulo256AndIsTraced ) {
    for ( const auto &[id, trace] : { std::pair( "1", "Creating new PsuSlot for Psu id 1" ),
                                      std::pair( "\"2\"", "Creating new PsuSlot for Psu id 2" ),
                                      std::pair( "258", "Creating new PsuSlot for Psu id 2" ) } ) {
        host().lines.clear();
        addBare( std::string( R"("psuId": )" ) + id );
        EXPECT_NE( nullptr, slot );
        EXPECT_TRUE( host().traced( 5, trace ) );
    }
}

TEST_F( PsuSlotSettingsTest, NumberIsDecimal ) {
    for ( const char *id : { "\" 2\"", "\"+2\"", "\"02\"", "\"2nd\"", "2.9", "\"-254\"" } ) {
        SCOPED_TRACE( id );
        addBare( std::string( R"("psuId": )" ) + id );
        EXPECT_EQ( 1, Layout::wordAt<uint8_t>( slot, 24 ) );
    }
}

constexpr const char *noNumbers[] = { "\"\"", "\" \"", "\"-\"", "\"one\"", "null", "true" };
constexpr const char *tooLarge[] = { "2147483648", "\"-2147483649\"", "\"99999999999\"" };

TEST_F( PsuSlotSettingsTest, NumberThatIsNoneIsThrown ) {
    for ( const char *id : noNumbers ) {
        EXPECT_THAT( [&] { addBare( std::string( R"("psuId": )" ) + id ); },
                     ThrowsMessage<std::invalid_argument>( StrEq( "stoi" ) ) );
    }
    for ( const char *id : tooLarge ) {
        EXPECT_THAT( [&] { addBare( std::string( R"("psuId": )" ) + id ); },
                     ThrowsMessage<std::out_of_range>( StrEq( "stoi" ) ) );
    }
}

const Strings signalKeys = { "presenceReg", "presenceBit", "powerOkReg", "powerOkBit" };

/// Every number of the signals is 1 but this one; null leaves it out.
std::string signalsWith( const std::string &otherKey, const char *json ) {
    std::string arguments = R"("psuId": 1, "gpioDevice": "signals")";
    for ( const std::string &key : signalKeys ) {
        if ( key != otherKey || json ) {
            arguments += ", \"" + key + "\": " + ( key == otherKey ? json : "1" );
        }
    }
    return arguments;
}

TEST_F( PsuSlotSettingsTest, SignalsNeedTheirFourNumbers ) {
    for ( const std::string &key : signalKeys ) {
        SCOPED_TRACE( key );
        EXPECT_THAT( [&] { addBare( signalsWith( key, nullptr ) ); },
                     ThrowsMessage<std::out_of_range>( StrEq( "map::at" ) ) );
        for ( const char *json : noNumbers ) {
            EXPECT_THAT( [&] { addBare( signalsWith( key, json ) ); },
                         ThrowsMessage<std::invalid_argument>( StrEq( "stoi" ) ) );
        }
        for ( const char *json : tooLarge ) {
            EXPECT_THAT( [&] { addBare( signalsWith( key, json ) ); },
                         ThrowsMessage<std::out_of_range>( StrEq( "stoi" ) ) );
        }
        // A negative register is a large one, which a line refuses.
        EXPECT_THAT( [&] { addBare( signalsWith( key, "-1" ) ); },
                     ThrowsMessage<std::out_of_range>( StrEq( "stoi" ) ) );
    }
}

/// A device that tells which lines were asked of it.
struct SignalsDevice final : Component::HardwareDevice {
    Component::LogicalDevice::Gpio *newGpio( const Drivers::DriverArgs &args ) override {
        EXPECT_EQ( 2U, args.driverArgs.size() );
        asked.push_back( args.driverArgs.at( "register" ) + '.' + args.driverArgs.at( "bitpos" ) );
        return HardwareDevice::newGpio( args );
    }

    static Strings asked;
};
Strings SignalsDevice::asked;

TEST_F( PsuSlotSettingsTest, PresenceIsMadeBeforePowerGood ) {
    Drivers::drivers["Dummy"] = []( const Drivers::DriverArgs &, Ham::Ham * ) {
        return static_cast<Component::DeviceBase *>( new SignalsDevice );
    };
    SignalsDevice::asked.clear();
    addBare( R"("psuId": 1, "gpioDevice": "signals", "presenceReg": "0x1", "presenceBit": " 2",
                "powerOkReg": "+3", "powerOkBit": "4th")" );
    EXPECT_EQ( ( Strings{ "0.2", "3.4" } ), SignalsDevice::asked );
}

TEST_F( PsuSlotSettingsTest, SignalsAreReadInTheOrderOfTheirKeysBeforeTheirDeviceIsLookedUp ) {
    std::string arguments = R"("psuId": 1, "gpioDevice": "none")";
    for ( const std::string &key : signalKeys ) {
        arguments += ", \"" + key + "\": ";
        EXPECT_THROW( addBare( arguments + "\"x\"" ), std::invalid_argument ) << key;
        arguments += '1';
    }
}

TEST_F( PsuSlotSettingsTest, WithoutAGpioDeviceTheSignalsAreNotLookedAt ) {
    addBare( R"("psuId": 1, "presenceReg": "x", "presenceActiveLow": false)" );
    EXPECT_NE( nullptr, slot );
}

TEST_F( PsuSlotSettingsTest, CreationIsTracedInTheWordsOfThePmbusDriver ) {
    add( "pmbus" );
    EXPECT_TRUE( host().traced( 0, "Creating Pmbus Device" ) );
}

TEST_F( PsuSlotSettingsTest, EachAddIsANewSlotOfTheOneDevice ) {
    add( "pmbus" );
    const pl_slot *first = slot;
    add( "pmbus" );
    EXPECT_NE( first, slot );
    EXPECT_EQ( 1U, Component::DeviceBase::devices.count( 7 ) );
}

TEST_F( PsuSlotSettingsTest, SlotKeepsNumberArgumentsAndTextBehindTheRecord ) {
    const char *arguments = slotArguments( R"("psuId": 2, "b": 1, "a": 2)" );
    slot = pl_slot_add( arguments );
    EXPECT_EQ( 1, Layout::wordAt<uint8_t>( slot, 24 ) );
    EXPECT_EQ( arguments, Layout::wordAt<const char *>( slot, 32 + sizeof( std::map<int, int> ) ) );
    EXPECT_EQ( 2U, Layout::virtualSlot( &PsuSlot::Slot::getPresence ) );
}

/// A slot with a type that no document can give.
struct StrangeSlot : PsuSlot::Slot {
    explicit StrangeSlot( PsuSlot *device ) : Slot( device, 0, {}, nullptr ) {
        identificationType_ = static_cast<IdentificationType>( 6 );
    }
};

TEST_F( PsuSlotSettingsTest, UnknownTypeIsThrown ) {
    PsuSlot device;
    StrangeSlot strange( &device );
    char *given = nullptr;
    try {
        strange.getPresence( &given );
        ADD_FAILURE();
    } catch ( const std::runtime_error &error ) {
        EXPECT_STREQ( "unknown identification type for psu", error.what() );
    }
}

TEST( IdentificationTypeTest, TypesHaveTheirNumbers ) {
    using Type = PsuSlot::Slot::IdentificationType;
    const Type types[] = { Type::pmbus,        Type::ipmi,  Type::ipmitool,
                           Type::ipmitool_raw, Type::wedge, Type::tlv };
    for ( int number = 0; number < 6; ++number ) {
        EXPECT_EQ( number, static_cast<int>( types[number] ) );
    }
}

using PsuSlotSettingsDeathTest = PsuSlotTest;

TEST_F( PsuSlotSettingsDeathTest, NumberBeyondTheTwoStops ) {
    for ( const char *id : { "0", "3", "-1", "256", "\"0x1\"" } ) {
        EXPECT_DEATH( addBare( std::string( R"("psuId": )" ) + id ),
                      "Assertion `psuId == 1 \\|\\| psuId == 2' failed" );
    }
}

TEST_F( PsuSlotSettingsDeathTest, ModelWithoutADescriptionStops ) {
    EXPECT_DEATH( addBare( R"("psuId": 1, "model_1": "A")" ),
                  "Assertion `slotArgs_.find\\( psuFdlKey \\) != slotArgs_.end\\(\\)' failed" );
}

} // namespace
