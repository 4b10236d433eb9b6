#include "HostTool/Output/Nearest.h"

#include <gtest/gtest.h>

using namespace HostTool;

TEST( NearestTest, FewestEditsWin ) {
    EXPECT_EQ( "show", nearest( "shwo", { "list", "show", "set" } ) );
}

TEST( NearestTest, FirstOfEqualsWins ) {
    EXPECT_EQ( "ab", nearest( "a", { "ab", "ac" } ) );
}

TEST( NearestTest, NothingToChooseFromIsEmpty ) {
    EXPECT_EQ( "", nearest( "show", {} ) );
    EXPECT_EQ( "", didYouMean( "show", {} ) );
}

TEST( NearestTest, SuggestsWhatIsMeant ) {
    EXPECT_EQ( "; did you mean 'outlet'?", didYouMean( "outlte", { "inlet", "outlet" } ) );
}

TEST( NearestTest, SuggestsNothingFarFetched ) {
    EXPECT_EQ( "", didYouMean( "zzzz", { "inlet", "outlet" } ) );
}
