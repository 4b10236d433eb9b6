#pragma once

#include "KavraGeneric/Ham/Ham.h"

#include <sstream>
#include <string>
#include <string_view>

/// An access method that writes down what is called, as one line: "prepare addRead8(10) execute
/// get8(5)", numbers in hexadecimal. Every read gets the ResponseId 5.
class RecordingHam final : public Ham::Ham {
  public:
    using ResponseId = ::Ham::ResponseId;

    void init() override { note( "init" ); }
    void prepare() override { note( "prepare" ); }
    int execute() override {
        note( "execute" );
        return status;
    }

    ResponseId addRecvByte() override { return query( "addRecvByte" ); }
    ResponseId addRead8( unsigned reg ) override { return query( "addRead8", reg ); }
    ResponseId addRead16( unsigned reg ) override { return query( "addRead16", reg ); }
    ResponseId addRead32( unsigned reg ) override { return query( "addRead32", reg ); }
    ResponseId addRead( unsigned reg, unsigned length, bool flag ) override {
        return query( "addRead", reg, length, flag );
    }
    ResponseId addReadBlock( unsigned reg ) override { return query( "addReadBlock", reg ); }
    void addSendByte( uint8_t value, bool flag ) override {
        note( "addSendByte", unsigned{ value }, flag );
    }
    void addWrite8( unsigned reg, uint8_t value, bool flag ) override {
        note( "addWrite8", reg, unsigned{ value }, flag );
    }
    void addWrite16( unsigned reg, uint16_t value, bool flag ) override {
        note( "addWrite16", reg, value, flag );
    }
    void addWrite32( unsigned reg, uint32_t value, bool flag ) override {
        note( "addWrite32", reg, value, flag );
    }
    void addWrite( unsigned reg, const void *data, unsigned length, bool flag ) override {
        note( "addWrite", reg, static_cast<const char *>( data ), length, flag );
    }
    void addWriteBlock( unsigned reg, const void *data, unsigned length, bool flag ) override {
        note( "addWriteBlock", reg, static_cast<const char *>( data ), length, flag );
    }
    ResponseId addProcessCall( unsigned reg, uint16_t value ) override {
        return query( "addProcessCall", reg, value );
    }

    uint8_t get8( ResponseId id ) override {
        note( "get8", id );
        return 0x18;
    }
    uint16_t get16( ResponseId id ) override {
        note( "get16", id );
        return 0x1616;
    }
    uint32_t get32( ResponseId id ) override {
        note( "get32", id );
        return 0x3232'3232;
    }
    std::string getBlock( ResponseId id, size_t length ) override {
        note( "getBlock", id, length );
        return "block";
    }

    unsigned retries() const { return retryCount; }
    bool retriesAreSet() const { return retryCountSet; }

    int status = 0;
    std::string log;

  private:
    void note( std::string_view call ) {
        log += log.empty() ? "" : " ";
        log += call;
    }
    template <typename First, typename... Further>
    void note( std::string_view operation, const First &first, const Further &...further ) {
        std::ostringstream out;
        out << std::hex << operation << '(' << first;
        ( ( out << ',' << further ), ... );
        out << ')';
        note( out.str() );
    }
    template <typename... Argument>
    ResponseId query( std::string_view operation, Argument... arguments ) {
        note( operation, arguments... );
        return 5;
    }
};
