#include "SmbusServer/I2cTransfer.h"

#include "SmbusServer/PacketErrorCode.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <vector>

namespace SmbusServer {

namespace {

constexpr size_t longestBlock = I2C_SMBUS_BLOCK_MAX;

struct SmbusCall {
    int size;            // as the kernel calls it
    unsigned long needs; // of the mask
};
constexpr SmbusCall i2cBlockWrite = { I2C_SMBUS_I2C_BLOCK_DATA, I2C_FUNC_SMBUS_WRITE_I2C_BLOCK };
constexpr SmbusCall i2cBlockRead = { I2C_SMBUS_I2C_BLOCK_DATA, I2C_FUNC_SMBUS_READ_I2C_BLOCK };
constexpr SmbusCall blockWrite = { I2C_SMBUS_BLOCK_DATA, I2C_FUNC_SMBUS_WRITE_BLOCK_DATA };
constexpr SmbusCall blockRead = { I2C_SMBUS_BLOCK_DATA, I2C_FUNC_SMBUS_READ_BLOCK_DATA };
constexpr SmbusCall processCall = { I2C_SMBUS_PROC_CALL, I2C_FUNC_SMBUS_PROC_CALL };

// By the number of bytes behind the command.
constexpr SmbusCall shortWrites[] = {
    { I2C_SMBUS_BYTE, I2C_FUNC_SMBUS_WRITE_BYTE },
    { I2C_SMBUS_BYTE_DATA, I2C_FUNC_SMBUS_WRITE_BYTE_DATA },
    { I2C_SMBUS_WORD_DATA, I2C_FUNC_SMBUS_WRITE_WORD_DATA },
};
// By the number of bytes read; none is a receive byte.
constexpr SmbusCall shortReads[] = {
    { I2C_SMBUS_BYTE, I2C_FUNC_SMBUS_READ_BYTE },
    { I2C_SMBUS_BYTE_DATA, I2C_FUNC_SMBUS_READ_BYTE_DATA },
    { I2C_SMBUS_WORD_DATA, I2C_FUNC_SMBUS_READ_WORD_DATA },
};

using Bytes = std::vector<uint8_t>;

class Transfer {
  public:
    Transfer( I2cAdapter &adapter, unsigned long functions, const Operation &operation,
              std::string &read )
        : adapter_( adapter ), functions_( functions ), operation_( operation ), read_( read ) {
        for ( unsigned byte = operation.registerWidth; byte-- > 0; ) {
            out_.push_back( static_cast<uint8_t>( operation.reg >> ( 8 * byte ) ) );
        }
    }

    int readSome() {
        const size_t length = operation_.length;
        if ( length == 0 ) {
            return receiveByte();
        }
        if ( narrow() && length < std::size( shortReads ) && has( shortReads[length] ) ) {
            return readShort( shortReads[length], length );
        }
        return combined( length );
    }

    int writeSome() {
        out_.insert( out_.end(), operation_.data.begin(), operation_.data.end() );
        const size_t behind = out_.size() - 1;
        if ( behind < std::size( shortWrites ) && has( shortWrites[behind] ) ) {
            i2c_smbus_data data = word( behind == 0 ? 0 : 1 );
            return call( I2C_SMBUS_WRITE, shortWrites[behind], data );
        }
        return plainWrite();
    }

    int call() {
        out_.insert( out_.end(), operation_.data.begin(), operation_.data.end() );
        if ( !narrow() || !has( processCall ) ) {
            return combined( 2 );
        }
        i2c_smbus_data data = word( 1 );
        const int error = call( I2C_SMBUS_WRITE, processCall, data );
        readIsWord( data.word );
        return error;
    }

    int writeBlock() {
        const size_t count = operation_.data.size();
        if ( narrow() && has( blockWrite ) ) {
            i2c_smbus_data data = {};
            data.block[0] = static_cast<uint8_t>( count );
            std::ranges::copy( operation_.data, data.block + 1 );
            return call( I2C_SMBUS_WRITE, blockWrite, data );
        }
        out_.push_back( static_cast<uint8_t>( count ) );
        out_.insert( out_.end(), operation_.data.begin(), operation_.data.end() );
        return plainWrite();
    }

    int readBlock() {
        if ( narrow() && has( blockRead ) ) {
            i2c_smbus_data data = {};
            const int error = call( I2C_SMBUS_READ, blockRead, data );
            return error != 0 ? error : takeBlock( { data.block, 1 + longestBlock } );
        }
        // The count is not known before: a chip's block is read to the longest end.
        Bytes in( 1 + longestBlock + ( operation_.pec ? 1 : 0 ) );
        const int error = exchange( in );
        if ( error != 0 ) {
            return error;
        }
        const size_t count = in[0];
        const bool right =
            !operation_.pec || count > longestBlock || codeIsRight( { in.data(), 1 + count + 1 } );
        return right ? takeBlock( in ) : EBADMSG;
    }

  private:
    bool narrow() const { return operation_.registerWidth == 1; }

    bool has( const SmbusCall &call ) const {
        return ( functions_ & call.needs ) != 0 &&
               ( !operation_.pec || ( functions_ & I2C_FUNC_SMBUS_PEC ) != 0 );
    }
    // The kernel sends no packet error code behind an I2C block: it travels as one of the bytes.
    bool hasI2cBlock( const SmbusCall &call, size_t count ) const {
        return ( functions_ & call.needs ) != 0 && count >= 1 && count <= longestBlock;
    }
    bool hasMessages( size_t longest ) const {
        return ( functions_ & I2C_FUNC_I2C ) != 0 && longest <= I2cAdapter::longestMessage;
    }

    uint8_t forWriting() const { return static_cast<uint8_t>( operation_.chip << 1 ); }
    uint8_t forReading() const { return static_cast<uint8_t>( operation_.chip << 1 | 1 ); }

    // Out of out_; a byte that is not there reads as 0.
    i2c_smbus_data word( size_t start ) const {
        const auto at = [&]( size_t i ) { return i < out_.size() ? out_[i] : uint8_t{ 0 }; };
        i2c_smbus_data data = {};
        data.word = static_cast<uint16_t>( at( start ) | at( start + 1 ) << 8 );
        return data;
    }
    void readIsWord( uint16_t value ) {
        read_ = { static_cast<char>( value & 0xff ), static_cast<char>( value >> 8 ) };
    }
    void readIs( std::span<const uint8_t> bytes ) { read_.assign( bytes.begin(), bytes.end() ); }

    int call( uint8_t readWrite, const SmbusCall &call, i2c_smbus_data &data ) {
        int error = operation_.pec ? adapter_.pecIs( true ) : 0;
        if ( error == 0 ) {
            error = adapter_.smbus( readWrite, out_[0], call.size, data );
        }
        if ( operation_.pec ) {
            adapter_.pecIs( false );
        }
        return error;
    }

    int readShort( const SmbusCall &what, size_t length ) {
        i2c_smbus_data data = {};
        const int error = call( I2C_SMBUS_READ, what, data );
        if ( length == 2 ) {
            readIsWord( data.word );
        } else {
            readIs( { &data.byte, 1 } );
        }
        return error;
    }

    int receiveByte() {
        if ( has( shortReads[0] ) ) {
            return readShort( shortReads[0], 0 );
        }
        out_.clear();
        return combined( 1 );
    }

    int plainWrite() {
        if ( operation_.pec ) {
            const uint8_t address = forWriting();
            out_.push_back( packetErrorCode( out_, packetErrorCode( { &address, 1 } ) ) );
        }
        const size_t behind = out_.size() - 1;
        if ( hasI2cBlock( i2cBlockWrite, behind ) ) {
            i2c_smbus_data data = {};
            data.block[0] = static_cast<uint8_t>( behind );
            std::copy( out_.begin() + 1, out_.end(), data.block + 1 );
            return adapter_.smbus( I2C_SMBUS_WRITE, out_[0], i2cBlockWrite.size, data );
        }
        if ( !hasMessages( out_.size() ) ) {
            return EOPNOTSUPP;
        }
        i2c_msg message = newMessage( 0, out_ );
        return adapter_.transfer( { &message, 1 } );
    }

    int combined( size_t length ) {
        Bytes in( length + ( operation_.pec ? 1 : 0 ) );
        const int error = exchange( in );
        if ( error != 0 ) {
            return error;
        }
        if ( operation_.pec && !codeIsRight( in ) ) {
            return EBADMSG;
        }
        readIs( { in.data(), length } );
        return 0;
    }

    // Sends out_, if anything, and reads.
    int exchange( Bytes &in ) {
        if ( out_.size() == 1 && hasI2cBlock( i2cBlockRead, in.size() ) ) {
            i2c_smbus_data data = {};
            data.block[0] = static_cast<uint8_t>( in.size() );
            const int error = adapter_.smbus( I2C_SMBUS_READ, out_[0], i2cBlockRead.size, data );
            if ( error == 0 && data.block[0] != in.size() ) {
                return EPROTO; // some adapters give what they have
            }
            std::copy_n( data.block + 1, in.size(), in.begin() );
            return error;
        }
        if ( !hasMessages( std::max( in.size(), out_.size() ) ) ) {
            return EOPNOTSUPP;
        }
        std::array<i2c_msg, 2> messages = { newMessage( 0, out_ ), newMessage( I2C_M_RD, in ) };
        return adapter_.transfer( std::span( messages ).subspan( out_.empty() ? 1 : 0 ) );
    }

    i2c_msg newMessage( uint16_t flags, Bytes &bytes ) const {
        return { .addr = operation_.chip,
                 .flags = flags,
                 .len = static_cast<uint16_t>( bytes.size() ),
                 .buf = bytes.data() };
    }

    // The code is the last byte of what was read.
    bool codeIsRight( std::span<const uint8_t> in ) const {
        Bytes before;
        if ( !out_.empty() ) {
            before.push_back( forWriting() );
            before.insert( before.end(), out_.begin(), out_.end() );
        }
        before.push_back( forReading() );
        // Over a text with its code behind it the code is 0.
        return packetErrorCode( in, packetErrorCode( before ) ) == 0;
    }

    int takeBlock( std::span<const uint8_t> block ) {
        const size_t count = block[0];
        if ( count > longestBlock ) {
            return EPROTO;
        }
        readIs( block.subspan( 1, count ) );
        return 0;
    }

    I2cAdapter &adapter_;
    unsigned long functions_;
    const Operation &operation_;
    std::string &read_;
    Bytes out_; // what follows the address of a write
};

struct Kind {
    Smbus::RequestType type;
    int ( Transfer::*perform )();
};
constexpr Kind kinds[] = {
    { Smbus::READ, &Transfer::readSome },          { Smbus::WRITE, &Transfer::writeSome },
    { Smbus::PROCESS_CALL, &Transfer::call },      { Smbus::BLOCK_READ, &Transfer::readBlock },
    { Smbus::BLOCK_WRITE, &Transfer::writeBlock },
};

} // namespace

int i2cTransfer( I2cAdapter &adapter, unsigned long functions, const Operation &operation,
                 std::string &read ) {
    const auto *kind = std::ranges::find( kinds, operation.type, &Kind::type );
    if ( kind == std::end( kinds ) ) {
        return EOPNOTSUPP;
    }
    return ( Transfer( adapter, functions, operation, read ).*kind->perform )();
}

} // namespace SmbusServer
