#pragma once

/// Whether this is built with AddressSanitizer: memory that is freed is kept for a while, and a
/// process runs and forks slowly.
#if defined( __SANITIZE_ADDRESS__ )
constexpr bool isSanitized = true;
#elif defined( __clang__ )
constexpr bool isSanitized = __has_feature( address_sanitizer );
#else
constexpr bool isSanitized = false;
#endif

/// Why a test that takes descriptors away is skipped in such a build: the checks of objects' types
/// find out whether memory is there with a pipe, and take an object for broken without one.
constexpr const char *descriptorsAreTaken =
    "the sanitizers look at memory through descriptors of their own";
