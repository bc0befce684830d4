// Options for keys and passwords.
#ifndef VRX_APP_KEY_OPTIONS_HPP
#define VRX_APP_KEY_OPTIONS_HPP

#include <vector>

#include "keys/key_files.hpp"
#include "keys/password.hpp"
#include "options.hpp"

namespace vrx::app {

/** The options --format and --curve. */
std::vector<Option> key_form_options(KeyForm& form, const char* curve_help);

/** The options --password-file, --password-fd, --confirm and --encoding. */
std::vector<Option> password_options(PasswordOptions& options);

/** Reject conflicting password options; call this before doing anything else. */
void check_usage(const Command& command, const PasswordOptions& options);

}  // namespace vrx::app

#endif
