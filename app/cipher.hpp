// Sets up the cipher from the options of a command.
#ifndef VRX_APP_CIPHER_HPP
#define VRX_APP_CIPHER_HPP

#include <vrx.h>

#include <array>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "io/files.hpp"
#include "keys/keys.hpp"
#include "keys/parameters.hpp"
#include "keys/password.hpp"
#include "options.hpp"

namespace vrx::app {

using Block = std::array<std::uint8_t, VRX_BLOCK_SIZE>;

/** The user's options for the cipher. */
struct CipherOptions {
    std::optional<std::string> key;
    std::optional<std::string> parameters;
    std::optional<std::string> mode;
    std::optional<std::string> table;
    std::optional<std::string> iv;
    bool mesh = false;
    bool no_mesh = false;
    PasswordOptions password;  // the password of an encrypted key
};

/** Options that encryption and MAC share: key, parameter set, meshing, table. */
std::vector<Option> cipher_options(CipherOptions& options);

/**
 * A key, its S-box table and the library's context, kept in locked memory.
 *
 * The parameter set determines everything that the options do not set.
 */
class Cipher {
public:
    /** Load the files that the options name. */
    Cipher(const Command& command, const CipherOptions& options);

    /** The mode of encryption. */
    [[nodiscard]] const Mode& mode() const { return *mode_; }
    /** The value of --iv. */
    [[nodiscard]] const std::optional<Block>& iv() const { return iv_; }
    /** The files that were read, which the output must not replace. */
    [[nodiscard]] const std::vector<FileId>& files() const { return files_; }

    /** Start a message in the chosen mode. */
    void start(bool encrypt, const std::optional<Block>& iv);
    /**
     * Process data in place. Every piece except the last must consist of whole blocks. In ECB and CBC mode, the last
     * piece must, too.
     */
    void process(std::span<std::uint8_t> data);

    /** Start a MAC computation; --iv sets the initial value. */
    void start_mac();
    void absorb(std::span<std::uint8_t> data);
    [[nodiscard]] Block finish_mac();

private:
    struct State {
        Key key;
        vrx_crpt_ctx context;
    };
    void open_context(bool encrypt, std::uint32_t mode, const std::optional<Block>& iv);

    Secret<State> state_;
    const Mode* mode_;
    const vrx_tz* table_;
    vrx_tz own_table_{};
    bool meshing_;
    std::optional<Block> iv_;
    std::vector<FileId> files_;
};

}  // namespace vrx::app

#endif
