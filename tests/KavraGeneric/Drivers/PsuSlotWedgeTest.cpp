#include "tests/KavraGeneric/Drivers/PsuSlotFixture.h"

namespace {

class PsuSlotWedgeTest : public PsuSlotTest {
  protected:
    void addWedge( const char *psuId ) {
        addBare( R"("identificationType": "wedge", "model_1": "PWR-WEDGE",
                    "psuFdl_1": "<{serialNum}>", "psuId": )" +
                 std::string( psuId ) );
        begin();
    }
};

TEST_F( PsuSlotWedgeTest, SupplyIsThereWhenItsBitIsClear ) {
    const struct {
        const char *psuId;
        int content;
        pl_status status;
    } rows[] = {
        { "1", 0x00, PL_STATUS_OK },          { "1", 0xFD, PL_STATUS_OK },
        { "1", 0x02, PL_STATUS_NOT_PRESENT }, { "2", 0xFE, PL_STATUS_OK },
        { "2", 0x01, PL_STATUS_NOT_PRESENT },
    };
    for ( const auto &row : rows ) {
        SCOPED_TRACE( row.content );
        addWedge( row.psuId );
        answer( { bytes( row.content ) } );
        EXPECT_EQ( row.status, presence() );
        EXPECT_EQ( row.status == PL_STATUS_OK ? "<N/A>" : "none", fdl );
        EXPECT_EQ( Strings{ "50[08]x1" }, batches() );
    }
}

TEST_F( PsuSlotWedgeTest, RegisterThatCannotBeReadIsNotPresent ) {
    addWedge( "1" );
    answerFailed( "" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    dropReply();
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
}

TEST_F( PsuSlotWedgeTest, ModelMustBeInTheTable ) {
    add( "wedge" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    EXPECT_TRUE( host().traced( 0, "Unknown modelName. PSU is unmanaged" ) );
}

} // namespace
