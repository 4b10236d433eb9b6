#pragma once

#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Drivers/PsuSlot.h"
#include "KavraGeneric/Topology/Address.h"
#include "tests/KavraGeneric/Drivers/ChipHam.h"
#include "tests/support/FakeSmbusServer.h"
#include "tests/support/LibraryFixture.h"

#include <algorithm>
#include <bit>
#include <deque>
#include <map>
#include <string>
#include <vector>

using Strings = std::vector<std::string>;

/// A host with one slot whose supply is at 0x50 and whose signals are bits of the chip at 0x40. Two
/// models are known.
class HostOfSlots : public LibraryFixture {
  protected:
    static constexpr const char *topology = R"([
        { "type": "I2C", "ham": "KavraSmbus", "id": 1, "devices": [
            { "did": 7 },
            { "did": 20, "label": "signals", "driver": null,
              "address": { "address": 64 } } ] } ])";

    static constexpr const char *models =
        R"("model_1": "MODEL-A", "psuFdl_1": "<A {serialNum}>",
           "model_2": "MODEL-B", "psuFdl_2": "<B {serialNum} {serialNum}>")";

    /// Device arguments; the driver arguments are the members of a JSON object.
    static const char *slotArguments( const std::string &driverArgs ) {
        static std::deque<std::string> texts; // slots keep pointers to theirs
        texts.push_back( R"({ "name": "slot1", "driver": "PsuSlot", "did": 7, )"
                         R"("address": { "address": 80 }, "driverArgs": { )" +
                         driverArgs + " } }" );
        return texts.back().c_str();
    }

    void addBare( const std::string &driverArgs ) {
        slot = pl_slot_add( slotArguments( driverArgs ) );
    }
    /// A slot of supply 1 with the two models.
    void add( const std::string &type, const std::string &more = "" ) {
        addBare( R"("psuId": 1, "identificationType": ")" + type + "\", " + models + more );
    }

    pl_status presence() {
        char *given = nullptr;
        const pl_status status = slot->ops->getPresence( slot, &given );
        fdl = given ? given : "none";
        free( given );
        return status;
    }

    /// The traces of levels 0 and 1 since the last call.
    static Strings newTraces() {
        Strings found;
        for ( const FakeHost::Line &line : host().lines ) {
            if ( line.level <= 1 ) {
                found.push_back( std::to_string( line.level ) + ' ' + line.text );
            }
        }
        host().lines.clear();
        return found;
    }

    pl_slot *slot = nullptr;
    std::string fdl;
};

class PsuSlotTest : protected FakeSmbusServer, public HostOfSlots {
  protected:
    PsuSlotTest() {
        connect();
        loadTopology( topology );
    }

    /// Forgets what adding the slot took.
    void begin() {
        forget();
        host().lines.clear();
    }

    /// Whether any request so far asked for a repeated start, as a read whose flag is set does.
    bool anyRepeatedStart() const {
        for ( const Smbus::TransactionRequest &batch : requests() ) {
            for ( const Smbus::Request &request : batch.request() ) {
                const auto address = std::bit_cast<AhamAddress>( request.address() );
                if ( address.writeNoStopReadCurrent != 0 ) {
                    return true;
                }
            }
        }
        return false;
    }

    /// The two batches of a supply that tells who it is in manufacturer blocks.
    void answerBlocks( const std::string &model, const std::string &serial ) {
        answer( { bytes( model.size() ), bytes( serial.size() ) } );
        answer( { text( static_cast<char>( model.size() ) + model ),
                  text( static_cast<char>( serial.size() ) + serial ) } );
    }
};

/// A slot right behind an access method: no socket, no traces.
class PsuSlotChipTest : public LibraryFixture {
  protected:
    PsuSlotChipTest() { host().traceDropped = true; }

    static Drivers::PsuSlot::Slot &makeSlot( const std::string &type, ChipHam &ham,
                                             const std::map<std::string, std::string> &more = {} ) {
        Component::DeviceBase::devices.clear();
        Drivers::DriverArgs args;
        args.driver = "PsuSlot";
        args.driverArgs = { { "psuId", "1" }, { "identificationType", type } };
        args.driverArgs.insert( more.begin(), more.end() );
        auto *device = Component::HardwareDevice::create( args, &ham );
        return dynamic_cast<Drivers::PsuSlot::Slot &>( *device->newSlot( args ) );
    }

    /// What an EEPROM of 64 KiB gives: `image` from offset 0 on, `rest` behind it. Reads wrap.
    std::string eeprom( unsigned reg, unsigned length ) const {
        std::string read;
        for ( ; length > 0; --length, ++reg ) {
            const size_t offset = reg & 0xFFFF;
            read += offset < image.size() ? image[offset] : rest;
        }
        return read;
    }

    std::string image;
    char rest = '\xFF';
    std::string serial;
    std::string model;
    ChipHam chip{ [this]( unsigned reg, unsigned length ) { return eeprom( reg, length ); } };
};
