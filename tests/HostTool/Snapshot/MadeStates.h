#pragma once

#include "HostTool/Snapshot/BoardState.h"

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

/// Words to make up snapshots with.
namespace Made {

using HostTool::DeviceClass;
using HostTool::Freshness;
using HostTool::State;
using HostTool::Snapshot::BoardState;
using HostTool::Snapshot::DeviceState;
using HostTool::Snapshot::Record;

using Changes = std::initializer_list<std::pair<const char *, Record>>;

Record is( Record::Value value, const std::string &unit = "" );
Record text( const std::string &value );
Record failed( const std::string &reason = "bus 0 chip 0x48: no acknowledge",
               const std::string &status = "PL_STATUS_FAILED" );
Record unread( const std::string &reason );
/// A value that the device does not have.
Record none();

DeviceState sensor( const std::string &name, const Record &temperature, State state = State::ok );
DeviceState sensor( const std::string &name, double celsius, State state = State::ok );
DeviceState fan( const std::string &name, const Record &speed );
DeviceState fan( const std::string &name, double rpm );
/// A supply as on a good day, but for these values.
DeviceState supply( const std::string &name, Changes changes = {} );
DeviceState slot( const std::string &name, const Record &model, const Record &serial,
                  const std::string &description = "a part" );
DeviceState slot( const std::string &name, const std::string &model, const std::string &serial );
DeviceState emptySlot( const std::string &name, const std::string &reason = "not present" );
/// A cage with a module, but for these values and settings.
DeviceState cage( const std::string &name, Changes changes = {} );
DeviceState lamp( const std::string &name );
DeviceState line( const std::string &name, double value );

BoardState board( std::vector<DeviceState> devices );

} // namespace Made
