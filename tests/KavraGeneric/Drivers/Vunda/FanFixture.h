#pragma once

#include "KavraGeneric/Drivers/Vunda/VundaTFanCpld.h"
#include "tests/KavraGeneric/Drivers/Vunda/VundaFixture.h"

#include <cstdlib>

/// What the host does with the fans and the fan trays.
class FanTest : public VundaTest {
  protected:
    static pl_fan *newFan( const std::string &driverArgs, unsigned did = 7 ) {
        return pl_fan_add( arguments( "VundaTFanCpld", driverArgs, did ) );
    }
    static pl_slot *newSlot( const std::string &driverArgs ) {
        return pl_slot_add( arguments( "VundaTFanCpld", driverArgs ) );
    }

    static std::string fanId( int id ) { return R"("fanId": )" + std::to_string( id ); }

    /// Adds a fan and forgets what that took.
    void addFan( int id = 1 ) {
        fan = newFan( fanId( id ) );
        forgetAll();
    }
    void addSlot( int id = 2 ) {
        slot = newSlot( fanId( id ) );
        forgetAll();
    }

    pl_status getRpm() { return fan->ops->getRpm( fan, &rpm ); }
    pl_status setRpm( int speed ) { return fan->ops->setRpm( fan, speed ); }

    /// The slot's text, empty when it gives none.
    std::string presence( pl_status expected ) {
        char *fdl = nullptr;
        EXPECT_EQ( expected, slot->ops->getPresence( slot, &fdl ) );
        const std::string text = fdl ? fdl : "";
        std::free( fdl );
        return text;
    }

    static Drivers::VundaTFanCpld &cpld( unsigned did = 7 ) {
        return device<Drivers::VundaTFanCpld>( did );
    }

    pl_fan *fan = nullptr;
    pl_slot *slot = nullptr;
    int rpm = untouched;
};
