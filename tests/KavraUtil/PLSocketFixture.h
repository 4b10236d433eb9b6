#pragma once

#include "KavraUtil/PLSocket.h"
#include "tests/support/FakeSmbusServer.h"
#include "tests/support/Requests.h"

#include <cerrno>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>

/// A client and the server that it talks to.
class PLSocketFixture : public testing::Test, protected FakeSmbusServer {
  protected:
    using Milliseconds = std::chrono::milliseconds;

    /// Sends a read of one byte from a register of chip 48.
    /// @return 0 or the errno value that came with the failure.
    int ask( unsigned reg = 0 ) {
        return send( Requests::batch( { Requests::readBytes( 0x48, reg, 1 ) } ) );
    }

    int send( Smbus::TransactionRequest request ) {
        Smbus::TransactionResponse unset;
        Smbus::TransactionResponse *received = &unset;
        errno = 0;
        const int status = client_.sendRequestWait( &request, &received );
        const int error = errno;
        EXPECT_EQ( status == 0, received != nullptr );
        EXPECT_EQ( status < 0, status != 0 );
        response_.reset( received );
        return status == 0 ? 0 : error;
    }

    /// The data of the first entry that came back.
    std::string answered() const {
        return response_ && response_->response_size() > 0 ? response_->response( 0 ).data() : "";
    }

    static std::string frame( std::size_t length, const std::string &body ) {
        std::string bytes;
        for ( const unsigned shift : { 24U, 16U, 8U, 0U } ) {
            bytes += static_cast<char>( length >> shift & 0xff );
        }
        return bytes + body;
    }

    static std::string frame( const std::string &body ) { return frame( body.size(), body ); }

    /// A message whose serialised form has exactly so many bytes (at least 128 KiB).
    template <typename Message>
    static Message messageOf( std::size_t size ) {
        Message message;
        std::string *data = entryOf( message )->mutable_data();
        data->resize( size - 64 );
        data->resize( data->size() + size - message.ByteSizeLong() );
        EXPECT_EQ( size, message.ByteSizeLong() );
        return message;
    }

    PlatformLibrary::PLSocket client_;
    std::unique_ptr<Smbus::TransactionResponse> response_;

  private:
    static Smbus::Request *entryOf( Smbus::TransactionRequest &message ) {
        return message.add_request();
    }
    static Smbus::Response *entryOf( Smbus::TransactionResponse &message ) {
        return message.add_response();
    }
};
