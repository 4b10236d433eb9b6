/* Sizes and offsets in bytes, for whoever defines SIZE and SLOT. */

SIZE( pl_slot, 16 );
SLOT( pl_slot, host, 0 );
SLOT( pl_slot, ops, 8 );
SIZE( pl_led, 16 );
SLOT( pl_led, host, 0 );
SLOT( pl_led, ops, 8 );
SIZE( pl_temp_sensor, 16 );
SLOT( pl_temp_sensor, host, 0 );
SLOT( pl_temp_sensor, ops, 8 );
SIZE( pl_fan, 16 );
SLOT( pl_fan, host, 0 );
SLOT( pl_fan, ops, 8 );
SIZE( pl_xcvr, 16 );
SLOT( pl_xcvr, host, 0 );
SLOT( pl_xcvr, ops, 8 );
SIZE( pl_psu, 16 );
SLOT( pl_psu, host, 0 );
SLOT( pl_psu, ops, 8 );
SIZE( pl_gpio, 16 );
SLOT( pl_gpio, host, 0 );
SLOT( pl_gpio, ops, 8 );
SIZE( pl_smbus, 16 );
SLOT( pl_smbus, host, 0 );
SLOT( pl_smbus, ops, 8 );
SIZE( pl_system, 16 );
SLOT( pl_system, host, 0 );
SLOT( pl_system, ops, 8 );

SIZE( pl_slot_ops, 16 );
SLOT( pl_slot_ops, size, 0 );
SLOT( pl_slot_ops, reserved, 4 );
SLOT( pl_slot_ops, getPresence, 8 );

SIZE( pl_led_ops, 16 );
SLOT( pl_led_ops, size, 0 );
SLOT( pl_led_ops, reserved, 4 );
SLOT( pl_led_ops, setLightSetting, 8 );

SIZE( pl_temp_sensor_ops, 24 );
SLOT( pl_temp_sensor_ops, size, 0 );
SLOT( pl_temp_sensor_ops, reserved, 4 );
SLOT( pl_temp_sensor_ops, unused, 8 );
SLOT( pl_temp_sensor_ops, getTemperature, 16 );

SIZE( pl_fan_ops, 32 );
SLOT( pl_fan_ops, size, 0 );
SLOT( pl_fan_ops, reserved, 4 );
SLOT( pl_fan_ops, debugInfo, 8 );
SLOT( pl_fan_ops, getRpm, 16 );
SLOT( pl_fan_ops, setRpm, 24 );

SIZE( pl_psu_ops, 72 );
SLOT( pl_psu_ops, size, 0 );
SLOT( pl_psu_ops, reserved, 4 );
SLOT( pl_psu_ops, unused, 8 );
SLOT( pl_psu_ops, get_power_ok, 16 );
SLOT( pl_psu_ops, get_input_current, 24 );
SLOT( pl_psu_ops, get_output_current, 32 );
SLOT( pl_psu_ops, get_input_voltage, 40 );
SLOT( pl_psu_ops, get_output_voltage, 48 );
SLOT( pl_psu_ops, get_input_power, 56 );
SLOT( pl_psu_ops, get_output_power, 64 );

SIZE( pl_gpio_ops, 32 );
SLOT( pl_gpio_ops, size, 0 );
SLOT( pl_gpio_ops, reserved, 4 );
SLOT( pl_gpio_ops, bitSet, 8 );
SLOT( pl_gpio_ops, bitClear, 16 );
SLOT( pl_gpio_ops, bitRead, 24 );

SIZE( pl_smbus_ops, 112 );
SLOT( pl_smbus_ops, size, 0 );
SLOT( pl_smbus_ops, reserved, 4 );
SLOT( pl_smbus_ops, quickCommand, 8 );
SLOT( pl_smbus_ops, receiveByte, 16 );
SLOT( pl_smbus_ops, sendByte, 24 );
SLOT( pl_smbus_ops, readByte, 32 );
SLOT( pl_smbus_ops, writeByte, 40 );
SLOT( pl_smbus_ops, readWord, 48 );
SLOT( pl_smbus_ops, writeWord, 56 );
SLOT( pl_smbus_ops, blockRead, 64 );
SLOT( pl_smbus_ops, blockWrite, 72 );
SLOT( pl_smbus_ops, i2cBlockRead, 80 );
SLOT( pl_smbus_ops, i2cBlockWrite, 88 );
SLOT( pl_smbus_ops, processCall, 96 );
SLOT( pl_smbus_ops, blockProcessCall, 104 );

SIZE( pl_system_ops, 40 );
SLOT( pl_system_ops, size, 0 );
SLOT( pl_system_ops, reserved, 4 );
SLOT( pl_system_ops, unused0, 8 );
SLOT( pl_system_ops, powercycle, 16 );
SLOT( pl_system_ops, get_reload_cause, 24 );
SLOT( pl_system_ops, unused1, 32 );

SIZE( pl_xcvr_ops, 80 );
SLOT( pl_xcvr_ops, size, 0 );
SLOT( pl_xcvr_ops, type, 4 );
SLOT( pl_xcvr_ops, u, 8 );

SIZE( pl_sfp_ops, 48 );
SLOT( pl_sfp_ops, size, 0 );
SLOT( pl_sfp_ops, getPresence, 8 );
SLOT( pl_sfp_ops, getTxFault, 16 );
SLOT( pl_sfp_ops, getRxLos, 24 );
SLOT( pl_sfp_ops, getTxDisable, 32 );
SLOT( pl_sfp_ops, setTxDisable, 40 );

SIZE( pl_qsfp_ops, 72 );
SLOT( pl_qsfp_ops, size, 0 );
SLOT( pl_qsfp_ops, getPresence, 8 );
SLOT( pl_qsfp_ops, getModSel, 16 );
SLOT( pl_qsfp_ops, setModSel, 24 );
SLOT( pl_qsfp_ops, getLpMode, 32 );
SLOT( pl_qsfp_ops, setLpMode, 40 );
SLOT( pl_qsfp_ops, getReset, 48 );
SLOT( pl_qsfp_ops, setReset, 56 );
SLOT( pl_qsfp_ops, getInterrupt, 64 );
