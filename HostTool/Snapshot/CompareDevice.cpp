#include "HostTool/Snapshot/CompareDevice.h"

#include "HostTool/Snapshot/Presence.h"
#include "HostTool/Snapshot/Sentences.h"

#include <algorithm>
#include <map>

namespace HostTool::Snapshot {

namespace {

/// Moves by itself: a driver's free text about its registers.
bool isIgnored( const DeviceState &device, const std::string &key ) {
    return device.deviceClass == DeviceClass::fan && key == "debug";
}

/// Why there is no value: "PL_STATUS_IO_ERROR: no server"; the reason alone of what nobody read.
std::string whyUnknown( const Record &record ) {
    const bool saysMore = record.status != nameOf( PL_STATUS_OK );
    if ( record.reason.empty() ) {
        return saysMore ? record.status : "not read";
    }
    return saysMore ? record.status + ": " + record.reason : record.reason;
}

class DeviceComparison {
  public:
    DeviceComparison( const DeviceState &golden, const DeviceState &now,
                      const Tolerances &tolerances )
        : golden_( golden ), now_( now ), tolerances_( tolerances ) {}

    std::vector<Difference> differences() {
        if ( golden_.deviceClass != now_.deviceClass ) {
            add( Group::part, {},
                 now_.name + " is of class " + nameOf( now_.deviceClass ) + ", was of class " +
                     nameOf( golden_.deviceClass ) );
            return std::move( differences_ );
        }
        compareDescribed();
        const Presence before = presenceOf( golden_ );
        const Presence after = presenceOf( now_ );
        const bool isThere = before != Presence::absent && after != Presence::absent &&
                             before != Presence::unrecognised && after != Presence::unrecognised;
        if ( before != after && before != Presence::unknown && after != Presence::unknown ) {
            comparePresence( before, after );
        }
        if ( isThere ) {
            compareIdentity();
            compareSection( Group::value, golden_.values, now_.values );
        }
        compareSection( Group::setting, golden_.settings, now_.settings );
        tellFailures();
        if ( isThere ) {
            compareState();
        }
        return std::move( differences_ );
    }

  private:
    /// Values that cannot be read for one kind of reason.
    struct Failing {
        std::vector<std::string> keys;
        const Record *golden;
        const Record *now;
    };

    void add( Group group, std::vector<std::string> keys, std::string text ) {
        differences_.push_back(
            { group, now_.name, std::move( keys ), {}, {}, "", std::move( text ) } );
    }
    void add( Group group, const std::string &key, const Record &golden, const Record &now,
              std::string text ) {
        differences_.push_back( { group,
                                  now_.name,
                                  { key },
                                  golden.value,
                                  now.value,
                                  now.unit.empty() ? golden.unit : now.unit,
                                  std::move( text ) } );
    }

    void compareDescribed() {
        if ( golden_.driver != now_.driver ) {
            add( Group::setting, {},
                 now_.name + "'s driver is '" + now_.driver + "', was '" + golden_.driver + "'" );
        }
        if ( golden_.thresholds.has_value() != now_.thresholds.has_value() ) {
            add( Group::setting, {},
                 now_.name + ( now_.thresholds ? " has thresholds, and had none"
                                               : " has no thresholds any more" ) );
            return;
        }
        if ( !golden_.thresholds ) {
            return;
        }
        compareLimit( "alert", golden_.thresholds->alert, now_.thresholds->alert );
        compareLimit( "critical", golden_.thresholds->critical, now_.thresholds->critical );
    }

    void compareLimit( const char *key, double golden, double now ) {
        if ( golden == now ) {
            return;
        }
        const std::string status = nameOf( PL_STATUS_OK );
        const Record before = { golden, "C", status, "", Freshness::fresh };
        const Record after = { now, "C", status, "", Freshness::fresh };
        add( Group::setting, key, before, after,
             spokenChange( now_.name, std::string( key ) + "_threshold", before, after,
                           tolerances_ ) );
    }

    void comparePresence( Presence before, Presence after ) {
        const bool isCage = now_.deviceClass == DeviceClass::xcvr;
        const std::string part = isCage ? "the module of " + now_.name : partOf( now_ );
        const Record &golden = *find( golden_.values, "present" );
        const Record &now = *find( now_.values, "present" );
        if ( after == Presence::absent ) {
            add( Group::missing, "present", golden, now, part + " is missing" );
        } else if ( after == Presence::unrecognised ) {
            const Record &description = *find( now_.identity, "description" );
            add( Group::part, "present", golden, now,
                 part + " is not recognised: " + description.reason );
        } else if ( before == Presence::absent ) {
            add( Group::additional, "present", golden, now, part + " is additional" );
        } else {
            add( Group::part, "present", golden, now, part + " is recognised, and was not" );
        }
    }

    /// A model tells more than a serial number, and that more than the whole description.
    void compareIdentity() {
        compareKnowledge( golden_.identity, now_.identity );
        const std::string part = partOf( now_ );
        for ( const char *key : { "type", "model", "serial", "description" } ) {
            const Record *golden = find( golden_.identity, key );
            const Record *now = find( now_.identity, key );
            if ( !golden || !now || !golden->isKnown() || !now->isKnown() ||
                 golden->value == now->value ) {
                continue;
            }
            add( Group::part, key, *golden, *now, spokenIdentity( part, key, *golden, *now ) );
            return;
        }
    }

    std::string spokenIdentity( const std::string &part, const std::string &key,
                                const Record &golden, const Record &now ) const {
        const std::string *before = std::get_if<std::string>( &golden.value );
        const std::string *after = std::get_if<std::string>( &now.value );
        if ( !before || !after || key == "description" ) {
            return spokenChange( part, key, golden, now, tolerances_ );
        }
        if ( key == "serial" ) {
            return part + " is another unit: serial " + *after + ", was " + *before;
        }
        return part + " is another " + key + ": " + *after + ", was " + *before;
    }

    void compareSection( Group group, const Records &golden, const Records &now ) {
        compareKnowledge( golden, now );
        for ( const auto &[key, before] : golden ) {
            const Record *after = find( now, key );
            if ( !after || !before.isKnown() || !after->isKnown() || isIgnored( now_, key ) ) {
                continue;
            }
            if ( !isSame( group, before, *after ) ) {
                add( group, key, before, *after,
                     spokenChange( now_.name, key, before, *after, tolerances_ ) );
            }
        }
    }

    bool isSame( Group group, const Record &golden, const Record &now ) const {
        const double *before = std::get_if<double>( &golden.value );
        const double *after = std::get_if<double>( &now.value );
        if ( group == Group::value && before && after && golden.unit == now.unit ) {
            return tolerances_.allow( now.unit, *before, *after );
        }
        return golden.value == now.value && golden.unit == now.unit;
    }

    /// What is known in one and not in the other, or fails in another way.
    void compareKnowledge( const Records &golden, const Records &now ) {
        for ( const auto &[key, before] : golden ) {
            const Record *after = find( now, key );
            const bool isNeither =
                after && before.freshness == Freshness::none && after->freshness == Freshness::none;
            if ( !after || isNeither || isIgnored( now_, key ) ||
                 ( before.isKnown() && after->isKnown() ) ) {
                continue;
            }
            if ( before.isKnown() && after->freshness == Freshness::none ) {
                add( Group::state, key, before, *after,
                     now_.name + "'s " + spokenKey( key ) + " is not there any more (was " +
                         spoken( before, tolerances_ ) + "): " + whyUnknown( *after ) );
            } else if ( after->isKnown() && before.freshness == Freshness::none ) {
                add( Group::state, key, before, *after,
                     now_.name + "'s " + spokenKey( key ) +
                         " is there, and was not: " + spoken( *after, tolerances_ ) );
            } else if ( before.isKnown() || after->isKnown() || before.status != after->status ) {
                note( key, before, *after );
            }
        }
    }

    void note( const std::string &key, const Record &golden, const Record &now ) {
        auto &failing = now.isKnown() ? recovered_[golden.status] : failing_[now.status];
        if ( failing.keys.empty() ) {
            failing.golden = &golden;
            failing.now = &now;
        }
        failing.keys.push_back( key );
    }

    size_t countOfRecords() const {
        return golden_.identity.size() + golden_.values.size() + golden_.settings.size();
    }

    /// "inlet", "psu1's input voltage", "5 of the 7 values of psu1".
    std::string spokenKeys( const std::vector<std::string> &keys ) const {
        constexpr size_t most = 3;
        const size_t all = countOfRecords();
        if ( keys.size() == all ) {
            return now_.name;
        }
        if ( keys.size() > most ) {
            return std::to_string( keys.size() ) + " of the " + std::to_string( all ) +
                   " values of " + now_.name;
        }
        std::vector<std::string> words;
        std::transform( keys.begin(), keys.end(), std::back_inserter( words ), spokenKey );
        return now_.name + "'s " + spokenList( words );
    }

    void tellFailures() {
        for ( const auto &[status, failing] : failing_ ) {
            const bool isUnread = status == nameOf( PL_STATUS_OK );
            const bool isOne = failing.keys.size() == 1;
            std::string text = spokenKeys( failing.keys ) +
                               ( isUnread ? " was not read: " : " cannot be read: " ) +
                               whyUnknown( *failing.now );
            if ( isOne ) {
                text += " (was " +
                        ( failing.golden->isKnown() ? spoken( *failing.golden, tolerances_ )
                                                    : whyUnknown( *failing.golden ) ) +
                        ")";
            }
            tell( failing, std::move( text ) );
        }
        for ( const auto &[status, failing] : recovered_ ) {
            std::string text = spokenKeys( failing.keys ) + " can be read";
            if ( failing.keys.size() == 1 ) {
                text += ": " + spoken( *failing.now, tolerances_ );
            }
            tell( failing, text + " (was " + whyUnknown( *failing.golden ) + ")" );
        }
    }

    void tell( const Failing &failing, std::string text ) {
        if ( failing.keys.size() == 1 ) {
            add( Group::state, failing.keys.front(), *failing.golden, *failing.now,
                 std::move( text ) );
        } else {
            add( Group::state, failing.keys, std::move( text ) );
        }
    }

    /// Thresholds are passed within the tolerance too. Other states follow from what was told.
    void compareState() {
        if ( golden_.state == now_.state ) {
            return;
        }
        const auto isAboveALimit = []( State state ) {
            return state == State::alert || state == State::critical;
        };
        const bool isFailure = golden_.state == State::failed || now_.state == State::failed;
        const bool isLimit = isAboveALimit( golden_.state ) || isAboveALimit( now_.state );
        if ( ( isLimit && !isFailure ) || differences_.empty() ) {
            add( Group::state, {}, spokenState( golden_, now_, tolerances_ ) );
        }
    }

    const DeviceState &golden_;
    const DeviceState &now_;
    const Tolerances &tolerances_;
    std::map<std::string, Failing> failing_;   // by the status now
    std::map<std::string, Failing> recovered_; // by the status then
    std::vector<Difference> differences_;
};

} // namespace

std::vector<Difference> compareDevice( const DeviceState &golden, const DeviceState &now,
                                       const Tolerances &tolerances ) {
    return DeviceComparison( golden, now, tolerances ).differences();
}

} // namespace HostTool::Snapshot
