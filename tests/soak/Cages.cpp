#include "tests/soak/Cages.h"

#include <algorithm>

namespace Soak {

namespace {

constexpr int qsfpCages = 32;
constexpr int sfpCages = 2;

// What a module's memory map has where. SFF-8636 for QSFP, SFF-8472 for SFP.
struct MemoryMap {
    unsigned char identifier;
    unsigned char manufacturerOffset;
    unsigned char modelOffset;
    unsigned char serialOffset;
};
constexpr MemoryMap qsfpMap = { 0x0d, 148, 168, 196 };
constexpr MemoryMap sfpMap = { 0x03, 20, 40, 68 };
constexpr unsigned char qsfpRevision = 0x06;
constexpr unsigned char sfpSecondByte = 0x04;
constexpr size_t fieldLength = 16;
constexpr const char *manufacturer = "KAVRA";

unsigned short wordOf( const std::string &text ) {
    return static_cast<unsigned short>( static_cast<unsigned char>( text[0] ) |
                                        static_cast<unsigned char>( text[1] ) << 8 );
}

std::string padded( std::string text ) {
    text.resize( fieldLength, ' ' );
    return text;
}

/// A module's identity and status, through every kind of raw read.
class Module : public Device {
  public:
    Module( const Cage &cage, pl_smbus *raw ) : cage_( cage ), raw_( raw ) {}

    bool isModule() const override { return true; }
    void read( Judge &judge ) override {
        const MemoryMap &map = cage_.isQsfp ? qsfpMap : sfpMap;
        readBytes( judge, map );
        word( judge, "readWord", map.modelOffset, cage_.model, &pl_smbus_ops::readWord );
        readBlocks( judge, map );
        unsigned short got = untouched<unsigned short>();
        const pl_status status = raw_->ops->processCall( raw_, map.manufacturerOffset, 0, &got );
        judge.check( "processCall", status, got, answered( wordOf( manufacturer ) ) );
    }

  private:
    template <class Value>
    Truth<Value> answered( Value value ) const {
        return cage_.moduleAnswers() ? Truth<Value>{ PL_STATUS_OK, value }
                                     : Truth<Value>{ PL_STATUS_FAILED };
    }

    // A receive byte goes on behind what was read last.
    void readBytes( Judge &judge, const MemoryMap &map ) const {
        unsigned char byte = untouched<unsigned char>();
        pl_status status = raw_->ops->readByte( raw_, 0, &byte );
        if ( judge.check( "readByte", status, byte, answered( map.identifier ) ) ) {
            byte = untouched<unsigned char>();
            status = raw_->ops->receiveByte( raw_, &byte );
            judge.check( "receiveByte", status, byte,
                         answered( cage_.isQsfp ? qsfpRevision : sfpSecondByte ) );
        }
    }

    void word( Judge &judge, const char *callback, unsigned char offset, const std::string &text,
               pl_status ( *pl_smbus_ops::*slot )( pl_smbus *, unsigned char,
                                                   unsigned short * ) ) const {
        unsigned short got = untouched<unsigned short>();
        const pl_status status = ( raw_->ops->*slot )( raw_, offset, &got );
        judge.check( callback, status, got, answered( wordOf( text ) ) );
    }

    void readBlocks( Judge &judge, const MemoryMap &map ) const {
        std::string field( fieldLength, '\0' );
        pl_status status =
            raw_->ops->i2cBlockRead( raw_, map.serialOffset, bytes( field ), fieldLength );
        // Whatever fails, this one answers that there were not enough bytes.
        Truth<std::string> serial = answered( padded( cage_.serial ) );
        serial.status = serial.status == PL_STATUS_OK ? PL_STATUS_OK : PL_STATUS_IO_ERROR;
        judge.check( "i2cBlockRead", status, status == PL_STATUS_OK ? field : "", serial,
                     PL_STATUS_IO_ERROR );

        // Byte 0, the identifier, is taken for the block's count.
        std::string block( 255, '\0' );
        unsigned length = 0;
        status = raw_->ops->blockRead( raw_, 0, bytes( block ), &length );
        block.resize( length );
        judge.check( "blockRead", status, block, answered( firstBlock( map ) ) );
    }

    std::string firstBlock( const MemoryMap &map ) const {
        std::string block( map.identifier, '\0' );
        block[0] = static_cast<char>( cage_.isQsfp ? qsfpRevision : sfpSecondByte );
        if ( cage_.isQsfp ) {
            block[1] = static_cast<char>( cage_.statusByte() );
        } else {
            block[1] = 0x07; // connector: LC
            block[2] = 0x10; // 10GBASE-SR
        }
        return block;
    }

    static unsigned char *bytes( std::string &text ) {
        return reinterpret_cast<unsigned char *>( text.data() );
    }

    const Cage &cage_;
    pl_smbus *raw_;
};

} // namespace

// What is pulled up in an empty cage: an interrupt is not asserted then, the others are.
CageLines Cage::lines() const {
    if ( isQsfp ) {
        return { present, driven, present && !driven && signal, false };
    }
    return { present, driven, !present || signal, !present || ( laserFails && !driven ) };
}

// Flat memory; the interrupt's bit is the level of a line that is low when it is asserted.
unsigned char Cage::statusByte() const {
    constexpr unsigned char flatMemory = 0x04;
    constexpr unsigned char noInterrupt = 0x02;
    return lines().first ? flatMemory : flatMemory | noInterrupt;
}

Cages::Cages() {
    for ( int number = 1; number <= qsfpCages + sfpCages; ++number ) {
        Cage &added = cages_.emplace_back();
        added.name = "Ethernet" + std::to_string( number );
        added.isQsfp = number <= qsfpCages;
        added.present = number % 2 == 1;
    }
}

Cage &Cages::cage( const std::string &name ) {
    return *std::ranges::find( cages_, name, &Cage::name );
}

std::unique_ptr<Device> Cages::device( const Entry &entry, void *record ) {
    if ( entry.deviceClass == "smbus" && entry.name.ends_with( "-module" ) ) {
        return std::make_unique<Module>( cage( entry.name.substr( 0, entry.name.find( '-' ) ) ),
                                         static_cast<pl_smbus *>( record ) );
    }
    if ( entry.deviceClass != "xcvr" ) {
        return nullptr;
    }
    Cage &own = cage( entry.name );
    own.xcvr = static_cast<pl_xcvr *>( record );
    return deviceOf( [this, &own]( Judge &judge ) { readLines( own, judge ); } );
}

// Presence is a status of its own: 0 present, 1 absent.
void Cages::readLines( const Cage &own, Judge &judge ) {
    const CageLines &truth = own.polled;
    pl_xcvr *xcvr = own.xcvr;
    const auto read = [&]( const char *callback, auto slot, bool isAsserted ) {
        int value = untouched<int>();
        const pl_status status = slot( xcvr, &value );
        judge.check( callback, status, value, Truth<int>{ 0, isAsserted } );
    };
    const auto presence = [&]( int status ) {
        judge.checkStatus( "getPresence", status,
                           truth.present ? PL_STATUS_OK : PL_STATUS_NOT_PRESENT );
    };
    staleReadings_ += truth != own.lines();
    if ( !own.isQsfp ) {
        const pl_sfp_ops &ops = xcvr->ops->u.sfp;
        presence( ops.getPresence( xcvr ) );
        read( "getTxFault", ops.getTxFault, truth.fault );
        read( "getRxLos", ops.getRxLos, truth.first );
        read( "getTxDisable", ops.getTxDisable, truth.driven );
        return;
    }
    const pl_qsfp_ops &ops = xcvr->ops->u.qsfp;
    presence( ops.getPresence( xcvr ) );
    read( "getReset", ops.getReset, truth.driven );
    read( "getInterrupt", ops.getInterrupt, truth.first );
    // The CPLD has no such lines: both succeed and leave the output alone.
    int value = untouched<int>();
    judge.checkStatus( "getModSel", ops.getModSel( xcvr, &value ) );
    judge.checkStatus( "getLpMode", value == untouched<int>() ? ops.getLpMode( xcvr, &value )
                                                              : PL_STATUS_BAD_READING );
}

void Cages::polled() {
    for ( Cage &each : cages_ ) {
        each.polled = each.lines();
    }
}

void Cages::askOnce() {
    int unused = 0;
    for ( const Cage &each : cages_ ) {
        if ( each.isQsfp ) {
            const pl_qsfp_ops &ops = each.xcvr->ops->u.qsfp;
            ops.getPresence( each.xcvr );
            ops.getReset( each.xcvr, &unused );
            ops.getInterrupt( each.xcvr, &unused );
        } else {
            const pl_sfp_ops &ops = each.xcvr->ops->u.sfp;
            ops.getPresence( each.xcvr );
            ops.getTxFault( each.xcvr, &unused );
            ops.getRxLos( each.xcvr, &unused );
            ops.getTxDisable( each.xcvr, &unused );
        }
    }
}

void Cages::begin( World &world ) {
    for ( Cage &each : cages_ ) {
        world.setSwitch( each.name + ".present", each.present );
        world.set( each.name + ".model", each.model );
        world.set( each.name + ".serial", each.serial );
    }
}

void Cages::change( Random &random, World &world, std::string_view turn ) {
    const auto next = std::ranges::find( cages_, turn.substr( 0, turn.find( '-' ) ), &Cage::name );
    Cage &own =
        next != cages_.end() && random.oneIn( 2 ) ? *next : cages_[random.below( cages_.size() )];
    switch ( random.below( 3 ) ) {
    case 0:
        own.signal = !own.signal;
        world.setSwitch( own.name + ( own.isQsfp ? ".interrupt" : ".rx_los" ), own.signal );
        break;
    case 1:
        if ( !own.isQsfp ) {
            own.laserFails = !own.laserFails;
            world.setSwitch( own.name + ".tx_fault", own.laserFails );
            break;
        }
        [[fallthrough]];
    default: // a module goes; or one comes, also in the place of another, and it is a new one
        world.setSwitch( own.name + ".present", false );
        own.present = !own.present || !random.oneIn( 3 );
        if ( own.present ) {
            own.serial = "KV" + std::to_string( random.below( 1'000'000'000 ) );
            world.set( own.name + ".serial", own.serial );
            world.setSwitch( own.name + ".present", true );
        }
        break;
    }
}

// What is written is in the library's memory at once. The module's other lines follow with the next
// poll.
void Cages::setByHost( Random &random, Judge &judge ) {
    Cage &own = cages_[random.below( cages_.size() )];
    const bool wanted = !own.driven && random.oneIn( 3 );
    const pl_status status = own.isQsfp ? own.xcvr->ops->u.qsfp.setReset( own.xcvr, wanted )
                                        : own.xcvr->ops->u.sfp.setTxDisable( own.xcvr, wanted );
    if ( judge.checkStatus( own.isQsfp ? "setReset" : "setTxDisable", status ) ) {
        own.driven = wanted;
        own.polled.driven = wanted;
    }
}

} // namespace Soak
