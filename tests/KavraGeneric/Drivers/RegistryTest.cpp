#include "KavraGeneric/Drivers/Registry.h"

#include "KavraGeneric/Components/HardwareDevice.h"
#include "KavraGeneric/Drivers/Drivers.h"
#include "KavraGeneric/Drivers/Dummy.h"
#include "KavraGeneric/Drivers/GenericSmbusMux.h"
#include "KavraGeneric/Drivers/LM75.h"
#include "KavraGeneric/Drivers/Pmbus.h"
#include "KavraGeneric/Drivers/PsuSlot.h"
#include "KavraGeneric/Drivers/SmbusProxyDriver.h"
#include "KavraGeneric/Drivers/Vunda/VundaGenericXcvrCPLD.h"
#include "KavraGeneric/Drivers/Vunda/VundaTFanCpld.h"
#include "KavraGeneric/Drivers/Vunda/VundaTSystemLedCPLD.h"
#include "KavraGeneric/Drivers/Vunda/VundaTXcvrLedCPLD.h"
#include "KavraGeneric/Ham/KavraSmbusHam.h"
#include "KavraGeneric/Ham/SimHam.h"
#include "KavraGeneric/Topology/Topology.h"
#include "tests/KavraGeneric/Ham/RecordingHam.h"
#include "tests/support/LibraryFixture.h"

#include <filesystem>
#include <memory>
#include <typeinfo>

namespace {

// A driver's page and test stand here with its name: there is none without them.
const struct {
    std::string name;
    const std::type_info &made;
    std::string page;
    std::string test;
} rows[] = {
    { "Dummy", typeid( Drivers::Dummy ), "Dummy", "Dummy" },
    { "GpioDriver", typeid( Drivers::Dummy ), "Dummy", "Dummy" },
    { "LM75", typeid( Drivers::LM75 ), "LM75", "LM75" },
    { "PCA9548", typeid( Drivers::GenericSmbusMux ), "PCA9548", "GenericSmbusMux" },
    { "Pmbus", typeid( Drivers::Pmbus ), "Pmbus", "Pmbus" },
    { "PsuSlot", typeid( Drivers::PsuSlot ), "PsuSlot", "PsuSlot" },
    { "SmbusProxyDriver", typeid( Drivers::SmbusProxyDriver ), "SmbusProxyDriver",
      "SmbusProxyDriver" },
    { "VundaGenericXcvrCPLD", typeid( Drivers::VundaGenericXcvrCPLD ), "VundaGenericXcvrCPLD",
      "Vunda/VundaGenericXcvrCPLD" },
    { "VundaTFanCpld", typeid( Drivers::VundaTFanCpld ), "VundaTFanCpld", "Vunda/VundaTFanCpld" },
    { "VundaTSystemLedCPLD", typeid( Drivers::VundaTSystemLedCPLD ), "VundaTSystemLedCPLD",
      "Vunda/VundaTSystemLedCPLD" },
    { "VundaTXcvrLedCPLD", typeid( Drivers::VundaTXcvrLedCPLD ), "VundaTXcvrLedCPLD",
      "Vunda/VundaTXcvrLedCPLD" },
};

using RegistryTest = LibraryFixture;

TEST_F( RegistryTest, HoldsExactlyTheDriversOfTheBoard ) {
    std::vector<std::string> expected;
    for ( const auto &row : rows ) {
        expected.push_back( row.name );
    }
    std::vector<std::string> found;
    for ( const auto &entry : Drivers::drivers ) {
        found.push_back( entry.first );
    }
    EXPECT_EQ( expected, found );
}

TEST_F( RegistryTest, EachNameMakesADeviceOfItsDriver ) {
    RecordingHam ham;
    for ( const auto &row : rows ) {
        SCOPED_TRACE( row.name );
        const std::unique_ptr<Component::DeviceBase> device(
            Drivers::drivers.at( row.name )( Drivers::DriverArgs(), &ham ) );
        ASSERT_NE( nullptr, device );
        const Component::DeviceBase &made = *device;
        EXPECT_EQ( row.made, typeid( made ) );
    }
}

TEST_F( RegistryTest, EachDriverHasAPageAndATest ) {
    const std::filesystem::path source = SOURCE_DIR;
    for ( const auto &row : rows ) {
        SCOPED_TRACE( row.name );
        EXPECT_TRUE( exists( source / "docs/drivers" / ( row.page + ".md" ) ) );
        EXPECT_TRUE( exists( source / "tests/KavraGeneric/Drivers" / ( row.test + "Test.cpp" ) ) );
    }
}

TEST_F( RegistryTest, HoldsTheTwoAccessMethods ) {
    loadTopology( R"([ { "type": "I2C", "ham": "KavraSmbus", "id": 1,
                         "devices": [ { "did": 7 } ] } ])" );
    Drivers::DriverArgs args;
    args.uid = Drivers::DriverArgs::noComponent;
    args.did = 7;
    const auto made = [&]( const char *name ) {
        return Ham::hams.at( name )( *Topology::_topology, args );
    };
    EXPECT_EQ( 2U, Ham::hams.size() );
    EXPECT_NE( nullptr, dynamic_cast<Ham::KavraSmbusHam *>( made( "KavraSmbus" ) ) );
    EXPECT_NE( nullptr, dynamic_cast<Ham::SimHam *>( made( "SimHam" ) ) );
}

} // namespace
