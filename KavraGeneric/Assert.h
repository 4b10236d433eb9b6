#pragma once

// Assertions stay in every build: a document that breaks its schema and a programming error end the
// process with the condition's text, and hosts and tools know those texts.
#ifdef NDEBUG
#error "NDEBUG would remove assertions that the library's behaviour rests on"
#endif

#include <cassert>

/// assert() with a text of its own, for conditions that the compiler would print differently.
#define ASSERT_TEXT( condition, text )                                                             \
    ( static_cast<bool>( condition )                                                               \
          ? void( 0 )                                                                              \
          : __assert_fail( text, __FILE__, __LINE__,                                               \
                           static_cast<const char *>( __PRETTY_FUNCTION__ ) ) )
