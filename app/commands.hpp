// The commands of the program.
#ifndef VRX_APP_COMMANDS_HPP
#define VRX_APP_COMMANDS_HPP

#include "options.hpp"

namespace vrx::app {

extern const Command encrypt_command;  // command_encrypt.cpp
extern const Command decrypt_command;
extern const Command mac_command;   // command_mac.cpp
extern const Command hash_command;  // command_hash.cpp
extern const Command sha1_command;
extern const Command hmac_command;    // command_hmac.cpp
extern const Command derive_command;  // command_derive.cpp
extern const Command keygen_command;  // command_keygen.cpp
extern const Command genkey_command;  // command_genkey.cpp
extern const Command pubkey_command;
extern const Command sign_command;  // command_sign.cpp
extern const Command verify_command;
extern const Command agree_command;  // command_agree.cpp
extern const Command diversify_command;
extern const Command inspect_command;  // command_inspect.cpp
extern const Command params_command;   // command_params.cpp
extern const Command speed_command;    // command_speed.cpp

}  // namespace vrx::app

#endif
