// The IPMI tool of the platform. It prints three words: 1 for a supply that is there, its model,
// its serial number.
#include "KavraGeneric/Drivers/PsuSlot.h"

#include "KavraGeneric/Drivers/Helpers.h"

#include <sstream>

namespace Drivers {

constexpr unsigned long toolSeconds = 30;

pl_status PsuSlot::Slot::readSerialAndModelIpmitool( std::string &serial, std::string &model ) {
    std::string output;
    if ( const pl_status status = runCmd( command_.c_str(), output, toolSeconds );
         status != PL_STATUS_OK ) {
        return status;
    }
    char present = '0';
    std::istringstream( output ) >> present >> model >> serial;
    return present == '1' ? PL_STATUS_OK : PL_STATUS_NOT_PRESENT;
}

} // namespace Drivers
