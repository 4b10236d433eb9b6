#include "KavraGeneric/Components/SmbusProxy.h"

#include "tests/KavraGeneric/Components/DeviceClassTest.h"
#include "tests/KavraGeneric/Components/Layout.h"

namespace {

using Component::LogicalDevice::SmbusProxy;
using testing::ElementsAre;
using testing::IsEmpty;

/// Writes down its calls with their arguments; each operation has a status of its own.
class RecordingProxy : public SmbusProxy {
  public:
    pl_status receiveByte( unsigned char *value ) override {
        *value = 0x11;
        return called( "receiveByte", -71 );
    }
    pl_status sendByte( unsigned char value ) override {
        return called( "sendByte " + hex( value ), -72 );
    }
    pl_status readByte( unsigned char command, unsigned char *value ) override {
        *value = 0x22;
        return called( "readByte " + hex( command ), -73 );
    }
    pl_status writeByte( unsigned char command, unsigned char value ) override {
        return called( "writeByte " + hex( command ) + " " + hex( value ), -74 );
    }
    pl_status readWord( unsigned char command, unsigned short *value ) override {
        *value = 0x3344;
        return called( "readWord " + hex( command ), -75 );
    }
    pl_status writeWord( unsigned char command, unsigned short value ) override {
        return called( "writeWord " + hex( command ) + " " + hex( value ), -76 );
    }
    pl_status blockRead( unsigned char command, unsigned char *data,
                         unsigned int *length ) override {
        data[0] = 0x55;
        *length = 1;
        return called( "blockRead " + hex( command ), -77 );
    }
    pl_status blockWrite( unsigned char command, const unsigned char *data,
                          unsigned int length ) override {
        return called( "blockWrite " + hex( command ) + " " + text( data, length ), -78 );
    }
    pl_status i2cBlockRead( unsigned char command, unsigned char *data,
                            unsigned int length ) override {
        data[0] = 0x66;
        return called( "i2cBlockRead " + hex( command ) + " " + hex( length ), -79 );
    }
    pl_status i2cBlockWrite( unsigned char command, const unsigned char *data,
                             unsigned int length ) override {
        return called( "i2cBlockWrite " + hex( command ) + " " + text( data, length ), -80 );
    }
    pl_status processCall( unsigned char command, unsigned short value,
                           unsigned short *result ) override {
        *result = 0x7788;
        return called( "processCall " + hex( command ) + " " + hex( value ), -81 );
    }

    std::string call;

  protected:
    pl_status called( const std::string &what, pl_status status ) {
        call = what;
        return status;
    }
    static std::string hex( unsigned number ) {
        char digits[16];
        std::snprintf( digits, sizeof digits, "%x", number );
        return digits;
    }
    static std::string text( const unsigned char *data, unsigned length ) {
        return { reinterpret_cast<const char *>( data ), length };
    }
};

/// Has the two operations that the base answers by itself.
class FullProxy final : public RecordingProxy {
  public:
    pl_status quickCommand( int readWrite ) override {
        return called( "quickCommand " + std::to_string( readWrite ), -70 );
    }
    pl_status blockProcessCall( unsigned char command, const unsigned char *data,
                                unsigned char length, unsigned char *result,
                                unsigned char *resultLength ) override {
        result[0] = 0x99;
        *resultLength = 1;
        return called( "blockProcessCall " + hex( command ) + " " + text( data, length ), -82 );
    }
};

class SmbusProxyTest : public DeviceClassTest {
  protected:
    /// The call as it reached the device was so, and its trace is the callback's name at level 1.
    void expectCall( const std::string &call, const std::string &callback ) {
        EXPECT_EQ( call, proxy.call );
        EXPECT_THAT( traces(), ElementsAre( "1 " + callback ) );
        host().lines.clear();
    }

    FullProxy proxy;
    pl_smbus *const record = proxy.record();
    const pl_smbus_ops &ops = *record->ops;
    const unsigned char data[3] = { 'a', 'b', 'c' };
    unsigned char byte = 0;
    unsigned short word = 0;
};

TEST_F( SmbusProxyTest, RecordFollowsTheVirtualTablePointer ) {
    EXPECT_EQ( 8, Layout::offsetIn( &proxy, record ) );
    EXPECT_EQ( &SmbusProxy::ops_, Layout::operationsOf( record ) );
    EXPECT_EQ( &proxy, Layout::deviceBehind( record ) );
    EXPECT_EQ( 32u, sizeof( SmbusProxy ) );
}

TEST_F( SmbusProxyTest, ConstructorLeavesTheHostsWordAlone ) {
    const Layout::MadeOverPattern<FullProxy> made;
    EXPECT_EQ( made.pattern, made.hostWord() );
}

TEST_F( SmbusProxyTest, TableHasItsSizeAndThirteenSlots ) {
    const uintptr_t callbacks[] = {
        Layout::addressOf( SmbusProxy::quickCommandCallback ),
        Layout::addressOf( SmbusProxy::receiveByteCallback ),
        Layout::addressOf( SmbusProxy::sendByteCallback ),
        Layout::addressOf( SmbusProxy::readByteCallback ),
        Layout::addressOf( SmbusProxy::writeByteCallback ),
        Layout::addressOf( SmbusProxy::readWordCallback ),
        Layout::addressOf( SmbusProxy::writeWordCallback ),
        Layout::addressOf( SmbusProxy::blockReadCallback ),
        Layout::addressOf( SmbusProxy::blockWriteCallback ),
        Layout::addressOf( SmbusProxy::i2cBlockReadCallback ),
        Layout::addressOf( SmbusProxy::i2cBlockWriteCallback ),
        Layout::addressOf( SmbusProxy::processCallCallback ),
        Layout::addressOf( SmbusProxy::blockProcessCallCallback ),
    };
    EXPECT_EQ( 112u, Layout::tableSize( &SmbusProxy::ops_ ) );
    EXPECT_EQ( 0u, Layout::tableSecondWord( &SmbusProxy::ops_ ) );
    for ( size_t place = 0; place < std::size( callbacks ); ++place ) {
        EXPECT_EQ( callbacks[place], Layout::slot( &SmbusProxy::ops_, place ) ) << place;
    }
}

TEST_F( SmbusProxyTest, OperationsComeBeforeTheDestructorInTheTablesOrder ) {
    const size_t slots[] = {
        Layout::virtualSlot( &SmbusProxy::quickCommand ),
        Layout::virtualSlot( &SmbusProxy::receiveByte ),
        Layout::virtualSlot( &SmbusProxy::sendByte ),
        Layout::virtualSlot( &SmbusProxy::readByte ),
        Layout::virtualSlot( &SmbusProxy::writeByte ),
        Layout::virtualSlot( &SmbusProxy::readWord ),
        Layout::virtualSlot( &SmbusProxy::writeWord ),
        Layout::virtualSlot( &SmbusProxy::blockRead ),
        Layout::virtualSlot( &SmbusProxy::blockWrite ),
        Layout::virtualSlot( &SmbusProxy::i2cBlockRead ),
        Layout::virtualSlot( &SmbusProxy::i2cBlockWrite ),
        Layout::virtualSlot( &SmbusProxy::processCall ),
        Layout::virtualSlot( &SmbusProxy::blockProcessCall ),
    };
    EXPECT_THAT( slots, ElementsAre( 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12 ) );
}

TEST_F( SmbusProxyTest, QuickCommandIsTracedAndForwarded ) {
    EXPECT_EQ( -70, ops.quickCommand( record, 1 ) );
    expectCall( "quickCommand 1", "quickCommandCallback" );
}

TEST_F( SmbusProxyTest, SingleByteTransfersAreTracedAndForwarded ) {
    EXPECT_EQ( -71, ops.receiveByte( record, &byte ) );
    EXPECT_EQ( 0x11, byte );
    expectCall( "receiveByte", "receiveByteCallback" );
    EXPECT_EQ( -72, ops.sendByte( record, 0xFE ) );
    expectCall( "sendByte fe", "sendByteCallback" );
}

TEST_F( SmbusProxyTest, ByteTransfersAreTracedAndForwarded ) {
    EXPECT_EQ( -73, ops.readByte( record, 0xA0, &byte ) );
    EXPECT_EQ( 0x22, byte );
    expectCall( "readByte a0", "readByteCallback" );
    EXPECT_EQ( -74, ops.writeByte( record, 0xA1, 0xFF ) );
    expectCall( "writeByte a1 ff", "writeByteCallback" );
}

TEST_F( SmbusProxyTest, WordTransfersAreTracedAndForwarded ) {
    EXPECT_EQ( -75, ops.readWord( record, 0xA2, &word ) );
    EXPECT_EQ( 0x3344, word );
    expectCall( "readWord a2", "readWordCallback" );
    EXPECT_EQ( -76, ops.writeWord( record, 0xA3, 0xFFEE ) );
    expectCall( "writeWord a3 ffee", "writeWordCallback" );
}

TEST_F( SmbusProxyTest, BlockTransfersAreTracedAndForwarded ) {
    unsigned int length = 0;
    EXPECT_EQ( -77, ops.blockRead( record, 0xA4, &byte, &length ) );
    EXPECT_EQ( 0x55, byte );
    EXPECT_EQ( 1u, length );
    expectCall( "blockRead a4", "blockReadCallback" );
    EXPECT_EQ( -78, ops.blockWrite( record, 0xA5, data, 3 ) );
    expectCall( "blockWrite a5 abc", "blockWriteCallback" );
}

TEST_F( SmbusProxyTest, I2cBlockTransfersAreTracedAndForwarded ) {
    EXPECT_EQ( -79, ops.i2cBlockRead( record, 0xA6, &byte, 0x101 ) );
    EXPECT_EQ( 0x66, byte );
    expectCall( "i2cBlockRead a6 101", "i2cBlockReadCallback" );
    EXPECT_EQ( -80, ops.i2cBlockWrite( record, 0xA7, data, 2 ) );
    expectCall( "i2cBlockWrite a7 ab", "i2cBlockWriteCallback" );
}

TEST_F( SmbusProxyTest, ProcessCallsAreTracedAndForwarded ) {
    EXPECT_EQ( -81, ops.processCall( record, 0xA8, 0xFFDD, &word ) );
    EXPECT_EQ( 0x7788, word );
    expectCall( "processCall a8 ffdd", "processCallCallback" );
    unsigned char length = 0;
    EXPECT_EQ( -82, ops.blockProcessCall( record, 0xA9, data, 3, &byte, &length ) );
    EXPECT_EQ( 0x99, byte );
    EXPECT_EQ( 1, length );
    expectCall( "blockProcessCall a9 abc", "blockProcessCallCallback" );
}

TEST_F( SmbusProxyTest, BaseHasNeitherQuickCommandNorBlockProcessCall ) {
    RecordingProxy plain;
    unsigned char length = 0xEE;
    EXPECT_EQ( PL_STATUS_NOT_SUPPORTED, ops.quickCommand( plain.record(), 0 ) );
    EXPECT_EQ( PL_STATUS_NOT_SUPPORTED,
               ops.blockProcessCall( plain.record(), 0, data, 3, &byte, &length ) );
    EXPECT_EQ( 0, byte );
    EXPECT_EQ( 0xEE, length );
}

TEST_F( SmbusProxyTest, EntryPointGivesTheRecordAndTracesNoMore ) {
    offer.smbusProxy = &proxy;
    EXPECT_EQ( record, pl_smbus_add( testDevice, 0x50 ) );
    EXPECT_THAT( tracesAfter( "Test device created" ), IsEmpty() );
}

} // namespace
