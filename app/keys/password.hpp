// Reads passwords from the terminal, a file or a descriptor; never from the command line, which every user of the
// system can see.
#ifndef VRX_APP_PASSWORD_HPP
#define VRX_APP_PASSWORD_HPP

#include <optional>
#include <string>

#include "keys/keys.hpp"

namespace vrx::app {

/** The user's options for the password. */
struct PasswordOptions {
    std::optional<std::string> file;
    std::optional<std::string> fd;
    bool confirm = false;
    std::string encoding = "text";
};

/** Read the password or ask for it, and encode it according to the options. */
void get_password(const PasswordOptions& options, SecretBytes& password);

}  // namespace vrx::app

#endif
