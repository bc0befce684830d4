#include "key_options.hpp"

#include <algorithm>
#include <array>

#include "io/text.hpp"

namespace vrx::app {

std::vector<Option> key_form_options(KeyForm& form, const char* curve_help) {
    return {text_option("format", 'f', "FORMAT",
                        "the key format, pem, der or raw; default: pem. PEM and DER\n"
                        "are detected when a key is read",
                        form.format),
            text_option("curve", 'c', "CURVE", curve_help, form.curve)};
}

std::vector<Option> password_options(PasswordOptions& options) {
    return {text_option("password-file", 0, "FILE", "read the password from a file with one line", options.file),
            text_option("password-fd", 0, "N", "read the password from an open file descriptor", options.fd),
            flag_option("confirm", 0, "ask for the password twice", options.confirm),
            text_option("encoding", 0, "FORM",
                        "how to encode the password: text (the default) uses its bytes unchanged;\n"
                        "hex decodes its hexadecimal digits; bmp converts UTF-8 to the BMPString\n"
                        "that PKCS #12 requires, with two zero bytes appended",
                        options.encoding)};
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
