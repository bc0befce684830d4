// Reads passwords from the terminal, a file or a descriptor. Passwords are never on the command line, because every
// user of the system can see it.
#ifndef VRX_APP_PASSWORD_HPP
#define VRX_APP_PASSWORD_HPP

#include <cstdint>
#include <optional>
#include <string>

#include "keys/keys.hpp"

namespace vrx::app {

/**
 * The smallest recommended iteration count: OWASP's advice for PBKDF2 with a 256-bit hash (2023). Even a high count
 * does not protect a weak password: PBKDF2 needs little memory, so attackers can test many passwords in parallel.
 */
inline constexpr std::uint64_t advised_iterations = 600'000;

/** Print a warning if an iteration count is smaller than advised_iterations. */
void warn_of_few_iterations(std::uint64_t iterations);

/** The user's options for the password. */
struct PasswordOptions {
    std::optional<std::string> file;
    std::optional<std::string> fd;
    bool confirm = false;
    std::string encoding = "text";
};

/** Read the password or ask for it with the prompt, and encode it according to the options. */
void get_password(const PasswordOptions& options, SecretBytes& password, const std::string& prompt = "Password: ");

}  // namespace vrx::app

#endif
