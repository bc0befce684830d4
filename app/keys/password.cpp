#include "keys/password.hpp"

#include <unistd.h>

#include <climits>

#include "io/failure.hpp"
#include "io/terminal.hpp"
#include "io/text.hpp"

namespace vrx::app {
namespace {

void ask(std::string_view prompt, SecretBytes& answer) {
    const int fd = open_terminal();
    if (fd < 0) throw Failure("there is no terminal to ask for the password; use --password-file or --password-fd");
    Input input(fd, "the terminal");
    const NoEcho silent(fd);
    write_terminal(fd, prompt);
    const bool any = answer.append_from(input);  // reads one line, because terminals are line-buffered
    write_terminal(fd, "\n");
    if (!any) throw Failure("no password was given; type one and press Enter");
    answer.truncate(without_line_end(answer.text()).size());
}

void read_password(Input& file, SecretBytes& password) {
    read_secret(file, password);
    warn_if_others_can_read(file, "password");
    password.truncate(without_line_end(password.text()).size());
    if (password.text().find('\n') != std::string_view::npos)
        throw Failure(file.shown() + " holds more than one line; a password is one line, so remove the others");
}

int descriptor(const std::string& text) {
    const auto number = to_number(text);
    if (!number || *number > INT_MAX)
        throw Failure("--password-fd takes the number of an open file descriptor, not " + in_quotes(text) +
                      "; open it in the shell, like 3<FILE");
    return static_cast<int>(*number);
}

/** Remove one character from the front of a text. Throws a Failure if a BMPString cannot hold it. */
char16_t take_character(std::string_view& text) {
    const auto character = take_utf8(text);
    if (!character)
        throw Failure(
            "the password is not UTF-8, from which --encoding bmp converts it; check the encoding of the terminal or "
            "file");
    if (*character > 0xFFFF)
        throw Failure(
            "the password has a character beyond U+FFFF, which a BMPString cannot hold; take another password");
    return static_cast<char16_t>(*character);
}

/** Encode a text for PKCS #12: two bytes for each character, the high byte first, then two zero bytes. */
void encode_bmp(std::string_view text, SecretBytes& bmp) {
    const auto add = [&](char16_t character) {
        bmp.push_back(static_cast<std::uint8_t>(character >> 8));
        bmp.push_back(static_cast<std::uint8_t>(character));
    };
    while (!text.empty()) add(take_character(text));
    add(0);
}

}  // namespace

void warn_of_few_iterations(std::uint64_t iterations) {
    if (iterations < advised_iterations)
        say("warning: with only " + std::to_string(iterations) + " iteration" + (iterations == 1 ? "" : "s") +
            ", passwords can be guessed quickly; use " + std::to_string(advised_iterations) + " or more");
}

void get_password(const PasswordOptions& options, SecretBytes& password, const std::string& prompt) {
    SecretBytes given;
    SecretBytes& target = options.encoding == "bmp" ? given : password;
    if (options.file) {
        Input file(*options.file);
        read_password(file, target);
    } else if (options.fd) {
        Input file(dup(descriptor(*options.fd)), "file descriptor " + *options.fd);
        read_password(file, target);
    } else {
        ask(prompt, target);
        SecretBytes again;
        if (options.confirm) ask("Password again: ", again);
        if (options.confirm && !equal_in_constant_time(target.bytes(), again.bytes()))
            throw Failure("the two passwords are not the same; try again");
    }
    if (target.bytes().empty()) say("warning: the password is empty");
    if (options.encoding == "hex") decode_hex(password, "the password");
    if (options.encoding == "bmp") encode_bmp(given.text(), password);
}

}  // namespace vrx::app
