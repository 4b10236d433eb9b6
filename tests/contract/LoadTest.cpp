// The library as a host meets it that was built without it and exports nothing to it.
#include <gtest/gtest.h>

#include <dlfcn.h>

namespace {

class LoadTest : public testing::TestWithParam<const char *> {
  protected:
    ~LoadTest() override { ::dlclose( library ); }

    bool has( const char *name ) const { return ::dlsym( library, name ) != nullptr; }

    void *const library = ::dlopen( KAVRA_LIBRARY_FILE, RTLD_NOW | RTLD_LOCAL );
};

TEST_F( LoadTest, HostExportsNoServiceAndTheLibraryLoads ) {
    for ( const char *service : { "pl_trace", "pl_timer_add", "pl_timer_set", "pl_timer_delete",
                                  "pl_fd_watcher_delete" } ) {
        EXPECT_EQ( nullptr, ::dlsym( RTLD_DEFAULT, service ) ) << service;
    }
    EXPECT_NE( nullptr, library ) << ::dlerror();
}

TEST_P( LoadTest, IsExported ) {
    ASSERT_NE( nullptr, library );
    EXPECT_TRUE( has( GetParam() ) );
}

INSTANTIATE_TEST_SUITE_P( BareNames, LoadTest,
                          testing::Values( "pl_slot_init", "pl_led_init", "pl_temp_sensor_init",
                                           "pl_fan_init", "pl_xcvr_init", "pl_psu_init",
                                           "pl_gpio_init", "pl_smbus_init", "pl_system_init",
                                           "pl_slot_add", "pl_led_add", "pl_temp_sensor_add",
                                           "pl_fan_add", "pl_xcvr_add", "pl_psu_add", "pl_gpio_add",
                                           "pl_smbus_add", "pl_system_add", "_plSock" ),
                          []( const auto &name ) { return std::string( name.param ); } );

INSTANTIATE_TEST_SUITE_P( NamesWithArguments, LoadTest,
                          testing::Values( "_Z16kavraLibraryInitPKcS0_i", "_Z10plSockInitPKci",
                                           "_Z26pl_system_get_reload_causeP9pl_systemPcPlS1_",
                                           "_Z20pl_system_powercycleP9pl_system" ),
                          []( const auto &name ) { return std::string( name.param ); } );

TEST_F( LoadTest, NamesWithArgumentsHaveNoBareForm ) {
    ASSERT_NE( nullptr, library );
    for ( const char *name : { "kavraLibraryInit", "plSockInit", "pl_system_get_reload_cause",
                               "pl_system_powercycle" } ) {
        EXPECT_FALSE( has( name ) ) << name;
    }
}

} // namespace
