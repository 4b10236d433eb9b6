// What the VundaT's library is made of. The one file that includes every driver; both tables are
// complete before any entry point runs.
#include "KavraGeneric/Drivers/Dummy.h"
#include "KavraGeneric/Drivers/GenericSmbusMux.h"
#include "KavraGeneric/Drivers/LM75.h"
#include "KavraGeneric/Drivers/Pmbus.h"
#include "KavraGeneric/Drivers/PsuSlot.h"
#include "KavraGeneric/Drivers/Registry.h"
#include "KavraGeneric/Drivers/SmbusProxyDriver.h"
#include "KavraGeneric/Drivers/Vunda/VundaGenericXcvrCPLD.h"
#include "KavraGeneric/Drivers/Vunda/VundaTFanCpld.h"
#include "KavraGeneric/Drivers/Vunda/VundaTSystemLedCPLD.h"
#include "KavraGeneric/Drivers/Vunda/VundaTXcvrLedCPLD.h"
#include "KavraGeneric/Ham/Ham.h"
#include "KavraGeneric/Ham/KavraSmbusHam.h"
#include "KavraGeneric/Ham/SimHam.h"

// clang-format off
namespace Drivers {

std::map<std::string, Factory> drivers = {
    { "Dummy",                Dummy::create },
    { "GpioDriver",           Dummy::create },   // every device has register GPIOs
    { "SmbusProxyDriver",     SmbusProxyDriver::create },
    { "PCA9548",              GenericSmbusMux::create },
    { "LM75",                 LM75::create },
    { "VundaTFanCpld",        VundaTFanCpld::create },
    { "VundaTSystemLedCPLD",  VundaTSystemLedCPLD::create },
    { "VundaTXcvrLedCPLD",    VundaTXcvrLedCPLD::create },
    { "VundaGenericXcvrCPLD", VundaGenericXcvrCPLD::create },
    { "Pmbus",                Pmbus::create },
    { "PsuSlot",              PsuSlot::create },
};

} // namespace Drivers

namespace Ham {

std::map<std::string, Factory> hams = {
    { "KavraSmbus", KavraSmbusHam::create },
    { "SimHam",     SimHam::create },
};

} // namespace Ham
// clang-format on
