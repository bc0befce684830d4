// Detects sanitizers, which make most tests ten times slower.
#ifndef VRX_TESTS_SUPPORT_SANITIZERS_HPP
#define VRX_TESTS_SUPPORT_SANITIZERS_HPP

namespace vrx::test {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;
#elif defined(__has_feature)
inline constexpr bool sanitized = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
inline constexpr bool sanitized = false;
#endif

/**
 * The number of repetitions of a random test: `count`, or a tenth of that with sanitizers. With sanitizers, a test
 * looks for invalid accesses and undefined operations, for which few repetitions suffice. Runs without sanitizers check
 * results.
 */
constexpr int repetitions(int count) { return sanitized ? (count + 9) / 10 : count; }

}  // namespace vrx::test

#endif
