#include "KavraGeneric/Drivers/Drivers.h"

#include "tests/KavraGeneric/Drivers/DescribeArguments.h"
#include "tests/support/FakeHost.h"
#include "tests/support/TestDocuments.h"
#include "tests/support/Traces.h"

#include <gtest/gtest.h>

using Drivers::DriverArgs;

namespace {

constexpr const char *smallest = R"({"did":1,"driver":"LM75","address":{"address":72}})";

const std::string emptyArguments = R"(driver="" did=0 uid=0 address={} driverArgs={} noHam)";

class DriverArgsTest : public testing::Test {
  protected:
    void SetUp() override { FakeHost::get().reset(); }

    DriverArgs args;
};

class GoodArgumentsTest : public DriverArgsTest,
                          public testing::WithParamInterface<TestDocument> {};

class BadArgumentsTest : public DriverArgsTest, public testing::WithParamInterface<TestDocument> {
  protected:
    void SetUp() override {
        DriverArgsTest::SetUp();
        GTEST_FLAG_SET( death_test_style, "threadsafe" );
    }
};

rapidjson::Document parsed( const char *text ) {
    rapidjson::Document document;
    document.Parse( text );
    return document;
}

} // namespace

TEST_F( DriverArgsTest, StartsEmpty ) {
    EXPECT_EQ( emptyArguments, describe( args ) );
    EXPECT_EQ( nullptr, args.json );
}

TEST_F( DriverArgsTest, FieldsLieInTheirOrder ) {
    const std::initializer_list<const void *> fields = { &args.driver,        &args.uid,
                                                         &args.did,           &args.address,
                                                         &args.driverArgs,    &args.json,
                                                         &args.isMultiDevice, &args.multiDeviceArgs,
                                                         &args.provideHam };
    EXPECT_EQ( static_cast<const void *>( &args ), *fields.begin() );
    EXPECT_TRUE( std::is_sorted( fields.begin(), fields.end() ) );
}

TEST_F( DriverArgsTest, TextIsParsedAndKeptByItsPointer ) {
    EXPECT_TRUE( args.parseJSON( smallest ) );
    EXPECT_EQ( smallest, args.json ) << "the pointer, not a copy";
    EXPECT_EQ( "driver=\"LM75\" did=1 uid=none address={address=72 addrSize=1} driverArgs={} "
               "provideHam",
               describe( args ) );
    EXPECT_EQ( "", tracesOfLibrary() );
}

TEST_F( DriverArgsTest, UidThatIsAbsentIsAllOnes ) {
    args.parseJSON( smallest );
    EXPECT_EQ( 0xFFFF'FFFFU, args.uid );
    EXPECT_EQ( 0xFFFF'FFFFU, DriverArgs::noComponent );
}

TEST_F( DriverArgsTest, ObjectIsParsedWithoutAText ) {
    args.parseJSON( static_cast<const rapidjson::Value &>( parsed( smallest ) ) );
    EXPECT_EQ( 1U, args.did );
    EXPECT_EQ( nullptr, args.json );
}

TEST_F( DriverArgsTest, SharedArgumentsHaveNoText ) {
    const auto shared = DriverArgs::fromJSON( parsed( smallest ) );
    args.parseJSON( smallest );
    EXPECT_EQ( describe( args ), describe( *shared ) );
    EXPECT_EQ( nullptr, shared->json );
}

TEST_F( DriverArgsTest, SyntaxErrorChangesNothing ) {
    EXPECT_FALSE( args.parseJSON( R"({"did":1 "driver":"x"})" ) );
    EXPECT_EQ( emptyArguments, describe( args ) );
    EXPECT_EQ( nullptr, args.json );
}

TEST_F( DriverArgsTest, TextsMayHoldANulCharacter ) {
    args.parseJSON( R"({"did":1,"driver":"x","isMultiDevice":true,
                        "driverArgs":{"a":"b\u0000c"},"multiDeviceArgs":{"d":"e\u0000f"}})" );
    EXPECT_EQ( std::string( "b\0c", 3 ), args.driverArgs["a"] );
    EXPECT_EQ( std::string( "e\0f", 3 ), args.multiDeviceArgs["d"] );
}

TEST_P( GoodArgumentsTest, MakeTheLineBesideThem ) {
    EXPECT_TRUE( args.parseJSON( GetParam().text.c_str() ) );
    EXPECT_EQ( GetParam().expected, describe( args ) + "\n" );
}

INSTANTIATE_TEST_SUITE_P( Documents, GoodArgumentsTest,
                          testing::ValuesIn( testDocuments( "arguments/pass", ".arguments" ) ),
                          []( const auto &each ) { return each.param.name; } );

TEST_P( BadArgumentsTest, AreRefusedWithTheMessageBesideThem ) {
    if ( !isSurvived( GetParam() ) ) {
        EXPECT_DEATH( args.parseJSON( GetParam().text.c_str() ), assertionOf( GetParam() ) );
        return;
    }
    EXPECT_FALSE( args.parseJSON( GetParam().text.c_str() ) );
    EXPECT_EQ( GetParam().expected, tracesOfLibrary() );
    EXPECT_EQ( emptyArguments, describe( args ) );
}

INSTANTIATE_TEST_SUITE_P( Documents, BadArgumentsTest,
                          testing::ValuesIn( testDocuments( "arguments/fail", ".message" ) ),
                          []( const auto &each ) { return each.param.name; } );
