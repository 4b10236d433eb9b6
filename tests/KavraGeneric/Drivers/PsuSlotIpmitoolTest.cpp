#include "tests/KavraGeneric/Components/Layout.h"
#include "tests/KavraGeneric/Drivers/PsuSlotFixture.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

/// The IPMI tool, in a folder of its own that comes first in PATH: a script that notes how it was
/// called and then does what a test says.
class PsuSlotIpmitoolTest : public PsuSlotTest {
  protected:
    PsuSlotIpmitoolTest() {
        std::string pattern = std::filesystem::temp_directory_path() / "qxIpmi-XXXXXX";
        folder_ = mkdtemp( pattern.data() );
        setenv( "PATH", ( folder_.string() + ":" + pathBefore_ ).c_str(), 1 );
        toolDoes( "exit 3" );
    }
    ~PsuSlotIpmitoolTest() override {
        setenv( "PATH", pathBefore_.c_str(), 1 );
        std::filesystem::remove_all( folder_ );
    }

    void toolDoes( const std::string &commands ) {
        const std::filesystem::path tool = folder_ / "qxIpmi";
        std::ofstream( tool ) << "#!/bin/sh\necho \"$@\" >> " << calls() << "\n"
                              << commands << "\n";
        permissions( tool, std::filesystem::perms::owner_all );
    }

    void noTool() {
        std::filesystem::remove( folder_ / "qxIpmi" );
        setenv( "PATH", "/bin:/usr/bin", 1 );
    }

    /// The arguments of each call, a line each.
    std::string called() const {
        std::ostringstream lines;
        lines << std::ifstream( calls() ).rdbuf();
        return lines.str();
    }

    pl_status read() {
        serial = model = "";
        return device().readSerialAndModelIpmitool( serial, model );
    }

    std::string serial;
    std::string model;

  private:
    std::filesystem::path calls() const { return folder_ / "calls"; }

    Drivers::PsuSlot::Slot &device() const {
        return *static_cast<Drivers::PsuSlot::Slot *>(
            Layout::wordAt<Component::LogicalDevice::Slot *>( slot, 16 ) );
    }

    const std::string pathBefore_ = std::getenv( "PATH" );
    std::filesystem::path folder_;
};

constexpr const char *tool = R"(, "ipmiId": 2)";
constexpr const char *rawTool = R"(, "ipmiId": 2, "ipmiRawModel": "M", "ipmiRawSerialNumber": "S")";

TEST_F( PsuSlotIpmitoolTest, ToolIsCalledWithTheSlotsId ) {
    add( "ipmitool", tool );
    toolDoes( "echo 1 MODEL-A S1" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A S1>", fdl );
    EXPECT_EQ( "psuSlot 2\n", called() );
    EXPECT_TRUE( batches().empty() );
}

// The tool's parent is timeout(1), whose second word is the limit.
TEST_F( PsuSlotIpmitoolTest, ToolHasThirtySeconds ) {
    add( "ipmitool", tool );
    toolDoes( "set -- $(tr '\\0' ' ' < /proc/$PPID/cmdline); echo 1 MODEL-A $1-$2" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A timeout-30s>", fdl );
}

TEST_F( PsuSlotIpmitoolTest, AnyUseApiSelectsTheApi ) {
    for ( const char *value : { "true", "false", "\"\"" } ) {
        host().lines.clear();
        add( "ipmitool", std::string( tool ) + R"(, "useApi": )" + value );
        EXPECT_TRUE( host().traced( 0, "psuSlot ipmi command: 'qxIpmi api psuSlot 2'" ) );
    }
    presence();
    EXPECT_EQ( "api psuSlot 2\n", called() );
}

TEST_F( PsuSlotIpmitoolTest, CommandIsTraced ) {
    add( "ipmitool", tool );
    EXPECT_TRUE( host().traced( 0, "psuSlot ipmi command: 'qxIpmi psuSlot 2'" ) );
}

TEST_F( PsuSlotIpmitoolTest, WithoutAnIdTheCommandStaysAsItIs ) {
    for ( const char *more : { "", R"(, "useApi": true)" } ) {
        add( "ipmitool", more );
        EXPECT_EQ( "0 PsuSlot identification type is ipmi but ipmiId not found",
                   newTraces().back() );
        presence();
    }
    EXPECT_EQ( "\napi\n", called() );
}

TEST_F( PsuSlotIpmitoolTest, RawToolIsCalledWithTheRawIds ) {
    add( "ipmitool_raw", rawTool );
    EXPECT_TRUE( host().traced( 0, "psuSlot ipmi command: 'qxIpmi raw psuSlot 2 ModelNumber=M "
                                   "SerialNumber=S'" ) );
    toolDoes( "echo 1 MODEL-B S1" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "raw psuSlot 2 ModelNumber=M SerialNumber=S\n", called() );
    EXPECT_TRUE( host().traced( 1, "PsuSlot identification type: ipmitool_raw" ) );
}

TEST_F( PsuSlotIpmitoolTest, EveryOutputHasItsAnswer ) {
    const struct {
        const char *output;
        pl_status status;
        const char *model, *serial;
    } rows[] = {
        { "1 M S", PL_STATUS_OK, "M", "S" },
        { "1\\nM\\tS\\n", PL_STATUS_OK, "M", "S" },
        { "  1 M S more", PL_STATUS_OK, "M", "S" },
        { "1M S", PL_STATUS_OK, "M", "S" },
        { "1 M", PL_STATUS_OK, "M", "" },
        { "1", PL_STATUS_OK, "", "" },
        { "0 M S", PL_STATUS_NOT_PRESENT, "M", "S" },
        { "2 M S", PL_STATUS_NOT_PRESENT, "M", "S" },
        { "01 M S", PL_STATUS_NOT_PRESENT, "1", "M" },
        { "", PL_STATUS_NOT_PRESENT, "", "" },
        { " \\n", PL_STATUS_NOT_PRESENT, "", "" },
    };
    add( "ipmitool", tool );
    for ( const auto &row : rows ) {
        SCOPED_TRACE( row.output );
        toolDoes( "printf '" + std::string( row.output ) + "'" );
        EXPECT_EQ( row.status, read() );
        EXPECT_EQ( row.model, model );
        EXPECT_EQ( row.serial, serial );
    }
}

TEST_F( PsuSlotIpmitoolTest, AbsentSupplyIsNotPresentAlthoughItsTextsWereRead ) {
    add( "ipmitool", tool );
    toolDoes( "echo 0 MODEL-A S1" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    EXPECT_TRUE( host().traced( 7, "Failed to read PSU info 'S1' 'MODEL-A'" ) );
}

TEST_F( PsuSlotIpmitoolTest, FailingToolGivesItsStatusAndNoTexts ) {
    add( "ipmitool", tool );
    for ( const auto &[commands, status] :
          { std::pair( "echo 1 MODEL-A S1; exit 1", PL_STATUS_FAILED ),
            std::pair( "echo 1 MODEL-A S1; exit 124", PL_STATUS_IO_ERROR ), // as timed out
            std::pair( "kill -SEGV $$", PL_STATUS_FAILED ) } ) {
        toolDoes( commands );
        EXPECT_EQ( status, read() );
        EXPECT_EQ( "", model );
        EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    }
}

TEST_F( PsuSlotIpmitoolTest, MissingToolForgetsTheSupplyAndTheNextCallIsRight ) {
    add( "ipmitool", tool );
    toolDoes( "echo 1 MODEL-A S1" );
    presence();
    const std::string path = std::getenv( "PATH" );
    noTool();
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    setenv( "PATH", path.c_str(), 1 );
    toolDoes( "echo 1 MODEL-A S1" );
    begin();
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_FALSE( host().traced( 7, "Using cached fdl" ) );
}

TEST_F( PsuSlotIpmitoolTest, UnknownModelIsAskedThreeTimes ) {
    add( "ipmitool", tool );
    toolDoes( "echo 1 MODEL-C S1" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
    EXPECT_EQ( "psuSlot 2\npsuSlot 2\npsuSlot 2\n", called() );
}

TEST_F( PsuSlotIpmitoolTest, MegabyteOfBlanksIsPassedOver ) {
    add( "ipmitool", tool );
    toolDoes( "printf 1; head -c 1000000 /dev/zero | tr '\\0' ' '; echo MODEL-A S1" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
}

TEST_F( PsuSlotIpmitoolTest, MegabyteOfSerialNumberIsOne ) {
    add( "ipmitool", tool );
    toolDoes( "printf '1 MODEL-A '; head -c 1000000 /dev/zero | tr '\\0' x" );
    EXPECT_EQ( PL_STATUS_OK, presence() );
    EXPECT_EQ( "<A " + std::string( 1000000, 'x' ) + ">", fdl );
}

TEST_F( PsuSlotIpmitoolTest, BytesThatAreNoTextAreSurvived ) {
    add( "ipmitool", tool );
    toolDoes( "head -c 1000000 /dev/urandom" );
    presence();
    toolDoes( "head -c 1000000 /dev/zero" );
    EXPECT_EQ( PL_STATUS_NOT_PRESENT, presence() );
}

using PsuSlotIpmitoolDeathTest = PsuSlotIpmitoolTest;

TEST_F( PsuSlotIpmitoolDeathTest, RawToolWithoutOneOfItsThreeStops ) {
    const struct {
        const char *more;
        const char *text;
    } rows[] = {
        { R"(, "ipmiRawModel": "M", "ipmiRawSerialNumber": "S")",
          "Assertion(.|\n)*0 PsuSlot identification type is ipmi but ipmiId not found" },
        { R"(, "ipmiId": 2, "ipmiRawSerialNumber": "S")",
          "Assertion(.|\n)*0 PsuSlot identification type is ipmitool_raw but ipmiRawModel not "
          "found" },
        { R"(, "ipmiId": 2, "ipmiRawModel": "M")",
          "Assertion(.|\n)*0 PsuSlot identification type is ipmitool_raw but ipmiRawSerialNumber "
          "not found" },
        { "", "Assertion(.|\n)*0 PsuSlot identification type is ipmi but ipmiId not found" },
        { R"(, "ipmiId": 2)",
          "Assertion(.|\n)*0 PsuSlot identification type is ipmitool_raw but ipmiRawModel not "
          "found" },
    };
    for ( const auto &row : rows ) {
        EXPECT_DEATH(
            {
                tellTracesWhenDying();
                add( "ipmitool_raw", row.more );
            },
            row.text );
    }
}

} // namespace
