#pragma once

#include "tests/integration/LoadedLibraryFixture.h"
#include "tests/support/FakeHost.h"

/// Two QSFP cages, two SFP cages and all lamps, of tests/data/front-panel. Timers tick when a test
/// says so.
class FrontPanel : public LoadedLibraryFixture {
  protected:
    FrontPanel() : LoadedLibraryFixture( TEST_DATA_DIR "/front-panel" ) {}

    void SetUp() override {
        GTEST_FLAG_SET( death_test_style, "threadsafe" );
        LoadedLibraryFixture::SetUp();
        ASSERT_EQ( PL_STATUS_OK, initialise( "pl_xcvr_init" ) );
    }

    /// All timers that are armed go off, as they do after a second.
    static void secondPasses() {
        for ( const auto &timer : FakeHost::get().timers ) {
            if ( timer->armed ) {
                FakeHost::get().tick( *timer );
            }
        }
    }

    std::string look( const std::string &knob ) {
        const std::string answer = server.control( "get " + knob );
        return answer.substr( 0, answer.find( '\n' ) );
    }
    void turn( const std::string &knob, const std::string &value ) {
        EXPECT_EQ( "ok", server.control( "set " + knob + " " + value ) );
    }
};
