// Declares the commands of the program. Each command is defined in the file that has its name.
#ifndef VRX_APP_COMMANDS_HPP
#define VRX_APP_COMMANDS_HPP

#include "options.hpp"

namespace vrx::app {

extern const Command encrypt_command;
extern const Command decrypt_command;
extern const Command mac_command;
extern const Command hash_command;
extern const Command sha1_command;
extern const Command hmac_command;
extern const Command derive_command;
extern const Command keygen_command;
extern const Command keypair_command;
extern const Command pubkey_command;
extern const Command sign_command;
extern const Command verify_command;
extern const Command cms_show_command;
extern const Command cms_sign_command;
extern const Command cms_verify_command;
extern const Command agree_command;
extern const Command diversify_command;
extern const Command inspect_command;
extern const Command params_command;
extern const Command speed_command;

}  // namespace vrx::app

#endif
