#include "KavraGeneric/Drivers/PsuSlot.h"

#include "tests/KavraGeneric/Drivers/FailingAllocation.h"
#include "tests/KavraGeneric/Drivers/PsuSlotFixture.h"
#include "tests/support/SimulationFolder.h"

namespace {

using Drivers::PsuSlot;

TEST_F( PsuSlotTest, KnownSupplyIsDescribed ) {
    add( "pmbus" );
    answerBlocks( "MODEL-B", "S1" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<B S1 S1>", fdl );
}

TEST_F( PsuSlotTest, DescribingIsTraced ) {
    add( "pmbus" );
    begin();
    answerBlocks( "MODEL-A", "S1" );
    presence();
    EXPECT_EQ( ( Strings{ "getPresence", "readSerialAndModel_" } ), host().texts( 7 ) );
    EXPECT_EQ( Strings{ "FormatFdl::set( 'serialNum', 'S1' )" }, host().texts( 5 ) );
    EXPECT_EQ( ( Strings{ "0 PSU serialNum = 'S1'", "0 PSU modelName = 'MODEL-A'" } ),
               newTraces() );
}

TEST_F( PsuSlotTest, SameSupplyIsDescribedFromTheCache ) {
    add( "pmbus" );
    answerBlocks( "MODEL-A", "S1" );
    presence();
    begin();
    answerBlocks( "MODEL-A", "S1" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A S1>", fdl );
    EXPECT_EQ( ( Strings{ "getPresence", "readSerialAndModel_", "Using cached fdl" } ),
               host().texts( 7 ) );
    EXPECT_TRUE( host().texts( 5 ).empty() );
    EXPECT_TRUE( host().texts( 0 ).empty() );
}

TEST_F( PsuSlotTest, EachTextIsTheCallersOwn ) {
    add( "pmbus" );
    char *texts[3] = {};
    for ( char *&given : texts ) {
        answerBlocks( "MODEL-A", "S1" );
        EXPECT_EQ( PL_STATUS_OK, slot->ops->getPresence( slot, &given ) );
    }
    EXPECT_NE( texts[0], texts[1] );
    EXPECT_NE( texts[1], texts[2] );
    texts[0][1] = texts[1][1] = 'X';
    EXPECT_STREQ( "<A S1>", texts[2] );
    for ( char *given : texts ) {
        free( given );
    }
}

TEST_F( PsuSlotTest, TextThatThereIsNoMemoryForIsAFailureUntilThereIs ) {
    add( "pmbus" );
    allocationFails = true;
    for ( int i = 0; i < 2; ++i ) {
        answerBlocks( "MODEL-A", "S1" );
        EXPECT_EQ( PL_STATUS_FAILED, presence() );
        EXPECT_EQ( "none", fdl );
    }
    allocationFails = false;
    answerBlocks( "MODEL-A", "S1" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A S1>", fdl );
}

TEST_F( PsuSlotTest, NewSerialNumberOrModelRebuildsTheText ) {
    add( "pmbus" );
    for ( const auto &[model, serial, expected] :
          { std::tuple( "MODEL-A", "S1", "<A S1>" ), std::tuple( "MODEL-A", "S2", "<A S2>" ),
            std::tuple( "MODEL-B", "S2", "<B S2 S2>" ) } ) {
        begin();
        answerBlocks( model, serial );
        EXPECT_EQ( PL_STATUS_OK, presence() );
        EXPECT_EQ( expected, fdl );
        EXPECT_FALSE( host().traced( 7, "Using cached fdl" ) );
    }
}

TEST_F( PsuSlotTest, FailedIdentificationForgetsTheCache ) {
    add( "pmbus" );
    answerBlocks( "MODEL-A", "S1" );
    presence();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    EXPECT_EQ( "none", fdl );
    begin();
    answerBlocks( "MODEL-A", "S1" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_FALSE( host().traced( 7, "Using cached fdl" ) );
    EXPECT_EQ( "<A S1>", fdl );
}

TEST_F( PsuSlotTest, FailedIdentificationIsNotTriedAgain ) {
    add( "pmbus" );
    begin();
    answerFailed( "" );
    presence();
    EXPECT_EQ( 1U, batches().size() );
    EXPECT_TRUE( host().traced( 7, "Failed to read PSU info '' ''" ) );
}

TEST_F( PsuSlotTest, EmptySerialNumberOrModelIsAFailedIdentification ) {
    add( "pmbus" );
    for ( const auto &[model, serial, trace] :
          { std::tuple( "", "S1", "Failed to read PSU info 'S1' ''" ),
            std::tuple( "MODEL-A", "", "Failed to read PSU info '' 'MODEL-A'" ),
            std::tuple( " \t", "S1", "Failed to read PSU info 'S1' ''" ) } ) {
        begin();
        answerBlocks( model, serial );
        EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
        EXPECT_TRUE( host().traced( 7, trace ) );
        EXPECT_EQ( 2U, batches().size() );
    }
}

TEST_F( PsuSlotTest, UnknownModelIsAskedThreeTimesAndUnmanaged ) {
    add( "pmbus" );
    begin();
    for ( int attempt = 0; attempt < 3; ++attempt ) {
        answerBlocks( "MODEL-C", "S1" );
    }
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    EXPECT_EQ( "none", fdl );
    EXPECT_EQ( 6U, batches().size() );
    EXPECT_EQ( Strings{ "0 Unknown modelName. PSU is unmanaged" }, newTraces() );
}

TEST_F( PsuSlotTest, ModelThatIsKnownAtTheThirdAttemptCounts ) {
    add( "pmbus" );
    answerBlocks( "M", "S1" );
    answerBlocks( "MODEL", "S1" );
    answerBlocks( "MODEL-A", "S1" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A S1>", fdl );
}

TEST_F( PsuSlotTest, AttemptThatFailsAfterAnUnknownModelEndsIt ) {
    add( "pmbus" );
    begin();
    answerBlocks( "M", "S1" );
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    EXPECT_EQ( 3U, batches().size() );
    EXPECT_TRUE( newTraces().empty() );
}

TEST_F( PsuSlotTest, UnknownModelForgetsTheCache ) {
    add( "pmbus" );
    answerBlocks( "MODEL-A", "S1" );
    presence();
    for ( int attempt = 0; attempt < 3; ++attempt ) {
        answerBlocks( "MODEL-C", "S1" );
    }
    presence();
    begin();
    answerBlocks( "MODEL-A", "S1" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_FALSE( host().traced( 7, "Using cached fdl" ) );
}

TEST_F( PsuSlotTest, SerialNumberThatWouldNeverLeaveTheTemplateIsAFailedIdentification ) {
    addBare( R"("psuId": 1, "model_1": "MODEL-A", "psuFdl_1": "<{serialNum}}>")" );
    for ( const char *serial : { "{serialNum}", "a{serialNum}b", "}}{serialNum{serialNum" } ) {
        begin();
        answerBlocks( "MODEL-A", serial );
        EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
        EXPECT_EQ( "none", fdl );
        EXPECT_TRUE( host().traced( 7, std::string( "Failed to read PSU info '" ) + serial +
                                           "' 'MODEL-A'" ) );
    }
}

TEST_F( PsuSlotTest, BracesInASerialNumberThatLeadNowhereAreText ) {
    add( "pmbus" );
    for ( const std::string serial : { "}{", "{serialNum", "}}{serialNum{serialNum" } ) {
        answerBlocks( "MODEL-A", serial );
        EXPECT_EQ( PL_STATUS_OK, presence() );
        EXPECT_EQ( "<A " + serial + ">", fdl );
    }
}

TEST_F( PsuSlotTest, FormatsInWhatASupplySaysAreText ) {
    add( "pmbus" );
    answerBlocks( "MODEL-A", "%s%n" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A %s%n>", fdl );
}

constexpr const char *wired = R"(, "gpioDevice": "signals", "presenceReg": 1, "presenceBit": 2,
                                   "powerOkReg": 3, "powerOkBit": 4)";

TEST_F( PsuSlotTest, PresenceAndPowerGoodAreReadInThatOrder ) {
    add( "pmbus", wired );
    begin();
    answer( { bytes( 0 ) } );
    answer( { bytes( 0 ) } );
    answerBlocks( "MODEL-A", "S1" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( ( Strings{ "40[01]x1", "40[03]x1", "50[9a]x1 | 50[9e]x1", "50[9a]x8 | 50[9e]x3" } ),
               batches() );
}

TEST_F( PsuSlotTest, SignalsAreActiveLowUnlessTheArgumentsSayOtherwise ) {
    const struct {
        const char *polarity;
        int presence, powerOk;
        bool asked; // the supply is asked who it is
    } rows[] = {
        { "", 0xFB, 0xEF, true },
        { "", 0x04, 0xEF, false },
        { "", 0xFB, 0x10, false },
        { R"(, "presenceActiveLow": false)", 0x04, 0xEF, true },
        { R"(, "presenceActiveLow": false)", 0xFB, 0xEF, false },
        { R"(, "powerOkActiveLow": false)", 0xFB, 0x10, true },
        { R"(, "powerOkActiveLow": false)", 0xFB, 0xEF, false },
        { R"(, "presenceActiveLow": "yes", "powerOkActiveLow": 1)", 0x04, 0x10, true },
        { R"(, "presenceActiveLow": true, "powerOkActiveLow": "true")", 0, 0, true },
    };
    for ( const auto &row : rows ) {
        SCOPED_TRACE( row.polarity );
        add( "pmbus", std::string( wired ) + row.polarity );
        begin();
        answer( { bytes( row.presence ) } );
        answer( { bytes( row.powerOk ) } );
        presence();
        EXPECT_EQ( row.asked, batches().size() > 2 );
    }
}

TEST_F( PsuSlotTest, EmptySlotIsNotPresentAndSaysNothing ) {
    add( "pmbus", wired );
    begin();
    answer( { bytes( 0x04 ) } );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    EXPECT_EQ( 2U, batches().size() );
    EXPECT_TRUE( newTraces().empty() );
}

TEST_F( PsuSlotTest, EmptySlotKeepsTheCache ) {
    add( "pmbus", wired );
    answer( { ok } );
    answer( { ok } );
    answerBlocks( "MODEL-A", "S1" );
    presence();
    answer( { bytes( 0x04 ) } );
    answer( { ok } );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    answer( { ok } );
    answer( { ok } );
    answerBlocks( "MODEL-A", "S1" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_TRUE( host().traced( 7, "Using cached fdl" ) );
}

TEST_F( PsuSlotTest, SupplyWithoutGoodPowerIsUnmanagedAndForgotten ) {
    add( "pmbus",
         std::string( wired ) + R"(, "model_3": "PWR-UNKNOWN", "psuFdl_3": "{serialNum}")" );
    answer( { ok } );
    answer( { ok } );
    answerBlocks( "MODEL-A", "S1" );
    presence();
    begin();
    answer( { bytes( 0 ) } );
    answer( { bytes( 0x10 ) } );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    EXPECT_EQ( "none", fdl );
    EXPECT_EQ( ( Strings{ "40[01]x1", "40[03]x1" } ), batches() );
    EXPECT_EQ( Strings{ "0 Unknown modelName. PSU is unmanaged" }, newTraces() );
    answer( { ok } );
    answer( { ok } );
    answerBlocks( "MODEL-A", "S1" );
    presence();
    EXPECT_FALSE( host().traced( 7, "Using cached fdl" ) );
}

TEST_F( PsuSlotTest, SignalThatCannotBeReadIsPassedOn ) {
    add( "pmbus", wired );
    begin();
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_FAILED, presence() );
    EXPECT_EQ( 1U, batches().size() );
    answer( { bytes( 0x04 ) } ); // also for an empty slot
    dropReply();
    EXPECT_EQ( PL_STATUS_IO_ERROR, presence() );
    EXPECT_EQ( 3U, batches().size() );
}

TEST_F( PsuSlotTest, SupplyPulledBetweenTwoBatchesIsNotPresent ) {
    add( "pmbus" );
    begin();
    answer( { bytes( 7 ), bytes( 2 ) } );
    answerFailed( "bus 1 chip 0x50 reg 0x9a: no acknowledge" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    answerBlocks( "MODEL-A", "S1" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
}

TEST_F( PsuSlotTest, FailedIdentificationIsNoUnknownModel ) {
    add( "pmbus", R"(, "assertOnUnknownModelName": true)" );
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
}

TEST_F( PsuSlotTest, UnknownModelStopsByTheWordTrueAlone ) {
    for ( const char *value : { "false", "1", "\"True\"", "\"yes\"" } ) {
        add( "pmbus", std::string( R"(, "assertOnUnknownModelName": )" ) + value );
        for ( int attempt = 0; attempt < 3; ++attempt ) {
            answerBlocks( "MODEL-C", "S1" );
        }
        EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() ) << value;
    }
}

using PsuSlotDeathTest = PsuSlotTest;

TEST_F( PsuSlotDeathTest, TemplateWithoutTheSerialNumberStops ) {
    EXPECT_DEATH(
        {
            addBare( R"("psuId": 1, "model_1": "A", "psuFdl_1": "nothing")" );
            answerBlocks( "A", "S" );
            presence();
        },
        "Assertion `0 && \"Invalid key in FormatFdl::set\"' failed" );
}

TEST_F( PsuSlotDeathTest, UnknownModelStopsWhenTheArgumentsSaySo ) {
    EXPECT_DEATH(
        {
            add( "pmbus", R"(, "assertOnUnknownModelName": true)" );
            for ( int attempt = 0; attempt < 3; ++attempt ) {
                answerBlocks( "MODEL-C", "S1" );
            }
            presence();
        },
        "Assertion `!assertOnUnknownModelName_' failed" );
}

TEST_F( PsuSlotDeathTest, SupplyWithoutGoodPowerStopsWhenTheArgumentsSaySo ) {
    EXPECT_DEATH(
        {
            add( "pmbus", std::string( wired ) + R"(, "assertOnUnknownModelName": true)" );
            answer( { bytes( 0 ) } );
            answer( { bytes( 0x10 ) } );
            presence();
        },
        "Assertion `!assertOnUnknownModelName_' failed" );
}

class PsuSlotSimulationTest : public HostOfSlots {
  protected:
    PsuSlotSimulationTest() {
        SimulationFolder::path();
        loadTopology( topology );
        simulate();
    }
};

TEST_F( PsuSlotSimulationTest, SupplyOfTheTableIsThere ) {
    addBare( R"("psuId": 1, "identificationType": "pmbus",
                "model_1": "DPS550AB6A", "psuFdl_1": "<{serialNum}>")" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<DPS550AB6A   >", fdl );
}

TEST_F( PsuSlotSimulationTest, WedgeSupplyIsThere ) {
    addBare( R"("psuId": 2, "identificationType": "wedge",
                "model_1": "PWR-WEDGE", "psuFdl_1": "<{serialNum}>")" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<N/A>", fdl );
}

TEST_F( PsuSlotSimulationTest, SupplyWithAnEepromIsNot ) {
    add( "ipmi" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    add( "tlv" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
}

TEST_F( PsuSlotSimulationTest, FileHasTheTable ) {
    add( "pmbus" );
    EXPECT_EQ( "00DPS550AB6A0DPS550AB6A   \n", SimulationFolder::read( "PsuSlot-slot1" ) );
    EXPECT_EQ(
        &PsuSlot::values,
        &dynamic_cast<PsuSlot &>( *Component::DeviceBase::devices.at( 7 ) ).expectedValues() );
}

} // namespace
