/* A host that includes the contract and nothing else, in whichever language and standard it is
   compiled: it lays out a fan of its own and calls it through its record, as a host does. */
#include <PlatformLibrary/pl.h>

#define CHECK( condition, name ) typedef char check_##name[( condition ) ? 1 : -1]
#define SIZE( type, bytes ) CHECK( sizeof( type ) == ( bytes ), size_of_##type )
#define SLOT( type, slot, bytes )                                                                  \
    CHECK( __builtin_offsetof( type, slot ) == ( bytes ), type##_##slot )

#include "tests/PlatformLibrary/Layout.h"

static pl_status debugInfo( const pl_fan *fan, char **text ) {
    ( void )fan;
    ( void )text;
    return PL_STATUS_OK;
}

static pl_status getRpm( pl_fan *fan, int *rpm ) {
    *rpm = fan->host == 7 ? 4200 : 0;
    return PL_STATUS_OK;
}

static pl_status setRpm( pl_fan *fan, int rpm ) {
    return fan->host == 7 && rpm > 0 ? PL_STATUS_OK : PL_STATUS_INVALID;
}

static const pl_fan_ops ops = { sizeof( pl_fan_ops ), 0, debugInfo, getRpm, setRpm };

int main( void ) {
    pl_fan fan = { 7, &ops };
    int rpm = 0;
    if ( fan.ops->size != 32 || fan.ops->getRpm( &fan, &rpm ) != PL_STATUS_OK || rpm != 4200 ) {
        return 1;
    }
    return fan.ops->setRpm( &fan, -1 ) == PL_STATUS_INVALID ? 0 : 2;
}
