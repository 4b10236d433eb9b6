// What the sweep over all places has found once, here at every place.
#include "tests/faults/Host.h"
#include "tests/faults/Sweep.h"

#include "KavraGeneric/Topology/Lookup.h"
#include "KavraUtil/PLSocket.h"
#include "KavraUtil/Smbus.pb.h"

#include <PlatformLibrary/pl.h>

#include <new>
#include <sys/socket.h>
#include <unistd.h>

using Faults::Kind;

namespace {

class Mended : public Sweep {
  protected:
    Mended() { stepIs( 1 ); }

    void meetEntryOfBoard( const char *name ) {
        powerOn( Kind::allocation, board );
        perform( initialisations().front() );
        meetEntry( entry( name ) );
    }

    static bool tickThrows( size_t timer ) {
        try {
            Host::tick( timer );
            return false;
        } catch ( const std::bad_alloc & ) {
            return true;
        }
    }

    /// Fires a timer with each allocation failing in turn; it has to be armed behind each.
    void expectToGoOn( size_t timer ) {
        bool thrown = true;
        for ( unsigned n = 1; thrown; ++n ) {
            Faults::Met met = {};
            Faults::arm( { Kind::allocation, false, n, 0 }, met );
            thrown = tickThrows( timer );
            Faults::disarm();
            ASSERT_EQ( met.failed, thrown );
            ASSERT_TRUE( Host::isArmed( timer ) ) << n;
        }
    }
};

} // namespace

TEST_F( Mended, InitialisationThrowsNothingForWantOfMemory ) {
    stepIs( 3 );
    powerOn( Kind::allocation, board );
    meet( initialisations().front() );
}

// Each call finds the label of the topology that was loaded before, also the one behind the fault.
TEST_F( Mended, OldTopologyIsLoadedAgainWhenThereWasNoMemoryForANewOne ) {
    constexpr const char *old = R"([{"type":"PLM","ham":"h","id":1,"label":"old"}])";
    // Longer than the old text, so that keeping it takes memory, too.
    const std::string other =
        R"([{"type":"PLM","ham":"h","id":1,"label":"new"}])" + std::string( 64, ' ' );
    powerOn( Kind::allocation, board );
    meet( { "pl_led_init of another topology", "init",
            [&]( Result &result ) {
                result.value = Topology::getNodeByLabel( "old" ) != nullptr;
                result.status = pl_led_init( other.c_str() );
            },
            [] { pl_led_init( old ); } } );
}

TEST_F( Mended, DeviceBehindMuxesLeavesNothingOfItselfWithoutMemory ) {
    meetEntryOfBoard( "outlet" );
}

TEST_F( Mended, DeviceBehindAMuxIsFoundAgainAfterABatchWithoutMemory ) {
    meetEntryOfBoard( "asic-left" );
}

TEST_F( Mended, TextOfAFanTrayIsNotLostWithoutMemory ) {
    meetEntryOfBoard( "fan1-slot" );
}

TEST_F( Mended, SupplyIsNotPresentWithoutAText ) {
    meetEntryOfBoard( "psu1-slot" );
}

TEST_F( Mended, PollsGoOnAfterOneWithoutMemory ) {
    meetEntryOfBoard( "Ethernet1" );
    expectToGoOn( 0 );
}

TEST_F( Mended, LampsGoOnBlinkingAfterATickWithoutMemory ) {
    meetEntryOfBoard( "system-led" );
    pl_led *const led = pl_led_add( entry( "system-led" ).arguments.c_str() );
    led->ops->setLightSetting( led, PL_LED_BEACON );
    expectToGoOn( 0 );
}

TEST_F( Mended, HalfAnAnswerWithoutMemoryForTheRestClosesTheConnection ) {
    const std::string half( 100'000, '\x01' );
    bool thrown = true;
    for ( unsigned n = 1; thrown; ++n ) {
        int ends[2];
        ASSERT_EQ( 0, socketpair( AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends ) );
        PlatformLibrary::PLSocket client;
        client.fd = ends[0];
        const std::string length( { 0, 8, 0, 0 } ); // 512 KiB
        ASSERT_EQ( 4, send( ends[1], length.data(), 4, 0 ) );
        ASSERT_EQ( std::ssize( half ), send( ends[1], half.data(), half.size(), 0 ) );
        shutdown( ends[1], SHUT_WR );
        Smbus::TransactionRequest request;
        Smbus::TransactionResponse *response = nullptr;
        Faults::Met met = {};
        Faults::arm( { Kind::allocation, false, n, 0 }, met );
        thrown = false;
        try {
            client.sendRequestWait( &request, &response );
        } catch ( const std::bad_alloc & ) {
            thrown = true;
        }
        Faults::disarm();
        char sent = 0;
        const bool wasSent = recv( ends[1], &sent, 1, MSG_DONTWAIT ) == 1;
        EXPECT_EQ( wasSent, client.fd == -1 ) << n;
        EXPECT_EQ( nullptr, response );
        close( ends[1] );
    }
}
