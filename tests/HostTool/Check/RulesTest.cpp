// Each rule finds what it is about, and lets pass what is next to it.
#include "tests/HostTool/Check/CheckFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

TEST_F( CheckTest, AGoodBoardHasNoFindings ) {
    oneDevice( "temp_sensor", "LM75", "{}" );
    EXPECT_THAT( rules(), IsEmpty() );
}

TEST_F( CheckTest, SyntaxErrorsAreLocated ) {
    topology( "[\n  { \"type\" \"SCD\" } ]" );
    EXPECT_THAT( rulesAndPlaces(), ElementsAre( "topology.json:2:12 syntax" ) );
}

TEST_F( CheckTest, DeepDocumentsAreRefused ) {
    topology( std::string( 100'000, '[' ) + std::string( 100'000, ']' ) );
    EXPECT_THAT( rules(), ElementsAre( "too-deep" ) );
}

TEST_F( CheckTest, CharactersThatTheEndCutsOffAreRefused ) {
    topology( "[ \"ham\xf4" );
    EXPECT_THAT( rules(), ElementsAre( "syntax" ) );
}

TEST_F( CheckTest, NumbersThatNoDoubleHoldsAreRefused ) {
    topology( "[\n 1" + std::string( 100, '0' ) + "e300 ]" );
    EXPECT_THAT( rulesAndPlaces(), ElementsAre( "topology.json:2:2 syntax" ) );
    EXPECT_THAT( report(), HasSubstr( "Number too big to be stored in double." ) );
}

TEST_F( CheckTest, AllFaultsOfAnObjectAreTold ) {
    devices( R"([ { "class": "temp_sensor", "nmae": "a", "arguments": [], "more": 1 } ])" );
    EXPECT_THAT( rules(), ElementsAre( "missing-key", "missing-key", "unknown-key", "unknown-key",
                                       "wrong-type" ) );
    EXPECT_THAT( report(), HasSubstr( "did you mean 'name'?" ) );
}

TEST_F( CheckTest, MissingKeysPointAtTheObjectAndWrongOnesAtTheValue ) {
    topology( "[\n { \"type\": \"I2C\", \"ham\": 1 } ]" );
    EXPECT_THAT( rulesAndPlaces(),
                 ElementsAre( "topology.json:2:2 missing-key", "topology.json:2:26 wrong-type" ) );
}

TEST_F( CheckTest, AnUnknownTypeOfMediumIsTold ) {
    topology( R"([ { "type": "LinuxFS", "ham": "KavraSmbus", "id": 1 } ])" );
    EXPECT_THAT( rules(), ElementsAre( "wrong-value" ) );
    EXPECT_THAT( report(), HasSubstr( "did you mean 'LinuxFs'?" ) );
}

TEST_F( CheckTest, FaultsBelowFaultsAreTold ) {
    topology( R"([ { "type": "SCD", "ham": "KavraSmbus", "accelerators": [
        { "busses": [ { "id": "1", "devices": [ {}, { "did": -1 } ] } ] } ] } ])" );
    EXPECT_THAT( rules(), ElementsAre( "missing-key", "missing-key", "missing-key", "wrong-type",
                                       "wrong-value" ) );
}

TEST_F( CheckTest, KeysThatStandTwiceAreTold ) {
    busWith( R"({ "did": 1, "did": "x" })" );
    EXPECT_THAT( rules(), ElementsAre( "duplicate-key" ) );
}

TEST_F( CheckTest, TheHostRefusesKeysThatStandTwice ) {
    devices( R"([ { "class": "system", "name": "a", "name": "b" } ])" );
    EXPECT_THAT( rules(), ElementsAre( "repeated-key" ) );
}

TEST_F( CheckTest, NumbersOfAcceleratorsAndBussesAreUnique ) {
    topology( R"([ { "type": "Celestica", "ham": "KavraSmbus", "accelerators": [
        { "id": 0, "busses": [ { "id": 1 }, { "id": 1 } ] }, { "id": 0 } ] } ])" );
    EXPECT_THAT( rules(), ElementsAre( "duplicate-accelerator", "duplicate-bus" ) );
}

TEST_F( CheckTest, ABusIsDescribedByOneMedium ) {
    topology( R"([ { "type": "I2C", "ham": "KavraSmbus", "id": 1 },
                   { "type": "I2C", "ham": "KavraSmbus", "id": 1 },
                   { "type": "I2C", "ham": "KavraSmbus", "id": 1, "simulated": true },
                   { "type": "I2C", "ham": "KavraSmbus", "id": 128 } ])" );
    EXPECT_THAT( rules(), ElementsAre( "bus-range", "same-bus" ) );
}

TEST_F( CheckTest, DidUidAndLabelAreUnique ) {
    busWith( R"({ "did": 1, "label": "a", "components": [ { "uid": 5 } ] },
                { "did": 1, "label": "a", "components": [ { "uid": 5 } ] })" );
    EXPECT_THAT( rules(), ElementsAre( "duplicate-did", "duplicate-label", "duplicate-uid" ) );
}

TEST_F( CheckTest, AnAccessMethodThatThereIsNot ) {
    topology(
        R"([ { "type": "I2C", "ham": "kavraSmbus", "id": 1, "devices": [ { "did": 1 } ] } ])" );
    devices( R"([ { "class": "psu", "name": "p", "arguments": {
        "driver": "Pmbus", "did": 1, "address": { "address": 88 } } } ])" );
    EXPECT_THAT( rules(), ElementsAre( "unknown-ham" ) );
}

TEST_F( CheckTest, AMediumOfFilesGivesNoAccessMethod ) {
    topology( R"([ { "type": "LinuxFs", "ham": "SimHam", "devices": [ { "did": 1 } ] } ])" );
    devices( R"([ { "class": "psu", "name": "p", "arguments": {
        "driver": "Pmbus", "did": 1, "address": { "address": 88 } } } ])" );
    EXPECT_THAT( rules(), ElementsAre( "no-access-method" ) );
}

/// A sensor behind a mux, whose chip is what the test says.
class CheckMuxTest : public CheckTest {
  protected:
    void sensorBehind( const std::string &chip, const std::string &channel = "1",
                       const std::string &front = {} ) {
        busWith( chip + front, R"(, "muxes": [ { "did": 9, "busses": [
            { "id": )" + channel + R"(, "devices": [ { "did": 1 } ] } ] } ])" );
        devices( sensor );
    }

    const std::string sensor = R"([ { "class": "temp_sensor", "name": "s", "arguments": {
        "driver": "LM75", "did": 1, "address": { "address": 72 } },
        "thresholds": { "alert": 1, "critical": 2 } } ])";
    const std::string good = R"({ "did": 9, "driver": "PCA9548", "address": { "address": 112 } })";
};

TEST_F( CheckMuxTest, AGoodMux ) {
    sensorBehind( good );
    EXPECT_THAT( rules(), IsEmpty() );
}

TEST_F( CheckMuxTest, ItsChipIsADevice ) {
    sensorBehind( R"({ "did": 8 })" );
    EXPECT_THAT( rules(), ElementsAre( "mux-without-device", "unused-device" ) );
}

TEST_F( CheckMuxTest, ItsChipIsDeclaredInline ) {
    sensorBehind( R"({ "did": 9 })" );
    EXPECT_THAT( rules(), ElementsAre( "mux-not-inline" ) );
}

TEST_F( CheckMuxTest, ItsChipIsAMux ) {
    sensorBehind( R"({ "did": 9, "driver": "Pmbus", "address": { "address": 112 } })" );
    EXPECT_THAT( rules(), ElementsAre( "mux-driver" ) );
}

TEST_F( CheckMuxTest, ItsChipHasAnAccessMethod ) {
    sensorBehind(
        R"({ "did": 9, "driver": "PCA9548", "provideHam": 0, "address": { "address": 112 } })" );
    EXPECT_THAT( rules(), Contains( "without-access" ) );
}

TEST_F( CheckMuxTest, ItsChipIsOnTheWiresThatItSplits ) {
    topology( R"([
        { "type": "I2C", "ham": "KavraSmbus", "id": 2, "muxes": [ { "did": 9, "busses": [
            { "id": 1, "devices": [ { "did": 1 } ] } ] } ] },
        { "type": "I2C", "ham": "KavraSmbus", "id": 3, "devices": [ )" +
              good + " ] } ]" );
    devices( sensor );
    EXPECT_THAT( rulesAndPlaces(), ElementsAre( "topology.json:2:76 mux-elsewhere" ) );
}

TEST_F( CheckMuxTest, ItsControlByteGoesToTheWiresOfItsChip ) {
    sensorBehind(
        R"({ "did": 9, "driver": "PCA9548", "address": { "address": 112, "accel": 1 } })" );
    emulation( R"({ "busses": [
        { "master": "I2C", "bus": 2, "chips": [
            { "name": "mux", "type": "PCA9548", "address": 112, "channels": [
                { "channel": 0, "chips": [
                    { "name": "sensor", "type": "LM75", "address": 72 } ] } ] } ] },
        { "master": "I2C", "accelerator": 1, "bus": 2, "chips": [
            { "name": "other", "type": "PCA9548", "address": 112, "channels": [] } ] } ] })" );
    EXPECT_THAT( rules(), ElementsAre( "chip-absent", "unused-chip", "unused-chip" ) );
    EXPECT_THAT( report(), HasSubstr( "'s': no chip answers at 0x48" ) );
}

TEST_F( CheckMuxTest, ItsChipMayBeInFrontOfAnotherMux ) {
    const std::string outer = R"({ "did": 8, "driver": "PCA9548", "address": { "address": 113 } })";
    busWith( good + ", " + outer, R"(, "muxes": [ { "did": 8, "busses": [ { "id": 1, "muxes": [
        { "did": 9, "busses": [ { "id": 1, "devices": [ { "did": 1 } ] } ] } ] } ] } ])" );
    devices( sensor );
    EXPECT_THAT( rules(), IsEmpty() );
}

TEST_F( CheckMuxTest, AChannelIsAControlByte ) {
    sensorBehind( good, "3" );
    EXPECT_THAT( rules(), ElementsAre( "mux-channel" ) );
    EXPECT_THAT( report(), HasSubstr( "channel 3 is turned on by 8" ) );
}

TEST_F( CheckMuxTest, AMuxIsNotBehindItself ) {
    busWith( "", R"(, "muxes": [ { "did": 9, "busses": [ { "id": 1, "devices": [ { "did": 1 },
        { "did": 9, "driver": "PCA9548", "address": { "address": 112 } } ] } ] } ])" );
    devices( R"([ { "class": "psu", "name": "p", "arguments": {
        "driver": "Pmbus", "did": 1, "address": { "address": 88 } } } ])" );
    EXPECT_THAT( rules(), ElementsAre( "mux-loop" ) );
}

TEST_F( CheckMuxTest, AnAddressBehindItIsFreeInFrontOfIt ) {
    sensorBehind( good, "1", R"(, { "did": 2, "driver": "LM75", "address": { "address": 72 } })" );
    EXPECT_THAT( rules(), Contains( "address-behind-mux" ) );
}

TEST_F( CheckTest, AnAddressIsTakenOnce ) {
    busWith( R"({ "did": 1, "driver": "LM75", "address": { "address": 72 } },
                { "did": 2, "driver": "LM75", "address": { "address": 72 } },
                { "did": 3, "driver": "SmbusProxyDriver", "address": { "address": 72 } })" );
    EXPECT_THAT( rules(), ElementsAre( "address-twice" ) );
}

TEST_F( CheckTest, NumbersOfAnAddressFitTheirFields ) {
    arguments( R"({ "driver": "Dummy", "did": 1, "provideHam": 0,
        "address": { "address": 200, "addrSize": 4, "busTimeout": 7 } })" );
    EXPECT_THAT( rules(), ElementsAre( "address-range", "address-range", "address-size" ) );
}

TEST_F( CheckTest, KeysOfAnAddressAreThoseThatAreRead ) {
    arguments( R"({ "driver": "Dummy", "did": 1, "address": { "address": 72, "addrSiez": 2,
        "addrSize": 1, "accel": 0, "busTimeout": 0, "writeDelay": 0, "readDelay": 0,
        "extraDelay": 0, "writeNoStopReadCurrent": false } })" );
    EXPECT_THAT( rulesAndPlaces(), ElementsAre( "arguments.json:1:60 address-unread" ) );
    EXPECT_THAT( report(), HasSubstr( "did you mean 'addrSize'?" ) );
}

TEST_F( CheckTest, WhatEntriesNameExists ) {
    busWith( R"({ "did": 1, "label": "bus<0x48>" })" );
    devices( R"([
        { "class": "psu", "name": "a", "arguments": {
            "driver": "Pmbus", "did": 99, "address": { "address": 88 } } },
        { "class": "psu", "name": "a", "arguments": {
            "driver": "Pmbus", "did": 1, "uid": 5, "address": { "address": 88 } } },
        { "class": "smbus", "name": "b", "bus": "buss", "address": 72 },
        { "class": "smbus", "name": "c", "bus": "bus", "address": 73 },
        { "class": "smbus", "name": "d", "bus": "bus", "address": "0x48" } ])" );
    EXPECT_THAT( rules(), ElementsAre( "duplicate-name", "no-proxy-device", "proxy-not-inline",
                                       "unknown-bus", "unknown-did", "unknown-uid" ) );
}

TEST_F( CheckTest, DriversExistAndOfferTheClass ) {
    busWith( R"({ "did": 1 }, { "did": 2 })" );
    devices( R"([
        { "class": "psu", "name": "a", "arguments": {
            "driver": "pmbus", "did": 1, "address": { "address": 88 } } },
        { "class": "fan", "name": "b", "arguments": {
            "driver": "LM75", "did": 2, "address": { "address": 72 } } } ])" );
    EXPECT_THAT( rules(), ElementsAre( "class-not-offered", "unknown-driver" ) );
    EXPECT_THAT( report(), HasSubstr( "it offers temp_sensor, gpio" ) );
}

TEST_F( CheckTest, TheFirstEntryOfADidDecides ) {
    busWith( R"({ "did": 1 })" );
    devices( R"([
        { "class": "psu", "name": "a", "arguments": {
            "driver": "Pmbus", "did": 1, "address": { "address": 88 } } },
        { "class": "psu", "name": "b", "arguments": {
            "driver": "Pmbus", "did": 1, "address": { "address": 89 } } } ])" );
    EXPECT_THAT( rules(), ElementsAre( "shared-did" ) );
}

TEST_F( CheckTest, AccessMethodsAreNeeded ) {
    busWith( R"({ "did": 1 }, { "did": 2 })" );
    devices( R"([
        { "class": "psu", "name": "a", "arguments": {
            "driver": "Pmbus", "did": 1, "provideHam": 0, "address": { "address": 88 } } },
        { "class": "smbus", "name": "b", "arguments": {
            "driver": "SmbusProxyDriver", "did": 2, "provideHam": 0,
            "address": { "address": 89 } } } ])" );
    EXPECT_THAT( rules(), ElementsAre( "reads-without-access", "without-access" ) );
}

TEST_F( CheckTest, ALineIsReadThroughAnAccessMethod ) {
    busWith( R"({ "did": 1 }, { "did": 2 })" );
    devices( R"([
        { "class": "gpio", "name": "dummy", "arguments": {
            "driver": "Dummy", "did": 1, "provideHam": 0, "address": { "address": 0 },
            "driverArgs": { "register": 0, "bitpos": 0 } } },
        { "class": "gpio", "name": "tool", "arguments": {
            "driver": "PsuSlot", "did": 2, "provideHam": 0, "address": { "address": 0 },
            "driverArgs": { "register": 0, "bitpos": 0,
                            "identificationType": "ipmitool", "ipmiId": 1 } } } ])" );
    EXPECT_THAT( rules(), ElementsAre( "reads-without-access", "reads-without-access" ) );
}

TEST_F( CheckTest, ACarrierOfLinesHasAnAccessMethod ) {
    busWith( R"({ "did": 1 }, { "did": 2, "label": "lines", "driver": null, "provideHam": 0,
                                "address": { "address": 64 } })" );
    devices( R"([ { "class": "psu", "name": "p", "arguments": {
        "driver": "Pmbus", "did": 1, "address": { "address": 88 },
        "driverArgs": { "gpioDevice": "lines", "powerOkReg": 8, "powerOkBit": 3 } } } ])" );
    EXPECT_THAT( rules(), ElementsAre( "reads-without-access" ) );
}

TEST_F( CheckTest, ASlotThatAsksItsSupplyHasAnAccessMethodWhoeverAsksFirst ) {
    busWith( R"({ "did": 1 })" );
    const auto slot = []( const std::string &name, const std::string &type ) {
        return R"({ "class": "slot", "name": ")" + name + R"(", "arguments": {
            "driver": "PsuSlot", "did": 1, "provideHam": 0, "address": { "address": 0 },
            "driverArgs": { "psuId": 1, "ipmiId": 1, "identificationType": ")" +
               type + "\" } } }";
    };
    devices( "[" + slot( "a", "ipmitool" ) + "," + slot( "b", "pmbus" ) + "]" );
    EXPECT_THAT( rules(), Contains( "reads-without-access" ).Times( 1 ) );
}

TEST_F( CheckTest, WhatNothingUsesIsAWarning ) {
    busWith( R"({ "did": 1 })", R"(, "muxes": [ { "did": 9 } ])" );
    devices( "[]" );
    EXPECT_THAT( rules(), ElementsAre( "unused-device", "unused-mux" ) );
    EXPECT_THAT( report(), HasSubstr( "0 errors, 2 warnings\n" ) );
}

TEST_F( CheckTest, TheChipIsOnTheEmulatedBoard ) {
    oneDevice( "temp_sensor", "LM75", "{}" );
    emulation( R"({ "busses": [ { "master": "I2C", "bus": 2, "chips": [
        { "name": "a", "type": "LM75", "address": "0x49" } ] } ] })" );
    EXPECT_THAT( rules(), ElementsAre( "chip-absent", "unused-chip" ) );
}

TEST_F( CheckTest, AnAddressThatIsNoNumberIsToldOnce ) {
    busWith( R"({ "did": 1 })" );
    devices( R"([ { "class": "psu", "name": "p", "arguments": {
        "driver": "Pmbus", "did": 1, "address": { "address": "0x48" } } } ])" );
    emulation( R"({ "busses": [] })" );
    EXPECT_THAT( rules(), ElementsAre( "wrong-type" ) );
}

TEST_F( CheckTest, TheChipIsOfTheRightTypeAndThere ) {
    oneDevice( "temp_sensor", "LM75", "{}" );
    emulation( R"({ "busses": [ { "master": "I2C", "bus": 2, "chips": [
        { "name": "a", "type": "24C02", "address": "0x48", "set": { "present": 0 } } ] } ] })" );
    EXPECT_THAT( rules(), ElementsAre( "chip-not-fitted", "other-chip" ) );
}

TEST_F( CheckTest, WhatTheServerRefuses ) {
    emulation( R"({ "busses": [ { "master": "I2C", "bus": 2, "chips": [
        { "name": "a", "type": "LM75", "address": "0x48", "on": "b" },
        { "name": "a", "type": "LM75", "address": 72 },
        { "name": "m", "type": "PCA9548", "address": 112, "channels": [
            { "channel": 1, "chips": [] }, { "channel": "0x1", "chips": [] } ] } ] },
        { "master": "I2C", "bus": "0x2", "chips": [] } ] })" );
    EXPECT_THAT( rules(), ElementsAre( "emulated-address", "emulated-bus-twice", "emulated-channel",
                                       "emulated-name", "emulated-reference" ) );
}

TEST_F( CheckTest, KnobsAreThoseOfTheChip ) {
    emulation( R"({ "busses": [ { "master": "I2C", "bus": 2, "chips": [
        { "name": "a", "type": "LM75", "address": "0x48",
          "set": { "temperature": 400, "heat": 1, "present": 2 } } ] } ] })" );
    EXPECT_THAT( rules(), ElementsAre( "unknown-key", "wrong-value", "wrong-value" ) );
}
