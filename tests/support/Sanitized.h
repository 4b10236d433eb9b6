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
