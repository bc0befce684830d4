// Whether sanitizers watch the tests, which makes most of them ten times as slow.
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
 * How often a random test repeats itself: `count`, or a tenth of that under sanitizers. They look for bad accesses and
 * undefined operations, which any of the repetitions shows; equality is what the tests without sanitizers are for.
 */
constexpr int repetitions(int count) { return sanitized ? (count + 9) / 10 : count; }

}  // namespace vrx::test

#endif
