/**
 * @file cxx/frame.hpp  Named errors, the class Result, and the diagnostics log: frame.h for C++.
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
#include "vrx/keyfile.h"

namespace vrx {
inline namespace v1 {

/** The error codes of the library, as in frame.h, and of key files, as in keyfile.h. */
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
    key_file = VRX_ERR_KEY_FILE,
    key_pem = VRX_ERR_KEY_PEM,
    key_blocks = VRX_ERR_KEY_BLOCKS,
    key_kind = VRX_ERR_KEY_KIND,
    key_encrypted = VRX_ERR_KEY_ENCRYPTED,
    key_der = VRX_ERR_KEY_DER,
    key_algorithm = VRX_ERR_KEY_ALGORITHM,
    key_parameters = VRX_ERR_KEY_PARAMETERS,
    key_curve = VRX_ERR_KEY_CURVE,
    key_point = VRX_ERR_KEY_POINT,
    key_number = VRX_ERR_KEY_NUMBER,
    key_length = VRX_ERR_KEY_LENGTH,
};

/** Get the name of a code, such as "VRX_ERR_FAILED"; "VRX_ERR_?" for an unknown number. */
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
        case Error::key_file:
        case Error::key_pem:
        case Error::key_blocks:
        case Error::key_kind:
        case Error::key_encrypted:
        case Error::key_der:
        case Error::key_algorithm:
        case Error::key_parameters:
        case Error::key_curve:
        case Error::key_point:
        case Error::key_number:
        case Error::key_length:
            return vrx_key_error_name(static_cast<int>(error));
    }
    return "VRX_ERR_?";
}

/** Get the meaning of a code in words, without a final full stop. */
constexpr const char *text(Error error) noexcept {
    switch (error) {
        case Error::failed:
            return "the operation failed: nothing found, table not deployed, or invalid signature";
        case Error::bad_params:
            return "an argument is missing or not allowed";
        case Error::random:
            return "the random source failed";
        case Error::buffer_length:
            return "a buffer is empty, too small or of the wrong size";
        case Error::block_multiple:
            return "the data is not a whole number of 8-byte blocks";
        case Error::context_state:
            return "the message is already finished or was never begun";
        case Error::unknown_tz:
            return "the S-box string is not 128 characters long";
        case Error::unknown_mode:
            return "the mode number is unknown";
        case Error::unsupported_oid:
            return "no hash parameter set has this object identifier";
        case Error::key_file:
        case Error::key_pem:
        case Error::key_blocks:
        case Error::key_kind:
        case Error::key_encrypted:
        case Error::key_der:
        case Error::key_algorithm:
        case Error::key_parameters:
        case Error::key_curve:
        case Error::key_point:
        case Error::key_number:
        case Error::key_length:
            return vrx_key_error_text(static_cast<int>(error));
    }
    return "an unknown error";
}

/**
 * A value or an error: a small version of std::expected<T, Error> of C++23.
 *
 * It neither throws nor allocates. value() ends the process if there is an error, and error() ends it if there is a
 * value. operator* and operator-> do not check.
 */
template <typename T>
class [[nodiscard]] Result {
public:
    /** Construct from a value. */
    Result(T value) noexcept : value_(std::move(value)) {}  // NOLINT(google-explicit-constructor)
    /** Construct from an error. */
    Result(Error error) noexcept : error_(error) {}  // NOLINT(google-explicit-constructor)
    /** Construct the value in place from these arguments. */
    template <typename... Arguments>
    explicit Result(std::in_place_t where, Arguments &&...arguments)
        : value_(where, std::forward<Arguments>(arguments)...) {}

    ///@{
    /** Test whether there is a value. */
    [[nodiscard]] bool has_value() const noexcept { return value_.has_value(); }
    explicit operator bool() const noexcept { return has_value(); }
    ///@}

    ///@{
    /** Get the value. If there is an error, the process ends. */
    [[nodiscard]] T &value() &noexcept { return check(), *value_; }
    [[nodiscard]] const T &value() const &noexcept { return check(), *value_; }
    [[nodiscard]] T &&value() &&noexcept { return check(), std::move(*value_); }
    ///@}

    ///@{
    /** Get the value without a check. If there is an error, the behaviour is undefined. */
    [[nodiscard]] T &operator*() &noexcept { return *value_; }
    [[nodiscard]] const T &operator*() const &noexcept { return *value_; }
    [[nodiscard]] T &&operator*() &&noexcept { return std::move(*value_); }
    [[nodiscard]] T *operator->() noexcept { return &*value_; }
    [[nodiscard]] const T *operator->() const noexcept { return &*value_; }
    ///@}

    /** Get the value, or `other` if there is an error. */
    [[nodiscard]] T value_or(T other) &&noexcept { return has_value() ? std::move(*value_) : std::move(other); }

    /** Get the error. If there is none, the process ends. */
    [[nodiscard]] Error error() const noexcept {
        if (has_value()) std::abort();
        return error_;
    }

    /** Get the return code: VRX_OK or the code of the error. */
    [[nodiscard]] int code() const noexcept { return has_value() ? VRX_OK : static_cast<int>(error_); }

private:
    void check() const noexcept {
        if (!has_value()) std::abort();
    }

    std::optional<T> value_;
    Error error_ = Error::failed;
};

/** Success or an error. */
template <>
class [[nodiscard]] Result<void> {
public:
    /** Construct success. */
    Result() noexcept = default;
    /** Construct from an error. */
    Result(Error error) noexcept : code_(static_cast<int>(error)) {}  // NOLINT(google-explicit-constructor)
    /** Convert a return code of a C function. */
    static Result of(int code) noexcept {
        Result result;
        result.code_ = code;
        return result;
    }

    ///@{
    /** Test for success. */
    [[nodiscard]] bool has_value() const noexcept { return code_ == VRX_OK; }
    explicit operator bool() const noexcept { return has_value(); }
    ///@}

    /** Do nothing on success. If there is an error, the process ends. */
    void value() const noexcept {
        if (!has_value()) std::abort();
    }

    /** Get the error. If there is none, the process ends. */
    [[nodiscard]] Error error() const noexcept {
        if (has_value()) std::abort();
        return static_cast<Error>(code_);
    }

    /** Get the return code: VRX_OK or the code of the error. */
    [[nodiscard]] int code() const noexcept { return code_; }

private:
    int code_ = VRX_OK;
};

/* ---- Log and notice ---------------------------------------------------------------------------------------------- */

/**
 * Direct the diagnostics log to a file, to standard error ("stderr"), or nowhere (NULL). The function closes a file
 * that was set before, but never standard error.
 */
inline void log_to(const char *path) noexcept {
    if (vrxflog == stderr) vrxflog = nullptr;  // vrx_set_log_file() would close it
    vrx_set_log_file(path);
}

/**
 * Direct the diagnostics log to an open stream, or nowhere (NULL). The stream belongs to the caller, but a later
 * log_to(path) closes it unless it is standard error.
 */
inline void log_to(std::FILE *stream) noexcept { vrxflog = stream; }

/** Switch the diagnostics log off. The stream stays open. */
inline void log_to(std::nullptr_t) noexcept { vrxflog = nullptr; }

/** Get the copyright notice of the library. */
inline std::string_view copyright_notice() noexcept { return vrx_copyright_notice(); }

}  // namespace v1
}  // namespace vrx

#endif
