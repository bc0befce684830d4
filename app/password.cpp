#include "password.hpp"

#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <csignal>

#include "failure.hpp"
#include "text.hpp"

namespace vrx::app {
namespace {

// What a signal has to restore while the terminal is silent.
constexpr std::array deadly_signals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};
std::array<struct sigaction, deadly_signals.size()> actions_before;
struct termios terminal_before;
int terminal = -1;

extern "C" void restore_terminal(int signal) {
    tcsetattr(terminal, TCSAFLUSH, &terminal_before);
    for (std::size_t i = 0; i < deadly_signals.size(); ++i)
        if (deadly_signals[i] == signal) sigaction(signal, &actions_before[i], nullptr);
    raise(signal);  // It waits until this function returns, and then does what it would have done.
}

/** A terminal shows nothing that is typed, as long as this lives. There is one at a time. */
class NoEcho {
public:
    explicit NoEcho(int fd) {
        terminal = fd;
        if (tcgetattr(fd, &terminal_before) != 0) throw SystemFailure("cannot silence the terminal", errno);
        struct sigaction action {};
        action.sa_handler = restore_terminal;
        for (std::size_t i = 0; i < deadly_signals.size(); ++i) {
            sigaction(deadly_signals[i], nullptr, &actions_before[i]);
            if (actions_before[i].sa_handler != SIG_IGN) sigaction(deadly_signals[i], &action, nullptr);
        }
        // A stopped program would leave a silent terminal to the shell.
        action.sa_handler = SIG_IGN;
        sigaction(SIGTSTP, &action, &stop_before_);

        struct termios silent = terminal_before;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO | ECHOE | ECHOK | ECHONL);
        silent.c_lflag |= ICANON | ISIG;
        if (tcsetattr(fd, TCSAFLUSH, &silent) != 0) {
            const int error = errno;
            restore();
            throw SystemFailure("cannot silence the terminal", error);
        }
    }
    NoEcho(const NoEcho&) = delete;
    NoEcho& operator=(const NoEcho&) = delete;
    ~NoEcho() { restore(); }

private:
    void restore() const {
        tcsetattr(terminal, TCSAFLUSH, &terminal_before);
        for (std::size_t i = 0; i < deadly_signals.size(); ++i)
            sigaction(deadly_signals[i], &actions_before[i], nullptr);
        sigaction(SIGTSTP, &stop_before_, nullptr);
    }

    struct sigaction stop_before_ {};
};

void show(int fd, std::string_view text) {
    if (write(fd, text.data(), text.size()) < 0) throw SystemFailure("cannot write to the terminal", errno);
}

void ask(const char* prompt, SecretBytes& answer) {
    const int fd = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (fd < 0) throw Failure("there is no terminal to ask for the password; use --password-file or --password-fd");
    Input input(fd, "the terminal");
    const NoEcho silent(fd);
    show(fd, prompt);
    const bool any = answer.append_from(input);  // a line, which is what a terminal hands out
    show(fd, "\n");
    if (!any) throw Failure("no password was given; type one and press Enter");
    answer.truncate(without_line_end(answer.text()).size());
}

void read_password(Input& file, SecretBytes& password) {
    read_secret(file, password);
    warn_if_others_can_read(file, "password");
    password.truncate(without_line_end(password.text()).size());
    if (password.text().find('\n') != std::string_view::npos)
        throw Failure(file.shown() + " holds more than one line; a password is one line, so take away the others");
}

int descriptor(const std::string& text) {
    const auto number = to_number(text);
    if (!number || *number > INT_MAX)
        throw Failure("--password-fd takes the number of an open file descriptor, not " + in_quotes(text) +
                      "; open it in the shell, like 3<FILE");
    return static_cast<int>(*number);
}

/** Take one character from the front of a text. Throws a Failure when there is none that a BMPString can hold. */
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

/** Make of a text what PKCS #12 wants: two bytes for each character, the high one first, and two zero bytes. */
void encode_bmp(std::string_view text, SecretBytes& bmp) {
    const auto add = [&](char16_t character) {
        bmp.push_back(static_cast<std::uint8_t>(character >> 8));
        bmp.push_back(static_cast<std::uint8_t>(character));
    };
    while (!text.empty()) add(take_character(text));
    add(0);
}

}  // namespace

std::vector<Option> password_options(PasswordOptions& options) {
    return {text_option("password-file", 0, "FILE", "read the password from a file, of one line", options.file),
            text_option("password-fd", 0, "N", "read the password from a file descriptor that is open", options.fd),
            flag_option("confirm", 0, "ask for the password twice", options.confirm),
            text_option("encoding", 0, "FORM",
                        "what becomes of the password: text, its bytes as they are, which is the\n"
                        "default; hex, the bytes that its hexadecimal digits stand for; bmp, the\n"
                        "BMPString that PKCS #12 wants, made from UTF-8, with two zero bytes behind it",
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

void get_password(const PasswordOptions& options, SecretBytes& password) {
    SecretBytes given;
    SecretBytes& target = options.encoding == "bmp" ? given : password;
    if (options.file) {
        Input file(*options.file);
        read_password(file, target);
    } else if (options.fd) {
        Input file(dup(descriptor(*options.fd)), "file descriptor " + *options.fd);
        read_password(file, target);
    } else {
        ask("Password: ", target);
        SecretBytes again;
        if (options.confirm) ask("Password again: ", again);
        if (options.confirm && target.text() != again.text())
            throw Failure("the two passwords are not the same; try again");
    }
    if (target.bytes().empty()) say("warning: the password is empty");
    if (options.encoding == "hex") decode_hex(password, "the password");
    if (options.encoding == "bmp") encode_bmp(given.text(), password);
}

}  // namespace vrx::app
