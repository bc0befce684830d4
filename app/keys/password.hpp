// Passwords: from the terminal, a file or a descriptor. Never from the command line, which every user of the system
// sees.
#ifndef VRX_APP_PASSWORD_HPP
#define VRX_APP_PASSWORD_HPP

#include <optional>
#include <string>

#include "keys/keys.hpp"

namespace vrx::app {

/** What the user said about the password. */
struct PasswordOptions {
    std::optional<std::string> file;
    std::optional<std::string> fd;
    bool confirm = false;
    std::string encoding = "text";
};

/** Read the password, or ask for it, and encode it as the options say. */
void get_password(const PasswordOptions& options, SecretBytes& password);

}  // namespace vrx::app

#endif
