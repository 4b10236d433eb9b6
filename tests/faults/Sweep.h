#pragma once

#include "tests/faults/BoardServer.h"
#include "tests/faults/Operations.h"
#include "tests/faults/Trial.h"
#include "tests/support/Sanitized.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

/// Holds one kind of fault against every operation that it is shown, at its first and every step-th
/// place: each thing of that kind that the operation asks for, each way in which it can fail, once
/// and for ever.
class Sweep : public testing::Test {
  public:
    // Has no divisor in common with the numbers of ways to fail, so that each comes up. A process
    // under a sanitizer forks slowly.
    static constexpr unsigned usualStep = isSanitized ? 29 : 7;

  protected:
    void TearDown() override;

    /// @param folder has a board's documents; the library is not initialised with them.
    void powerOn( Faults::Kind kind, const std::string &folder );
    /// One entry of the board's that is powered on.
    static const HostTool::Entry &entry( const std::string &name );
    static const std::vector<HostTool::Entry> &entries();

    /// @param then works once the operation has worked, and shows it.
    void meet( const Operation &operation, const Operation *then = nullptr );
    /// Adds the device and calls all callbacks.
    void meetEntry( const HostTool::Entry &entry );

    /// Not with KAVRA_FAULTS_ALL: then each place is tried.
    void stepIs( unsigned step ) { step_ = everyPlace_ ? 1 : step; }
    /// From here on: operations are of other types, and registers are files.
    void isSimulated() { prefix_ = "simulated "; }

    static void perform( const Operation &operation );
    const std::vector<Operation> &initialisations() const { return initialisations_; }

    static const std::string board; ///< the folder

  private:
    unsigned variantsOf( unsigned n ) const;
    void expectUntouched( const Operation &operation, unsigned n );
    void meetOne( const Operation &operation, const Faults::Plan &plan, const Operation *then );
    bool isOfFiles() const;
    bool settlesTheBoard( const Operation &operation ) const;
    std::string judge( const Operation &operation, const Report &report ) const;
    std::string judgeNext( const Operation &operation, const Report &report, bool asUsual ) const;
    std::string excuseFor( const Report &report ) const;
    void fail( const Operation &operation, const Faults::Plan &plan, const Report &report,
               const std::string &wrong );

    struct Failure {
        unsigned count = 0;
        std::string example;
    };

    Faults::Kind kind_ = Faults::Kind::allocation;
    std::string prefix_; // of the types
    std::vector<Operation> initialisations_;
    std::unique_ptr<BoardServer> server_;
    std::unique_ptr<Trial> trial_;
    const double started_ = Faults::realSeconds();

    Report reference_{}; // of the operation without a fault
    const bool everyPlace_ = getenv( "KAVRA_FAULTS_ALL" ) != nullptr;
    unsigned step_ = everyPlace_ ? 1 : usualStep;
    unsigned place_ = 0;
    unsigned tried_ = 0;
    std::map<std::string, Failure> failures_;
    std::map<std::string, unsigned> excused_;
};
