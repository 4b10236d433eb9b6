#include "KavraGeneric/NotImplementedException.h"

#include <gtest/gtest.h>

namespace {

TEST( NotImplementedExceptionTest, MessageNamesTheMethod ) {
    const NotImplementedException exception( "newSmbusProxy" );
    EXPECT_STREQ( "Not implemented newSmbusProxy", exception.what() );
}

TEST( NotImplementedExceptionTest, IsCaughtAsAStandardException ) {
    try {
        throw NotImplementedException( "get32" );
    } catch ( const std::exception &exception ) {
        EXPECT_STREQ( "Not implemented get32", exception.what() );
    }
}

} // namespace
