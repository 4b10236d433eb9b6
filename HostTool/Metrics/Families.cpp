#include "HostTool/Metrics/Families.h"

namespace HostTool::Metrics {

const std::vector<OwnFamily> &ownFamilies() {
    static const std::vector<OwnFamily> rows = {
        { Own::serverUp, "kavra_server_up", "",
          "Whether the SMBus server was there during the whole scrape (1) or not (0)." },
        { Own::scrapeDuration, "kavra_scrape_duration_seconds", "",
          "How long it took to read the board." },
        { Own::build, "kavra_build_info", "version, library, board",
          "Version of kavractl, file of the platform library, folder of the documents." },
        { Own::deviceState, "kavra_device_state", "device, class, state",
          "The state of the device, as kavractl show names it; always 1." },
        { Own::readingStatus, "kavra_reading_status", "device, class, reading, status",
          "A reading that failed, with the library's status; always 1." },
        { Own::readingAge, "kavra_reading_age_seconds", "device, class, reading",
          "How long ago the library's poll read a value that was not read for this scrape." },
        { Own::readingNeverRead, "kavra_reading_never_read", "device, class, reading",
          "A value that the device has and that was never read from its chip; always 1." },
        { Own::alertThreshold, "kavra_temperature_alert_celsius", "device",
          "Temperature from which on the sensor is in the state alert." },
        { Own::criticalThreshold, "kavra_temperature_critical_celsius", "device",
          "Temperature from which on the sensor is in the state critical." },
    };
    return rows;
}

const std::vector<ValueFamily> &valueFamilies() {
    static const std::vector<ValueFamily> rows = {
        { DeviceClass::tempSensor, "temperature", "kavra_temperature_celsius",
          "Temperature at the sensor." },
        // There is no base unit of rotation in use: data sheets, limits and other exporters say
        // rpm.
        { DeviceClass::fan, "speed", "kavra_fan_speed_rpm",
          "Speed of the fan in revolutions per minute." },
        { DeviceClass::psu, "power_ok", "kavra_psu_power_ok",
          "Whether the supply says that its power is good (1) or not (0)." },
        { DeviceClass::psu, "input_voltage", "kavra_psu_input_volts", "Voltage at the input." },
        { DeviceClass::psu, "input_current", "kavra_psu_input_amperes", "Current at the input." },
        { DeviceClass::psu, "input_power", "kavra_psu_input_watts", "Power taken." },
        { DeviceClass::psu, "output_voltage", "kavra_psu_output_volts", "Voltage at the output." },
        { DeviceClass::psu, "output_current", "kavra_psu_output_amperes",
          "Current at the output." },
        { DeviceClass::psu, "output_power", "kavra_psu_output_watts", "Power delivered." },
        { DeviceClass::slot, "present", "kavra_slot_present",
          "Whether a part that is known sits in the slot (1) or not (0)." },
        { DeviceClass::xcvr, "present", "kavra_xcvr_present",
          "Whether a module sits in the cage (1) or not (0)." },
        { DeviceClass::xcvr, "tx_fault", "kavra_xcvr_tx_fault",
          "Whether the module reports a fault of its transmitter (1)." },
        { DeviceClass::xcvr, "rx_los", "kavra_xcvr_rx_los",
          "Whether the module receives no signal (1)." },
        { DeviceClass::xcvr, "tx_disable", "kavra_xcvr_tx_disable",
          "Whether the transmitter is switched off (1)." },
        { DeviceClass::xcvr, "mod_sel", "kavra_xcvr_mod_sel",
          "Whether the module is selected on its bus (1)." },
        { DeviceClass::xcvr, "lp_mode", "kavra_xcvr_lp_mode",
          "Whether the module is held in its low-power mode (1)." },
        { DeviceClass::xcvr, "reset", "kavra_xcvr_reset",
          "Whether the module is held in reset (1)." },
        { DeviceClass::xcvr, "interrupt", "kavra_xcvr_interrupt",
          "Whether the module asks for attention (1)." },
        { DeviceClass::gpio, "value", "kavra_gpio_value", "The state of the line, 0 or 1." },
        { DeviceClass::system, "reload_time", "kavra_system_reload_time_seconds",
          "When the switch was last restarted, in seconds since the epoch." },
    };
    return rows;
}

const std::vector<InfoFamily> &infoFamilies() {
    static const std::vector<InfoFamily> rows = {
        { DeviceClass::slot,
          { { "model", "model" }, { "serial", "serial" } },
          "kavra_slot_info",
          "The part in the slot; always 1." },
        { DeviceClass::xcvr,
          { { "type", "type" } },
          "kavra_xcvr_info",
          "The kind of the cage, sfp or qsfp; always 1." },
        { DeviceClass::system,
          { { "cause", "reload_cause" }, { "detail", "reload_detail" } },
          "kavra_system_reload_cause_info",
          "Why the switch was last restarted; always 1." },
    };
    return rows;
}

std::vector<Description> descriptions() {
    std::vector<Description> all;
    for ( const OwnFamily &each : ownFamilies() ) {
        all.push_back( { each.name, each.labels, each.help } );
    }
    for ( const ValueFamily &each : valueFamilies() ) {
        all.push_back( { each.name, "device", each.help } );
    }
    for ( const InfoFamily &each : infoFamilies() ) {
        std::string labels = "device";
        for ( const InfoFamily::Label &label : each.labels ) {
            labels += std::string( ", " ) + label.name;
        }
        all.push_back( { each.name, labels, each.help } );
    }
    return all;
}

} // namespace HostTool::Metrics
