/**
 * @file cxx/frame.hpp  Return codes as errors with names, values or errors (Result), and the log: frame.h for C++.
 */
#ifndef VRX_CXX_FRAME_HPP
#define VRX_CXX_FRAME_HPP

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <utility>

#include "vrx/frame.h"

namespace vrx {
inline namespace v1 {

/** The return codes of the library, see frame.h. */
enum class Error : int {
    failed = VRX_ERR_FAILED,
    bad_params = VRX_ERR_BAD_PARAMS,
    random = VRX_ERR_RANDOM,
    buffer_length = VRX_ERR_BUFFER_LENGTH,
    block_multiple = VRX_ERR_BLOCK_MULTIPLE,
    context_state = VRX_ERR_CONTEXT_STATE,
    unknown_tz = VRX_ERR_UNKNOWN_TZ,
    unknown_mode = VRX_ERR_UNKNOWN_MODE,
    unsupported_oid = VRX_ERR_UNSUPPORTED_OID,
};

/** The name that the C headers give a code, such as "VRX_ERR_FAILED"; "VRX_ERR_?" for a number that is none of them. */
constexpr const char *name(Error error) noexcept {
    switch (error) {
        case Error::failed:
            return "VRX_ERR_FAILED";
        case Error::bad_params:
            return "VRX_ERR_BAD_PARAMS";
        case Error::random:
            return "VRX_ERR_RANDOM";
        case Error::buffer_length:
            return "VRX_ERR_BUFFER_LENGTH";
        case Error::block_multiple:
            return "VRX_ERR_BLOCK_MULTIPLE";
        case Error::context_state:
            return "VRX_ERR_CONTEXT_STATE";
        case Error::unknown_tz:
            return "VRX_ERR_UNKNOWN_TZ";
        case Error::unknown_mode:
            return "VRX_ERR_UNKNOWN_MODE";
        case Error::unsupported_oid:
            return "VRX_ERR_UNSUPPORTED_OID";
    }
    return "VRX_ERR_?";
}

/** What a code means, as a sentence without its full stop. */
constexpr const char *text(Error error) noexcept {
    switch (error) {
        case Error::failed:
            return "the operation failed: nothing found, a table not deployed, or a wrong signature";
        case Error::bad_params:
            return "an argument is missing, or is none of the allowed ones";
        case Error::random:
            return "the random source failed";
        case Error::buffer_length:
            return "a buffer is empty, too small or not of the size that is asked for";
        case Error::block_multiple:
            return "the data is not a whole number of 8-byte blocks";
        case Error::context_state:
            return "the message is finished already, or was never begun";
        case Error::unknown_tz:
            return "the text of S-boxes is not 128 characters long";
        case Error::unknown_mode:
            return "there is no mode of this number";
        case Error::unsupported_oid:
            return "there is no hash parameter set with this object identifier";
    }
    return "an unknown error";
}

/**
 * A value, or the error that came instead of it: the part of C++23's std::expected<T, Error> that is needed here.
 *
 * It neither throws nor allocates. Asking for what is not there with value() or error() ends the process; operator*
 * and operator-> do not look.
 */
template <typename T>
class [[nodiscard]] Result {
public:
    /** A value. */
    Result(T value) noexcept : value_(std::move(value)) {}  // NOLINT(google-explicit-constructor)
    /** An error. */
    Result(Error error) noexcept : error_(error) {}  // NOLINT(google-explicit-constructor)
    /** A value made in its place, of these arguments. */
    template <typename... Arguments>
    explicit Result(std::in_place_t where, Arguments &&...arguments)
        : value_(where, std::forward<Arguments>(arguments)...) {}

    ///@{
    /** Whether there is a value. */
    [[nodiscard]] bool has_value() const noexcept { return value_.has_value(); }
    explicit operator bool() const noexcept { return has_value(); }
    ///@}

    ///@{
    /** The value; ends the process where there is none. */
    [[nodiscard]] T &value() &noexcept { return check(), *value_; }
    [[nodiscard]] const T &value() const &noexcept { return check(), *value_; }
    [[nodiscard]] T &&value() &&noexcept { return check(), std::move(*value_); }
    ///@}

    ///@{
    /** The value, which has to be there. */
    [[nodiscard]] T &operator*() &noexcept { return *value_; }
    [[nodiscard]] const T &operator*() const &noexcept { return *value_; }
    [[nodiscard]] T &&operator*() &&noexcept { return std::move(*value_); }
    [[nodiscard]] T *operator->() noexcept { return &*value_; }
    [[nodiscard]] const T *operator->() const noexcept { return &*value_; }
    ///@}

    /** The value, or another one where there is none. */
    [[nodiscard]] T value_or(T other) &&noexcept { return has_value() ? std::move(*value_) : std::move(other); }

    /** The error; ends the process where there is none. */
    [[nodiscard]] Error error() const noexcept {
        if (has_value()) std::abort();
        return error_;
    }

    /** VRX_OK, or the error's code. */
    [[nodiscard]] int code() const noexcept { return has_value() ? VRX_OK : static_cast<int>(error_); }

private:
    void check() const noexcept {
        if (!has_value()) std::abort();
    }

    std::optional<T> value_;
    Error error_ = Error::failed;
};

/** Success, or an error. */
template <>
class [[nodiscard]] Result<void> {
public:
    /** Success. */
    Result() noexcept = default;
    /** An error. */
    Result(Error error) noexcept : code_(static_cast<int>(error)) {}  // NOLINT(google-explicit-constructor)
    /** What a function of the C headers returned: VRX_OK or a code. */
    static Result of(int code) noexcept {
        Result result;
        result.code_ = code;
        return result;
    }

    ///@{
    /** Whether there is no error. */
    [[nodiscard]] bool has_value() const noexcept { return code_ == VRX_OK; }
    explicit operator bool() const noexcept { return has_value(); }
    ///@}

    /** Ends the process where there is an error. */
    void value() const noexcept {
        if (!has_value()) std::abort();
    }

    /** The error; ends the process where there is none. */
    [[nodiscard]] Error error() const noexcept {
        if (has_value()) std::abort();
        return static_cast<Error>(code_);
    }

    /** VRX_OK, or the error's code. */
    [[nodiscard]] int code() const noexcept { return code_; }

private:
    int code_ = VRX_OK;
};

/* ---- Log and notice --------------------------------------------------------------------------------------------- */

/** Write a line for each failure to a file, to the standard error stream ("stderr"), or nowhere (NULL); closes the
 * stream that was set before. */
inline void log_to(const char *path) noexcept { vrx_set_log_file(path); }

/** Write a line for each failure to an open stream, or nowhere (NULL). It stays the caller's; log_to() would close it. */
inline void log_to(std::FILE *stream) noexcept { vrxflog = stream; }

/** Write nothing any more. The stream stays open. */
inline void log_to(std::nullptr_t) noexcept { vrxflog = nullptr; }

/** The library's attribution. */
inline std::string_view copyright_notice() noexcept { return vrx_copyright_notice(); }

}  // namespace v1
}  // namespace vrx

#endif
