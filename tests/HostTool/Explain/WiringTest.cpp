#include "HostTool/Explain/Wiring.h"

#include "tests/HostTool/Explain/Requests.h"

#include <gtest/gtest.h>

using namespace ExplainRequests;
using namespace HostTool::Explain;

namespace {

constexpr const char *topology = R"([
  { "type": "SCD", "pci": 768, "accelerators": [ { "id": 0, "busses": [ {
      "id": 1, "label": "backplane",
      "devices": [ { "did": 100, "driver": "PCA9548", "address": { "address": 112 } } ],
      "muxes": [ { "did": 100, "label": "outer", "busses": [ {
          "id": 4, "label": "outer-channel2",
          "devices": [ { "did": 101, "driver": "PCA9548", "address": { "address": 113 } } ],
          "muxes": [ { "did": 101, "label": "inner", "busses": [ { "id": 8, "label": "far" } ] } ]
      } ] } ] } ] } ] },
  { "type": "I2C", "id": 2, "label": "cpu-bus" },
  { "type": "I2C", "id": 3, "simulated": true, "label": "files" } ])";

/// What each request is to the muxes, in one line.
std::string roles( const Wiring &wiring, std::vector<Request> requests ) {
    std::string text;
    for ( const Role &role : wiring.rolesIn( batch( 0, std::move( requests ) ) ) ) {
        text += text.empty() ? "" : " | ";
        switch ( role.what ) {
        case Role::What::access:
            text += "access";
            break;
        case Role::What::select:
            text +=
                "select " + role.mux->label + " " + ( role.channel ? role.channel->label : "?" );
            break;
        case Role::What::deselect:
            text += "deselect " + role.mux->label;
            break;
        }
    }
    return text;
}

} // namespace

TEST( WiringTest, BusHasItsLabel ) {
    const Wiring wiring( topology );
    EXPECT_EQ( "SCD pci 0x00000300 accelerator 0 bus 1 (backplane)", wiring.describe( scdBus ) );
    EXPECT_EQ( "cpu-bus", wiring.labelOf( { "I2C", 0, 0, 2 } ) );
    EXPECT_EQ( "files", wiring.labelOf( { "SIMULATED", 0, 0, 3 } ) );
    EXPECT_EQ( "I2C pci 0x00000000 accelerator 0 bus 9", wiring.describe( { "I2C", 0, 0, 9 } ) );
}

TEST( WiringTest, SendBytesToMuxesSelectAndDeselect ) {
    EXPECT_EQ( "select outer outer-channel2 | select inner far | access | deselect inner | "
               "deselect outer",
               roles( Wiring( topology ),
                      { sendByte( 0x70, 4 ), sendByte( 0x71, 8 ), readBytes( 0x48, 0, 2 ),
                        sendByte( 0x71, 0 ), sendByte( 0x70, 0 ) } ) );
}

TEST( WiringTest, SendByteToAnotherChipIsAnAccess ) {
    EXPECT_EQ( "access", roles( Wiring( topology ), { sendByte( 0x58, 3 ) } ) );
    // The inner mux is not on these wires until the outer one leads there.
    EXPECT_EQ( "access", roles( Wiring( topology ), { sendByte( 0x71, 8 ) } ) );
    EXPECT_EQ( "access", roles( Wiring( topology ), { sendByte( 0x70, 0 ) } ) );
}

TEST( WiringTest, ChannelThatNobodyDescribedIsSelectedAllTheSame ) {
    EXPECT_EQ( "select outer ? | access | deselect outer",
               roles( Wiring( topology ),
                      { sendByte( 0x70, 0x80 ), readBytes( 0x48, 0, 2 ), sendByte( 0x70, 0 ) } ) );
}

TEST( WiringTest, BusWithoutTopologyHasAccessesAlone ) {
    EXPECT_EQ( "access | access",
               roles( Wiring( "no JSON" ), { sendByte( 0x70, 4 ), readBytes( 0x48, 0, 2 ) } ) );
}
