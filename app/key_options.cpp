#include "key_options.hpp"

#include <algorithm>
#include <array>

#include "io/text.hpp"
#include "keys/encrypted_key.hpp"

namespace vrx::app {

std::vector<Option> key_form_options(KeyForm& form, const char* curve_help) {
    return {text_option("format", 'f', "FORMAT",
                        "the key format, pem, der or raw; default: pem. PEM and DER\n"
                        "are detected when a key is read",
                        form.format),
            text_option("curve", 'c', "CURVE", curve_help, form.curve)};
}

std::vector<Option> password_options(PasswordOptions& options) {
    return {input_option("password-file", 0, "read the password from a file with one line", options.file),
            text_option("password-fd", 0, "N", "read the password from an open file descriptor", options.fd),
            flag_option("confirm", 0, "ask for the password twice", options.confirm),
            text_option("encoding", 0, "FORM",
                        "how to encode the password: text (the default) uses its bytes unchanged;\n"
                        "hex decodes its hexadecimal digits; bmp converts UTF-8 to the BMPString\n"
                        "that PKCS #12 requires, with two zero bytes appended",
                        options.encoding)};
}

std::vector<Option> key_password_options(PasswordOptions& options) {
    return {input_option("password-file", 0,
                         "a file with the password of the key file, in one line; without it, the\nprogram asks on the "
                         "terminal",
                         options.file),
            text_option("password-fd", 0, "N", "read that password from an open file descriptor instead", options.fd)};
}

void check_usage(const Command& command, const PasswordOptions& options, const std::vector<std::string>& others) {
    check_usage(command, options);
    const bool taken = options.file == "-" || options.fd == "0";
    if (taken && std::find(others.begin(), others.end(), "-") != others.end())
        throw WrongUse(command, "standard input cannot be both the password and the input of the command");
}

std::vector<Option> lock_options(Lock& lock) {
    return {
        flag_option("password", 0, "encrypt the key with a password, and ask for it on the terminal", lock.wanted),
        input_option("password-file", 0, "encrypt the key with the password in a file of one line", lock.source.file),
        text_option("password-fd", 0, "N", "encrypt the key with the password from an open file descriptor",
                    lock.source.fd),
        text_option("iterations", 'n', "N", "the number of iterations for the password; default: 600000",
                    lock.iterations_text)};
}

void check_usage(const Command& command, Lock& lock) {
    check_usage(command, lock.source);
    if (!lock.iterations_text) return;
    if (!lock.on()) throw WrongUse(command, "--iterations belongs to --password");
    const auto number = to_number(*lock.iterations_text);
    if (!number || *number == 0 || *number > most_iterations)
        throw WrongUse(command, "--iterations takes a number from 1 to " + std::to_string(most_iterations) + ", not " +
                                    in_quotes(*lock.iterations_text));
    lock.iterations = static_cast<std::uint32_t>(*number);
    warn_of_few_iterations(*number);
}

void check_usage(const Command& command, const PasswordOptions& options) {
    if (options.file && options.fd) throw WrongUse(command, "--password-file and --password-fd exclude each other");
    if (options.confirm && (options.file || options.fd))
        throw WrongUse(command, "--confirm is for a password from the terminal");
    constexpr std::array encodings{"text", "hex", "bmp"};
    if (std::find(encodings.begin(), encodings.end(), options.encoding) == encodings.end())
        throw WrongUse(command, "--encoding takes text, hex or bmp, not " + in_quotes(options.encoding));
}

}  // namespace vrx::app
