// What the identification tool prints. The first byte is its exit code, or chooses that a signal
// ended it; the second one chooses how the tool is called.
#include "fuzz/Bytes.h"
#include "fuzz/FakeTool.h"
#include "fuzz/SupplySlot.h"
#include "fuzz/Targets.h"

#include <csignal>
#include <iterator>
#include <string>

namespace {

constexpr const char *settings[] = {
    R"("identificationType":"ipmitool","ipmiId":2)",
    R"("identificationType":"ipmitool","ipmiId":2,"useApi":1)",
    R"("identificationType":"ipmitool")",
    R"("identificationType":"ipmitool_raw","ipmiId":2,"ipmiRawModel":"M","ipmiRawSerialNumber":"S")",
};

} // namespace

void Fuzz::toolOutput( std::string_view input ) {
    Bytes bytes( input );
    const uint8_t code = bytes.byte();
    constexpr uint8_t killed = 0xff;
    const int status = code == killed ? SIGKILL : code << 8;
    const char *const chosen = settings[bytes.byte() % std::size( settings )];
    const FakeTool tool( std::string( bytes.rest() ), status );
    identify( chosen, []( uint32_t, size_t count ) { return std::string( count, '\0' ); } );
}
