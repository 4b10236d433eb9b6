#include "SmbusServer/EmulatedBackend.h"
#include "EmulatedBoard/Board.h"
#include "EmulatedBoard/PmbusSupply.h"

#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

using namespace SmbusServer;

namespace {

/// Drives 41 42 43 … behind a count of 3 and keeps what was written.
class Probe : public EmulatedBoard::Chip {
  public:
    Probe() : Chip( 0x20 ) {}
    bool write( std::span<const uint8_t> bytes ) override {
        written.emplace_back( bytes.begin(), bytes.end() );
        return true;
    }
    uint8_t read( size_t position ) override {
        return static_cast<uint8_t>( position == 0        ? count
                                     : position == codeAt ? code
                                                          : 0x40 + position );
    }
    std::vector<std::vector<uint8_t>> written;
    uint8_t count = 3;
    size_t codeAt = 0; ///< where a packet error code is driven; 0: nowhere
    uint8_t code = 0;

  protected:
    void powerOn() override {}
    std::vector<EmulatedBoard::Knob> ownKnobs() override { return {}; }
};

} // namespace

using Written = std::vector<std::vector<uint8_t>>;

class EmulatedBackendTest : public testing::Test {
  protected:
    EmulatedBackendTest() {
        auto chip = std::make_unique<Probe>();
        probe = chip.get();
        board.newBus( { .master = 1 } )->segment().add( std::move( chip ) );
    }

    Cause perform( Smbus::RequestType type, uint32_t length, std::string_view data = {} ) {
        operation.bus.master = Smbus::I2C;
        operation.chip = 0x20;
        operation.type = type;
        operation.length = length;
        operation.data = data;
        return backend.perform( operation, answer );
    }

    EmulatedBoard::Board board;
    Probe *probe;
    EmulatedBackend backend{ board };
    Operation operation = { .reg = 0x07 };
    std::string answer;
};

TEST_F( EmulatedBackendTest, ReadOfLength0IsAReceiveByte ) {
    EXPECT_EQ( Cause::None, perform( Smbus::READ, 0 ) );
    EXPECT_EQ( "\x03", answer );
    EXPECT_EQ( Written(), probe->written );
}

TEST_F( EmulatedBackendTest, ReadSendsTheCommandFirst ) {
    EXPECT_EQ( Cause::None, perform( Smbus::READ, 2 ) );
    EXPECT_EQ( "\x03\x41", answer );
    EXPECT_EQ( Written{ { 0x07 } }, probe->written );
}

TEST_F( EmulatedBackendTest, WriteOfLength0SendsTheRegister ) {
    EXPECT_EQ( Cause::None, perform( Smbus::WRITE, 0 ) );
    EXPECT_EQ( Written{ { 0x07 } }, probe->written );
}

TEST_F( EmulatedBackendTest, WriteSendsItsBytesBehindTheCommand ) {
    EXPECT_EQ( Cause::None, perform( Smbus::WRITE, 2, "ab" ) );
    EXPECT_EQ( ( Written{ { 0x07, 'a', 'b' } } ), probe->written );
}

TEST_F( EmulatedBackendTest, BlockWriteSendsItsCount ) {
    EXPECT_EQ( Cause::None, perform( Smbus::BLOCK_WRITE, 2, "ab" ) );
    EXPECT_EQ( ( Written{ { 0x07, 2, 'a', 'b' } } ), probe->written );
}

TEST_F( EmulatedBackendTest, BlockReadLeavesTheCountOut ) {
    EXPECT_EQ( Cause::None, perform( Smbus::BLOCK_READ, 0 ) );
    EXPECT_EQ( "\x41\x42\x43", answer );
}

TEST_F( EmulatedBackendTest, BlockReadOfAWrongCountFails ) {
    probe->count = 0xff;
    EXPECT_EQ( Cause::BadBlockCount, perform( Smbus::BLOCK_READ, 0 ) );
}

TEST_F( EmulatedBackendTest, ProcessCallWritesAWordAndReadsAWord ) {
    EXPECT_EQ( Cause::None, perform( Smbus::PROCESS_CALL, 2, "ab" ) );
    EXPECT_EQ( ( Written{ { 0x07, 'a', 'b' } } ), probe->written );
    EXPECT_EQ( "\x03\x41", answer );
}

TEST_F( EmulatedBackendTest, WideRegisterTravelsHighByteFirst ) {
    operation.reg = 0x1234;
    operation.registerWidth = 2;
    perform( Smbus::WRITE, 1, "a" );
    EXPECT_EQ( ( Written{ { 0x12, 0x34, 'a' } } ), probe->written );
}

TEST_F( EmulatedBackendTest, BusIsChosenByAllItsParts ) {
    EXPECT_EQ( Cause::None, perform( Smbus::READ, 1 ) );
    operation.bus.bus = 1;
    EXPECT_EQ( Cause::NoSuchBus, perform( Smbus::READ, 1 ) );
    operation.bus = { .accelerator = 1 };
    EXPECT_EQ( Cause::NoSuchBus, perform( Smbus::READ, 1 ) );
    operation.bus = { .pci = 1 };
    EXPECT_EQ( Cause::NoSuchBus, perform( Smbus::READ, 1 ) );
    operation.bus = {};
    EXPECT_EQ( Cause::None, perform( Smbus::READ, 1 ) );
}

TEST_F( EmulatedBackendTest, ControllerHasSeveralAcceleratorsWhenABusOfAnotherExists ) {
    const BusName name = { .master = Smbus::I2C };
    EXPECT_FALSE( backend.severalAccelerators( name ) );
    board.newBus( { .master = 2, .accelerator = 1 } );
    EXPECT_FALSE( backend.severalAccelerators( name ) );
    board.newBus( { .master = 1, .accelerator = 1 } );
    EXPECT_TRUE( backend.severalAccelerators( name ) );
}

/// With packet error codes. Those below were computed by other means.
class EmulatedPecTest : public EmulatedBackendTest {
  protected:
    EmulatedPecTest() { operation.pec = true; }

    void drive( size_t position, uint8_t code ) {
        probe->codeAt = position;
        probe->code = code;
    }
};

TEST_F( EmulatedPecTest, SendByteIsFollowedByItsCode ) {
    EXPECT_EQ( Cause::None, perform( Smbus::WRITE, 0 ) );
    EXPECT_EQ( ( Written{ { 0x07, 0x4e } } ), probe->written );
}

TEST_F( EmulatedPecTest, WritesAreFollowedByTheirCode ) {
    EXPECT_EQ( Cause::None, perform( Smbus::WRITE, 2, "ab" ) );
    EXPECT_EQ( Cause::None, perform( Smbus::BLOCK_WRITE, 2, "ab" ) );
    EXPECT_EQ( ( Written{ { 0x07, 'a', 'b', 0x44 }, { 0x07, 2, 'a', 'b', 0xb5 } } ),
               probe->written );
}

TEST_F( EmulatedPecTest, ReadWithTheRightCodeGivesItsBytesAlone ) {
    drive( 2, 0xb8 );
    EXPECT_EQ( Cause::None, perform( Smbus::READ, 2 ) );
    EXPECT_EQ( "\x03\x41", answer );
    EXPECT_EQ( Written{ { 0x07 } }, probe->written );
}

TEST_F( EmulatedPecTest, CodeOfAReceiveByteCoversNoCommand ) {
    drive( 1, 0x47 );
    EXPECT_EQ( Cause::None, perform( Smbus::READ, 0 ) );
    EXPECT_EQ( "\x03", answer );
}

TEST_F( EmulatedPecTest, CodeOfAProcessCallCoversBothDirections ) {
    drive( 2, 0x3f );
    EXPECT_EQ( Cause::None, perform( Smbus::PROCESS_CALL, 2, "ab" ) );
}

TEST_F( EmulatedPecTest, CodeOfABlockCoversItsCount ) {
    drive( 4, 0x58 );
    EXPECT_EQ( Cause::None, perform( Smbus::BLOCK_READ, 0 ) );
    EXPECT_EQ( "\x41\x42\x43", answer );
}

TEST_F( EmulatedPecTest, ChipWithoutCodesFailsEveryKindOfRead ) {
    EXPECT_EQ( Cause::BadPacketErrorCode, perform( Smbus::READ, 0 ) );
    EXPECT_EQ( Cause::BadPacketErrorCode, perform( Smbus::READ, 2 ) );
    EXPECT_EQ( Cause::BadPacketErrorCode, perform( Smbus::PROCESS_CALL, 2, "ab" ) );
    EXPECT_EQ( Cause::BadPacketErrorCode, perform( Smbus::BLOCK_READ, 0 ) );
    probe->count = 0xff;
    EXPECT_EQ( Cause::BadBlockCount, perform( Smbus::BLOCK_READ, 0 ) );
}

/// A supply, which knows packet error codes.
class EmulatedSupplyPecTest : public testing::Test {
  protected:
    EmulatedSupplyPecTest() {
        board.newBus( { .master = 1 } )
            ->segment()
            .add( std::make_unique<EmulatedBoard::PmbusSupply>( uint8_t{ 0x58 } ) );
    }

    Cause perform( Smbus::RequestType type, uint8_t command, std::string_view data, bool pec ) {
        const bool writes = type == Smbus::WRITE;
        return backend.perform( { .bus = { .master = Smbus::I2C },
                                  .chip = 0x58,
                                  .reg = command,
                                  .type = type,
                                  .length = writes ? static_cast<uint32_t>( data.size() ) : 1,
                                  .data = data,
                                  .pec = pec },
                                answer );
    }

    /// STATUS_CML, cleared by the look.
    int communicationFaults() {
        constexpr uint8_t clearFaults = 0x03;
        constexpr uint8_t statusCml = 0x7e;
        EXPECT_EQ( Cause::None, perform( Smbus::READ, statusCml, {}, true ) );
        const int found = static_cast<uint8_t>( answer.front() );
        perform( Smbus::WRITE, clearFaults, {}, false );
        return found;
    }

    static constexpr uint8_t writeProtect = 0x10;
    static constexpr std::string_view on = "\x80";

    EmulatedBoard::Board board;
    EmulatedBackend backend{ board };
    std::string answer;
};

TEST_F( EmulatedSupplyPecTest, WriteWithItsCodeIsTaken ) {
    EXPECT_EQ( Cause::None, perform( Smbus::WRITE, writeProtect, on, true ) );
    EXPECT_EQ( 0, communicationFaults() );
    EXPECT_EQ( Cause::None, perform( Smbus::READ, writeProtect, {}, true ) );
    EXPECT_EQ( on, answer );
}

TEST_F( EmulatedSupplyPecTest, WriteWithoutACodeIsTakenToo ) {
    EXPECT_EQ( Cause::None, perform( Smbus::WRITE, writeProtect, on, false ) );
    EXPECT_EQ( 0, communicationFaults() );
    EXPECT_EQ( Cause::None, perform( Smbus::READ, writeProtect, {}, false ) );
    EXPECT_EQ( on, answer );
}

TEST_F( EmulatedSupplyPecTest, WriteWithAnotherCodeIsRefusedAndNoted ) {
    constexpr int packetErrorFault = 0x20;
    EXPECT_EQ( Cause::NoAcknowledge,
               perform( Smbus::WRITE, writeProtect, std::string( on ) + "\x5a", false ) );
    EXPECT_EQ( packetErrorFault, communicationFaults() );
    EXPECT_EQ( Cause::None, perform( Smbus::READ, writeProtect, {}, true ) );
    EXPECT_EQ( std::string( 1, '\0' ), answer );
}
