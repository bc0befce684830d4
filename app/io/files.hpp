// Input and output of commands: files, standard streams, pipes, devices.
#ifndef VRX_APP_FILES_HPP
#define VRX_APP_FILES_HPP

#include <sys/stat.h>

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "io/place.hpp"

namespace vrx::app {

/**
 * The number of bytes to read, process and write at a time. Reading is fastest with 64 KiB to 1 MiB, as long as a piece
 * fits in the L2 cache.
 */
inline constexpr std::size_t piece_size = 256 * 1024;

/** A buffer for one piece. */
using Piece = std::vector<std::uint8_t>;

/** The identity of a file: equal for two names of the same file. */
struct FileId {
    dev_t device;
    ino_t inode;
    bool operator==(const FileId&) const = default;
};

/** A file that is read sequentially. */
class Input {
public:
    /** Open a file; "-" is standard input. */
    explicit Input(const std::string& path);
    /** Take ownership of an open descriptor. @param shown  the name of the input in messages. */
    Input(int fd, std::string shown);
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    ~Input();

    /** Read the bytes that are available. @return their number, at least one; 0 at the end of the file. */
    [[nodiscard]] std::size_t read(std::span<std::uint8_t> buffer);
    /** Read until the buffer is full or the file ends. */
    [[nodiscard]] std::size_t read_full(std::span<std::uint8_t> buffer);

    /** The name in messages: in quotation marks, or "standard input". */
    [[nodiscard]] const std::string& shown() const { return shown_; }
    [[nodiscard]] FileId id() const { return {status_.st_dev, status_.st_ino}; }
    [[nodiscard]] mode_t mode() const { return status_.st_mode; }
    /** The number of bytes left to read, if the input is a regular file. */
    [[nodiscard]] std::optional<std::uint64_t> remaining() const { return remaining_; }

private:
    int fd_;
    std::string shown_;
    struct stat status_ {};
    std::optional<std::uint64_t> remaining_;
};

struct NewPrivateFile {};

/**
 * A file that is written atomically.
 *
 * Data goes to an unnamed file in the folder of the target, or to a temporary file if the file system does not support
 * unnamed files. commit() gives the new file its name. If commit() is not reached because of an exception or a fatal
 * signal, the new file disappears and the old file is unchanged. Standard output, pipes and devices are written
 * directly.
 */
class Output {
public:
    /**
     * Start writing to a file; "-" is standard output.
     *
     * @param inputs  the files that the command reads, which must not include the output.
     */
    explicit Output(const std::string& path, const std::vector<FileId>& inputs = {});
    /** Create a file that only its owner can read. It must not exist, neither now nor at commit(). */
    Output(const std::string& path, NewPrivateFile);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output();

    void write(std::span<const std::uint8_t> data);
    void write(std::string_view text);
    /** Make the file permanent. Do not write afterwards. */
    void commit();
    /** True if data is written directly, to standard output, a pipe or a device, and so cannot be taken back. */
    [[nodiscard]] bool is_direct() const { return !place_; }

private:
    void refuse_inputs(const struct stat& status, const std::vector<FileId>& inputs) const;
    [[noreturn]] void refuse_existing() const;
    void open_held();
    void open_named();
    void close_checked();
    void take_owner_and_mode();
    void name_held();
    int link_to(const char* name) const;

    std::string shown_;
    std::optional<Place> place_;  // the place of the file; std::nullopt when writing directly
    int fd_ = -1;
    bool is_private_ = false;  // true for a file that only its owner can read, and that never replaces a file
    std::string temporary_;    // the temporary name; empty for an unnamed file
    std::uint64_t written_ = 0;
    std::uint64_t flushed_ = 0;  // bytes that are being written to disk
};

/** Open descriptors 0, 1 and 2 if they are closed, so that no other file becomes a standard stream. */
void occupy_standard_streams();

}  // namespace vrx::app

#endif
