// Options of keys and passwords.
#ifndef VRX_APP_KEY_OPTIONS_HPP
#define VRX_APP_KEY_OPTIONS_HPP

#include <vector>

#include "keys/key_files.hpp"
#include "keys/password.hpp"
#include "options.hpp"

namespace vrx::app {

/** --format and --curve. */
std::vector<Option> key_form_options(KeyForm& form, const char* curve_help);

/** --password-file, --password-fd, --confirm and --encoding. */
std::vector<Option> password_options(PasswordOptions& options);

/** Refuse password options that do not go together, before anything else is done. */
void check_usage(const Command& command, const PasswordOptions& options);

}  // namespace vrx::app

#endif
