// Options for keys and passwords.
#ifndef VRX_APP_KEY_OPTIONS_HPP
#define VRX_APP_KEY_OPTIONS_HPP

#include <vector>

#include "keys/key_files.hpp"
#include "keys/password.hpp"
#include "keys/unlock.hpp"
#include "options.hpp"

namespace vrx::app {

/** The options --format and --curve. */
std::vector<Option> key_form_options(KeyForm& form, const char* curve_help);

/** The options --password-file, --password-fd, --confirm and --encoding. */
std::vector<Option> password_options(PasswordOptions& options);

/** The options --password-file and --password-fd, for the password of a key file. */
std::vector<Option> key_password_options(PasswordOptions& options);

/**
 * Reject conflicting password options.
 *
 * @param others  the other files that the command reads. Only one of them, or the password, can be standard input.
 */
void check_usage(const Command& command, const PasswordOptions& options, const std::vector<std::string>& others);

/**
 * The options --password, --password-file, --password-fd and --iterations for a new key file, and the check of their
 * values.
 */
std::vector<Option> lock_options(Lock& lock);
void check_usage(const Command& command, Lock& lock);

/** Reject conflicting password options; call this before doing anything else. */
void check_usage(const Command& command, const PasswordOptions& options);

}  // namespace vrx::app

#endif
