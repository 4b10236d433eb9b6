#include "benchmarks/support/Cages.h"

namespace {

struct Signal {
    const char *name;
    int firstRegister;
    const char *activeHigh;
};

constexpr Signal qsfpSignals[] = {
    { "getPresence", 0x10, "false" },
    { "getReset", 0x20, "false" },
    { "setReset", 0x20, "false" },
    { "getInterrupt", 0x30, "false" },
};
constexpr Signal sfpSignals[] = {
    { "getPresence", 0x40, "false" }, { "getRxLos", 0x41, "true" },
    { "getTxFault", 0x42, "true" },   { "getTxDisable", 0x43, "true" },
    { "setTxDisable", 0x43, "true" },
};

template <typename Signals>
std::string argumentsOf( const char *type, int id, int place, const Signals &signals ) {
    std::string text = R"({"driver":"VundaGenericXcvrCPLD","did":1,"address":{"address":96},)"
                       R"("driverArgs":{"type":")";
    text += type;
    text += "\",\"id\":" + std::to_string( id );
    for ( const Signal &signal : signals ) {
        const std::string key = std::string( ",\"" ) + signal.name;
        text += key + "Reg\":" + std::to_string( signal.firstRegister + place / 8 );
        text += key + "Bit\":" + std::to_string( place % 8 );
        text += key + "ActiveHigh\":" + signal.activeHigh;
    }
    return text + "}}";
}

} // namespace

std::string boardOfCages() {
    return R"([{"type":"I2C","ham":"KavraSmbus","id":1,"devices":[{"did":1}]}])";
}

std::string qsfpArguments( int port ) {
    return argumentsOf( "qsfp", port, port - 1, qsfpSignals );
}

std::string sfpArguments( int port ) {
    return argumentsOf( "sfp", 32 + port, port - 1, sfpSignals );
}
