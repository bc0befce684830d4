// Changes of the code that the environment variable VRX_MUTANT switches on by number. Sources that switches.py has
// rewritten include this header. The values of constant expressions do not change.
#ifndef VRX_TESTS_MUTATION_SWITCHES_HPP
#define VRX_TESTS_MUTATION_SWITCHES_HPP

#include <fcntl.h>
#include <sys/mman.h>

#include <cstdlib>
#include <type_traits>

// A constant is converted to a smaller type without a warning, but a switched value is not a constant.
#pragma GCC diagnostic ignored "-Wnarrowing"

namespace vrx_mutant {

inline const int active = [] {
    const char* const number = std::getenv("VRX_MUTANT");
    return number == nullptr ? 0 : std::atoi(number);
}();

enum class Mark : char { none, reached };

inline constexpr int mark_count = 1 << 16;
inline Mark unread_marks[mark_count];

/** A mark for each number, set when code runs that the change with this number affects. */
inline constinit Mark* marks = unread_marks;

/** Moves the marks to the file that VRX_REACHED names, so that processes share them. */
inline const bool marks_are_shared = [] {
    const char* const path = std::getenv("VRX_REACHED");
    const int file = path == nullptr ? -1 : open(path, O_RDWR | O_CLOEXEC);
    void* const shared = file < 0 ? MAP_FAILED : mmap(nullptr, mark_count, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    if (shared != MAP_FAILED) marks = static_cast<Mark*>(shared);
    return shared != MAP_FAILED;
}();

// Always inlined, because a caller may be compiled for other CPU features and pass vectors in other registers.
#define VRX_INLINE [[gnu::always_inline]] constexpr inline

VRX_INLINE bool on(int number) {
    if (std::is_constant_evaluated()) return false;
    marks[number] = Mark::reached;
    return active == number;
}

template <typename T, typename A>
VRX_INLINE T constant(T value, int a, A with_a) {
    return on(a) ? static_cast<T>(with_a) : value;
}
template <typename T, typename A, typename B>
VRX_INLINE T constant(T value, int a, A with_a, int b, B with_b) {
    return on(a) ? static_cast<T>(with_a) : on(b) ? static_cast<T>(with_b) : value;
}

/** Not{n} ^ x is !x, or x if change n is switched on. */
struct Not {
    int number;
};
template <typename T>
VRX_INLINE bool operator^(Not change, const T& value) {
    return on(change.number) == static_cast<bool>(value);
}

// "a < Less{n} < b" is a < b, or a <= b if change n is switched on. The operators in all these rows are
// left-associative.
#define VRX_BINARY(Name, op, other)                                                                                 \
    struct Name {                                                                                                   \
        int number;                                                                                                 \
    };                                                                                                              \
    template <typename T>                                                                                           \
    struct Name##Of {                                                                                               \
        const T& left;                                                                                              \
        int number;                                                                                                 \
    };                                                                                                              \
    template <typename T>                                                                                           \
    VRX_INLINE Name##Of<T> operator op(const T& left, Name change) {                                                \
        return {left, change.number};                                                                               \
    }                                                                                                               \
    template <typename T, typename U>                                                                               \
    VRX_INLINE auto operator op(Name##Of<T> begun, const U& right) {                                                \
        if constexpr (requires {                                                                                    \
                          requires std::is_same_v<decltype(begun.left op right), decltype(begun.left other right)>; \
                      })                                                                                            \
            if (on(begun.number)) return begun.left other right;                                                    \
        return begun.left op right;                                                                                 \
    }

VRX_BINARY(Less, <, <=)
VRX_BINARY(LessEqual, <=, <)
VRX_BINARY(Greater, >, >=)
VRX_BINARY(GreaterEqual, >=, >)
VRX_BINARY(Equal, ==, !=)
VRX_BINARY(Unequal, !=, ==)
VRX_BINARY(Plus, +, -)
VRX_BINARY(Minus, -, +)
VRX_BINARY(Times, *, +)
VRX_BINARY(Divided, /, *)
VRX_BINARY(Modulo, %, /)
VRX_BINARY(Left, <<, >>)
VRX_BINARY(Right, >>, <<)
VRX_BINARY(And, &, |)
VRX_BINARY(Or, |, &)
VRX_BINARY(Xor, ^, |)

// "a += PlusTo{n} += b" is a += b, or a -= b if change n is switched on. The operators are right-associative.
#define VRX_ASSIGNMENT(Name, op, other)                               \
    struct Name {                                                     \
        int number;                                                   \
    };                                                                \
    template <typename U>                                             \
    struct Name##Of {                                                 \
        const U& right;                                               \
        int number;                                                   \
    };                                                                \
    template <typename U>                                             \
    VRX_INLINE Name##Of<U> operator op(Name change, const U& right) { \
        return {right, change.number};                                \
    }                                                                 \
    template <typename T, typename U>                                 \
    VRX_INLINE T& operator op(T& left, Name##Of<U> begun) {           \
        if constexpr (requires { left other begun.right; })           \
            if (on(begun.number)) {                                   \
                left other begun.right;                               \
                return left;                                          \
            }                                                         \
        left op begun.right;                                          \
        return left;                                                  \
    }

VRX_ASSIGNMENT(PlusTo, +=, -=)
VRX_ASSIGNMENT(MinusFrom, -=, +=)
VRX_ASSIGNMENT(TimesTo, *=, +=)
VRX_ASSIGNMENT(LeftTo, <<=, >>=)
VRX_ASSIGNMENT(RightTo, >>=, <<=)
VRX_ASSIGNMENT(AndTo, &=, |=)
VRX_ASSIGNMENT(OrTo, |=, &=)
VRX_ASSIGNMENT(XorTo, ^=, |=)

#undef VRX_INLINE
#undef VRX_BINARY
#undef VRX_ASSIGNMENT

}  // namespace vrx_mutant

#endif
