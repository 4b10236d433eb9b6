#include "SmbusServer/EmulatedBackend.h"
#include "EmulatedBoard/Board.h"

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
        return static_cast<uint8_t>( position == 0 ? count : 0x40 + position );
    }
    std::vector<std::vector<uint8_t>> written;
    uint8_t count = 3;

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
