#include "KavraGeneric/Topology/Address.h"

namespace {

uint32_t optionalNumber( const rapidjson::Value &object, const char *key, uint32_t absent ) {
    const auto member = object.FindMember( key );
    return member == object.MemberEnd() ? absent : member->value.GetUint();
}

bool optionalBool( const rapidjson::Value &object, const char *key ) {
    const auto member = object.FindMember( key );
    return member != object.MemberEnd() && member->value.GetBool();
}

} // namespace

void Topology::fillAddressFromJSON( const rapidjson::Value &value, AhamAddress &addr ) {
    assert( value.IsObject() );
    assert( value.HasMember( "address" ) );
    addr = AhamAddress{};
    addr.addrSize = 1;

    addr.address = value["address"].GetUint() & 0x7FU;
    addr.writeDelay = optionalNumber( value, "writeDelay", 0 ) & 0x3U;
    addr.readDelay = optionalNumber( value, "readDelay", 0 ) & 0x3U;
    addr.busTimeout = optionalNumber( value, "busTimeout", 0 ) & 0x7U;
    addr.extraDelay = optionalNumber( value, "extraDelay", 0 ) & 0x1U;
    addr.addrSize = optionalNumber( value, "addrSize", 1 ) & 0x3U;
    assert( addr.addrSize == 1 || addr.addrSize == 2 || addr.addrSize == 4 );
    addr.accelerator = optionalNumber( value, "accel", 0 ) & 0x7FU;
    addr.writeNoStopReadCurrent = optionalBool( value, "writeNoStopReadCurrent" );
}
