#include "Conformance/Tables.h"

#include <cstddef>
#include <cstring>

namespace Conformance {

namespace {

using Rule = SlotRule::Rule;

// Convention 4 of the contract: a null slot is an operation that the class does not have. Promised
// is the one operation of a class that has no other.
#define PROMISED( table, slot )                                                                    \
    { #slot, offsetof( table, slot ), Rule::promised }
#define ALLOWED( table, slot )                                                                     \
    { #slot, offsetof( table, slot ), Rule::allowed }
#define EMPTY( table, slot )                                                                       \
    { #slot, offsetof( table, slot ), Rule::empty }
#define SFP( slot )                                                                                \
    { "sfp." #slot, offsetof( pl_xcvr_ops, u ) + offsetof( pl_sfp_ops, slot ), Rule::allowed }
#define QSFP( slot )                                                                               \
    { "qsfp." #slot, offsetof( pl_xcvr_ops, u ) + offsetof( pl_qsfp_ops, slot ), Rule::allowed }

const TableRule slotRule = { "pl_slot_ops", 16, { PROMISED( pl_slot_ops, getPresence ) } };
const TableRule ledRule = { "pl_led_ops", 16, { PROMISED( pl_led_ops, setLightSetting ) } };
const TableRule tempSensorRule = { "pl_temp_sensor_ops",
                                   24,
                                   { EMPTY( pl_temp_sensor_ops, unused ),
                                     PROMISED( pl_temp_sensor_ops, getTemperature ) } };
const TableRule fanRule = { "pl_fan_ops",
                            32,
                            { ALLOWED( pl_fan_ops, debugInfo ), ALLOWED( pl_fan_ops, getRpm ),
                              ALLOWED( pl_fan_ops, setRpm ) } };
const TableRule psuRule = {
    "pl_psu_ops",
    72,
    { EMPTY( pl_psu_ops, unused ), ALLOWED( pl_psu_ops, get_power_ok ),
      ALLOWED( pl_psu_ops, get_input_current ), ALLOWED( pl_psu_ops, get_output_current ),
      ALLOWED( pl_psu_ops, get_input_voltage ), ALLOWED( pl_psu_ops, get_output_voltage ),
      ALLOWED( pl_psu_ops, get_input_power ), ALLOWED( pl_psu_ops, get_output_power ) }
};
const TableRule gpioRule = { "pl_gpio_ops",
                             32,
                             { ALLOWED( pl_gpio_ops, bitSet ), ALLOWED( pl_gpio_ops, bitClear ),
                               ALLOWED( pl_gpio_ops, bitRead ) } };
const TableRule smbusRule = {
    "pl_smbus_ops",
    112,
    { ALLOWED( pl_smbus_ops, quickCommand ), ALLOWED( pl_smbus_ops, receiveByte ),
      ALLOWED( pl_smbus_ops, sendByte ), ALLOWED( pl_smbus_ops, readByte ),
      ALLOWED( pl_smbus_ops, writeByte ), ALLOWED( pl_smbus_ops, readWord ),
      ALLOWED( pl_smbus_ops, writeWord ), ALLOWED( pl_smbus_ops, blockRead ),
      ALLOWED( pl_smbus_ops, blockWrite ), ALLOWED( pl_smbus_ops, i2cBlockRead ),
      ALLOWED( pl_smbus_ops, i2cBlockWrite ), ALLOWED( pl_smbus_ops, processCall ),
      ALLOWED( pl_smbus_ops, blockProcessCall ) }
};
const TableRule systemRule = {
    "pl_system_ops",
    40,
    { EMPTY( pl_system_ops, unused0 ), ALLOWED( pl_system_ops, powercycle ),
      ALLOWED( pl_system_ops, get_reload_cause ), EMPTY( pl_system_ops, unused1 ) }
};
const TableRule qsfpRule = { "pl_xcvr_ops",
                             80,
                             { QSFP( getPresence ), QSFP( getModSel ), QSFP( setModSel ),
                               QSFP( getLpMode ), QSFP( setLpMode ), QSFP( getReset ),
                               QSFP( setReset ), QSFP( getInterrupt ) } };
// What an SFP leaves over of the longer table is zero.
const TableRule sfpRule = { "pl_xcvr_ops",
                            80,
                            { SFP( getPresence ),
                              SFP( getTxFault ),
                              SFP( getRxLos ),
                              SFP( getTxDisable ),
                              SFP( setTxDisable ),
                              { "the word at 56", 56, Rule::empty },
                              { "the word at 64", 64, Rule::empty },
                              { "the word at 72", 72, Rule::empty } } };

struct ClassRule {
    DeviceClass deviceClass;
    const TableRule &rule;
};
const ClassRule classRules[] = {
    { DeviceClass::tempSensor, tempSensorRule },
    { DeviceClass::fan, fanRule },
    { DeviceClass::psu, psuRule },
    { DeviceClass::slot, slotRule },
    { DeviceClass::led, ledRule },
    { DeviceClass::gpio, gpioRule },
    { DeviceClass::smbus, smbusRule },
    { DeviceClass::system, systemRule },
};

// Every record has the same two words.
const unsigned char *secondWord( const void *record ) {
    return reinterpret_cast<const unsigned char *>( static_cast<const pl_system *>( record )->ops );
}

} // namespace

const TableRule &ruleOf( const Device &device ) {
    for ( const ClassRule &row : classRules ) {
        if ( row.deviceClass == device.entry->deviceClass ) {
            return row.rule;
        }
    }
    return device.as<pl_xcvr>()->ops->type == PL_XCVR_SFP ? sfpRule : qsfpRule;
}

const unsigned char *tableOf( const Device &device ) {
    const unsigned char *const table = secondWord( device.record );
    require( table != nullptr, device.entry->name + ": word 1 of its record is null" );
    return table;
}

std::string tableText( const Device &device ) {
    return device.entry->name + ": " + ruleOf( device ).name;
}

uint32_t word32( const unsigned char *table, size_t offset ) {
    uint32_t word = 0;
    memcpy( &word, table + offset, sizeof word );
    return word;
}

uint64_t word64( const unsigned char *table, size_t offset ) {
    uint64_t word = 0;
    memcpy( &word, table + offset, sizeof word );
    return word;
}

} // namespace Conformance
