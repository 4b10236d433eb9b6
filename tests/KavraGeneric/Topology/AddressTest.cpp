#include "KavraGeneric/Topology/Address.h"
#include "tests/KavraGeneric/Drivers/DescribeArguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <bit>

namespace {

AhamAddress parsed( const std::string &text, AhamAddress before = {} ) {
    rapidjson::Document document;
    document.Parse( text.c_str() );
    Topology::fillAddressFromJSON( document, before );
    return before;
}

struct AddressCase {
    const char *name;
    const char *text;
    const char *fields;
};

void PrintTo( const AddressCase &each, std::ostream *stream ) {
    *stream << each.name;
}

class AddressTest : public testing::TestWithParam<AddressCase> {};

const AddressCase goodAddresses[] = {
    { "AddressAlone", R"({"address":72})", "address=72 addrSize=1" },
    { "AddressKeepsSevenBits", R"({"address":200})", "address=72 addrSize=1" },
    { "AddressOf128IsZero", R"({"address":128})", "addrSize=1" },
    { "AddressOfAllOnes", R"({"address":4294967295})", "address=127 addrSize=1" },
    { "WriteDelay", R"({"address":1,"writeDelay":3})", "address=1 addrSize=1 writeDelay=3" },
    { "WriteDelayKeepsTwoBits", R"({"address":1,"writeDelay":6})",
      "address=1 addrSize=1 writeDelay=2" },
    { "ReadDelay", R"({"address":1,"readDelay":3})", "address=1 addrSize=1 readDelay=3" },
    { "ReadDelayKeepsTwoBits", R"({"address":1,"readDelay":5})",
      "address=1 addrSize=1 readDelay=1" },
    { "BusTimeout", R"({"address":1,"busTimeout":7})", "address=1 busTimeout=7 addrSize=1" },
    { "BusTimeoutKeepsThreeBits", R"({"address":1,"busTimeout":12})",
      "address=1 busTimeout=4 addrSize=1" },
    { "ExtraDelay", R"({"address":1,"extraDelay":1})", "address=1 addrSize=1 extraDelay=1" },
    { "ExtraDelayKeepsOneBit", R"({"address":1,"extraDelay":2})", "address=1 addrSize=1" },
    { "AddrSizeOfOne", R"({"address":1,"addrSize":1})", "address=1 addrSize=1" },
    { "AddrSizeOfTwo", R"({"address":1,"addrSize":2})", "address=1 addrSize=2" },
    { "AddrSizeKeepsTwoBits", R"({"address":1,"addrSize":5})", "address=1 addrSize=1" },
    { "Accelerator", R"({"address":1,"accel":127})", "address=1 accelerator=127 addrSize=1" },
    { "AcceleratorKeepsSevenBits", R"({"address":1,"accel":130})",
      "address=1 accelerator=2 addrSize=1" },
    { "WriteNoStopReadCurrent", R"({"address":1,"writeNoStopReadCurrent":true})",
      "address=1 writeNoStopReadCurrent=1 addrSize=1" },
    { "WriteNoStopReadCurrentFalse", R"({"address":1,"writeNoStopReadCurrent":false})",
      "address=1 addrSize=1" },
    { "BusIsNotReadFromTheDocument", R"({"address":1,"bus":5,"reg":6,"accelerator":7})",
      "address=1 addrSize=1" },
    { "FirstOfARepeatedKeyCounts", R"({"address":1,"address":2})", "address=1 addrSize=1" },
};

TEST_P( AddressTest, FillsTheFields ) {
    EXPECT_EQ( GetParam().fields, describe( parsed( GetParam().text ) ) );
}

INSTANTIATE_TEST_SUITE_P( Good, AddressTest, testing::ValuesIn( goodAddresses ),
                          []( const auto &each ) { return std::string( each.param.name ); } );

TEST( AddressTest, ForgetsWhatWasThereBefore ) {
    const auto ones = std::bit_cast<AhamAddress>( ~uint64_t( 0 ) );
    EXPECT_EQ( "address=72 addrSize=1", describe( parsed( R"({"address":72})", ones ) ) );
}

class BadAddressTest : public testing::TestWithParam<AddressCase> {
  protected:
    void SetUp() override { GTEST_FLAG_SET( death_test_style, "threadsafe" ); }
};

// The third column is the condition's text.
const AddressCase badAddresses[] = {
    { "Number", "72", "value.IsObject()" },
    { "Array", "[72]", "value.IsObject()" },
    { "NoAddress", R"({"addrSize":1})", R"(value.HasMember( "address" ))" },
    { "AddressIsText", R"({"address":"72"})", "data_.f.flags & kUintFlag" },
    { "AddressNegative", R"({"address":-1})", "data_.f.flags & kUintFlag" },
    { "AddressTooLarge", R"({"address":4294967296})", "data_.f.flags & kUintFlag" },
    { "AddressFraction", R"({"address":72.0})", "data_.f.flags & kUintFlag" },
    { "WriteDelayIsNull", R"({"address":1,"writeDelay":null})", "data_.f.flags & kUintFlag" },
    { "ReadDelayNegative", R"({"address":1,"readDelay":-1})", "data_.f.flags & kUintFlag" },
    { "BusTimeoutIsText", R"({"address":1,"busTimeout":"1"})", "data_.f.flags & kUintFlag" },
    { "ExtraDelayIsBool", R"({"address":1,"extraDelay":true})", "data_.f.flags & kUintFlag" },
    { "AccelIsText", R"({"address":1,"accel":"1"})", "data_.f.flags & kUintFlag" },
    { "AddrSizeIsText", R"({"address":1,"addrSize":"1"})", "data_.f.flags & kUintFlag" },
    { "AddrSizeOfZero", R"({"address":1,"addrSize":0})",
      "addr.addrSize == 1 || addr.addrSize == 2 || addr.addrSize == 4" },
    { "AddrSizeOfThree", R"({"address":1,"addrSize":3})",
      "addr.addrSize == 1 || addr.addrSize == 2 || addr.addrSize == 4" },
    { "AddrSizeOfFour", R"({"address":1,"addrSize":4})",
      "addr.addrSize == 1 || addr.addrSize == 2 || addr.addrSize == 4" },
    { "AddrSizeIsCheckedBeforeAccel", R"({"address":1,"addrSize":4,"accel":"1"})",
      "addr.addrSize == 1 || addr.addrSize == 2 || addr.addrSize == 4" },
    { "WriteNoStopReadCurrentIsNumber", R"({"address":1,"writeNoStopReadCurrent":1})", "IsBool()" },
};

TEST_P( BadAddressTest, EndsTheProcess ) {
    EXPECT_DEATH(
        parsed( GetParam().text ),
        testing::HasSubstr( "Assertion `" + std::string( GetParam().fields ) + "' failed" ) );
}

INSTANTIATE_TEST_SUITE_P( Bad, BadAddressTest, testing::ValuesIn( badAddresses ),
                          []( const auto &each ) { return std::string( each.param.name ); } );

} // namespace
