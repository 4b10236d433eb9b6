#pragma once

#include "HostTool/Host/Devices.h"

#include <optional>
#include <string>
#include <vector>

namespace HostTool::Watch {

/// One value of a device over time.
struct Sample {
    Reading reading;
    Reading lastGood;                ///< without a value as long as there was none
    Moment lastGoodAt;               ///< when its chip was asked
    std::optional<Moment> changedAt; ///< nothing until it changes for the first time
};

/// A device and what is known of it.
struct Item {
    Device device;
    State state = State::added;
    bool wasRead = false;
    std::vector<Sample> samples; ///< one a column of the class, when it was read
    std::optional<Moment> stateChangedAt;
    std::optional<Moment> askedAt; ///< when it was first asked, if its values come from a poll

    std::optional<int> fullSpeed; ///< of a fan, in revolutions per minute, when it is known
    std::optional<size_t> tray;   ///< the slot that a fan's part sits in
    std::optional<size_t> lamp;   ///< the lamp of a transceiver cage

    std::optional<int> light; ///< what a lamp was told; it cannot be asked
    unsigned lightSince = 0;  ///< blinks so far when it was told

    const Entry &entry() const { return *device.entry; }
    /// The value in the column of this key; null when there is none.
    const Reading::Value *value( const char *key ) const;
    bool isOn( const char *key ) const;
    /// A raw chip is not read: there is something to see only when the library refused it.
    bool isWorthALine() const {
        return entry().deviceClass != DeviceClass::smbus || state == State::failed;
    }
};

/// A value or a state that became another.
struct Change {
    size_t item;
    std::string key; ///< a column's, or "state"
    std::string before;
    std::string after;
    std::optional<Reading>
        reading; ///< a column's, as it is now; a state has one when it has a reason
};

/// What a host knows of a board while it watches it.
class Model {
  public:
    Model( std::vector<Device> devices, const Board &board );

    const std::vector<Item> &items() const { return items_; }
    Device &device( size_t item ) { return items_[item].device; }

    /// Takes over what the device read just now.
    /// @return what changed; nothing for a first reading, nor before polled values are real
    std::vector<Change> update( size_t item, Moment now );
    /// True until every device that is answered from a poll was read.
    bool isSettling() const;
    void lightIs( size_t item, int setting );

    void blinksAre( unsigned blinks ) { blinks_ = blinks; }
    /// True while a lamp that was told to blink is in its lit half.
    bool isLit( const Item &lamp ) const;

    /// Nothing is read while there is no server.
    void serverIsLost( Moment since, const std::string &reason );
    void serverIsBack() { serverLostAt_.reset(); }
    const std::optional<Moment> &serverLostAt() const { return serverLostAt_; }
    const std::string &serverReason() const { return serverReason_; }

    size_t troubles() const;

  private:
    void updateFullSpeeds();

    std::vector<Item> items_;
    unsigned blinks_ = 0;
    std::optional<Moment> serverLostAt_;
    std::string serverReason_;
};

/// The entry's name ends where the other one goes on with something that is no digit: the lamp
/// "Ethernet3-led" belongs to "Ethernet3" and not to "Ethernet33".
bool belongsTo( const std::string &lamp, const std::string &port );

} // namespace HostTool::Watch
