// A service in C++. It reads requests from standard input and answers them in four threads; README.md lists them.
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <map>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>
#include <vrx.hpp>

namespace {

/** The words of a request: its kind and the names of its files. */
using Names = std::vector<std::string>;

/** Returns the value of a result, or throws its error. */
template <typename T>
T need(vrx::Result<T> result) {
    if (!result) throw std::runtime_error(vrx::text(result.error()));
    if constexpr (!std::is_void_v<T>) return std::move(*result);
}

std::ifstream open(const std::string &name) {
    std::ifstream file(name, std::ios::binary);
    if (!file) throw std::runtime_error("cannot open " + name);
    return file;
}

void write(std::ostream &file, vrx::Bytes bytes) {
    file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("cannot write a file");
}

void save(const std::string &name, vrx::Bytes bytes) {
    std::ofstream file(name, std::ios::binary);
    write(file, bytes);
}

/** Bytes of a file, at most 5000. They are wiped at the end, because they may be a key. */
struct Piece {
    std::uint8_t room[5000];
    vrx::MutableBytes bytes;
    explicit Piece(std::istream &file, std::streamsize size = sizeof room) {
        file.read(reinterpret_cast<char *>(room), size);
        bytes = vrx::MutableBytes(room, static_cast<std::size_t>(file.gcount()));
    }
    explicit Piece(std::ifstream &&file) : Piece(static_cast<std::istream &>(file)) {}
    Piece(Piece &&) = delete;
    ~Piece() { vrx::wipe(room, sizeof room); }
};

vrx::PublicKey public_key(const std::string &name) { return need(vrx::PublicKey::from_file(Piece(open(name)).bytes)); }
vrx::PrivateKey private_key(const std::string &name) {
    return need(vrx::PrivateKey::from_file(Piece(open(name)).bytes));
}

vrx::Digest digest(const std::string &name, const vrx_gostr3411_par &set) {
    vrx::Hash hash(*set.tz);
    for (auto file = open(name); file;) hash.update(Piece(file).bytes);
    return hash.finish();
}

void hash(const Names &names) { save(names.at(2), digest(names.at(1), *get_GOSTR3411_par(1))); }

void sign(const Names &names) {
    const auto key = private_key(names.at(1));
    save(names.at(3), need(vrx::sign(key, digest(names.at(2), key.hash_set()))));
}

void verify(const Names &names) {
    const auto key = public_key(names.at(1));
    const auto signature = need(vrx::Signature::from(Piece(open(names.at(2))).bytes));
    if (!vrx::verify(key, digest(names.at(3), key.hash_set()), signature)) throw std::runtime_error("not valid");
}

void agree(const Names &names) {
    const auto ukm = need(vrx::Ukm::from(Piece(open(names.at(3))).bytes));
    save(names.at(4), need(vrx::agree(private_key(names.at(1)), public_key(names.at(2)), ukm)));
}

void run_cipher(const Names &names, vrx::Direction direction) {
    const auto key = need(vrx::Key::from(Piece(open(names.at(1))).bytes));
    auto from = open(names.at(2));
    std::ofstream to(names.at(3), std::ios::binary);
    const bool encrypts = direction == vrx::Direction::encrypt;
    const auto iv = need(encrypts ? vrx::Iv::random() : vrx::Iv::from(Piece(from, 8).bytes));
    if (encrypts) write(to, iv);
    vrx::Cipher cipher(direction, key, iv, *get_GOST28147_par(1));
    while (from) {
        Piece piece(from);
        need(cipher.update(piece.bytes));
        write(to, piece.bytes);
    }
    need(cipher.finish());
}

void encrypt(const Names &names) { run_cipher(names, vrx::Direction::encrypt); }
void decrypt(const Names &names) { run_cipher(names, vrx::Direction::decrypt); }

const std::map<std::string, void (*)(const Names &)> requests = {
    {"hash", hash}, {"sign", sign}, {"verify", verify}, {"agree", agree}, {"encrypt", encrypt}, {"decrypt", decrypt}};

std::string answer(const std::string &line) try {
    std::istringstream words(line);
    const Names names{std::istream_iterator<std::string>(words), {}};
    requests.at(names.at(0))(names);
    return "success";
} catch (const std::exception &failure) {
    return failure.what();
}

void serve() {
    static std::mutex lock;
    static unsigned count = 0;
    for (std::string line;;) {
        std::unique_lock hold(lock);
        if (!std::getline(std::cin, line)) return;
        const unsigned number = ++count;
        hold.unlock();
        std::printf("%u %s\n", number, answer(line).c_str());
    }
}

}  // namespace

int main() {
    vrx::log_to("stderr");  // before the threads start
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; i++) threads.emplace_back(serve);
}
