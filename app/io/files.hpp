// Input and output of a command: files, standard streams, pipes, devices.
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
 * Bytes that are read, processed and written at a time. Reading is fastest from 64 KiB to 1 MiB, while a piece stays in
 * the second-level cache.
 */
inline constexpr std::size_t piece_size = 256 * 1024;

/** A buffer for one piece. */
using Piece = std::vector<std::uint8_t>;

/** What makes two names the same file. */
struct FileId {
    dev_t device;
    ino_t inode;
    bool operator==(const FileId&) const = default;
};

/** A file that is read from its beginning to its end. */
class Input {
public:
    /** Open a file; "-" is standard input. */
    explicit Input(const std::string& path);
    /** Take over a descriptor that is open. @param shown  what messages call it. */
    Input(int fd, std::string shown);
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;
    ~Input();

    /** Read what is there, at least one byte; 0 at the end. */
    [[nodiscard]] std::size_t read(std::span<std::uint8_t> buffer);
    /** Read until the buffer is full or the file ends. */
    [[nodiscard]] std::size_t read_full(std::span<std::uint8_t> buffer);

    /** For messages: the name between quotation marks, or "standard input". */
    [[nodiscard]] const std::string& shown() const { return shown_; }
    [[nodiscard]] FileId id() const { return {status_.st_dev, status_.st_ino}; }
    [[nodiscard]] mode_t mode() const { return status_.st_mode; }
    /** Bytes from here to the end, where that is known before reading: in a regular file. */
    [[nodiscard]] std::optional<std::uint64_t> remaining() const { return remaining_; }

private:
    int fd_;
    std::string shown_;
    struct stat status_ {};
    std::optional<std::uint64_t> remaining_;
};

struct NewPrivateFile {};

/**
 * A file that appears whole or not at all.
 *
 * Data goes to a file without a name in the folder of the target, or where the file system has no such files to a
 * temporary one; commit() gives it the name. Without a commit (an exception, or a signal that ends the program) it goes
 * away, and what was there before stays. Standard output, pipes and devices cannot be held back: they are written
 * directly.
 */
class Output {
public:
    /**
     * Write to a file; "-" is standard output.
     *
     * @param inputs  files that the command reads: the output may be none of them.
     */
    explicit Output(const std::string& path, const std::vector<FileId>& inputs = {});
    /** Create a file that only its owner can read, and that must not exist yet, neither now nor at the end. */
    Output(const std::string& path, NewPrivateFile);
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output();

    void write(std::span<const std::uint8_t> data);
    void write(std::string_view text);
    /** Everything is written: make the file permanent. Nothing may be written afterwards. */
    void commit();

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
    std::optional<Place> place_;  // where the file appears; nothing when writing directly
    int fd_ = -1;
    bool is_private_ = false;  // for its owner alone, and never in the place of another file
    std::string temporary_;    // the name until the file has its own; empty for a file without one
    std::uint64_t written_ = 0;
    std::uint64_t flushed_ = 0;  // of them on their way to the disk
};

/** Make sure that descriptors 0, 1 and 2 are taken, so that no file that is opened later becomes a standard stream. */
void occupy_standard_streams();

}  // namespace vrx::app

#endif
