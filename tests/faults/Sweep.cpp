#include "tests/faults/Sweep.h"

#include "tests/faults/Allowed.h"
#include "tests/faults/ForgetLibrary.h"
#include "tests/faults/Host.h"

#include <iostream>

using Faults::Kind;
using Faults::Plan;

const std::string Sweep::board = SOURCE_DIR "/boards/VundaT";

namespace {

constexpr const char *names[Faults::kinds] = { "allocations", "system calls", "bus requests",
                                               "host services" };

const char *nameOf( Kind kind ) {
    return names[static_cast<int>( kind )];
}

// Devices keep pointers to their arguments.
HostTool::Board &documents() {
    static HostTool::Board read;
    return read;
}

} // namespace

const HostTool::Entry &Sweep::entry( const std::string &name ) {
    return *selectEntries( documents(), { name } ).front();
}

const std::vector<HostTool::Entry> &Sweep::entries() {
    return documents().entries;
}

void Sweep::perform( const Operation &operation ) {
    Result result;
    operation.call( result );
}

void Sweep::powerOn( Kind kind, const std::string &folder ) {
    kind_ = kind;
    Faults::stopTheClock();
    server_ = std::make_unique<BoardServer>( folder + "/emulation.json" );
    // Fans follow at once: a client that waits for its server takes time, and they turn on.
    std::string none;
    server_->board().set( "fans.inertia", "0", none );
    trial_ = std::make_unique<Trial>( server_.get() );
    documents() = HostTool::readBoard( folder );
    initialisations_ = ::initialisations( documents().topology.c_str() );
}

void Sweep::meetEntry( const HostTool::Entry &entry ) {
    EntryOperations operations = operationsOf( entry );
    auto &callbacks = operations.callbacks;
    operations.add.type = prefix_ + operations.add.type;
    meet( operations.add, callbacks.empty() ? nullptr : &callbacks.front() );
    perform( operations.add );
    for ( Operation &callback : callbacks ) {
        callback.type = prefix_ + callback.type;
        perform( callback );
        meet( callback );
    }
}

void Sweep::meet( const Operation &operation, const Operation *then ) {
    const Report &usual = trial_->run( operation, { .kind = kind_ }, then );
    reference_ = usual;
    if ( !reference_.hasNext || reference_.problem[0] != '\0' ) {
        ADD_FAILURE() << operation.name << " without a fault: " << reference_.outcome << "; "
                      << reference_.problem << Host::lastLine();
        return;
    }
    const unsigned count = reference_.met.counts[static_cast<int>( kind_ )];
    ASSERT_LT( count, Faults::mostPlaces );
    bool isFirst = !isSanitized;
    for ( unsigned n = 1; n <= count; ++n ) {
        for ( unsigned variant = 0; variant < variantsOf( n ); ++variant ) {
            for ( const bool forEver : { false, true } ) {
                ++place_;
                if ( place_ % step_ == 0 || isFirst ) {
                    meetOne( operation, { kind_, forEver, n, variant }, then );
                }
                isFirst = false;
            }
        }
    }
    if ( step_ == 1 && count != 0 ) {
        expectUntouched( operation, count + 1 );
    }
}

unsigned Sweep::variantsOf( unsigned n ) const {
    switch ( kind_ ) {
    case Kind::systemCall:
        return reference_.met.variants[n - 1];
    case Kind::busRequest:
        return 2;
    default:
        return 1;
    }
}

void Sweep::expectUntouched( const Operation &operation, unsigned n ) {
    const Report &report = trial_->run( operation, { kind_, false, n, 0 } );
    EXPECT_FALSE( report.met.failed ) << operation.name;
    EXPECT_STREQ( reference_.outcome, report.outcome ) << operation.name;
}

void Sweep::meetOne( const Operation &operation, const Plan &plan, const Operation *then ) {
    const Report &report = trial_->run( operation, plan, then );
    ++tried_;
    const std::string excuse = excuseFor( report );
    if ( !excuse.empty() ) {
        ++excused_[excuse];
        return;
    }
    const std::string wrong = judge( operation, report );
    if ( !wrong.empty() ) {
        fail( operation, plan, report, wrong );
    }
}

// That it ends the process is all that is excused.
std::string Sweep::excuseFor( const Report &report ) const {
    const bool died = std::string_view( report.outcome ).starts_with( "died" );
    return kind_ == Kind::allocation && died ? ofRapidjson( report.met.caller ) : "";
}

// In simulation a file that cannot be looked at reads as 0, which is traced, and one that could not
// be written when its device was made stays as it is.
bool Sweep::isOfFiles() const {
    return kind_ == Kind::systemCall && !prefix_.empty();
}

bool Sweep::settlesTheBoard( const Operation &operation ) const {
    return std::string_view( reference_.outcome ) == "status 0" &&
           ::settlesTheBoard( operation.type );
}

std::string Sweep::judge( const Operation &operation, const Report &report ) const {
    std::string wrong = report.problem;
    if ( !report.met.failed ) {
        wrong += "the place was not reached; ";
    }
    if ( !isAllowed( operation.type, kind_, report.outcome, reference_.outcome ) ) {
        wrong += std::string( "came to " ) + report.outcome + "; ";
    }
    const bool asUsual = std::string( reference_.outcome ) == report.outcome;
    // A timer that the host did not arm shows in what the call comes to, and is no fault.
    const bool valueCounts = kind_ != Kind::hostService && !isOfFiles();
    if ( asUsual && valueCounts && !( report.result == reference_.result ) ) {
        wrong += "the value is wrong; ";
    }
    if ( asUsual && settlesTheBoard( operation ) && report.board != reference_.board ) {
        wrong += "the board is not what it was asked to be; ";
    }
    return report.hasNext ? wrong + judgeNext( operation, report, asUsual ) : wrong;
}

std::string Sweep::judgeNext( const Operation &operation, const Report &report,
                              bool asUsual ) const {
    std::string wrong;
    const bool valueCounts = !isOfFiles() || !operation.type.starts_with( prefix_ + "add" );
    if ( valueCounts && !( report.next == reference_.next ) ) {
        wrong += "the next call gives " + std::to_string( report.next.status ) + ", " +
                 std::to_string( report.next.value ) + " in place of " +
                 std::to_string( reference_.next.status ) + ", " +
                 std::to_string( reference_.next.value ) + "; ";
    }
    if ( settlesTheBoard( operation ) && report.nextBoard != reference_.nextBoard ) {
        wrong += "the board is not what the next call asked it to be; ";
    }
    const long blocks = asUsual ? reference_.blocksAtEnd : reference_.blocks;
    if ( report.blocksAtEnd > blocks ) {
        wrong += "leaks " + std::to_string( report.blocksAtEnd - blocks ) + " blocks; ";
    }
    if ( report.descriptors > reference_.descriptors ||
         report.descriptorsAtEnd > reference_.descriptorsAtEnd ) {
        wrong += "leaves a descriptor open; ";
    }
    return wrong;
}

// Many places fail alike: one of them is told, and how many there are.
void Sweep::fail( const Operation &operation, const Plan &plan, const Report &report,
                  const std::string &wrong ) {
    auto &[count, example] = failures_[operation.type + ": " + wrong];
    if ( ++count > 1 ) {
        return;
    }
    example = operation.name + ", " + nameOf( kind_ ) + " " + std::to_string( plan.n ) +
              ( plan.forEver ? " and on" : "" );
    if ( report.met.call != nullptr ) {
        example += std::string( ", " ) + report.met.call + " with errno " +
                   std::to_string( report.met.error );
    }
    if ( report.met.caller != nullptr ) {
        example += ", in\n" + functionsAt( report.met.caller );
    }
    example += std::string( ": " ) + report.outcome + "\n" + trial_->saidLast();
}

void Sweep::TearDown() {
    Faults::startTheClock();
    forgetLibrary();
    std::cout << nameOf( kind_ ) << ": " << tried_ << " of " << place_ << " places tried in "
              << Faults::realSeconds() - started_ << " s\n";
    for ( const auto &[name, count] : excused_ ) {
        std::cout << "not survived by " << name << ": " << count << "\n";
    }
    for ( const auto &[what, failure] : failures_ ) {
        ADD_FAILURE() << what << "at " << failure.count << " places, as in " << failure.example;
    }
}
