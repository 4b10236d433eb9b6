#include "HostTool/Smbus/SmbusAccess.h"

#include "HostTool/Host/AbortNote.h"
#include "HostTool/Host/HostServices.h"
#include "HostTool/Host/Provides.h"
#include "HostTool/Host/Reading.h"

#include <array>
#include <cstdio>
#include <exception>
#include <utility>

namespace HostTool {

namespace {

constexpr unsigned byteLimit = 0xff;
constexpr unsigned wordLimit = 0xffff;
constexpr size_t largestBlock = 32;
constexpr size_t largestI2cBlock = 255;
constexpr size_t blockBuffer = 255;
constexpr int byteDigits = 2;
constexpr int wordDigits = 4;

std::string hex( unsigned number, int digits ) {
    std::array<char, 16> text;
    snprintf( text.data(), text.size(), "0x%0*x", digits, number );
    return text.data();
}

template <class... Parameter, class... Argument>
pl_status call( pl_smbus *chip, pl_status ( *pl_smbus_ops::*slot )( pl_smbus *, Parameter... ),
                Argument... arguments ) {
    return provides( chip->ops, slot )
               ? ( chip->ops->*slot )( chip, static_cast<Parameter>( arguments )... )
               : PL_STATUS_NOT_SUPPORTED;
}

SmbusResult number( pl_status status, unsigned value, int digits ) {
    SmbusResult result{ .status = status };
    if ( status == PL_STATUS_OK ) {
        result.value = value;
        result.digits = digits;
    }
    return result;
}

SmbusResult block( pl_status status, std::vector<unsigned char> bytes, size_t length ) {
    SmbusResult result{ .status = status };
    if ( status == PL_STATUS_OK ) {
        bytes.resize( length );
        result.block = std::move( bytes );
    }
    return result;
}

std::vector<unsigned char> bytesBehind( const SmbusCall &call, size_t first ) {
    std::vector<unsigned char> bytes;
    for ( size_t i = first; i < call.numbers.size(); ++i ) {
        bytes.push_back( static_cast<unsigned char>( call.numbers[i] ) );
    }
    return bytes;
}

std::string writesNothing( const SmbusCall & ) {
    return {};
}

std::string toRegister( const std::string &what, const SmbusCall &call ) {
    return what + " to register " + hex( call.numbers[0], byteDigits ) + " of";
}

std::string writesBytes( const SmbusCall &call, size_t first, const char *kind ) {
    if ( call.numbers.size() <= first ) {
        return {};
    }
    std::string text;
    for ( size_t i = first; i < call.numbers.size(); ++i ) {
        text += hex( call.numbers[i], byteDigits ) + " ";
    }
    return toRegister( text + kind, call );
}

SmbusResult quick( pl_smbus *chip, const SmbusCall &asked ) {
    const unsigned bit = asked.numbers.empty() ? 0 : asked.numbers[0];
    return { .status = call( chip, &pl_smbus_ops::quickCommand, bit ) };
}

SmbusResult receive( pl_smbus *chip, const SmbusCall & ) {
    unsigned char value = 0;
    const pl_status status = call( chip, &pl_smbus_ops::receiveByte, &value );
    return number( status, value, byteDigits );
}

SmbusResult send( pl_smbus *chip, const SmbusCall &asked ) {
    return { .status = call( chip, &pl_smbus_ops::sendByte, asked.numbers[0] ) };
}

SmbusResult read( pl_smbus *chip, const SmbusCall &asked ) {
    unsigned char value = 0;
    const pl_status status = call( chip, &pl_smbus_ops::readByte, asked.numbers[0], &value );
    return number( status, value, byteDigits );
}

SmbusResult write( pl_smbus *chip, const SmbusCall &asked ) {
    return { .status = call( chip, &pl_smbus_ops::writeByte, asked.numbers[0], asked.numbers[1] ) };
}

SmbusResult word( pl_smbus *chip, const SmbusCall &asked ) {
    if ( asked.numbers.size() > 1 ) {
        return { .status =
                     call( chip, &pl_smbus_ops::writeWord, asked.numbers[0], asked.numbers[1] ) };
    }
    unsigned short value = 0;
    const pl_status status = call( chip, &pl_smbus_ops::readWord, asked.numbers[0], &value );
    return number( status, value, wordDigits );
}

SmbusResult blockAccess( pl_smbus *chip, const SmbusCall &asked ) {
    std::vector<unsigned char> bytes = bytesBehind( asked, 1 );
    if ( !bytes.empty() ) {
        return { .status = call( chip, &pl_smbus_ops::blockWrite, asked.numbers[0],
                                 std::as_const( bytes ).data(), bytes.size() ) };
    }
    bytes.resize( blockBuffer );
    unsigned length = 0;
    const pl_status status =
        call( chip, &pl_smbus_ops::blockRead, asked.numbers[0], bytes.data(), &length );
    return block( status, std::move( bytes ), length );
}

SmbusResult i2cBlock( pl_smbus *chip, const SmbusCall &asked ) {
    std::vector<unsigned char> bytes = bytesBehind( asked, 2 );
    const unsigned length = asked.numbers[1];
    if ( !bytes.empty() ) {
        return { .status = call( chip, &pl_smbus_ops::i2cBlockWrite, asked.numbers[0],
                                 std::as_const( bytes ).data(), length ) };
    }
    bytes.resize( length );
    const pl_status status =
        call( chip, &pl_smbus_ops::i2cBlockRead, asked.numbers[0], bytes.data(), length );
    return block( status, std::move( bytes ), length );
}

SmbusResult processCall( pl_smbus *chip, const SmbusCall &asked ) {
    unsigned short value = 0;
    const pl_status status =
        call( chip, &pl_smbus_ops::processCall, asked.numbers[0], asked.numbers[1], &value );
    return number( status, value, wordDigits );
}

const std::vector<SmbusOperation> operations = {
    { "quick",
      "[0|1]",
      0,
      1,
      { 1 },
      []( const SmbusCall & ) -> std::string { return "a quick command to"; },
      quick },
    { "receive", "", 0, 0, {}, writesNothing, receive },
    { "send",
      "BYTE",
      1,
      1,
      { byteLimit },
      []( const SmbusCall &call ) {
          return hex( call.numbers[0], byteDigits ) + " without a register to";
      },
      send },
    { "read", "REG", 1, 1, { byteLimit }, writesNothing, read },
    { "write",
      "REG BYTE",
      2,
      2,
      { byteLimit },
      []( const SmbusCall &call ) { return writesBytes( call, 1, "(a byte)" ); },
      write },
    { "word",
      "REG [WORD]",
      1,
      2,
      { byteLimit, wordLimit },
      []( const SmbusCall &call ) {
          return call.numbers.size() < 2
                     ? ""
                     : toRegister( hex( call.numbers[1], wordDigits ) + " (a word)", call );
      },
      word },
    { "block",
      "REG [BYTE...]",
      1,
      1 + largestBlock,
      { byteLimit },
      []( const SmbusCall &call ) { return writesBytes( call, 1, "(an SMBus block)" ); },
      blockAccess },
    { "i2cblock",
      "REG LENGTH [BYTE...]",
      2,
      2 + largestI2cBlock,
      { byteLimit, largestI2cBlock, byteLimit },
      []( const SmbusCall &call ) { return writesBytes( call, 2, "(an I2C block)" ); },
      i2cBlock },
    { "call",
      "REG WORD",
      2,
      2,
      { byteLimit, wordLimit },
      []( const SmbusCall &call ) {
          return toRegister( hex( call.numbers[1], wordDigits ) + " (a process call)", call );
      },
      processCall },
};

SmbusResult failed( pl_status status, const std::string &reason ) {
    return { .status = status, .value = {}, .digits = 0, .block = {}, .reason = reason };
}

} // namespace

const std::vector<SmbusOperation> &smbusOperations() {
    return operations;
}

std::string describe( const SmbusCall &call ) {
    return "chip " + hex( call.address, byteDigits ) + " on bus '" + call.bus + "'";
}

SmbusResult perform( const Library &library, const SmbusOperation &operation,
                     const SmbusCall &call ) {
    const AbortNote note( "during " + std::string( operation.name ) + " of " + describe( call ) );
    HostServices::get().forgetLines();
    pl_smbus *chip = library.entryPoint<pl_smbus *( const char *, unsigned )>( "pl_smbus_add" )(
        call.bus.c_str(), call.address );
    if ( chip == nullptr ) {
        return failed( PL_STATUS_FAILED, "not added: " + HostServices::get().lastLine() );
    }
    HostServices::get().forgetLines();
    try {
        SmbusResult result = operation.run( chip, call );
        if ( result.status != PL_STATUS_OK ) {
            result.reason = result.status == PL_STATUS_NOT_SUPPORTED
                                ? meaningOf( result.status )
                                : Reading::failed( result.status ).reason;
        }
        return result;
    } catch ( const std::exception &exception ) {
        return failed( PL_STATUS_FAILED, printable( exception.what() ) );
    }
}

} // namespace HostTool
