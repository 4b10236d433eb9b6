#pragma once

#include <string>

/// Topology documents with one medium, the access method of which a test chooses.
namespace Documents {

/// A medium that is one bus, number 5, with device 2 and with device 3, which holds the components
/// 1 and 7.
inline std::string busMedium( const std::string &type, const std::string &ham,
                              const std::string &further = "" ) {
    return R"([{"type":")" + type + R"(","ham":")" + ham + R"(",)" + further +
           R"("id":5,"devices":[{"did":2},{"did":3,"components":[{"uid":1},{"uid":7}]}]}])";
}

/// A medium with accelerators, with device 3 on bus 5 of accelerator 9.
inline std::string acceleratorMedium( const std::string &type, const std::string &ham ) {
    return R"([{"type":")" + type + R"(","ham":")" + ham + R"(","pci":4660,"accelerators":)" +
           R"([{"id":9,"busses":[{"id":5,"devices":[{"did":3}]}]}]}])";
}

} // namespace Documents
