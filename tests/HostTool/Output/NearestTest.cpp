#include "HostTool/Output/Nearest.h"

#include <gtest/gtest.h>

using namespace HostTool;

TEST( NearestTest, FewestEditsWin ) {
    EXPECT_EQ( "show", nearest( "shwo", { "list", "show", "set" } ) );
}

TEST( NearestTest, SwappedNeighboursAreOneEdit ) {
    EXPECT_EQ( "fan2", nearest( "fna2", { "fan", "fan2" } ) );
    EXPECT_EQ( "; did you mean 'name'?", didYouMean( "nmae", { "name" } ) );
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

TEST( NearestTest, DashesOfOptionsMakeThemNoNearer ) {
    EXPECT_EQ( "", didYouMean( "--port", { "--for" } ) );
    EXPECT_EQ( "; did you mean '--board'?", didYouMean( "--borad", { "--board", "--for" } ) );
}
