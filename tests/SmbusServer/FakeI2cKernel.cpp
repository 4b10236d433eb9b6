#include "tests/SmbusServer/FakeI2cKernel.h"

#include "SmbusServer/PacketErrorCode.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <utility>

using SmbusServer::I2cAdapter;

namespace {

using Bytes = std::vector<uint8_t>;

struct CallRow {
    int size;
    uint8_t readWrite;
    unsigned long needs;
};
constexpr CallRow calls[] = {
    { I2C_SMBUS_BYTE, I2C_SMBUS_READ, I2C_FUNC_SMBUS_READ_BYTE },
    { I2C_SMBUS_BYTE, I2C_SMBUS_WRITE, I2C_FUNC_SMBUS_WRITE_BYTE },
    { I2C_SMBUS_BYTE_DATA, I2C_SMBUS_READ, I2C_FUNC_SMBUS_READ_BYTE_DATA },
    { I2C_SMBUS_BYTE_DATA, I2C_SMBUS_WRITE, I2C_FUNC_SMBUS_WRITE_BYTE_DATA },
    { I2C_SMBUS_WORD_DATA, I2C_SMBUS_READ, I2C_FUNC_SMBUS_READ_WORD_DATA },
    { I2C_SMBUS_WORD_DATA, I2C_SMBUS_WRITE, I2C_FUNC_SMBUS_WRITE_WORD_DATA },
    { I2C_SMBUS_PROC_CALL, I2C_SMBUS_WRITE, I2C_FUNC_SMBUS_PROC_CALL },
    { I2C_SMBUS_BLOCK_DATA, I2C_SMBUS_READ, I2C_FUNC_SMBUS_READ_BLOCK_DATA },
    { I2C_SMBUS_BLOCK_DATA, I2C_SMBUS_WRITE, I2C_FUNC_SMBUS_WRITE_BLOCK_DATA },
    { I2C_SMBUS_I2C_BLOCK_DATA, I2C_SMBUS_READ, I2C_FUNC_SMBUS_READ_I2C_BLOCK },
    { I2C_SMBUS_I2C_BLOCK_DATA, I2C_SMBUS_WRITE, I2C_FUNC_SMBUS_WRITE_I2C_BLOCK },
};

class FakeAdapter : public I2cAdapter {
  public:
    FakeAdapter( FakeI2cKernel &kernel, std::string device )
        : kernel_( kernel ), device_( std::move( device ) ), number_( kernel.deviceNumber ) {
        ++kernel_.adapters;
    }
    FakeAdapter( const FakeAdapter & ) = delete;
    FakeAdapter &operator=( const FakeAdapter & ) = delete;
    ~FakeAdapter() override { --kernel_.adapters; }

    uint64_t deviceNumber() override { return number_; }
    int functions( unsigned long &mask ) override {
        mask = kernel_.functions;
        return 0;
    }
    int chipIs( uint8_t address ) override {
        address_ = address;
        return kernel_.held.contains( address ) ? EBUSY : 0;
    }
    int pecIs( bool on ) override {
        pec_ = on;
        return 0;
    }
    int transfer( std::span<i2c_msg> messages ) override;
    int smbus( uint8_t readWrite, uint8_t command, int size, i2c_smbus_data &data ) override;

  private:
    int fault() {
        if ( kernel_.unplugAfter == 0 ) {
            kernel_.unplug();
        }
        --kernel_.unplugAfter;
        int error = 0;
        if ( !kernel_.errors.empty() ) {
            error = kernel_.errors.front();
            kernel_.errors.pop_front();
        }
        const bool gone = !kernel_.plugged || number_ != kernel_.deviceNumber;
        return gone && error == 0 ? ENODEV : error;
    }
    void put( uint8_t byte ) {
        std::array<char, 4> text;
        snprintf( text.data(), text.size(), " %02x", unsigned{ byte } );
        kernel_.wires += text.data();
    }
    void count( uint8_t byte ) { code_ = SmbusServer::packetErrorCode( { &byte, 1 }, code_ ); }
    void start() {
        kernel_.wires += kernel_.wires.empty() ? "" : " ";
        code_ = 0;
    }
    void stop() { kernel_.wires += " P"; }
    FakeI2cChip *address( uint8_t chip, bool reading, bool repeated ) {
        kernel_.wires += repeated ? " S" : "S";
        put( chip );
        kernel_.wires += reading ? "r" : "w";
        count( static_cast<uint8_t>( chip << 1 | ( reading ? 1 : 0 ) ) );
        const auto found = kernel_.chips.find( chip );
        const bool here = kernel_.chipsAt.empty() || kernel_.chipsAt == device_;
        return found == kernel_.chips.end() || !here ? nullptr : &found->second;
    }
    int write( FakeI2cChip *chip, Bytes bytes ) {
        if ( chip == nullptr ) {
            return kernel_.absentError != 0 ? kernel_.absentError : ENXIO;
        }
        for ( const uint8_t byte : bytes ) {
            put( byte );
            count( byte );
        }
        if ( chip->takesNoZero && bytes == Bytes{ 0 } ) {
            return ENXIO;
        }
        if ( chip->checksCodes && code_ != 0 ) {
            return EREMOTEIO;
        }
        bytes.resize( bytes.size() - ( chip->checksCodes ? 1 : 0 ) );
        for ( size_t i = 0; i < bytes.size(); ++i ) {
            ( i == 0 ? chip->pointer : chip->memory[chip->pointer++] ) = bytes[i];
        }
        return 0;
    }
    int read( FakeI2cChip *chip, std::span<uint8_t> bytes ) {
        if ( chip == nullptr ) {
            return kernel_.absentError != 0 ? kernel_.absentError : ENXIO;
        }
        for ( size_t i = 0; i < bytes.size(); ++i ) {
            const bool isCode = i == chip->codeBehind;
            bytes[i] = isCode ? static_cast<uint8_t>( code_ ^ ( chip->codeIsWrong ? 1 : 0 ) )
                              : chip->memory[chip->pointer++];
            put( bytes[i] );
            count( bytes[i] );
        }
        return 0;
    }
    int exchange( const Bytes &out, std::span<uint8_t> in );
    int readBlock( uint8_t command, i2c_smbus_data &data );

    FakeI2cKernel &kernel_;
    std::string device_;
    uint64_t number_;
    uint8_t address_ = 0;
    bool pec_ = false;
    uint8_t code_ = 0; // of the bytes since the start
};

int FakeAdapter::transfer( std::span<i2c_msg> messages ) {
    ++kernel_.transfers;
    const bool allowed = ( kernel_.functions & I2C_FUNC_I2C ) != 0;
    if ( !allowed || messages.empty() || messages.size() > mostMessages ) {
        return allowed ? EINVAL : EOPNOTSUPP;
    }
    if ( const int error = fault() ) {
        return error;
    }
    start();
    int error = 0;
    for ( size_t i = 0; i < messages.size() && error == 0; ++i ) {
        const i2c_msg &each = messages[i];
        if ( each.len > longestMessage ) {
            return EINVAL;
        }
        const bool reading = ( each.flags & I2C_M_RD ) != 0;
        FakeI2cChip *chip = address( static_cast<uint8_t>( each.addr ), reading, i > 0 );
        error = reading ? read( chip, { each.buf, each.len } )
                        : write( chip, Bytes( each.buf, each.buf + each.len ) );
    }
    stop();
    return error;
}

// One write, one read behind a repeated start, or both. A packet error code ends it if asked for.
int FakeAdapter::exchange( const Bytes &out, std::span<uint8_t> in ) {
    start();
    int error = 0;
    if ( !out.empty() ) {
        FakeI2cChip *chip = address( address_, false, false );
        Bytes bytes = out;
        if ( pec_ && in.empty() ) {
            bytes.push_back( SmbusServer::packetErrorCode( out, code_ ) );
        }
        error = write( chip, bytes );
    }
    if ( error == 0 && !in.empty() ) {
        Bytes bytes( in.size() + ( pec_ ? 1 : 0 ) );
        error = read( address( address_, true, !out.empty() ), bytes );
        if ( error == 0 && pec_ && code_ != 0 ) {
            error = EBADMSG;
        }
        std::copy_n( bytes.begin(), in.size(), in.begin() );
    }
    stop();
    return error;
}

int FakeAdapter::readBlock( uint8_t command, i2c_smbus_data &data ) {
    const auto found = kernel_.chips.find( address_ );
    const size_t count = found == kernel_.chips.end() ? 0 : found->second.memory[command];
    return count > I2C_SMBUS_BLOCK_MAX ? EPROTO
                                       : exchange( { command }, { data.block, 1 + count } );
}

int FakeAdapter::smbus( uint8_t readWrite, uint8_t command, int size, i2c_smbus_data &data ) {
    ++kernel_.smbusCalls;
    const auto *row = std::ranges::find_if( calls, [&]( const CallRow &each ) {
        return each.size == size && each.readWrite == readWrite;
    } );
    if ( row == std::end( calls ) || ( kernel_.functions & row->needs ) == 0 ||
         ( pec_ && ( kernel_.functions & I2C_FUNC_SMBUS_PEC ) == 0 ) ) {
        return EOPNOTSUPP;
    }
    if ( const int error = fault() ) {
        return error;
    }
    const bool reading = readWrite == I2C_SMBUS_READ;
    const uint8_t low = static_cast<uint8_t>( data.word & 0xff );
    const uint8_t high = static_cast<uint8_t>( data.word >> 8 );
    switch ( size ) {
    case I2C_SMBUS_BYTE:
        return reading ? exchange( {}, { &data.byte, 1 } ) : exchange( { command }, {} );
    case I2C_SMBUS_BYTE_DATA:
        return reading ? exchange( { command }, { &data.byte, 1 } )
                       : exchange( { command, data.byte }, {} );
    case I2C_SMBUS_WORD_DATA:
        if ( !reading ) {
            return exchange( { command, low, high }, {} );
        }
        break;
    case I2C_SMBUS_PROC_CALL:
        break;
    case I2C_SMBUS_BLOCK_DATA:
        if ( reading ) {
            return readBlock( command, data );
        }
        [[fallthrough]];
    default: {
        if ( data.block[0] > I2C_SMBUS_BLOCK_MAX ) {
            return EINVAL;
        }
        if ( reading ) {
            if ( kernel_.blocksAreShort ) {
                --data.block[0];
            }
            return exchange( { command }, { data.block + 1, data.block[0] } );
        }
        Bytes out = { command };
        const int skipped = size == I2C_SMBUS_BLOCK_DATA ? 0 : 1;
        out.insert( out.end(), data.block + skipped, data.block + 1 + data.block[0] );
        return exchange( out, {} );
    }
    }
    std::array<uint8_t, 2> in = {};
    const int error = size == I2C_SMBUS_PROC_CALL ? exchange( { command, low, high }, in )
                                                  : exchange( { command }, in );
    data.word = static_cast<uint16_t>( in[0] | in[1] << 8 );
    return error;
}

} // namespace

int FakeI2cKernel::open( const std::string &device, std::unique_ptr<I2cAdapter> &adapter ) {
    opened.push_back( device );
    const int error = plugged ? openError : ENOENT;
    if ( error == 0 ) {
        adapter = std::make_unique<FakeAdapter>( *this, device );
    }
    return error;
}
