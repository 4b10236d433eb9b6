// What is written directly must be what the message's own writer gives.
#include "SmbusServer/AnswerWriter.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <string>

using namespace SmbusServer;

class AnswerWriterTest : public testing::Test {
  protected:
    void expectSameAsTheMessagesOwn() const {
        const AnswerWriter writer( answer );
        const std::string expected = answer.SerializeAsString();
        std::string written( writer.size() + 1, '#' );
        writer.write( written.data() );
        EXPECT_EQ( expected + "#", written ); // and nothing behind it
    }

    Smbus::TransactionResponse answer;
};

TEST_F( AnswerWriterTest, EmptyAnswerHasNoBytes ) {
    expectSameAsTheMessagesOwn();
}

TEST_F( AnswerWriterTest, EntriesMayHaveNoDataOrEmptyData ) {
    answer.add_response();
    answer.add_response()->set_data( "" );
    answer.add_response()->set_data( "\x19" );
    expectSameAsTheMessagesOwn();
}

TEST_F( AnswerWriterTest, LengthsMayHaveAnyNumberOfBytes ) {
    for ( const size_t size :
          { 125U, 126U, 127U, 128U, 129U, 16379U, 16380U, 16381U, 16383U, 16384U, 900000U } ) {
        answer.Clear();
        answer.add_response()->set_data( std::string( size, 'x' ) );
        answer.add_response()->set_data( "y" );
        expectSameAsTheMessagesOwn();
    }
}

TEST_F( AnswerWriterTest, FailureIsWrittenWithTheEntriesBeforeIt ) {
    answer.add_response()->set_data( "\x19" );
    answer.set_failed( true );
    expectSameAsTheMessagesOwn();
    answer.set_error( "bus 3 chip 0x48 reg 0x00: no acknowledge" );
    expectSameAsTheMessagesOwn();
    answer.clear_failed();
    expectSameAsTheMessagesOwn();
}
