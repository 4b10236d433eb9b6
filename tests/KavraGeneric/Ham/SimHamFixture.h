#pragma once

#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Ham/SimHam.h"
#include "KavraGeneric/Topology/Topology.h"
#include "tests/support/LibraryFixture.h"
#include "tests/support/SimulationFolder.h"

#include <memory>
#include <string>

/// One simulated device of driver LM75 with the name board-temp.
class SimHamTest : public LibraryFixture {
  protected:
    using Table = Utils::ExpectedValues;

    static constexpr const char *file = "LM75-board-temp";

    SimHamTest() {
        GTEST_FLAG_SET( death_test_style, "threadsafe" );
        SimulationFolder::path();
    }

    static Utils::ExpectedVal number( uint32_t value, uint64_t size = 1 ) {
        return { value, size };
    }
    static Utils::ExpectedVal text( const std::string &value ) { return { value, value.size() }; }

    static std::unique_ptr<Ham::SimHam> newSimHam() {
        const Topology::Topology topology;
        return std::unique_ptr<Ham::SimHam>(
            Ham::SimHam::create( topology, Drivers::DriverArgs() ) );
    }

    /// Makes the device from its table, as the framework does, and forgets the traces of that.
    void device( Table table ) {
        table_ = std::move( table );
        ham_ = newSimHam();
        ham_->setDriverName( "LM75", "board-temp" );
        ham_->setExpected( &table_ );
        host().lines.clear();
    }

    Ham::SimHam &ham() { return *ham_; }

    uint8_t read8( unsigned reg ) {
        uint8_t value = 0;
        EXPECT_EQ( PL_STATUS_OK, ham().read8( reg, &value ) );
        return value;
    }
    uint16_t read16( unsigned reg ) {
        uint16_t value = 0;
        EXPECT_EQ( PL_STATUS_OK, ham().read16( reg, &value ) );
        return value;
    }
    std::string read( unsigned reg, unsigned length ) {
        std::string value;
        EXPECT_EQ( PL_STATUS_OK, ham().read( reg, length, &value, false ) );
        return value;
    }

    static std::string fileText() { return SimulationFolder::read( file ); }
    static void fileTextIs( const std::string &content ) {
        SimulationFolder::write( file, content );
    }
    static std::string path() { return SimulationFolder::path() / file; }

    static std::string warning( const std::string &reg ) {
        return "WARNING: Simulated Driver LM75 doesn't yet have expectedVal set for register " +
               reg + " using SIMULATION_HAM()\n";
    }

    const Table example = { { 0, number( 39 ) }, { 2, number( 110 ) }, { 3, number( 110 ) } };
    Table table_;
    std::unique_ptr<Ham::SimHam> ham_;
};
