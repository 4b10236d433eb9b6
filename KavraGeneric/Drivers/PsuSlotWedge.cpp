// A slot whose supply tells nothing of itself: one status register has the presence of both.
//
//     8   1 no supply in slot 1   0 no supply in slot 2
#include "KavraGeneric/Drivers/PsuSlot.h"

#include "KavraGeneric/Ham/Ham.h"

namespace Drivers {

constexpr unsigned statusRegister = 8;

pl_status PsuSlot::Slot::readSerialAndModelWedge( std::string &serial, std::string &model ) {
    uint8_t absent = 0;
    if ( device_->access().read8( statusRegister, &absent ) != PL_STATUS_OK ) {
        return PL_STATUS_NOT_PRESENT;
    }
    if ( absent >> ( 1 - slotIndex_ ) & 1 ) {
        return PL_STATUS_NOT_PRESENT;
    }
    serial = "N/A";
    model = "PWR-WEDGE";
    return PL_STATUS_OK;
}

} // namespace Drivers
