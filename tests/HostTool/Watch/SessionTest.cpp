/// What a session tells devices, and what it keeps from them.
#include "HostTool/Watch/Session.h"
#include "tests/HostTool/BoardFolder.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <list>
#include <memory>

using namespace HostTool;
using namespace HostTool::Watch;

namespace {

int resets = 0;

pl_status setReset( pl_xcvr *, int ) {
    ++resets;
    return PL_STATUS_OK;
}

struct NoDisplay : Display {
    void isRead( const Model &, size_t ) override {}
    void hasChanged( const Model &, const std::vector<Change> & ) override {}
    void serverHasChanged( const Model & ) override {}
    void refresh( const Model & ) override {}
};

} // namespace

class SessionTest : public testing::Test {
  protected:
    SessionTest() : server( folder.file( "s.sock" ) ) {
        constexpr int replace = 1;
        setenv( "SMBUSD_SOCKET", folder.file( "s.sock" ).c_str(), replace );
        resets = 0;
        ops.size = sizeof( ops );
        ops.type = PL_XCVR_QSFP;
        ops.u.qsfp.size = sizeof( pl_qsfp_ops );
        ops.u.qsfp.setReset = setReset;
    }

    /// A cage of the one chip, whose reset is read and written in these registers.
    void cage( const std::string &name, int readFrom, int writtenTo, bool isPolled ) {
        Entry entry = {};
        entry.deviceClass = DeviceClass::xcvr;
        entry.name = name;
        entry.did = 1;
        entry.settings = { { "getResetReg", std::to_string( readFrom ) },
                           { "setResetReg", std::to_string( writtenTo ) } };
        task.board.entries.push_back( entry );
        Device device = {
            &entries.emplace_back( entry ), &rowOf( DeviceClass::xcvr ), &record, "", {}
        };
        for ( const Column &column : device.row->columns ) {
            device.readings.push_back( column.isPolled && !isPolled ? Reading::unread( "not yet" )
                                                                    : Reading::of( true ) );
        }
        task.devices.push_back( device );
    }

    Outcome reset( size_t item ) {
        Session session( task, display );
        return session.tellDevice( item, { Setting::reset, 1 } );
    }

    void expectRefusal( const std::string &reason ) {
        const Outcome outcome = reset( 0 );
        EXPECT_EQ( PL_STATUS_INVALID, outcome.status );
        EXPECT_EQ( reason, outcome.reason );
        EXPECT_EQ( 0, resets );
    }

    BoardFolder folder;
    ListeningSocket server;
    Options options;
    Task task = { options, {}, {}, {} };
    std::list<Entry> entries;
    pl_xcvr_ops ops = {};
    pl_xcvr record = { 0, &ops };
    NoDisplay display;
};

TEST_F( SessionTest, PolledCageIsTold ) {
    cage( "Ethernet1", 32, 32, true );
    EXPECT_TRUE( reset( 0 ).isFine() );
    EXPECT_EQ( 1, resets );
}

TEST_F( SessionTest, CageThatWasNotPolledIsNotWritten ) {
    cage( "Ethernet1", 32, 32, false );
    expectRefusal( "the library has not polled 'Ethernet1' yet: the bits of other cages in the "
                   "register would become 0" );
}

TEST_F( SessionTest, OtherCageOfTheChipMustBePolledToo ) {
    cage( "Ethernet1", 32, 33, true );
    cage( "Ethernet9", 33, 33, false );
    expectRefusal( "the library has not polled 'Ethernet9' yet: the bits of other cages in the "
                   "register would become 0" );
}

TEST_F( SessionTest, RegisterThatOnlyAnotherCageReadsIsWrittenWhenThatIsWatched ) {
    cage( "Ethernet1", 32, 33, true );
    cage( "Ethernet9", 33, 33, true );
    EXPECT_TRUE( reset( 0 ).isFine() );
}

TEST_F( SessionTest, RegisterThatNoWatchedCageReadsIsNotWritten ) {
    cage( "Ethernet1", 32, 33, true );
    cage( "Ethernet9", 33, 33, true );
    task.devices.pop_back();
    expectRefusal( "'Ethernet1': register 33 is written and never read: the bits of the other "
                   "cages in it would become 0" );
}

TEST_F( SessionTest, NothingIsToldWithoutAServer ) {
    cage( "Ethernet1", 32, 32, true );
    server.die();
    EXPECT_EQ( PL_STATUS_IO_ERROR, reset( 0 ).status );
    EXPECT_EQ( 0, resets );
}
